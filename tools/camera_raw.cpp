#include "camera_raw.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>

#if TAVRIX_FILES_HAVE_LIBRAW
#include <libraw/libraw.h>
#endif

namespace tavrix::files {

#if TAVRIX_FILES_HAVE_LIBRAW
namespace {

// LibRaw's colour numbers; the second green of a cell is 3.
constexpr int kRed = 0, kGreen = 1, kBlue = 2, kSecondGreen = 3;
// LibRaw describes a pattern by one 32-bit word that repeats every 8 rows and
// 2 columns; checking 16 rows and 4 columns covers it twice over.
constexpr int kPatternRows = 16, kPatternColumns = 4;
// Its pattern word for X-Trans sensors, and the largest word that still
// names a 4-colour table pattern rather than a repeating 2 x 2 one.
constexpr unsigned kXTransFilters = 9, kLastTableFilters = 999;

int ColourAt(LibRaw &raw, int row, int column) {
  const int colour = raw.COLOR(row, column);
  return colour == kSecondGreen ? kGreen : colour;
}

char Letter(int colour) { return colour == kRed ? 'R' : colour == kGreen ? 'G' : colour == kBlue ? 'B' : '?'; }

// "GB", "GR", "BG" or "RG" for a Bayer mosaic; otherwise "" and `seen` holds
// the first two rows of the pattern ("RGB/GGB ...") for the message.
std::string BayerPattern(LibRaw &raw, std::string &seen) {
  const int cell[2][2] = {{ColourAt(raw, 0, 0), ColourAt(raw, 0, 1)},
                          {ColourAt(raw, 1, 0), ColourAt(raw, 1, 1)}};
  for (int r = 0; r < 2; ++r) {
    for (int c = 0; c < kPatternColumns; ++c) seen += Letter(ColourAt(raw, r, c));
    if (r == 0) seen += '/';
  }
  for (int r = 0; r < kPatternRows; ++r)
    for (int c = 0; c < kPatternColumns; ++c)
      if (ColourAt(raw, r, c) != cell[r & 1][c & 1]) return "";
  const bool redAndBlue = (cell[0][0] == kRed && cell[1][1] == kBlue) ||
                          (cell[0][0] == kBlue && cell[1][1] == kRed) ||
                          (cell[0][1] == kRed && cell[1][0] == kBlue) ||
                          (cell[0][1] == kBlue && cell[1][0] == kRed);
  const bool greenDiagonal = (cell[0][0] == kGreen && cell[1][1] == kGreen) ||
                             (cell[0][1] == kGreen && cell[1][0] == kGreen);
  if (!redAndBlue || !greenDiagonal) return "";
  return {Letter(cell[0][0]), Letter(cell[0][1])};
}

void IgnoreDataError(void *errors, const char *, int) { ++*static_cast<int *>(errors); }

bool Refuse(std::string &error, const std::string &why) {
  error = why;
  return false;
}

// The bits needed to hold `value`, at least 8 and at most 16.
int BitsFor(unsigned value) {
  int bits = 8;
  while (bits < 16 && (1u << bits) - 1 < value) ++bits;
  return bits;
}

bool ReadWithLibRaw(const std::string &path, int bits, CameraRaw &out, std::string &error) {
  auto owner = std::make_unique<LibRaw>();  // several hundred KB: not on the stack
  LibRaw &raw = *owner;
  int dataErrors = 0;
  raw.set_dataerror_handler(IgnoreDataError, &dataErrors);  // LibRaw would print them
  int rc = raw.open_file(path.c_str());
  if (rc != LIBRAW_SUCCESS)
    return Refuse(error, std::string("not a camera raw file LibRaw can read (") + libraw_strerror(rc) + ")");
  const libraw_iparams_t &id = raw.imgdata.idata;
  if (id.filters == kXTransFilters)
    return Refuse(error, "X-Trans sensor: its 6 x 6 colour pattern is not a Bayer mosaic");
  if (id.is_foveon || id.filters == 0)
    return Refuse(error, "no colour-filter mosaic (Foveon, linear DNG or other full-colour raw data)");
  if (id.colors != 3)
    return Refuse(error, std::to_string(id.colors) + "-colour sensor (" + id.cdesc +
                             "), not a red, green and blue Bayer mosaic");
  if (raw.get_internal_data_pointer()->internal_output_params.fuji_width != 0)
    return Refuse(error, "Super CCD sensor: its samples lie on a grid turned by 45 degrees");
  std::string seen;
  const std::string pattern = id.filters <= kLastTableFilters ? "" : BayerPattern(raw, seen);
  if (pattern.empty())
    return Refuse(error, "colour pattern " + (seen.empty() ? std::string("of a table sensor") : seen) +
                             " is not a 2 x 2 Bayer mosaic");

  rc = raw.unpack();
  if (rc != LIBRAW_SUCCESS)
    return Refuse(error, std::string("damaged raw data (") + libraw_strerror(rc) + ")");
  if (dataErrors > 0 || raw.error_count() > 0) return Refuse(error, "damaged or truncated raw data");
  const libraw_rawdata_t &data = raw.imgdata.rawdata;
  const libraw_image_sizes_t &size = raw.imgdata.sizes;
  if (data.raw_image == nullptr)
    return Refuse(error, "no Bayer mosaic in the raw data (LibRaw unpacked full-colour pixels)");
  const std::size_t pitch = size.raw_pitch / sizeof(std::uint16_t);
  if (pitch < size.raw_width || size.top_margin + size.height > size.raw_height ||
      size.left_margin + size.width > size.raw_width)
    return Refuse(error, "visible area lies outside the raw data");
  // The converter takes whole 2 x 2 cells: an odd last row or column is dropped.
  const int width = size.width & ~1, height = size.height & ~1;
  if (width < 4 || height < 4)
    return Refuse(error, "visible area " + std::to_string(size.width) + " x " +
                             std::to_string(size.height) + " is smaller than 4 x 4");

  const libraw_colordata_t &colour = raw.imgdata.color;
  const unsigned white = colour.maximum;
  const unsigned patternRows = colour.cblack[4], patternColumns = colour.cblack[5];
  const bool blackPattern = patternRows > 0 && patternColumns > 0 &&
                            6 + std::size_t(patternRows) * patternColumns <= LIBRAW_CBLACK_SIZE;
  const int target = bits != 0 ? bits : BitsFor(white);
  const std::uint64_t top = (1u << target) - 1;

  GreyImage &m = out.mosaic;
  m.width = width;
  m.height = height;
  m.bits = target;
  m.wide = target > 8;
  m.data.resize(std::size_t(width) * std::size_t(height));
  unsigned lowestBlack = ~0u;
  for (int r = 0; r < height; ++r) {
    const std::uint16_t *row = data.raw_image + (size.top_margin + std::size_t(r)) * pitch + size.left_margin;
    unsigned blackOf[2];  // the black level of the row's even and odd columns, before the pattern
    for (int c = 0; c < 2; ++c) blackOf[c] = colour.black + colour.cblack[raw.COLOR(r, c) & 3];
    for (int c = 0; c < width; ++c) {
      unsigned black = blackOf[c & 1];
      if (blackPattern) black += colour.cblack[6 + (r % patternRows) * patternColumns + c % patternColumns];
      if (black >= white)
        return Refuse(error, "white level " + std::to_string(white) + " is not above the black level " +
                                 std::to_string(black));
      lowestBlack = std::min(lowestBlack, black);
      const std::uint64_t range = white - black;
      const std::uint64_t signal = row[c] <= black ? 0 : std::min<std::uint64_t>(row[c] - black, range);
      m.data[std::size_t(r) * width + c] = std::uint16_t((2 * signal * top + range) / (2 * range));
    }
  }

  out.pattern = pattern;
  out.black = int(lowestBlack);
  out.white = int(white);
  const float *mul = colour.cam_mul;  // red, green, blue, second green
  const bool recorded = std::isfinite(mul[0]) && std::isfinite(mul[1]) && std::isfinite(mul[2]) &&
                        mul[0] > 0 && mul[1] > 0 && mul[2] > 0;
  const double smallest = std::min({double(mul[0]), double(mul[1]), double(mul[2])});
  for (int c = 0; c < 3; ++c) out.multipliers[c] = recorded ? mul[c] / smallest : 0;
  out.make = id.make;
  out.model = id.model;
  return true;
}

}  // namespace

bool CameraRawSupported() { return true; }
std::string LibRawVersion() { return LibRaw::version(); }

#else

bool CameraRawSupported() { return false; }
std::string LibRawVersion() { return ""; }

namespace {
bool ReadWithLibRaw(const std::string &, int, CameraRaw &, std::string &error) {
  error = "not a camera raw file this build can read (it was built without LibRaw)";
  return false;
}
}  // namespace

#endif

bool ReadCameraRaw(const std::string &path, int bits, CameraRaw &raw, std::string &error) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) {
    error = std::string("cannot open: ") + std::strerror(errno);
    return false;
  }
  if (!S_ISREG(info.st_mode)) {
    error = "not a regular file";
    return false;
  }
  if (info.st_size == 0) {
    error = "empty file";
    return false;
  }
  return ReadWithLibRaw(path, bits, raw, error);
}

}  // namespace tavrix::files
