#include "home/PublishedState.h"

#include <nlohmann/json.hpp>

#include "home/Home.h"

namespace tessera {
namespace {

constexpr int kFormat = 1;

nlohmann::json parse(const std::string& text, const char* what) {
  auto json = nlohmann::json::parse(text, nullptr, false);
  if (!json.is_object() || !json.contains("format") || !json["format"].is_number_integer()) {
    throw HomeError(std::string("The published ") + what + " is broken; restart with tessera up.");
  }
  if (json["format"] > kFormat) {
    throw HomeError(std::string("The published ") + what +
                    " is of a newer version of tessera; use that version.");
  }
  return json;
}

}  // namespace

std::string PublishedAccount::toJson() const {
  nlohmann::json json = {{"format", kFormat}, {"name", name}};
  if (perAppAccountIdentifier) json["perAppAccountIdentifier"] = *perAppAccountIdentifier;
  return json.dump(2) + "\n";
}

PublishedAccount PublishedAccount::fromJson(const std::string& text) try {
  const auto json = parse(text, "account");
  PublishedAccount account{json.at("name"), std::nullopt};
  if (json.contains("perAppAccountIdentifier")) {
    account.perAppAccountIdentifier = json["perAppAccountIdentifier"].get<std::string>();
  }
  return account;
} catch (const nlohmann::json::exception& failure) {
  throw HomeError(std::string("The published account is broken: ") + failure.what());
}

std::string containersToJson(const std::vector<PublishedContainer>& containers) {
  nlohmann::json list = nlohmann::json::array();
  for (const auto& container : containers) {
    list.push_back({{"identifier", container.identifier},
                    {"displayName", container.displayName},
                    {"documentsPath", container.documentsPath},
                    {"documentsFolderId", container.documentsFolderId}});
  }
  return nlohmann::json{{"format", kFormat}, {"containers", list}}.dump(2) + "\n";
}

std::vector<PublishedContainer> containersFromJson(const std::string& text) try {
  std::vector<PublishedContainer> containers;
  const auto json = parse(text, "container list");
  for (const auto& entry : json.at("containers")) {
    containers.push_back({entry.at("identifier"), entry.at("displayName"),
                          entry.at("documentsPath"), entry.at("documentsFolderId")});
  }
  return containers;
} catch (const nlohmann::json::exception& failure) {
  throw HomeError(std::string("The published container list is broken: ") + failure.what());
}

}  // namespace tessera
