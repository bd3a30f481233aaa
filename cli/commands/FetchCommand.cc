#include <memory>
#include <vector>

#include <fmt/format.h>

#include "cli/Command.h"
#include "cli/ErrorText.h"
#include "cli/Escape.h"
#include "cli/ItemJson.h"
#include "cli/Items.h"
#include "cli/Progress.h"

namespace tessera {
namespace {

// Asks for the content of documents, several at once, and counts how it went. An error of
// one document does not stop the others.
class Fetcher final : private kj::TaskSet::ErrorHandler {
 public:
  Fetcher(CommandContext& context, Items& items)
      : _context(context), _session(context.session()), _items(items), _requests(*this) {}

  void fetch(const std::string& argument) {
    try {
      const Items::Found found = _items.find(argument);
      auto answer = _items.record(found.identifier, argument);
      if (isFolder(answer.getItem())) {
        fetchFolder(found.identifier, found.path);
      } else {
        start(found.path, answer.getItem().getDocumentSize());
      }
    } catch (const CliError& error) {
      if (error.status() == kStatusInterrupted) throw;
      fail(error);
    }
  }

  void finish() {
    while (_running > 0) waitForOne();
    _progress.clear();
    if (_failed > 0) _context.status = kStatusFailed;
    if (_context.json) {
      printJson({{"documents", _done}, {"bytes", _bytes}, {"failed", _failed}});
    } else if (_done > 0) {
      printLine(
          fmt::format("{} document{} here ({})", _done, _done == 1 ? "" : "s", humanSize(_bytes)));
    }
  }

 private:
  static constexpr std::size_t kAtOnce = 8;
  static constexpr int kTries = 2;  // the extension may end under a request

  // Folders are walked one after the other, so that only their paths are held.
  void fetchFolder(const std::string& identifier, const std::string& path) {
    struct Folder {
      std::string identifier;
      std::string path;
    };
    std::vector<Folder> folders{{identifier, path}};
    while (!folders.empty()) {
      const Folder folder = std::move(folders.back());
      folders.pop_back();
      _items.forEachEntry(folder.identifier, folder.path, false,
                          [this, &folder, &folders](wire::ProviderItem::Reader item) {
                            std::string below = childPath(folder.path, item.getFilename().cStr());
                            if (isFolder(item)) {
                              folders.push_back({item.getIdentifier().cStr(), std::move(below)});
                            } else {
                              start(below, item.getDocumentSize());
                            }
                          });
    }
  }

  void start(const std::string& path, std::uint64_t size) {
    while (_running >= kAtOnce) waitForOne();
    ask(path, size, kTries);
  }

  void ask(const std::string& path, std::uint64_t size, int triesLeft) {
    auto request = _session.host().startProvidingRequest();
    request.setPath(path.c_str());
    ++_running;
    _requests.add(request.send().then(
        [this, path, size, triesLeft](auto&& answer) {
          ended();
          if (isWorthAnotherTry(answer.getError()) && triesLeft > 1) {
            ask(path, size, triesLeft - 1);
            return;
          }
          if (answer.getError().getDomain().size() > 0) {
            fail(cliErrorOf(answer.getError(), _items.belowTree(path)));
            return;
          }
          ++_done;
          _bytes += size;
          _progress.show(fmt::format("{} documents, {}", _done, humanSize(_bytes)));
        },
        [this](kj::Exception&& failure) {
          ended();
          _lost = kj::mv(failure);
        }));
  }

  void waitForOne() {
    auto next = kj::newPromiseAndFulfiller<void>();
    _ended = kj::mv(next.fulfiller);
    _session.wait(kj::mv(next.promise));
    KJ_IF_MAYBE (failure, _lost) _session.wait(kj::Promise<void>(kj::mv(*failure)));
  }

  void ended() {
    --_running;
    KJ_IF_MAYBE (waiter, _ended) (*waiter)->fulfill();
    _ended = nullptr;
  }

  void fail(const CliError& error) {
    ++_failed;
    _progress.clear();
    const std::string line = _context.json ? errorJson(error) : errorLine(error);
    std::fprintf(stderr, "%s\n", line.c_str());
  }

  void taskFailed(kj::Exception&& failure) override { _lost = kj::mv(failure); }

  CommandContext& _context;
  Session& _session;
  Items& _items;
  Progress _progress;
  std::size_t _running = 0;
  std::uint64_t _done = 0;
  std::uint64_t _bytes = 0;
  std::uint64_t _failed = 0;
  kj::Maybe<kj::Own<kj::PromiseFulfiller<void>>> _ended;
  kj::Maybe<kj::Exception> _lost;  // the service went away
  kj::TaskSet _requests;           // last: its promises refer to everything above
};

}  // namespace

void addFetchCommand(CLI::App& app, CommandContext& context) {
  auto paths = std::make_shared<std::vector<std::string>>();
  auto* command = app.add_subcommand("fetch", "Bring the content of documents onto this device");
  command->add_option("PATH", *paths, "Documents; a folder means everything in it")->required();
  addJsonFlag(*command, context);
  command->footer("\nExamples:\n  tessera fetch photos/beach.jpg\n  tessera fetch /");
  command->callback([&context, paths] {
    Items items(context.session());
    Fetcher fetcher(context, items);
    for (const auto& path : *paths) fetcher.fetch(path);
    fetcher.finish();
  });
}

}  // namespace tessera
