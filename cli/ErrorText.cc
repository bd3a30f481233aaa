#include "cli/ErrorText.h"

#include <string_view>

#include <fmt/format.h>

#include "cli/Escape.h"
#include "cli/Json.h"

namespace tessera {
namespace {

constexpr int kDeepest = 8;

// The description that says most: the error's own, or the nearest one below it.
std::string descriptionIn(wire::Error::Reader error, int depth) {
  for (const auto entry : error.getUserInfo()) {
    if (entry.getKey() == "NSLocalizedDescription" && entry.getValue().isText()) {
      return entry.getValue().getText().cStr();
    }
  }
  if (depth >= kDeepest) return {};
  for (const auto entry : error.getUserInfo()) {
    if (entry.getKey() == "NSUnderlyingError" && entry.getValue().isError()) {
      return descriptionIn(entry.getValue().getError(), depth + 1);
    }
  }
  return {};
}

struct KnownError {
  std::string_view domain;
  std::int64_t code;
  std::string_view text;
};

// For errors whose description is missing or does not say what to do.
constexpr KnownError kKnown[] = {
    {"NSFileProviderErrorDomain", -1000, "Nobody is signed in. Sign in with: tessera login NAME"},
    {"NSFileProviderErrorDomain", -1001, "The name is taken."},
    {"NSFileProviderErrorDomain", -1002,
     "The changes since then are not known any more; list again."},
    {"NSFileProviderErrorDomain", -1003, "The account's quota does not hold this."},
    {"NSFileProviderErrorDomain", -1004,
     "The cloud cannot be reached. It is tried again by itself; tessera status says why."},
    {"NSFileProviderErrorDomain", -1005, "There is no such item."},
    {"GVTesseraErrorDomain", 2, "Nobody is signed in. Sign in with: tessera login NAME"},
    {"NSCocoaErrorDomain", 3072, "Cancelled."},
};

std::string textOf(wire::Error::Reader error) {
  const std::string_view domain(error.getDomain().cStr(), error.getDomain().size());
  const std::string description = descriptionIn(error, 0);
  for (const auto& known : kKnown) {
    if (known.domain != domain || known.code != error.getCode()) continue;
    const bool saysWhatToDo = description.find("tessera") != std::string::npos;
    if (description.empty() || !saysWhatToDo) return std::string(known.text);
  }
  if (!description.empty()) return description;
  return "The request failed.";
}

}  // namespace

CliError cliErrorOf(wire::Error::Reader error, const std::string& about) {
  std::string text = textOf(error);
  if (!about.empty() && text.find(about) == std::string::npos) text = about + ": " + text;
  return {error.getDomain().cStr(), error.getCode(), text};
}

void throwIfError(wire::Error::Reader error, const std::string& about) {
  if (error.getDomain().size() > 0) throw cliErrorOf(error, about);
}

bool isWorthAnotherTry(wire::Error::Reader error) {
  return error.getDomain() == "NSCocoaErrorDomain" && error.getCode() == 4097;
}

std::string errorLine(const CliError& error) {
  std::string line = "tessera: " + escaped(error.what());
  if (!error.domain().empty()) {
    line += fmt::format("  [{} {}]", escaped(error.domain()), error.code());
  }
  return line;
}

std::string errorJson(const CliError& error) {
  Json details = {{"message", error.what()}};
  if (!error.domain().empty()) {
    details["domain"] = error.domain();
    details["code"] = error.code();
  }
  return jsonLine(Json{{"error", details}});
}

}  // namespace tessera
