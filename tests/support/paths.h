// Running a test body once on every vector path this CPU supports.
//
// ForEachPath(body) forces each supported path in turn (the reference first) and
// records it; every test program that includes this header prints, when it ends,
// which paths ran and which this build has but the CPU lacks, so that a path
// nobody could run never passes silently.
#ifndef TAVRIX_TESTS_SUPPORT_PATHS_H
#define TAVRIX_TESTS_SUPPORT_PATHS_H

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>

#include "cpu/dispatch.h"

namespace path_test {

using tavrix::detail::Path;

inline std::set<Path> &PathsRun() {
  static std::set<Path> run;
  return run;
}

// Calls body(path) with ActivePath() forced to each supported path.
template <class Body>
void ForEachPath(Body body) {
  for (Path p : tavrix::detail::SupportedPaths()) {
    if (!tavrix::detail::ForcePathForTesting(p)) continue;
    PathsRun().insert(p);
    SCOPED_TRACE(std::string("path ") + tavrix::detail::PathName(p));
    body(p);
  }
  tavrix::detail::ClearForcedPath();
}

inline std::string PathReport() {
  std::string ran, lacks;
  for (Path p : tavrix::detail::ArchitecturePaths()) {
    std::string &list = tavrix::detail::CpuSupports(p) ? ran : lacks;
    list += std::string(list.empty() ? "" : " ") + tavrix::detail::PathName(p);
  }
  return "vector paths this CPU runs: " + ran + "; lacks (not tested here): " +
         (lacks.empty() ? std::string("none") : lacks);
}

class PathReporter : public ::testing::Environment {
 public:
  void TearDown() override {
    if (PathsRun().empty()) return;
    std::string run;
    for (Path p : PathsRun()) run += std::string(" ") + tavrix::detail::PathName(p);
    std::printf("[ paths    ] compared on:%s. %s\n", run.c_str(), PathReport().c_str());
  }
};
inline ::testing::Environment *const kPathReporter =
    ::testing::AddGlobalTestEnvironment(new PathReporter);

}  // namespace path_test

#endif
