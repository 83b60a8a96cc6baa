#include "image_files.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <memory>

#if TAVRIX_FILES_HAVE_PNG
#include <png.h>
#endif

namespace tavrix::files {
namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

// Larger frames than this are refused before anything is allocated for them.
constexpr std::uint64_t kMaxPixels = std::uint64_t(1) << 31;

int MaxValue(int bits) { return (1 << bits) - 1; }

// The bits needed to hold maxval: 255 -> 8, 4095 -> 12, 1000 -> 10.
int BitsOf(unsigned maxval) {
  int bits = 1;
  while ((1u << bits) - 1 < maxval) ++bits;
  return bits;
}

}  // namespace

bool ReadWholeFile(const std::string &path, std::vector<std::uint8_t> &bytes, std::string &error) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) {
    error = std::string("cannot open: ") + std::strerror(errno);
    return false;
  }
  if (!S_ISREG(info.st_mode)) {
    error = "not a regular file";
    return false;
  }
  File f(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!f) {
    error = std::string("cannot open: ") + std::strerror(errno);
    return false;
  }
  bytes.resize(std::size_t(info.st_size));
  if (std::fread(bytes.data(), 1, bytes.size(), f.get()) != bytes.size()) {
    error = std::string("cannot read: ") + (std::ferror(f.get()) ? std::strerror(errno) : "file shrank");
    return false;
  }
  return true;
}

namespace {

// The header of a binary PPM or PGM: magic, then width, height and maxval as
// decimal numbers separated by whitespace and # comments, then one whitespace byte.
class NetpbmHeader {
public:
  explicit NetpbmHeader(const std::vector<std::uint8_t> &bytes) : bytes_(bytes) {}

