// The pieces every tavrix command shares: refusals, the command line,
// outputs that appear complete or not at all, and runs over several inputs.
#ifndef TAVRIX_TOOLS_CLI_H
#define TAVRIX_TOOLS_CLI_H

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace tavrix::cli {

// Exit statuses.
constexpr int kExitRefused = 2;      // bad input, options or values: nothing written
constexpr int kExitCannotWrite = 1;  // the input was fine, but an output could not be written

// Why a command stops for one file: printed as "tavrix: SUBJECT: PROBLEM".
class Failure : public std::runtime_error {
public:
  Failure(std::string subject, const std::string &problem, int status = kExitRefused)
      : std::runtime_error(subject.empty() ? problem : subject + ": " + problem),
        status_(status) {}
  int Status() const { return status_; }

private:
  int status_;
};

// ---- command line -------------------------------------------------------------

struct OptionRule {
  const char *name;  // "--pattern"
  bool takesValue;
};

// A command's arguments: positionals in order, options by name (the last
// occurrence of an option wins).
class Arguments {
public:
  // Accepts "--name value", "--name=value" and "--" before positionals that
  // start with a dash. Unknown options and missing values throw Failure.
  Arguments(const std::string &command, const std::vector<std::string> &args,
            const std::vector<OptionRule> &rules);

  const std::vector<std::string> &Positionals() const { return positionals_; }
  bool Has(const std::string &name) const { return values_.count(name) != 0; }
  const std::string &Value(const std::string &name) const { return values_.at(name); }
  const std::string &Command() const { return command_; }

  // Option values, each checked; a bad value throws Failure naming the option.
  int Integer(const std::string &name, int low, int high) const;
  std::vector<int> Integers(const std::string &name, std::size_t count, int low, int high) const;
  std::vector<double> Reals(const std::string &name, std::size_t count) const;
  // The value's index among `choices`.
  std::size_t Choice(const std::string &name, const std::vector<std::string> &choices) const;

  [[noreturn]] void Refuse(const std::string &problem) const;

private:
  std::string command_;
  std::vector<std::string> positionals_;
  std::map<std::string, std::string> values_;
};

// The options every command takes besides its own.
extern const std::vector<OptionRule> kCommonOptions;

// ---- outputs ----------------------------------------------------------------

// An output written to a temporary file beside its target and renamed into
// place by Commit. Until then the target is untouched; the temporary file is
// removed if Commit is never reached (also on SIGINT, SIGTERM, SIGHUP).
class OutputFile {
public:
  // Refuses (Failure) when the target exists and `replace` is false, or its
  // folder is missing: checked before any work is done.
  OutputFile(std::string path, bool replace);
  ~OutputFile();
  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  // Creates the temporary file and returns it open for writing.
  std::FILE *Open();
  // Closes, flushes to disk and moves the file into place; throws Failure.
  void Commit();
  const std::string &Path() const { return path_; }

private:
  void Discard();

  std::string path_;
  std::string temporary_;
  std::FILE *file_ = nullptr;
  bool replace_;
};

// ---- several inputs ---------------------------------------------------------

struct Task {
  std::string input, output;
};

// What one task did, for the summary.
struct TaskResult {
  double pixels = 0;         // image pixels converted (image commands)
  std::uint64_t bytesIn = 0;
  std::uint64_t bytesOut = 0;
  double workSeconds = 0;    // time inside the library
};

enum class Summary { kPixels, kBytes };

// The tasks a command line names: IN OUT, or inputs with --out-dir DIR whose
// outputs are named by `outputName` (applied to the input's file name).
std::vector<Task> TasksOf(const Arguments &args,
                          const std::function<std::string(const std::string &)> &outputName);

// Runs every task, reporting each failure on stderr and going on with the
// next; a progress line when stderr is a terminal and several tasks run; a
// summary line at the end unless --quiet. Returns the exit status.
int RunTasks(const Arguments &args, const std::vector<Task> &tasks, Summary summary,
             const std::function<TaskResult(const Task &)> &run);

// "name.ext" -> "name" + extension (the last extension replaced or added).
std::string ReplaceExtension(const std::string &name, const std::string &extension);

// ---- commands ---------------------------------------------------------------

int DemosaicCommand(const std::vector<std::string> &args);
int BalanceCommand(const std::vector<std::string> &args);
int CompressCommand(const std::vector<std::string> &args);
int DecompressCommand(const std::vector<std::string> &args);

// Usage texts, printed by --help.
extern const char kDemosaicHelp[];
extern const char kBalanceHelp[];
extern const char kCompressHelp[];
extern const char kDecompressHelp[];

}  // namespace tavrix::cli

#endif
