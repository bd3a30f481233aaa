#pragma once

#include <memory>
#include <string>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "cli/Json.h"
#include "cli/Session.h"

namespace tessera {

// What the commands share in one run.
struct CommandContext {
  explicit CommandContext(const Home& instance) : home(instance) {}

  const Home home;
  bool json = false;
  int status = 0;  // of the process, when nothing was thrown

  // Made when a command first talks to the instance.
  Session& session() {
    if (!_session) _session = std::make_unique<Session>(home);
    return *_session;
  }

 private:
  std::unique_ptr<Session> _session;
};

// Prints a line to standard output. Ends the process quietly (status 141) when whoever read
// it has gone, as in `tessera ls | head`.
void printLine(const std::string& line);
// Flushes; throws CliError when what was printed cannot be written.
void finishOutput();
inline void printJson(const Json& json) {
  printLine(jsonLine(json));
}

// Adds the switch that every command with output has.
inline void addJsonFlag(CLI::App& command, CommandContext& context) {
  command.add_flag("--json", context.json, "Print JSON; errors too, on standard error");
}

// Each adds its command, or its few that belong together, to the program.
void addUpCommand(CLI::App& app, CommandContext& context);
void addDownCommand(CLI::App& app, CommandContext& context);
void addStatusCommand(CLI::App& app, CommandContext& context);
void addAccountCommands(CLI::App& app, CommandContext& context);
void addCloudCommands(CLI::App& app, CommandContext& context);
void addLsCommand(CLI::App& app, CommandContext& context);
void addInfoCommand(CLI::App& app, CommandContext& context);
void addFetchCommand(CLI::App& app, CommandContext& context);
void addLogCommand(CLI::App& app, CommandContext& context);
void addCompletionCommand(CLI::App& app, CommandContext& context);

}  // namespace tessera
