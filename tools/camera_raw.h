// Camera raw files (DNG and the makers' formats) read through LibRaw, when the
// build found it. Only LibRaw's unpacking is used: the Bayer mosaic as the
// sensor delivered it, its colour pattern, the visible area, the black and
// white levels and the as-shot multipliers. Everything after that (black
// subtraction, scaling, demosaicing, white balance) is tavrix's.
#ifndef TAVRIX_TOOLS_CAMERA_RAW_H
#define TAVRIX_TOOLS_CAMERA_RAW_H

#include <string>

#include "image_files.h"

namespace tavrix::files {

struct CameraRaw {
  // The visible area, trimmed to an even width and height, black subtracted
  // and scaled so that the white level becomes 2^bits - 1.
  GreyImage mosaic;
  // The colours of the first two samples of the first row: "GB", "GR", "BG" or "RG".
  std::string pattern;
  // As-shot white balance as gains for red, green, blue, scaled so that the
  // smallest is 1; all 0 when the file records none.
  double multipliers[3] = {0, 0, 0};
  std::string make, model;  // the camera, as LibRaw names it
  int black = 0;       // the black level (the smallest, when it varies by colour)
  int white = 0;       // the white level
};

// Whether this build reads camera raw files, and LibRaw's version ("" without).
bool CameraRawSupported();
std::string LibRawVersion();

// Reads a camera raw file. `bits` is the depth to scale to, 8..16, or 0 for
// the bits the white level needs (at least 8). Returns false with a one-line
// reason in `error` for damaged files and for sensors that are not 2 x 2
// Bayer mosaics (X-Trans, Foveon, linear DNG, four-colour).
bool ReadCameraRaw(const std::string &path, int bits, CameraRaw &raw, std::string &error);

}  // namespace tavrix::files

#endif
