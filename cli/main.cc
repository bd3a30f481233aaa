#include <cstdio>
#include <cstring>

#include "cli/CliError.h"
#include "cli/Command.h"
#include "cli/ErrorText.h"

namespace {

using namespace tessera;

constexpr const char* kDescription =
    "Tessera documents: cloud documents as ordinary files, on demand.\n\n"
    "PATH is below the tree (/notes, notes, or the full path), or an item identifier.\n"
    "TESSERA_HOME names the folder of an instance; without it, this user's is meant.";

constexpr const char* kFooter =
    "\nA first round:\n"
    "  tessera up                         start the instance\n"
    "  tessera login ada                  sign in\n"
    "  tessera cloud import ~/Pictures    put documents into the cloud\n"
    "  tessera ls -l /                    list the tree's root\n"
    "  tessera fetch /2024/beach.jpg      bring a document's content here\n"
    "\nStatus: 0 done, 1 failed, 2 wrong usage, 3 done but some entries were left out.\n"
    "tessera COMMAND --help tells more of a command.";

// Anywhere on the command line, so that also errors in its other words come out as JSON.
bool wantsJson(int argc, char** argv) {
  for (int i = 1; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
    if (std::strcmp(argv[i], "--json") == 0) return true;
  }
  return false;
}

int report(const CliError& error, bool json) {
  std::fprintf(stderr, "%s\n", json ? errorJson(error).c_str() : errorLine(error).c_str());
  return error.status();
}

void addCommands(CLI::App& app, CommandContext& context) {
  addUpCommand(app, context);
  addDownCommand(app, context);
  addStatusCommand(app, context);
  addAccountCommands(app, context);
  addCloudCommands(app, context);
  addLsCommand(app, context);
  addInfoCommand(app, context);
  addFetchCommand(app, context);
  addLogCommand(app, context);
  addCompletionCommand(app, context);
}

int run(int argc, char** argv) {
  CommandContext context(Home::fromEnvironment());
  CLI::App app(kDescription, "tessera");
  app.footer(kFooter);
  app.set_version_flag("--version", std::string("tessera ") + TESSERA_VERSION);
  app.require_subcommand(1);
  addCommands(app, context);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const int status = app.exit(error);
    return status == 0 ? kStatusDone : kStatusUsage;
  }
  finishOutput();
  return context.status;
}

}  // namespace

int main(int argc, char** argv) {
  const bool json = wantsJson(argc, argv);
  try {
    return run(argc, argv);
  } catch (const tessera::CliError& error) {
    return report(error, json);
  } catch (const tessera::HomeError& error) {
    return report(tessera::CliError(error.what()), json);
  } catch (const kj::Exception& error) {
    return report(tessera::CliError(error.getDescription().cStr()), json);
  } catch (const std::exception& error) {
    return report(tessera::CliError(error.what()), json);
  }
}
