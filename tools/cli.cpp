#include "cli.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace tavrix::cli {

// ---- command line -------------------------------------------------------------

const std::vector<OptionRule> kCommonOptions = {
    {"--out-dir", true}, {"--force", false}, {"--quiet", false}};

Arguments::Arguments(const std::string &command, const std::vector<std::string> &args,
                     const std::vector<OptionRule> &rules)
    : command_(command) {
  bool optionsEnded = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string &arg = args[i];
    if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
      positionals_.push_back(arg);
      continue;
    }
    if (arg == "--") {
      optionsEnded = true;
      continue;
    }
    const std::size_t equals = arg.find('=');
    const std::string name = arg.substr(0, equals);
    const OptionRule *rule = nullptr;
    for (const std::vector<OptionRule> *list : {&rules, &kCommonOptions})
      for (const OptionRule &s : *list)
        if (name == s.name) rule = &s;
    if (rule == nullptr) Refuse("unknown option " + name + " (see tavrix " + command + " --help)");
    if (!rule->takesValue) {
      if (equals != std::string::npos) Refuse(name + " takes no value");
      values_[name] = "";
    } else if (equals != std::string::npos) {
      values_[name] = arg.substr(equals + 1);
    } else if (i + 1 < args.size()) {
      values_[name] = args[++i];
    } else {
      Refuse(name + " needs a value");
    }
  }
}

void Arguments::Refuse(const std::string &problem) const { throw Failure(command_, problem); }

namespace {

std::vector<std::string> SplitCommas(const std::string &text) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (;;) {
    const std::size_t comma = text.find(',', start);
    parts.push_back(text.substr(start, comma - start));
    if (comma == std::string::npos) return parts;
    start = comma + 1;
  }
}

bool ParseInteger(const std::string &text, long &value) {
  if (text.empty()) return false;
  char *end = nullptr;
  errno = 0;
  value = std::strtol(text.c_str(), &end, 10);
  return errno == 0 && *end == '\0';
}

}  // namespace

int Arguments::Integer(const std::string &name, int low, int high) const {
  long v = 0;
  if (!ParseInteger(Value(name), v) || v < low || v > high)
    Refuse(name + " " + Value(name) + ": expected a whole number from " + std::to_string(low) +
           " to " + std::to_string(high));
  return int(v);
}

std::vector<int> Arguments::Integers(const std::string &name, std::size_t count, int low,
                                     int high) const {
  const std::vector<std::string> parts = SplitCommas(Value(name));
  std::vector<int> values;
  long v = 0;
  for (const std::string &part : parts) {
    if (!ParseInteger(part, v) || v < low || v > high) break;
    values.push_back(int(v));
  }
  if (values.size() != count || parts.size() != count)
    Refuse(name + " " + Value(name) + ": expected " + std::to_string(count) +
           " comma-separated whole numbers from " + std::to_string(low) + " to " +
           std::to_string(high));
  return values;
}

std::vector<double> Arguments::Reals(const std::string &name, std::size_t count) const {
  const std::vector<std::string> parts = SplitCommas(Value(name));
  std::vector<double> values;
  for (const std::string &part : parts) {
    char *end = nullptr;
    const double v = std::strtod(part.c_str(), &end);
    if (part.empty() || *end != '\0' || !(v > -1e9 && v < 1e9)) break;
    values.push_back(v);
  }
  if (values.size() != count || parts.size() != count)
    Refuse(name + " " + Value(name) + ": expected " + std::to_string(count) +
           " comma-separated numbers");
  return values;
}

std::size_t Arguments::Choice(const std::string &name,
                              const std::vector<std::string> &choices) const {
  for (std::size_t i = 0; i < choices.size(); ++i)
    if (Value(name) == choices[i]) return i;
  std::string list;
  for (std::size_t i = 0; i < choices.size(); ++i)
    list += (i == 0 ? "" : i + 1 == choices.size() ? " or " : ", ") + choices[i];
  Refuse(name + " " + Value(name) + ": expected " + list);
}