  bool Number(const char *what, unsigned &value, std::string &error) {
    SkipSpaceAndComments();
    std::uint64_t v = 0;
    std::size_t digits = 0;
    while (pos_ < bytes_.size() && std::isdigit(bytes_[pos_]) && digits < 10) {
      v = v * 10 + unsigned(bytes_[pos_++] - '0');
      ++digits;
    }
    if (digits == 0 || v > 0x7fffffff) {
      error = std::string("bad header: no valid ") + what;
      return false;
    }
    value = unsigned(v);
    return true;
  }
  // The single whitespace byte that ends the header.
  bool End(std::string &error) {
    if (pos_ >= bytes_.size() || !std::isspace(bytes_[pos_])) {
      error = "bad header: no whitespace after maxval";
      return false;
    }
    ++pos_;
    return true;
  }
  std::size_t Position() const { return pos_; }
  void Skip(std::size_t n) { pos_ += n; }

private:
  void SkipSpaceAndComments() {
    while (pos_ < bytes_.size()) {
      if (std::isspace(bytes_[pos_])) {
        ++pos_;
      } else if (bytes_[pos_] == '#') {
        while (pos_ < bytes_.size() && bytes_[pos_] != '\n') ++pos_;
      } else {
        break;
      }
    }
  }
  const std::vector<std::uint8_t> &bytes_;
  std::size_t pos_ = 0;
};

struct RasterShape {
  unsigned width = 0, height = 0, maxval = 0, channels = 0;
};

bool CheckShape(const RasterShape &s, std::string &error) {
  if (s.width == 0 || s.height == 0) {
    error = "empty image (" + std::to_string(s.width) + " x " + std::to_string(s.height) + ")";
    return false;
  }
  if (s.maxval == 0 || s.maxval > 65535) {
    error = "maxval " + std::to_string(s.maxval) + " outside 1..65535";
    return false;
  }
  if (std::uint64_t(s.width) * s.height > kMaxPixels) {
    error = "too large: " + std::to_string(s.width) + " x " + std::to_string(s.height);
    return false;
  }
  return true;
}

// The samples after a header, big-endian words when maxval exceeds 255; the
// data must fill the rest of the file exactly.
bool ReadSamples(const std::vector<std::uint8_t> &bytes, std::size_t start, const RasterShape &s,
                 std::vector<std::uint16_t> &samples, std::string &error) {
  const unsigned sampleBytes = s.maxval > 255 ? 2 : 1;
  const std::uint64_t count = std::uint64_t(s.width) * s.height * s.channels;
  const std::uint64_t need = count * sampleBytes, have = bytes.size() - start;
  if (have != need) {
    error = std::string(have < need ? "truncated" : "trailing data") + ": " +
            std::to_string(s.width) + " x " + std::to_string(s.height) + " x " +
            std::to_string(s.channels * sampleBytes) + " bytes need " + std::to_string(need) +
            " after the header, the file has " + std::to_string(have);
    return false;
  }
  samples.resize(std::size_t(count));
  const std::uint8_t *p = bytes.data() + start;
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = sampleBytes == 2 ? std::uint16_t(p[2 * i] << 8 | p[2 * i + 1]) : p[i];
  for (std::uint16_t v : samples)
    if (v > s.maxval) {
      error = "sample " + std::to_string(v) + " above maxval " + std::to_string(s.maxval);
      return false;
    }
  return true;
}

bool ParsePnm(const std::vector<std::uint8_t> &bytes, RasterShape &s, std::size_t &start,
              std::string &error) {
  NetpbmHeader header(bytes);
  header.Skip(2);
  if (!header.Number("width", s.width, error) || !header.Number("height", s.height, error) ||
      !header.Number("maxval", s.maxval, error) || !header.End(error))
    return false;
  start = header.Position();
  return CheckShape(s, error);
}

// PAM: "P7\n" then lines of KEY VALUE up to ENDHDR.
bool ParsePam(const std::vector<std::uint8_t> &bytes, RasterShape &s, std::size_t &start,
              std::string &error) {
  std::size_t pos = 3;
  std::string tupleType;
  for (;;) {
    const auto eol = std::find(bytes.begin() + std::ptrdiff_t(std::min(pos, bytes.size())),
                               bytes.end(), std::uint8_t('\n'));
    if (eol == bytes.end()) {
      error = "bad header: no ENDHDR";
      return false;
    }
    std::string line(bytes.begin() + std::ptrdiff_t(pos), eol);
    pos = std::size_t(eol - bytes.begin()) + 1;
    const std::size_t space = line.find_first_of(" \t");
    const std::string key = line.substr(0, space);
    const std::string value = space == std::string::npos ? "" : line.substr(space + 1);
    if (key == "ENDHDR") break;
    if (key.empty() || key[0] == '#') continue;
    if (key == "TUPLTYPE") {
      tupleType = value;
      continue;
    }
    unsigned *field = key == "WIDTH" ? &s.width : key == "HEIGHT" ? &s.height
                      : key == "DEPTH" ? &s.channels : key == "MAXVAL" ? &s.maxval : nullptr;
    if (field == nullptr) continue;
    char *end = nullptr;
    const unsigned long v = std::strtoul(value.c_str(), &end, 10);
    if (end == value.c_str() || v > 0x7fffffff) {
      error = "bad header: " + key + " " + value;
      return false;
    }
    *field = unsigned(v);
  }
  start = pos;
  if (s.channels != 3 && s.channels != 4) {
    error = "PAM of depth " + std::to_string(s.channels) + " (" + tupleType +
            "): only RGB and RGB_ALPHA are read";
    return false;
  }
  return CheckShape(s, error);
}

bool ReadNetpbmColour(const std::vector<std::uint8_t> &bytes, RgbImage &image,
                      std::string &error) {
  RasterShape s;
  std::size_t start = 0;
  s.channels = 3;
  if (!(bytes[1] == '6' ? ParsePnm(bytes, s, start, error) : ParsePam(bytes, s, start, error)))
    return false;
  std::vector<std::uint16_t> samples;
  if (!ReadSamples(bytes, start, s, samples, error)) return false;
  // Colour values come on a scale of 2^bits - 1, at least 8 bits: any other
  // maxval (100, 1000) is rescaled to it, rounding to nearest.
  image.width = int(s.width);
  image.height = int(s.height);
  image.bits = std::max(8, BitsOf(s.maxval));
  const std::uint32_t top = std::uint32_t(MaxValue(image.bits));
  if (top != s.maxval)
    for (std::uint16_t &v : samples) v = std::uint16_t((v * top + s.maxval / 2) / s.maxval);
  if (s.channels == 3) {
    image.data = std::move(samples);
  } else {  // drop the alpha channel
    image.data.resize(std::size_t(s.width) * s.height * 3);
    for (std::size_t i = 0, j = 0; i < image.data.size(); i += 3, j += 4)
      std::copy(&samples[j], &samples[j] + 3, &image.data[i]);
  }
  return true;
}

bool Put(std::FILE *file, const void *data, std::size_t size, std::string &error) {
  if (std::fwrite(data, 1, size, file) == size) return true;
  error = std::string("cannot write: ") + std::strerror(errno);
  return false;
}

// Netpbm rows: one byte per value up to maxval 255, big-endian words above.
bool PutNetpbmRows(std::FILE *file, const std::vector<std::uint16_t> &values, std::size_t perRow,
                   int bits, std::string &error) {
  const std::uint16_t top = std::uint16_t(MaxValue(bits));
  const bool wide = bits > 8;
  std::vector<std::uint8_t> row(perRow * (wide ? 2 : 1));
  for (std::size_t start = 0; start < values.size(); start += perRow) {
    for (std::size_t i = 0; i < perRow; ++i) {
      const std::uint16_t v = std::min(values[start + i], top);
      if (wide) {
        row[2 * i] = std::uint8_t(v >> 8);
        row[2 * i + 1] = std::uint8_t(v);
      } else {
        row[i] = std::uint8_t(v);
      }
    }
    if (!Put(file, row.data(), row.size(), error)) return false;
  }
  return true;
}

bool WriteNetpbm(std::FILE *file, FileType type, const RgbImage &image, std::string &error) {
  char header[160];
  const int maxval = MaxValue(image.bits);
  const int n =
      type == FileType::kPam
          ? std::snprintf(header, sizeof header,
                          "P7\nWIDTH %d\nHEIGHT %d\nDEPTH 3\nMAXVAL %d\nTUPLTYPE RGB\nENDHDR\n",
                          image.width, image.height, maxval)
          : std::snprintf(header, sizeof header, "P6\n%d %d\n%d\n", image.width, image.height,
                          maxval);
  return Put(file, header, std::size_t(n), error) &&
         PutNetpbmRows(file, image.data, std::size_t(image.width) * 3, image.bits, error);
}

bool ValidColourImage(const RgbImage &image, std::string &error) {
  if (image.width <= 0 || image.height <= 0 || image.bits < 1 || image.bits > 16 ||
      image.data.size() != std::size_t(image.width) * std::size_t(image.height) * 3) {
    error = "internal: inconsistent image description";
    return false;
  }
  return true;
}

#if TAVRIX_FILES_HAVE_PNG
// libpng reports errors through a callback that must not return.
[[noreturn]] void PngError(png_structp png, png_const_charp message) {
  *static_cast<std::string *>(png_get_error_ptr(png)) = message;
  png_longjmp(png, 1);
}
void PngWarning(png_structp, png_const_charp) {}

// zlib level 1 instead of the default 6: on the 4096 x 3072 chart it takes
// 0.48 s instead of 0.86 s for the 8-bit PNG and 0.95 s instead of 2.7 s for
// the 16-bit one, for files about a fifth larger.
constexpr int kPngCompressionLevel = 1;

// Runs libpng calls, returning false when one of them fails. `work` must keep
// no object with a destructor of its own on the stack: a failure longjmps out.
template <class Work>
bool PngGuarded(png_structp png, const Work &work) {
  if (setjmp(png_jmpbuf(png))) return false;
  work();
  return true;
}

bool WritePng(std::FILE *file, const RgbImage &image, std::string &error) {
  const int depth = image.bits <= 8 ? 8 : 16;
  const int shift = depth - image.bits;
  const std::uint16_t top = std::uint16_t(MaxValue(image.bits));
  const std::size_t values = std::size_t(image.width) * 3;
  std::vector<png_byte> row(values * std::size_t(depth / 8));
  std::string message = "out of memory";
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &message, PngError, PngWarning);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  const bool written = info && PngGuarded(png, [&] {
    png_init_io(png, file);
    png_set_compression_level(png, kPngCompressionLevel);
    png_set_IHDR(png, info, png_uint_32(image.width), png_uint_32(image.height), depth,
                 PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (shift > 0) {  // readers learn the sensor's scale back from sBIT
      png_color_8 significant{};
      significant.red = significant.green = significant.blue = png_byte(image.bits);
      png_set_sBIT(png, info, &significant);
    }
    png_write_info(png, info);
    for (int y = 0; y < image.height; ++y) {
      const std::uint16_t *src = image.data.data() + std::size_t(y) * values;
      for (std::size_t i = 0; i < values; ++i) {
        const unsigned v = unsigned(std::min(src[i], top)) << shift;
        if (depth == 16) {
          row[2 * i] = png_byte(v >> 8);  // PNG words are big-endian
          row[2 * i + 1] = png_byte(v);
        } else {
          row[i] = png_byte(v);
        }
      }
      png_write_row(png, row.data());
    }
    png_write_end(png, nullptr);
  });
  png_destroy_write_struct(&png, &info);
  if (!written) {
    error = "cannot write PNG: " + message;
    return false;
  }
  if (std::fflush(file) != 0) {
    error = std::string("cannot write: ") + std::strerror(errno);
    return false;
  }
  return true;
}

// The file's bytes, already read, handed to libpng.
struct PngSource {
  const std::vector<std::uint8_t> &bytes;
  std::size_t position;
};

void ReadPngBytes(png_structp png, png_bytep out, png_size_t count) {
  PngSource &source = *static_cast<PngSource *>(png_get_io_ptr(png));
  if (count > source.bytes.size() - source.position) png_error(png, "truncated");
  std::memcpy(out, source.bytes.data() + source.position, count);
  source.position += count;
}

bool ReadPng(const std::vector<std::uint8_t> &bytes, RgbImage &image, std::string &error) {
  PngSource source{bytes, 0};
  std::string message = "out of memory";
  std::vector<png_byte> pixels;
  std::vector<png_bytep> rows;
  png_uint_32 width = 0, height = 0;
  int depth = 8, significant = 8;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &message, PngError, PngWarning);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  const bool read = info && PngGuarded(png, [&] {
    png_set_read_fn(png, &source, ReadPngBytes);
    png_read_info(png, info);
    width = png_get_image_width(png, info);
    height = png_get_image_height(png, info);
    const int colourType = png_get_color_type(png, info);
    depth = png_get_bit_depth(png, info) == 16 ? 16 : 8;
    significant = depth;
    png_color_8p sbit = nullptr;
    if (depth == 16 && png_get_sBIT(png, info, &sbit) && sbit) {
      const bool grey = (colourType & PNG_COLOR_MASK_COLOR) == 0;
      const int s = grey ? sbit->gray : sbit->red;
      if (s >= 1 && s < 16 && (grey || (sbit->green == s && sbit->blue == s))) significant = s;
    }
    if (std::uint64_t(width) * height > kMaxPixels) png_error(png, "image too large");
    png_set_expand(png);  // palette to RGB, grey below 8 bits to 8
    png_set_strip_alpha(png);
    png_set_gray_to_rgb(png);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    if (rowBytes != std::size_t(width) * 3 * std::size_t(depth / 8))
      png_error(png, "unexpected row layout");
    pixels.resize(rowBytes * height);
    rows.resize(height);
    for (png_uint_32 y = 0; y < height; ++y) rows[y] = pixels.data() + y * rowBytes;
    png_read_image(png, rows.data());
    png_read_end(png, nullptr);
  });
  png_destroy_read_struct(&png, &info, nullptr);
  if (!read) {
    error = "bad PNG: " + message;
    return false;
  }
  image.width = int(width);
  image.height = int(height);
  image.bits = significant;
  image.data.resize(std::size_t(width) * height * 3);
  const int shift = depth - significant;
  for (std::size_t i = 0; i < image.data.size(); ++i)
    image.data[i] = depth == 16 ? std::uint16_t((pixels[2 * i] << 8 | pixels[2 * i + 1]) >> shift)
                                : pixels[i];
  return true;
}
#endif

}  // namespace

