// The tool's checks on their edges: the largest value each accepts and the
// smallest it refuses.
#include "cli_test_support.h"

namespace tavrix::cli_test {
namespace {

class ToolEdgesTest : public ToolTest {};

// A binary PPM of one grey level, 16-bit words above maxval 255.
Bytes GreyPpm(int width, int height, int maxval, std::uint16_t level) {
  const std::string header = "P6\n" + std::to_string(width) + " " + std::to_string(height) +
                             "\n" + std::to_string(maxval) + "\n";
  Bytes bytes(header.begin(), header.end());
  for (int k = 0; k < 3 * width * height; ++k) {
    if (maxval > 255) bytes.push_back(std::uint8_t(level >> 8));
    bytes.push_back(std::uint8_t(level));
  }
  return bytes;
}

TEST_F(ToolEdgesTest, LimitsAcceptTheirLastValueAndRefuseTheNext) {
  std::vector<std::uint16_t> samples(16 * 12, 1023);
  Write("top.pgm", PgmBytes(16, 12, 4095, samples));
  samples.back() = 1024;
  Write("over.pgm", PgmBytes(16, 12, 4095, samples));
  Write("tworows.pgm", PgmBytes(16, 2, 255, RandomSamples(32, 8, 1)));
  Write("tenbits.ppm", GreyPpm(4, 2, 1023, 700));
  const Refusal kCases[] = {
      {"demosaic over.pgm out.ppm --bits 10", "over.pgm",
       "sample 1024 at row 11, column 15 does not fit in 10 bits"},
      {"demosaic tworows.pgm out.ppm", "tworows.pgm", "16 x 2 is too small"},
      {"demosaic top.pgm out.ppm --bits 17", "demosaic",
       "--bits 17: expected a whole number from 8 to 16"},
      {"demosaic top.pgm out.ppm --decimate 1025", "demosaic",
       "--decimate 1025: expected a whole number from 1 to 1024"},
      {"balance tenbits.ppm out.ppm --estimator grayworld --depth 9", "tenbits.ppm",
       "holds 10-bit values"},
  };
  ExpectRefused(kCases);
  for (const char *accepted :
       {"demosaic top.pgm a.ppm --bits 10", "demosaic top.pgm b.ppm --bits 16",
        "balance tenbits.ppm c.ppm --estimator grayworld --depth 10"}) {
    const RunResult r = Run(accepted);
    EXPECT_EQ(r.status, 0) << accepted << ": " << r.err;
  }
}

}  // namespace
}  // namespace tavrix::cli_test