// ---- outputs ----------------------------------------------------------------

namespace {

// The temporary file being written, for the signal handler; one at a time.
char g_pendingTemporary[4096];

extern "C" void RemovePendingAndDie(int signal) {
  if (g_pendingTemporary[0] != '\0') unlink(g_pendingTemporary);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void WatchSignals() {
  static bool installed = false;
  if (installed) return;
  installed = true;
  for (int s : {SIGINT, SIGTERM, SIGHUP}) std::signal(s, RemovePendingAndDie);
}

std::string FolderOf(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string BaseName(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string SystemError() { return std::strerror(errno); }

// New files get the permissions the user's umask allows (mkstemp makes 0600).
mode_t CreationMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

OutputFile::OutputFile(std::string path, bool replace) : path_(std::move(path)), replace_(replace) {
  struct stat info;
  const std::string folder = FolderOf(path_);
  if (stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
    throw Failure(path_, "folder " + folder + " does not exist");
  if (stat(path_.c_str(), &info) == 0) {
    if (S_ISDIR(info.st_mode)) throw Failure(path_, "is a folder");
    if (!replace_) throw Failure(path_, "already exists (use --force to replace it)");
  }
}

OutputFile::~OutputFile() { Discard(); }

std::FILE *OutputFile::Open() {
  WatchSignals();
  std::string pattern = FolderOf(path_) + "/." + BaseName(path_) + ".tmp-XXXXXX";
  if (pattern.size() >= sizeof g_pendingTemporary)
    throw Failure(path_, "path too long", kExitCannotWrite);
  const int fd = mkstemp(pattern.data());
  if (fd < 0) throw Failure(path_, "cannot create a file in its folder: " + SystemError(), kExitCannotWrite);
  temporary_ = pattern;
  std::memcpy(g_pendingTemporary, temporary_.c_str(), temporary_.size() + 1);
  fchmod(fd, CreationMode());
  file_ = fdopen(fd, "wb");
  if (file_ == nullptr) {
    close(fd);
    Discard();
    throw Failure(path_, "cannot write: " + SystemError(), kExitCannotWrite);
  }
  return file_;
}

void OutputFile::Commit() {
  std::FILE *file = file_;
  file_ = nullptr;
  const bool written = std::fflush(file) == 0 && fsync(fileno(file)) == 0;
  const int savedErrno = errno;
  if (std::fclose(file) != 0 || !written) {
    if (!written) errno = savedErrno;
    const std::string reason = SystemError();
    Discard();
    throw Failure(path_, "cannot write: " + reason, kExitCannotWrite);
  }
  if (replace_) {
    if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
      const std::string reason = SystemError();
      Discard();
      throw Failure(path_, "cannot move into place: " + reason, kExitCannotWrite);
    }
  } else if (link(temporary_.c_str(), path_.c_str()) != 0) {
    // link never replaces a file that appeared meanwhile; where the file
    // system has no links, check and rename instead.
    const int linkErrno = errno;
    struct stat info;
    if (linkErrno == EEXIST || stat(path_.c_str(), &info) == 0) {
      Discard();
      throw Failure(path_, "already exists (use --force to replace it)");
    }
    if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
      const std::string reason = SystemError();
      Discard();
      throw Failure(path_, "cannot move into place: " + reason, kExitCannotWrite);
    }
  }
  Discard();  // after link: the temporary name; after rename: nothing left
}

void OutputFile::Discard() {
  if (file_ != nullptr) {
    std::fclose(file_);
    file_ = nullptr;
  }
  if (!temporary_.empty()) {
    unlink(temporary_.c_str());
    temporary_.clear();
    g_pendingTemporary[0] = '\0';
  }
}

// ---- several inputs ---------------------------------------------------------

std::string ReplaceExtension(const std::string &name, const std::string &extension) {
  const std::size_t dot = name.rfind('.');
  return (dot == std::string::npos || dot == 0 ? name : name.substr(0, dot)) + extension;
}

std::vector<Task> TasksOf(const Arguments &args,
                          const std::function<std::string(const std::string &)> &outputName) {
  const std::vector<std::string> &p = args.Positionals();
  const std::string help = " (see tavrix " + args.Command() + " --help)";
  std::vector<Task> tasks;
  if (args.Has("--out-dir")) {
    if (p.empty()) args.Refuse("no input files" + help);
    for (const std::string &input : p)
      tasks.push_back({input, args.Value("--out-dir") + "/" + outputName(BaseName(input))});
    return tasks;
  }
  if (p.size() < 2) args.Refuse(std::string(p.empty() ? "missing IN and OUT" : "missing OUT") + help);
  if (p.size() > 2)
    args.Refuse(std::to_string(p.size()) + " files given: several inputs need --out-dir DIR" + help);
  tasks.push_back({p[0], p[1]});
  return tasks;
}

namespace {

void PrintSummary(const std::string &command, Summary summary, std::size_t done,
                  std::size_t total, const TaskResult &sum, double seconds) {
  std::string counted = done == total ? std::to_string(done) : std::to_string(done) + " of " +
                                                                   std::to_string(total);
  const double wall = seconds > 0 ? seconds : 1e-9;
  const double work = sum.workSeconds > 0 ? sum.workSeconds : 1e-9;
  if (summary == Summary::kPixels) {
    const double mpix = sum.pixels / 1e6;
    std::fprintf(stderr,
                 "%s: %s frame%s, %.2f Mpix in %.3f s: %.1f Mpix/s (%.1f Mpix/s in the library)\n",
                 command.c_str(), counted.c_str(), total == 1 ? "" : "s", mpix, seconds,
                 mpix / wall, mpix / work);
  } else {
    const double in = double(sum.bytesIn) / 1e6, out = double(sum.bytesOut) / 1e6;
    std::fprintf(stderr, "%s: %s file%s, %.3f MB -> %.3f MB (%.1f%%) in %.3f s: %.1f MB/s\n",
                 command.c_str(), counted.c_str(), total == 1 ? "" : "s", in, out,
                 in > 0 ? 100.0 * out / in : 100.0, seconds, in / wall);
  }
}

}  // namespace

int RunTasks(const Arguments &args, const std::vector<Task> &tasks, Summary summary,
             const std::function<TaskResult(const Task &)> &run) {
  const bool quiet = args.Has("--quiet");
  const bool progress = !quiet && tasks.size() > 1 && isatty(STDERR_FILENO);
  const auto start = std::chrono::steady_clock::now();
  TaskResult sum;
  std::size_t done = 0;
  int status = 0;
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    if (progress)
      std::fprintf(stderr, "\r\033[K[%zu/%zu] %s", i + 1, tasks.size(), tasks[i].input.c_str());
    try {
      const TaskResult r = run(tasks[i]);
      sum.pixels += r.pixels;
      sum.bytesIn += r.bytesIn;
      sum.bytesOut += r.bytesOut;
      sum.workSeconds += r.workSeconds;
      ++done;
    } catch (const Failure &failure) {
      if (progress) std::fprintf(stderr, "\r\033[K");
      std::fprintf(stderr, "tavrix: %s\n", failure.what());
      status = std::max(status, failure.Status());
    } catch (const std::bad_alloc &) {
      if (progress) std::fprintf(stderr, "\r\033[K");
      std::fprintf(stderr, "tavrix: %s: not enough memory\n", tasks[i].input.c_str());
      status = std::max(status, kExitCannotWrite);
    }
  }
  if (progress) std::fprintf(stderr, "\r\033[K");
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  if (!quiet && done > 0) PrintSummary(args.Command(), summary, done, tasks.size(), sum, took.count());
  return status;
}

}  // namespace tavrix::cli
