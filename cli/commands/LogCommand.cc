#include <deque>
#include <filesystem>
#include <fstream>
#include <memory>

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include "cli/Command.h"
#include "cli/Escape.h"
#include "cli/LogLine.h"

namespace tessera {
namespace {

namespace fs = std::filesystem;

struct LogOptions {
  std::string level = "default";
  bool follow = false;
  std::size_t last = 0;  // lines at the end; 0 is all
};

class LogPrinter {
 public:
  LogPrinter(const CommandContext& context, const LogOptions& options)
      : _json(context.json), _rank(*logLevelRank(options.level)) {}

  [[nodiscard]] bool wants(std::string_view line) const {
    const auto parsed = LogLine::parse(line);
    return parsed && *logLevelRank(parsed->type) <= _rank;
  }

  void print(std::string_view line) const {
    const LogLine parsed = *LogLine::parse(line);
    if (_json) {
      printJson({{"time", parsed.time},
                 {"process", std::stol(std::string(parsed.process))},
                 {"thread", std::stol(std::string(parsed.thread))},
                 {"type", parsed.type},
                 {"subsystem", parsed.subsystem},
                 {"text", parsed.text}});
    } else {
      // Escaped when it was written; escaped again in case somebody else wrote it.
      std::string text = escaped(parsed.text);
      for (std::size_t at = 0; (at = text.find("\\\\", at)) != std::string::npos; ++at) {
        text.erase(at, 1);
      }
      printLine(fmt::format("{} {:<7} {}", escaped(parsed.time), escaped(parsed.type), text));
    }
  }

 private:
  const bool _json;
  const int _rank;
};

// The rotated file first, then the current one.
void printFiles(const fs::path& file, const LogPrinter& printer, std::size_t last) {
  std::deque<std::string> kept;
  for (const auto& part : {fs::path(file.string() + ".1"), file}) {
    std::ifstream input(part);
    for (std::string line; std::getline(input, line);) {
      if (!printer.wants(line)) continue;
      if (last == 0) {
        printer.print(line);
        continue;
      }
      kept.push_back(std::move(line));
      if (kept.size() > last) kept.pop_front();
    }
  }
  for (const auto& line : kept) printer.print(line);
}

// Prints what is appended from now on, also after the file was changed for the next one.
class LogFollower {
 public:
  LogFollower(const fs::path& file, const LogPrinter& printer)
      : _file(file), _printer(printer), _watch(::inotify_init1(IN_CLOEXEC)) {
    if (_watch < 0 || ::inotify_add_watch(_watch, file.parent_path().c_str(),
                                          IN_MODIFY | IN_CREATE | IN_MOVED_TO) < 0) {
      throw CliError("Cannot watch " + file.parent_path().string() + ".");
    }
    open();
    if (_input >= 0) ::lseek(_input, 0, SEEK_END);
  }
  LogFollower(const LogFollower&) = delete;
  LogFollower& operator=(const LogFollower&) = delete;
  ~LogFollower() {
    if (_input >= 0) ::close(_input);
    if (_watch >= 0) ::close(_watch);
  }

  [[noreturn]] void run() {
    for (;;) {
      readOn();
      if (replaced()) {
        readOn();  // what came between the two
        open();
        continue;
      }
      finishOutput();
      alignas(inotify_event) char events[4096];
      if (::read(_watch, events, sizeof events) < 0 && errno != EINTR) {
        throw CliError("Cannot watch the log any more.");
      }
    }
  }

 private:
  void open() {
    if (_input >= 0) ::close(_input);
    _input = ::open(_file.c_str(), O_RDONLY | O_CLOEXEC);
  }

  bool replaced() const {
    struct stat named {};
    struct stat opened {};
    if (::stat(_file.c_str(), &named) != 0) return false;
    return _input < 0 || ::fstat(_input, &opened) != 0 || named.st_ino != opened.st_ino;
  }

  void readOn() {
    char buffer[65536];
    for (;;) {
      const ssize_t count = _input < 0 ? 0 : ::read(_input, buffer, sizeof buffer);
      if (count <= 0) return;
      _rest.append(buffer, static_cast<std::size_t>(count));
      std::size_t start = 0;
      for (std::size_t end = 0; (end = _rest.find('\n', start)) != std::string::npos;) {
        const std::string_view line(_rest.data() + start, end - start);
        if (_printer.wants(line)) _printer.print(line);
        start = end + 1;
      }
      _rest.erase(0, start);
    }
  }

  const fs::path _file;
  const LogPrinter& _printer;
  int _watch;
  int _input = -1;
  std::string _rest;  // the beginning of a line
};

void show(const CommandContext& context, const LogOptions& options) {
  const fs::path file = context.home.extensionLog();
  std::error_code failure;
  if (!fs::is_directory(file.parent_path(), failure)) {
    throw CliError("There is no log in " + file.parent_path().string() +
                   "; the instance was never started. Start it with: tessera up");
  }
  const LogPrinter printer(context, options);
  printFiles(file, printer, options.last);
  if (options.follow) LogFollower(file, printer).run();
}

}  // namespace

void addLogCommand(CLI::App& app, CommandContext& context) {
  auto options = std::make_shared<LogOptions>();
  auto* command = app.add_subcommand("log", "Show the extension's log lines");
  command->add_option("--level", options->level, "error, default, info or debug: each shows more")
      ->check(CLI::IsMember({"error", "default", "info", "debug"}));
  command->add_flag("--follow,-f", options->follow, "Go on with what comes");
  command->add_option("-n", options->last, "Only the last lines, so many");
  addJsonFlag(*command, context);
  command->footer("\nExamples:\n  tessera log --level debug -n 50\n  tessera log -f --level debug");
  command->callback([&context, options] { show(context, *options); });
}

}  // namespace tessera
