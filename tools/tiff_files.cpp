#include "tiff_files.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <vector>

#if TAVRIX_FILES_HAVE_TIFF
#include <tiffio.h>
#endif

namespace tavrix::files {

#if TAVRIX_FILES_HAVE_TIFF
namespace {

// About this many bytes per strip, so that readers can fetch parts of the image.
constexpr std::size_t kStripBytes = 256 * 1024;

// libtiff writes through these, onto the caller's FILE (the tool's temporary
// output), so that closing the TIFF leaves the FILE open.
tmsize_t ReadNothing(thandle_t, void *, tmsize_t) { return 0; }
tmsize_t WriteTo(thandle_t file, void *data, tmsize_t size) {
  return tmsize_t(std::fwrite(data, 1, std::size_t(size), static_cast<std::FILE *>(file)));
}
toff_t SeekIn(thandle_t file, toff_t offset, int whence) {
  std::FILE *f = static_cast<std::FILE *>(file);
  if (fseeko(f, off_t(offset), whence) != 0) return toff_t(-1);
  return toff_t(ftello(f));
}
int KeepOpen(thandle_t) { return 0; }
toff_t SizeOf(thandle_t file) {
  std::FILE *f = static_cast<std::FILE *>(file);
  const off_t here = ftello(f);
  fseeko(f, 0, SEEK_END);
  const off_t end = ftello(f);
  fseeko(f, here, SEEK_SET);
  return toff_t(end);
}
int NoMap(thandle_t, void **, toff_t *) { return 0; }
void NoUnmap(thandle_t, void *, toff_t) {}

// libtiff reports problems through process-wide handlers; the last message
// of the call in progress is kept for the error line.
thread_local std::string *g_tiffMessage = nullptr;
void KeepMessage(const char *, const char *format, va_list args) {
  if (g_tiffMessage == nullptr) return;
  char text[256];
  std::vsnprintf(text, sizeof text, format, args);
  *g_tiffMessage = text;
}

bool SetText(TIFF *tiff, std::uint32_t tag, const std::string &text) {
  return text.empty() || TIFFSetField(tiff, tag, text.c_str()) == 1;
}

}  // namespace

bool TiffSupported() { return true; }
std::string TiffVersion() {
  // "LIBTIFF, Version 4.5.0\n..." -> "4.5.0"
  std::string v = TIFFGetVersion();
  const std::size_t at = v.find("Version ");
  if (at != std::string::npos) v = v.substr(at + 8);
  return v.substr(0, v.find_first_of("\r\n"));
}

bool WriteTiff(std::FILE *file, const RgbImage &image, const TiffNotes &notes, std::string &error) {
  if (image.width <= 0 || image.height <= 0 || image.bits < 1 || image.bits > 16 ||
      image.data.size() != std::size_t(image.width) * std::size_t(image.height) * 3) {
    error = "internal: inconsistent image description";
    return false;
  }
  std::string message = "libtiff failed";
  g_tiffMessage = &message;
  TIFFSetErrorHandler(KeepMessage);
  TIFFSetWarningHandler(nullptr);
  TIFF *tiff = TIFFClientOpen("output", "w", file, ReadNothing, WriteTo, SeekIn, KeepOpen, SizeOf,
                              NoMap, NoUnmap);
  const int depth = image.bits <= 8 ? 8 : 16;
  const int shift = depth - image.bits;
  const std::uint16_t top = std::uint16_t((1u << image.bits) - 1);
  const std::size_t values = std::size_t(image.width) * 3;
  const std::size_t rowBytes = values * std::size_t(depth / 8);
  const std::uint32_t rowsPerStrip = std::uint32_t(std::max<std::size_t>(1, kStripBytes / rowBytes));
  bool ok = tiff != nullptr && TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, std::uint32_t(image.width)) &&
            TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, std::uint32_t(image.height)) &&
            TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, std::uint16_t(depth)) &&
            TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, std::uint16_t(3)) &&
            TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB) &&
            TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
            TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE) &&
            TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) &&
            TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip) &&
            SetText(tiff, TIFFTAG_IMAGEDESCRIPTION, notes.description) &&
            SetText(tiff, TIFFTAG_SOFTWARE, notes.software) && SetText(tiff, TIFFTAG_MAKE, notes.make) &&
            SetText(tiff, TIFFTAG_MODEL, notes.model);
  std::vector<std::uint8_t> row(rowBytes);
  std::vector<std::uint16_t> words(depth == 16 ? values : 0);
  for (int y = 0; ok && y < image.height; ++y) {
    const std::uint16_t *src = image.data.data() + std::size_t(y) * values;
    if (depth == 16) {
      for (std::size_t i = 0; i < values; ++i) words[i] = std::uint16_t(std::min(src[i], top) << shift);
      std::memcpy(row.data(), words.data(), rowBytes);  // libtiff takes words in host order
    } else {
      for (std::size_t i = 0; i < values; ++i) row[i] = std::uint8_t(std::min(src[i], top));
    }
    ok = TIFFWriteScanline(tiff, row.data(), std::uint32_t(y), 0) == 1;
  }
  if (tiff != nullptr) {
    ok = ok && TIFFFlush(tiff) == 1;
    TIFFClose(tiff);
  }
  g_tiffMessage = nullptr;
  if (!ok) {
    error = "cannot write TIFF: " + message;
    return false;
  }
  if (std::fflush(file) != 0) {
    error = std::string("cannot write: ") + std::strerror(errno);
    return false;
  }
  return true;
}

#else

bool TiffSupported() { return false; }
std::string TiffVersion() { return ""; }
bool WriteTiff(std::FILE *, const RgbImage &, const TiffNotes &, std::string &error) {
  error = "TIFF is not available in this build (libtiff was not found)";
  return false;
}

#endif

}  // namespace tavrix::files
