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

template <class MakeRequest>
auto Items::ask(MakeRequest makeRequest) {
  auto answer = _session.wait(makeRequest().send());
  if (!isWorthAnotherTry(answer.getError())) return answer;
  return _session.wait(makeRequest().send());
}

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
  const auto request = [this, &parsed] {
    auto made = _session.host().identifierForItemAtPathRequest();
    made.setPath(parsed.value.c_str());
    return made;
  };
  auto answer = ask(request);
  if (answer.getError().getDomain().size() == 0 && answer.getFound()) {
    return {answer.getIdentifier().cStr(), parsed.value};
  }
  // An identifier is also not found while the daemon is being started again.
  _session.confirmDaemonAnswers();
  answer = ask(request);
  if (answer.getFound()) return {answer.getIdentifier().cStr(), parsed.value};
  throwIfError(answer.getError(), argument);
  throw noSuchItem(argument);
}

Items::ItemAnswer Items::record(const std::string& identifier, const std::string& about) {
  auto answer = ask([this, &identifier] {
    auto request = _session.host().itemForIdentifierRequest();
    request.setIdentifier(identifier.c_str());
    return request;
  });
  throwIfError(answer.getError(), about);
  if (!answer.getFound()) throw noSuchItem(about);
  return answer;
}

std::string Items::url(const std::string& identifier) {
  auto answer = ask([this, &identifier] {
    auto request = _session.host().urlForItemRequest();
    request.setIdentifier(identifier.c_str());
    return request;
  });
  throwIfError(answer.getError(), identifier);
  if (!answer.getFound()) throw noSuchItem(identifier);
  return answer.getPath().cStr();
}

wire::Enumerator::Client Items::enumerator(const std::string& identifier,
                                           const std::string& about) {
  auto answer = ask([this, &identifier] {
    auto request = _session.host().enumeratorRequest();
    request.setContainerIdentifier(identifier.c_str());
    return request;
  });
  throwIfError(answer.getError(), about);
  return answer.getEnumerator();
}

void Items::forEachEntry(const std::string& identifier, const std::string& about, bool byDate,
                         const Visit& visit) {
  auto folder = enumerator(identifier, about);
  std::vector<kj::byte> token;
  const auto page = [&folder, &token, byDate] {
    auto request = folder.enumerateItemsRequest();
    auto start = request.getStartingAt();
    if (!token.empty()) {
      start.setToken(kj::arrayPtr(token.data(), token.size()));
    } else if (byDate) {
      start.setInitialByDate();
    } else {
      start.setInitialByName();
    }
    return request.send();
  };
  do {
    auto answer = _session.wait(page());
    if (isWorthAnotherTry(answer.getError())) {
      folder = enumerator(identifier, about);  // a token outlives the enumerator that gave it
      answer = _session.wait(page());
    }
    throwIfError(answer.getError(), about);
    for (const auto item : answer.getItems()) visit(item);
    token.clear();
    if (answer.getNext().isToken()) {
      const auto next = answer.getNext().getToken();
      token.assign(next.begin(), next.end());
    }
  } while (!token.empty());
}

}  // namespace tessera
