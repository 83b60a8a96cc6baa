// The demosaic command's sensor options: --pattern under any name of the
// library's pattern table, --packing for headerless files in a camera's layout.
#ifndef TAVRIX_TOOLS_SENSOR_INPUT_H
#define TAVRIX_TOOLS_SENSOR_INPUT_H

#include <optional>
#include <string>

#include <tavrix/formats.h>

#include "cli.h"
#include "image_files.h"

namespace tavrix::cli {

// What --pattern and --packing say about the input.
struct SensorFormat {
  ePatternOrigin origin = eOriginGB;
  std::optional<Packing> packing;  // from --packing, else from a pattern name that carries one
  int bits = 0;                    // from the layout or the pattern name; 0: not said
  bool packingGiven = false;       // --packing was on the command line
};

// Reads --pattern and --packing (either may be absent); refuses unknown names
// and a --packing that contradicts the layout the pattern name carries.
SensorFormat ReadSensorFormat(const Arguments &a);

// The bit depth of a headerless input: --bits (0 when absent) checked against
// the layout, or the layout's own. Refuses what the layout cannot carry.
int HeaderlessBits(const Arguments &a, const SensorFormat &f, int bits, int width);

// A headerless file of exactly `height` rows of `width` samples in `packing`.
bool ReadPackedMosaic(const std::string &path, int width, int height, int bits, Packing packing,
                      files::GreyImage &image, std::string &error);

}  // namespace tavrix::cli

#endif
