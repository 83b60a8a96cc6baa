// Files of the camera raw tests, through libtiff: small DNG files with only
// the tags a raw reader needs to unpack a Bayer mosaic, and the TIFF images
// tavrix writes, read back.
#ifndef TAVRIX_TESTS_TOOLS_RAW_TEST_FILES_H
#define TAVRIX_TESTS_TOOLS_RAW_TEST_FILES_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tavrix::cli_test {

// CFAPattern colour codes.
enum CfaColour : std::uint8_t { kRed = 0, kGreen = 1, kBlue = 2 };

struct DngDescription {
  int width = 0, height = 0;            // the stored image
  int bits = 16;                        // BitsPerSample: 8, 12 or 16 (12 packed MSB first)
  int channels = 1;                     // 1: CFA; 3: a linear (demosaiced) DNG
  std::array<std::uint8_t, 4> cfa = {kGreen, kBlue, kRed, kGreen};  // 2 x 2, row-major
  std::vector<std::uint16_t> samples;   // width * height * channels
  std::uint32_t black = 0;
  std::uint32_t white = 0;              // 0: (1 << bits) - 1
  std::array<float, 3> neutral = {0, 0, 0};      // AsShotNeutral; all 0: none
  std::array<std::uint32_t, 4> activeArea = {0, 0, 0, 0};  // top, left, bottom, right; 0: none
  int storedRows = -1;                  // rows of data actually stored; -1: all
};

// Writes the file; returns false when libtiff refused.
bool WriteDng(const std::string &path, const DngDescription &dng);

// An RGB TIFF of 8 or 16 bits per channel: the values as stored, and the
// description tag. Width 0 when libtiff cannot read it.
struct TiffPicture {
  int width = 0, height = 0, bitsPerSample = 0;
  std::vector<std::uint16_t> rgb;
  std::string description;
};
TiffPicture ReadTiff(const std::string &path);

}  // namespace tavrix::cli_test

#endif
