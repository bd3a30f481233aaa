#include "cli/Items.h"

#include <vector>

#include "cli/ErrorText.h"

namespace tessera {
namespace {

CliError noSuchItem(const std::string& about) {
  return {"NSFileProviderErrorDomain", -1005, "There is no item at " + about + "."};
}

std::filesystem::path currentFolder() {
  std::error_code failure;
  auto folder = std::filesystem::current_path(failure);
  return failure ? std::filesystem::path("/") : folder;
}

}  // namespace

const std::filesystem::path& Items::tree() {
  if (_tree.empty()) {
    auto answer = _session.wait(_session.host().statusRequest().send());
    _tree = answer.getStatus().getTree().cStr();
  }
  return _tree;
}

Items::Found Items::find(const std::string& argument) {
  const PathArgument parsed = PathArgument::parse(argument, tree(), currentFolder());
  if (parsed.kind == PathArgument::Kind::Identifier) return {parsed.value, url(parsed.value)};
  auto request = _session.host().identifierForItemAtPathRequest();
  request.setPath(parsed.value.c_str());
  auto answer = _session.wait(request.send());
  throwIfError(answer.getError(), argument);
  if (!answer.getFound()) throw noSuchItem(argument);
  return {answer.getIdentifier().cStr(), parsed.value};
}

Items::ItemAnswer Items::record(const std::string& identifier, const std::string& about) {
  auto request = _session.host().itemForIdentifierRequest();
  request.setIdentifier(identifier.c_str());
  auto answer = _session.wait(request.send());
  throwIfError(answer.getError(), about);
  if (!answer.getFound()) throw noSuchItem(about);
  return answer;
}

std::string Items::url(const std::string& identifier) {
  auto request = _session.host().urlForItemRequest();
  request.setIdentifier(identifier.c_str());
  auto answer = _session.wait(request.send());
  throwIfError(answer.getError(), identifier);
  if (!answer.getFound()) throw noSuchItem(identifier);
  return answer.getPath().cStr();
}

void Items::forEachEntry(const std::string& identifier, const std::string& about, bool byDate,
                         const Visit& visit) {
  auto ask = _session.host().enumeratorRequest();
  ask.setContainerIdentifier(identifier.c_str());
  auto made = _session.wait(ask.send());
  throwIfError(made.getError(), about);
  auto enumerator = made.getEnumerator();

  std::vector<kj::byte> token;
  do {
    auto request = enumerator.enumerateItemsRequest();
    auto start = request.getStartingAt();
    if (!token.empty()) {
      start.setToken(kj::arrayPtr(token.data(), token.size()));
    } else if (byDate) {
      start.setInitialByDate();
    } else {
      start.setInitialByName();
    }
    auto page = _session.wait(request.send());
    throwIfError(page.getError(), about);
    for (const auto item : page.getItems()) visit(item);
    token.clear();
    if (page.getNext().isToken()) {
      const auto next = page.getNext().getToken();
      token.assign(next.begin(), next.end());
    }
  } while (!token.empty());
}

}  // namespace tessera
