#include "image_io.h"

#include <cstdio>
#include <memory>

#if TAVRIX_DEMO_HAVE_PNG
#include <png.h>
#endif

namespace demo {
namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

[[maybe_unused]] std::string WritePpm(std::string path, const RgbImage &image) {
  const std::size_t dot = path.rfind('.');
  if (dot != std::string::npos) path.resize(dot);
  path += ".ppm";
  File f(std::fopen(path.c_str(), "wb"), &std::fclose);
  if (!f) return "";
  std::fprintf(f.get(), "P6\n%d %d\n%d\n", image.width, image.height,
               image.bits == 16 ? 65535 : 255);
  std::vector<std::uint8_t> row;
  for (std::uint16_t v : image.data) {
    if (image.bits == 16) row.push_back(std::uint8_t(v >> 8));  // PPM words are big-endian
    row.push_back(std::uint8_t(v));
  }
  return std::fwrite(row.data(), 1, row.size(), f.get()) == row.size() ? path : "";
}

}  // namespace

#if TAVRIX_DEMO_HAVE_PNG
std::string WriteImage(const std::string &path, const RgbImage &image) {
  File f(std::fopen(path.c_str(), "wb"), &std::fclose);
  if (!f) return "";
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  if (!info || setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return "";
  }
  png_init_io(png, f.get());
  png_set_IHDR(png, info, image.width, image.height, image.bits, PNG_COLOR_TYPE_RGB,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  const std::size_t values = std::size_t(image.width) * 3;
  std::vector<png_byte> row(values * (image.bits / 8));
  for (int y = 0; y < image.height; ++y) {
    const std::uint16_t *src = image.data.data() + y * values;
    for (std::size_t i = 0; i < values; ++i) {
      if (image.bits == 16) {
        row[2 * i] = png_byte(src[i] >> 8);  // PNG words are big-endian
        row[2 * i + 1] = png_byte(src[i]);
      } else {
        row[i] = png_byte(src[i]);
      }
    }
    png_write_row(png, row.data());
  }
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return path;
}

bool ReadPng(const std::string &path, RgbImage &image) {
  png_image img{};
  img.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&img, path.c_str())) return false;
  img.format = PNG_FORMAT_RGB;
  std::vector<png_byte> buffer(PNG_IMAGE_SIZE(img));
  if (!png_image_finish_read(&img, nullptr, buffer.data(), 0, nullptr)) {
    png_image_free(&img);
    return false;
  }
  image.width = int(img.width);
  image.height = int(img.height);
  image.bits = 8;
  image.data.assign(buffer.begin(), buffer.end());
  return true;
}
#else
std::string WriteImage(const std::string &path, const RgbImage &image) {
  return WritePpm(path, image);
}
bool ReadPng(const std::string &, RgbImage &) { return false; }
#endif

}  // namespace demo
