#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "bayer/lut_rules.h"
#include "bayer/table_shape.h"
#include "cpu/dispatch.h"
#include "support/paths.h"

#ifndef TAVRIX_TEST_LAUNCHER
#define TAVRIX_TEST_LAUNCHER ""  // cross builds name the emulator here
#endif

namespace {

using tavrix::detail::Path;
namespace d = tavrix::detail;

TEST(Dispatch, PrintsThePathsOfThisCpu) {
  std::printf("%s; chosen without a cap or a test override: %s\n",
              path_test::PathReport().c_str(), d::PathName(d::ActivePath()));
  EXPECT_TRUE(d::CpuSupports(Path::kReference));
}

TEST(Dispatch, ChoosesOnlyWhatTheCpuRunsAndWasProven) {
  const Path active = d::ActivePath();
  EXPECT_TRUE(d::CpuSupports(active));
  EXPECT_TRUE(d::PathProven(active));
  EXPECT_FALSE(d::PathProven(Path::kAvx512)) << "prove AVX-512 on such a CPU before enabling it";
}

#if defined(__aarch64__)
TEST(Dispatch, ChoosesNeonOnArm) { EXPECT_EQ(d::ActivePath(), Path::kNeon); }
#endif

TEST(Dispatch, ForcingFollowsTheCpu) {
  for (Path p : d::ArchitecturePaths()) {
    SCOPED_TRACE(d::PathName(p));
    EXPECT_EQ(d::ForcePathForTesting(p), d::CpuSupports(p));
    if (d::CpuSupports(p)) {
      EXPECT_EQ(d::ActivePath(), p);
    }
    d::ClearForcedPath();
  }
}

TEST(Dispatch, AdmitsNestedX86PathsAndNeonAlone) {
  struct Case { Path active, wanted; bool admitted; };
  constexpr Case kCases[] = {
      {Path::kReference, Path::kReference, true}, {Path::kReference, Path::kSse41, false},
      {Path::kAvx2, Path::kSse41, true},          {Path::kAvx2, Path::kAvx512, false},
      {Path::kAvx512, Path::kAvx2, true},         {Path::kNeon, Path::kSse41, false},
      {Path::kNeon, Path::kNeon, true},           {Path::kAvx2, Path::kNeon, false},
      {Path::kNeon, Path::kReference, true}};
  for (const Case &c : kCases)
    EXPECT_EQ(d::Admits(c.active, c.wanted), c.admitted)
        << d::PathName(c.active) << " / " << d::PathName(c.wanted);
}

// The cap is read once per process, so it is checked in a child process.
TEST(Dispatch, EnvironmentCapsThePath) {
  struct Case { const char *cap; const char *expect; };
  const Case kCases[] = {{"baseline", "reference"}, {"reference", "reference"},
                         {"no-such-path", d::PathName(d::ActivePath())}};
  for (const Case &c : kCases) {
    const std::string command = std::string("TAVRIX_CPU=") + c.cap + " " TAVRIX_TEST_LAUNCHER +
                                ::testing::internal::GetArgvs()[0] +
                                " --gtest_filter=Dispatch.PrintActivePathOnly 2>&1";
    FILE *child = popen(command.c_str(), "r");
    ASSERT_NE(child, nullptr);
    char line[256];
    std::string output;
    while (std::fgets(line, sizeof line, child)) output += line;
    pclose(child);
    EXPECT_NE(output.find(std::string("active path: ") + c.expect + "\n"), std::string::npos)
        << c.cap << " gave:\n" << output;
  }
}

TEST(Dispatch, PrintActivePathOnly) { std::printf("active path: %s\n", d::PathName(d::ActivePath())); }

// ---- table shapes -------------------------------------------------------

struct Tables {
  std::uint16_t red[65536], green[65536], blue[65536];
  d::Luts Luts() const { return {red, green, blue}; }
};

// Fills the tables exactly as the converter's rules do.
void Rebuild(Tables &t, const d::TableSettings &s) {
  const int balance[3] = {s.redBalance, s.greenBalance, s.blueBalance};
  std::uint16_t *tables[3] = {t.red, t.green, t.blue};
  for (int ch = 0; ch < 3; ++ch)
    for (int i = 0; i < 65536; ++i)
      tables[ch][i] = d::LutRuleFor(s.format) == d::LutRule::kByte
                          ? d::ByteRule(balance[ch], i)
                          : d::SixteenBitRule(balance[ch], i, s.bitDepth, s.depthShift,
                                              s.outputShift);
}

TEST(TableShape, RecognisesEveryRebuiltTable) {
  struct Case { const char *why; d::TableSettings s; int reach; };
  const Case kCases[] = {
      {"8-bit, no offsets", {100, 0, 0, 0, 8, 0, 0}, d::kByteReach},
      {"8-bit, offsets clamping at both ends", {100, 300, -7, -400, 8, 0, 0}, d::kByteReach},
      {"12-bit, offsets shifted to the sensor scale", {101, 5, -3, 255, 12, 4, 0}, d::kWordReach},
      {"12-bit to 8-bit values (32-bit fast pass)", {100, -20, 9, 1, 12, 4, 4}, d::kWordReach},
      {"16-bit, full range", {100, 1, 2, 3, 16, 8, 0}, d::kWordReach},
      {"byte rule, 112..115", {113, -255, 0, 255, 12, 4, 4}, d::kByteReach}};
  auto tables = std::make_unique<Tables>();
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.why);
    Rebuild(*tables, c.s);
    const d::TableShapes shapes = d::CheckTableShapes(tables->Luts(), c.s, c.reach);
    ASSERT_TRUE(shapes.clamped);
    for (int i = 0; i < c.reach; ++i) {
      ASSERT_EQ(shapes.red.At(i), tables->red[i]) << i;
      ASSERT_EQ(shapes.green.At(i), tables->green[i]) << i;
      ASSERT_EQ(shapes.blue.At(i), tables->blue[i]) << i;
    }
  }
}

TEST(TableShape, AnyChangedEntryWithinReachFallsBackToLookup) {
  const d::TableSettings s{100, 3, 0, -3, 12, 4, 0};
  auto tables = std::make_unique<Tables>();
  struct Case { const char *why; int table, entry, reach; bool clamped; };
  constexpr Case kCases[] = {{"first red entry", 0, 0, d::kWordReach, false},
                             {"last green entry", 1, 65535, d::kWordReach, false},
                             {"blue, last byte entry", 2, 255, d::kByteReach, false},
                             {"beyond the byte reach", 2, 256, d::kByteReach, true}};
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.why);
    Rebuild(*tables, s);
    std::uint16_t *t[3] = {tables->red, tables->green, tables->blue};
    t[c.table][c.entry] ^= 1;
    EXPECT_EQ(d::CheckTableShapes(tables->Luts(), s, c.reach).clamped, c.clamped);
  }
}

TEST(TableShape, SettingsWithoutAShapeAreNotClamped) {
  auto tables = std::make_unique<Tables>();
  const d::TableSettings kNoShape[] = {{99, 0, 0, 0, 8, 0, 0},            // unknown format
                                       {100, 1 << 30, 0, 0, 16, 8, 0}};  // offset wraps
  for (const d::TableSettings &s : kNoShape) {
    Rebuild(*tables, s);
    EXPECT_FALSE(d::CheckTableShapes(tables->Luts(), s, d::kWordReach).clamped);
  }
}

}  // namespace
