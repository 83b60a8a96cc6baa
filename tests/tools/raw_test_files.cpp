#include "raw_test_files.h"

#include <tiffio.h>

#include <cstring>
#include <memory>

namespace tavrix::cli_test {
namespace {

constexpr std::uint16_t kPhotometricLinearRaw = 34892;

// One row of samples as stored: bytes, 12-bit fields packed most significant
// bit first, or 16-bit words in the file's (little-endian) byte order.
std::vector<std::uint8_t> PackRow(const std::uint16_t *row, std::size_t count, int bits) {
  std::vector<std::uint8_t> out;
  if (bits == 8) {
    out.assign(row, row + count);
  } else if (bits == 16) {
    for (std::size_t i = 0; i < count; ++i)
      out.insert(out.end(), {std::uint8_t(row[i]), std::uint8_t(row[i] >> 8)});
  } else {
    std::uint32_t acc = 0;
    int held = 0;
    for (std::size_t i = 0; i < count; ++i) {
      acc = acc << bits | row[i];
      held += bits;
      while (held >= 8) out.push_back(std::uint8_t(acc >> (held -= 8)));
    }
    if (held > 0) out.push_back(std::uint8_t(acc << (8 - held)));
  }
  return out;
}

}  // namespace

bool WriteDng(const std::string &path, const DngDescription &d) {
  std::unique_ptr<TIFF, void (*)(TIFF *)> tif(TIFFOpen(path.c_str(), "w"), TIFFClose);
  if (!tif) return false;
  TIFF *t = tif.get();
  static const std::uint8_t kVersion[4] = {1, 4, 0, 0};
  static const std::uint16_t kRepeat[2] = {2, 2};
  static const float kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  const std::uint32_t white = d.white != 0 ? d.white : (1u << d.bits) - 1;
  const float black = float(d.black);
  bool ok = TIFFSetField(t, TIFFTAG_SUBFILETYPE, 0) &&
            TIFFSetField(t, TIFFTAG_IMAGEWIDTH, std::uint32_t(d.width)) &&
            TIFFSetField(t, TIFFTAG_IMAGELENGTH, std::uint32_t(d.height)) &&
            TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, std::uint16_t(d.bits)) &&
            TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, std::uint16_t(d.channels)) &&
            TIFFSetField(t, TIFFTAG_COMPRESSION, COMPRESSION_NONE) &&
            TIFFSetField(t, TIFFTAG_PHOTOMETRIC,
                         d.channels == 1 ? PHOTOMETRIC_CFA : kPhotometricLinearRaw) &&
            TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
            TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, std::uint32_t(d.height)) &&
            TIFFSetField(t, TIFFTAG_MAKE, "Tavrix") &&
            TIFFSetField(t, TIFFTAG_MODEL, "Test Sensor") &&
            TIFFSetField(t, TIFFTAG_DNGVERSION, kVersion) &&
            TIFFSetField(t, TIFFTAG_DNGBACKWARDVERSION, kVersion) &&
            TIFFSetField(t, TIFFTAG_UNIQUECAMERAMODEL, "Tavrix Test Sensor") &&
            TIFFSetField(t, TIFFTAG_COLORMATRIX1, 9, kIdentity) &&
            TIFFSetField(t, TIFFTAG_BLACKLEVEL, 1, &black) &&
            TIFFSetField(t, TIFFTAG_WHITELEVEL, 1, &white);
  if (d.channels == 1)
    ok = ok && TIFFSetField(t, TIFFTAG_CFAREPEATPATTERNDIM, kRepeat) &&
         TIFFSetField(t, TIFFTAG_CFAPATTERN, 4, d.cfa.data());
  if (d.neutral[0] != 0) ok = ok && TIFFSetField(t, TIFFTAG_ASSHOTNEUTRAL, 3, d.neutral.data());
  if (d.activeArea[2] != 0) ok = ok && TIFFSetField(t, TIFFTAG_ACTIVEAREA, d.activeArea.data());
  std::vector<std::uint8_t> strip;
  const std::size_t perRow = std::size_t(d.width) * std::size_t(d.channels);
  const int rows = d.storedRows < 0 ? d.height : d.storedRows;
  for (int y = 0; ok && y < rows; ++y) {
    const std::vector<std::uint8_t> row = PackRow(d.samples.data() + std::size_t(y) * perRow, perRow, d.bits);
    strip.insert(strip.end(), row.begin(), row.end());
  }
  ok = ok && TIFFWriteRawStrip(t, 0, strip.data(), tmsize_t(strip.size())) >= 0;
  return ok && TIFFWriteDirectory(t);
}

TiffPicture ReadTiff(const std::string &path) {
  TiffPicture p;
  std::unique_ptr<TIFF, void (*)(TIFF *)> tif(TIFFOpen(path.c_str(), "r"), TIFFClose);
  if (!tif) return p;
  TIFF *t = tif.get();
  std::uint32_t width = 0, height = 0;
  std::uint16_t bits = 0, channels = 0;
  char *description = nullptr;
  if (!TIFFGetField(t, TIFFTAG_IMAGEWIDTH, &width) || !TIFFGetField(t, TIFFTAG_IMAGELENGTH, &height) ||
      !TIFFGetField(t, TIFFTAG_BITSPERSAMPLE, &bits) ||
      !TIFFGetField(t, TIFFTAG_SAMPLESPERPIXEL, &channels) || channels != 3 ||
      (bits != 8 && bits != 16))
    return p;
  if (TIFFGetField(t, TIFFTAG_IMAGEDESCRIPTION, &description)) p.description = description;
  std::vector<std::uint8_t> row(std::size_t(TIFFScanlineSize(t)));
  for (std::uint32_t y = 0; y < height; ++y) {
    if (TIFFReadScanline(t, row.data(), y, 0) != 1) return {};
    for (std::size_t i = 0; i < std::size_t(width) * 3; ++i) {
      std::uint16_t word = row[i];
      if (bits == 16) std::memcpy(&word, row.data() + 2 * i, 2);  // host order, as libtiff hands them
      p.rgb.push_back(word);
    }
  }
  p.width = int(width);
  p.height = int(height);
  p.bitsPerSample = bits;
  return p;
}

}  // namespace tavrix::cli_test
