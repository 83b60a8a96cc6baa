// tavrix: raw Bayer frames from the shell, through the library's public API.
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include <tavrix/tavrix.h>

#include "camera_raw.h"
#include "cli.h"
#include "image_files.h"
#include "tiff_files.h"

namespace {

using namespace tavrix::cli;

const char kHelp[] = R"(Usage: tavrix COMMAND ARGUMENTS [OPTIONS]
       tavrix COMMAND --help
       tavrix --help | --version

Raw frames of single-sensor colour cameras, from the shell.

Commands:
  demosaic    raw Bayer mosaic (PGM, headerless or camera raw: DNG, CR2, NEF, ...)
              -> colour image (PNG, TIFF, PPM, PAM)
  balance     automatic colour balance of a colour image
  compress    compress a file losslessly (rle, lz77 or huffman)
  decompress  restore a file written by compress

Each command takes IN OUT, or several inputs with --out-dir DIR. An output
appears complete or not at all (it is written beside its target and renamed
into place), and an existing one is kept unless --force is given.

Exit status: 0 done; 2 refused input, options or values (one line on stderr
names the file and the problem); 1 an output could not be written.

Examples:
  tavrix demosaic frame.pgm frame.png --pattern RG --algorithm laplacian2
  tavrix balance frame.png balanced.png --estimator grayworld
  tavrix compress frame.pgm frame.tvxz --codec rle && tavrix decompress frame.tvxz copy.pgm
)";

struct Command {
  const char *name;
  int (*run)(const std::vector<std::string> &);
  const char *help;
};

const Command kCommands[] = {{"demosaic", DemosaicCommand, kDemosaicHelp},
                             {"balance", BalanceCommand, kBalanceHelp},
                             {"compress", CompressCommand, kCompressHelp},
                             {"decompress", DecompressCommand, kDecompressHelp}};

void PrintVersion() {
  std::printf("tavrix %s (library %d.%d.%d; PNG %s)\n", TAVRIX_TOOL_VERSION, TAVRIX_VERSION_MAJOR,
              TAVRIX_VERSION_MINOR, TAVRIX_VERSION_PATCH,
              tavrix::files::PngSupported()
                  ? ("through libpng " + tavrix::files::PngVersion()).c_str()
                  : "not available: libpng was not found at build time");
  std::printf("TIFF %s; camera raw files %s\n",
              tavrix::files::TiffSupported()
                  ? ("through libtiff " + tavrix::files::TiffVersion()).c_str()
                  : "not available: libtiff was not found at build time",
              tavrix::files::CameraRawSupported()
                  ? ("through LibRaw " + tavrix::files::LibRawVersion()).c_str()
                  : "not available: LibRaw was not found at build time");
}

bool AsksForHelp(const std::vector<std::string> &args) {
  for (const std::string &arg : args) {
    if (arg == "--") return false;
    if (arg == "--help" || arg == "-h") return true;
  }
  return false;
}

}  // namespace

int main(int argc, char **argv) {
  const std::vector<std::string> all(argv + 1, argv + argc);
  if (all.empty()) {
    std::fputs(kHelp, stderr);
    return kExitRefused;
  }
  const std::string &first = all[0];
  if (first == "--help" || first == "-h" || first == "help") {
    std::fputs(kHelp, stdout);
    return 0;
  }
  if (first == "--version") {
    PrintVersion();
    return 0;
  }
  for (const Command &c : kCommands) {
    if (first != c.name) continue;
    const std::vector<std::string> args(all.begin() + 1, all.end());
    if (AsksForHelp(args)) {
      std::fputs(c.help, stdout);
      return 0;
    }
    try {
      return c.run(args);
    } catch (const Failure &failure) {
      std::fprintf(stderr, "tavrix: %s\n", failure.what());
      return failure.Status();
    } catch (const std::bad_alloc &) {
      std::fprintf(stderr, "tavrix: %s: not enough memory\n", c.name);
      return kExitCannotWrite;
    }
  }
  std::fprintf(stderr, "tavrix: unknown command '%s' (see tavrix --help)\n", first.c_str());
  return kExitRefused;
}
