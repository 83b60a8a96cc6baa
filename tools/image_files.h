// Image files of the tavrix tool and the demonstration programs: colour images
// as PNG (through libpng, when the build found it), binary PPM or PAM; raw
// Bayer mosaics as binary PGM or as headerless files of samples.
//
// Every reader and writer returns false on failure and leaves a one-line
// reason, without the file name, in `error`.
#ifndef TAVRIX_TOOLS_IMAGE_FILES_H
#define TAVRIX_TOOLS_IMAGE_FILES_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace tavrix::files {

// Interleaved colour, top row first: red, green, blue per pixel.
struct RgbImage {
  int width = 0, height = 0;
  int bits = 8;                     // significant bits per channel, 1..16
  std::vector<std::uint16_t> data;  // width * height * 3 values, each 0 .. 2^bits - 1
};

// One sample per pixel, top row first (a raw mosaic).
struct GreyImage {
  int width = 0, height = 0;
  int bits = 8;                     // significant bits, from the PGM maxval or the caller
  bool wide = false;                // samples were stored as 16-bit words
  std::vector<std::uint16_t> data;  // width * height samples
};

enum class FileType { kPng, kPpm, kPam, kPgm, kTiff, kUnknown };

// The type named by the file's extension (case-insensitive).
FileType TypeFromName(const std::string &path);

// Whether this build reads and writes PNG, and the libpng version ("" without).
bool PngSupported();
std::string PngVersion();

// Writes a colour image of type kPng, kPpm or kPam. PNG stores 8 bits per
// channel up to 8 significant bits, 16 otherwise, values shifted up to the
// full scale and the significant bits recorded (sBIT); PPM and PAM store
// maxval 2^bits - 1. Values above 2^bits - 1 are written as 2^bits - 1.
bool WriteImage(std::FILE *file, FileType type, const RgbImage &image, std::string &error);
// The same into a new file, the type taken from the name.
bool WriteImage(const std::string &path, const RgbImage &image, std::string &error);

// For pictures meant to be looked at: PNG when this build has it, otherwise
// PPM under the same name with the extension .ppm. Returns the path written,
// or "" on failure.
std::string WriteViewableImage(std::string path, const RgbImage &image);

// Reads a PNG (any colour type; alpha dropped, grey spread to three channels),
// a binary PPM or an RGB PAM, recognised by content. A 16-bit PNG whose sBIT
// chunk records fewer significant bits is brought back to that scale; a
// maxval other than 2^bits - 1 (bits at least 8) is rescaled to it.
bool ReadImage(const std::string &path, RgbImage &image, std::string &error);

// Binary PGM (P5): 8-bit samples for maxval up to 255, big-endian words above.
bool WritePgm(std::FILE *file, const GreyImage &image, std::string &error);
bool ReadPgm(const std::string &path, GreyImage &image, std::string &error);

// A headerless file of exactly width x height samples: bytes when bits is 8,
// little-endian 16-bit words when bits is 9..16. Sizes are checked, samples not.
bool ReadRawMosaic(const std::string &path, int width, int height, int bits, GreyImage &image,
                   std::string &error);

// The whole of a regular file.
bool ReadWholeFile(const std::string &path, std::vector<std::uint8_t> &bytes, std::string &error);

}  // namespace tavrix::files

#endif
