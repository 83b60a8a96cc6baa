// TIFF output of the tavrix tool, through libtiff when the build found it:
// 8 bits per channel for 8-bit images, 16 otherwise.
#ifndef TAVRIX_TOOLS_TIFF_FILES_H
#define TAVRIX_TOOLS_TIFF_FILES_H

#include <cstdio>
#include <string>

#include "image_files.h"

namespace tavrix::files {

// Whether this build writes TIFF, and libtiff's version ("" without).
bool TiffSupported();
std::string TiffVersion();

// What a TIFF records besides the pixels, as text tags.
struct TiffNotes {
  std::string description;  // ImageDescription
  std::string software;     // Software
  std::string make, model;  // Make, Model: the camera, when known
};

// Writes an uncompressed RGB TIFF to `file` (which must allow seeking). Images
// of more than 8 bits are stored as 16-bit words shifted left to the full
// scale, as in a 16-bit PNG; the significant bits belong in the description.
bool WriteTiff(std::FILE *file, const RgbImage &image, const TiffNotes &notes, std::string &error);

}  // namespace tavrix::files

#endif