FileType TypeFromName(const std::string &path) {
  const std::size_t dot = path.rfind('.');
  const std::size_t slash = path.rfind('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
    return FileType::kUnknown;
  std::string ext = path.substr(dot + 1);
  for (char &c : ext) c = char(std::tolower(static_cast<unsigned char>(c)));
  if (ext == "png") return FileType::kPng;
  if (ext == "ppm") return FileType::kPpm;
  if (ext == "pam") return FileType::kPam;
  if (ext == "pgm") return FileType::kPgm;
  if (ext == "tif" || ext == "tiff") return FileType::kTiff;
  return FileType::kUnknown;
}

#if TAVRIX_FILES_HAVE_PNG
bool PngSupported() { return true; }
std::string PngVersion() { return png_get_libpng_ver(nullptr); }
#else
bool PngSupported() { return false; }
std::string PngVersion() { return ""; }
#endif

bool WriteImage(std::FILE *file, FileType type, const RgbImage &image, std::string &error) {
  if (!ValidColourImage(image, error)) return false;
  switch (type) {
    case FileType::kPpm:
    case FileType::kPam:
      return WriteNetpbm(file, type, image, error);
    case FileType::kPng:
#if TAVRIX_FILES_HAVE_PNG
      return WritePng(file, image, error);
#else
      error = "PNG is not available in this build (libpng was not found); write .ppm or .pam";
      return false;
#endif
    default:
      error = "unknown image type (use .png, .ppm or .pam)";
      return false;
  }
}

bool WriteImage(const std::string &path, const RgbImage &image, std::string &error) {
  File f(std::fopen(path.c_str(), "wb"), &std::fclose);
  if (!f) {
    error = std::string("cannot create: ") + std::strerror(errno);
    return false;
  }
  if (!WriteImage(f.get(), TypeFromName(path), image, error)) return false;
  if (std::fclose(f.release()) != 0) {
    error = std::string("cannot write: ") + std::strerror(errno);
    return false;
  }
  return true;
}

std::string WriteViewableImage(std::string path, const RgbImage &image) {
  if (!PngSupported() || TypeFromName(path) != FileType::kPng) {
    const std::size_t dot = path.rfind('.');
    if (dot != std::string::npos) path.resize(dot);
    path += ".ppm";
  }
  std::string error;
  return WriteImage(path, image, error) ? path : "";
}

bool ReadImage(const std::string &path, RgbImage &image, std::string &error) {
  std::vector<std::uint8_t> bytes;
  if (!ReadWholeFile(path, bytes, error)) return false;
  static const std::uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  if (bytes.size() >= 8 && std::equal(kPngSignature, kPngSignature + 8, bytes.begin())) {
#if TAVRIX_FILES_HAVE_PNG
    return ReadPng(bytes, image, error);
#else
    error = "PNG is not available in this build (libpng was not found)";
    return false;
#endif
  }
  if (bytes.size() >= 3 && bytes[0] == 'P' && bytes[1] == '6') return ReadNetpbmColour(bytes, image, error);
  if (bytes.size() >= 3 && bytes[0] == 'P' && bytes[1] == '7' && bytes[2] == '\n')
    return ReadNetpbmColour(bytes, image, error);
  error = "not a colour image (PNG, binary PPM or RGB PAM)";
  return false;
}

bool WritePgm(std::FILE *file, const GreyImage &image, std::string &error) {
  if (image.width <= 0 || image.height <= 0 || image.bits < 1 || image.bits > 16 ||
      image.data.size() != std::size_t(image.width) * std::size_t(image.height)) {
    error = "internal: inconsistent image description";
    return false;
  }
  char header[64];
  const int n = std::snprintf(header, sizeof header, "P5\n%d %d\n%d\n", image.width, image.height,
                              MaxValue(image.bits));
  return Put(file, header, std::size_t(n), error) &&
         PutNetpbmRows(file, image.data, std::size_t(image.width), image.bits, error);
}

bool ReadPgm(const std::string &path, GreyImage &image, std::string &error) {
  std::vector<std::uint8_t> bytes;
  if (!ReadWholeFile(path, bytes, error)) return false;
  if (bytes.size() < 3 || bytes[0] != 'P' || bytes[1] != '5') {
    error = "not a binary PGM (no P5 header)";
    return false;
  }
  RasterShape s;
  std::size_t start = 0;
  s.channels = 1;
  if (!ParsePnm(bytes, s, start, error) || !ReadSamples(bytes, start, s, image.data, error))
    return false;
  image.width = int(s.width);
  image.height = int(s.height);
  image.bits = BitsOf(s.maxval);
  image.wide = s.maxval > 255;
  return true;
}

bool ReadRawMosaic(const std::string &path, int width, int height, int bits, GreyImage &image,
                   std::string &error) {
  if (width <= 0 || height <= 0 || bits < 8 || bits > 16 ||
      std::uint64_t(width) * std::uint64_t(height) > kMaxPixels) {
    error = "internal: raw size out of range";
    return false;
  }
  std::vector<std::uint8_t> bytes;
  if (!ReadWholeFile(path, bytes, error)) return false;
  const unsigned sampleBytes = bits > 8 ? 2 : 1;
  const std::uint64_t need = std::uint64_t(width) * std::uint64_t(height) * sampleBytes;
  if (bytes.size() != need) {
    error = "file holds " + std::to_string(bytes.size()) + " bytes, but " + std::to_string(width) +
            " x " + std::to_string(height) + " x " + std::to_string(sampleBytes) +
            (sampleBytes == 2 ? " bytes (16-bit words) needs " : " byte (8-bit samples) needs ") +
            std::to_string(need);
    return false;
  }
  image.width = width;
  image.height = height;
  image.bits = bits;
  image.wide = sampleBytes == 2;
  image.data.resize(std::size_t(width) * std::size_t(height));
  for (std::size_t i = 0; i < image.data.size(); ++i)
    image.data[i] = sampleBytes == 2 ? std::uint16_t(bytes[2 * i] | bytes[2 * i + 1] << 8) : bytes[i];
  return true;
}

}  // namespace tavrix::files
