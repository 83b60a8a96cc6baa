// tavrix balance: automatic colour balance of a colour image file.
#include <chrono>
#include <cstring>

#include "auto_balance.h"
#include "cli.h"
#include "image_files.h"

namespace tavrix::cli {

const char kBalanceHelp[] = R"(Usage: tavrix balance IN OUT --estimator NAME [--depth D] [options]
       tavrix balance IN... --out-dir DIR --estimator NAME [options]

Balances the colours of a PNG, PPM or PAM image: the estimator derives one
table per channel from the whole image, and the image is rewritten through them.

Options:
  --estimator NAME   grayworld         red and blue scaled to green's sum
                     whiteworld        every channel scaled by its brightest-blue pixel
                     scalebymax        every channel scaled by its maximum
                     meanequalization  red and blue shifted to green's mean
                     stddev            every channel stretched about its mean
                     meanstddev        as stddev, every mean moved to mid-scale
  --depth D          full scale of the values, in bits (default: the image's own,
                     8 for 8-bit images, the significant bits of 16-bit ones)
  --out-dir DIR      several inputs: write DIR/NAME for each IN (same type)
  --force            replace existing outputs
  --quiet            no summary line and no note when nothing needed correcting

OUT has the type its extension names (.png, .ppm or .pam) and the input's
bits per channel, or --depth bits. When the estimator finds nothing to correct, the image is
written unchanged and a note says so.

Example:
  tavrix balance photo.png balanced.png --estimator grayworld
)";

namespace {

const std::vector<OptionRule> kOptions = {{"--estimator", true}, {"--depth", true}};

struct Settings {
  std::size_t estimator = 0;
  int depth = 0;  // 0: the image's own
  bool replace = false;
  bool quiet = false;
};

// The image in the balance object's layout: blue, green, red; bytes or words.
std::vector<std::uint16_t> ToBgr(const files::RgbImage &image, bool wide) {
  const std::size_t values = image.data.size();
  std::vector<std::uint16_t> buffer(wide ? values : (values + 1) / 2);
  unsigned char *bytes = reinterpret_cast<unsigned char *>(buffer.data());
  for (std::size_t i = 0; i < values; i += 3)
    for (std::size_t c = 0; c < 3; ++c) {
      const std::uint16_t v = image.data[i + 2 - c];
      if (wide)
        buffer[i + c] = v;
      else
        bytes[i + c] = static_cast<unsigned char>(v);
    }
  return buffer;
}

void FromBgr(const std::vector<std::uint16_t> &buffer, bool wide, files::RgbImage &image) {
  const unsigned char *bytes = reinterpret_cast<const unsigned char *>(buffer.data());
  for (std::size_t i = 0; i < image.data.size(); i += 3)
    for (std::size_t c = 0; c < 3; ++c)
      image.data[i + 2 - c] = wide ? buffer[i + c] : bytes[i + c];
}

TaskResult Balance(const Settings &s, const Task &task) {
  const files::FileType type = files::TypeFromName(task.output);
  if (type != files::FileType::kPng && type != files::FileType::kPpm && type != files::FileType::kPam)
    throw Failure(task.output, "unknown image type: name it .png, .ppm or .pam");
  OutputFile out(task.output, s.replace);
  files::RgbImage image;
  std::string error;
  if (!files::ReadImage(task.input, image, error)) throw Failure(task.input, error);
  const bool wide = image.bits > 8;
  int depth = wide ? image.bits : 8;
  if (s.depth != 0) {
    if (!wide && s.depth != 8)
      throw Failure(task.input, "--depth " + std::to_string(s.depth) +
                                    ": the image has 8-bit channels, so the depth is 8");
    if (wide && s.depth < image.bits)
      throw Failure(task.input, "--depth " + std::to_string(s.depth) + ": the image holds " +
                                    std::to_string(image.bits) + "-bit values");
    depth = s.depth;
  }
  const std::size_t bytes = image.data.size() * (wide ? 2 : 1);
  if (bytes > 0xffffffffu)
    throw Failure(task.input, "too large: the balance step takes images below 4 GiB");

  std::vector<std::uint16_t> buffer = ToBgr(image, wide);
  const auto start = std::chrono::steady_clock::now();
  const bool applied =
      AutoBalance(s.estimator, wide ? PixelLayout::kBgr48 : PixelLayout::kBgr24, image.width,
                  image.height, depth, reinterpret_cast<unsigned char *>(buffer.data()));
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  if (!applied && !s.quiet)
    std::fprintf(stderr, "tavrix: %s: %s found nothing to correct; written unchanged\n",
                 task.input.c_str(), EstimatorNames()[s.estimator].c_str());
  FromBgr(buffer, wide, image);
  image.bits = depth;  // the tables map onto 0 .. 2^depth - 1

  if (!files::WriteImage(out.Open(), type, image, error))
    throw Failure(task.output, error, kExitCannotWrite);
  out.Commit();
  TaskResult result;
  result.pixels = double(image.width) * image.height;
  result.workSeconds = took.count();
  return result;
}

}  // namespace

int BalanceCommand(const std::vector<std::string> &args) {
  const Arguments a("balance", args, kOptions);
  Settings s;
  if (!a.Has("--estimator")) a.Refuse("--estimator NAME is required (see tavrix balance --help)");
  s.estimator = a.Choice("--estimator", EstimatorNames());
  if (a.Has("--depth")) s.depth = a.Integer("--depth", 8, 16);
  s.replace = a.Has("--force");
  s.quiet = a.Has("--quiet");
  const std::vector<Task> tasks = TasksOf(a, [](const std::string &name) { return name; });
  return RunTasks(a, tasks, Summary::kPixels, [&](const Task &task) { return Balance(s, task); });
}

}  // namespace tavrix::cli
