#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tessera {

// What the daemon publishes for its clients in the home's state folder, as JSON. Readers
// ignore members that they do not know and refuse a newer format.

// state/account.json; absent while nobody is signed in.
struct PublishedAccount {
  std::string name;
  // The account as the applications of this device know it; absent when it cannot be used.
  std::optional<std::string> perAppAccountIdentifier;

  [[nodiscard]] std::string toJson() const;
  // Throws HomeError for text that is not such a file.
  [[nodiscard]] static PublishedAccount fromJson(const std::string& text);
};

// state/containers.json
struct PublishedContainer {
  std::string identifier;
  std::string displayName;
  std::string documentsPath;      // below the tree; empty for the tree's root itself
  std::string documentsFolderId;  // UUID, lower case

  bool operator==(const PublishedContainer&) const = default;
};

[[nodiscard]] std::string containersToJson(const std::vector<PublishedContainer>& containers);
[[nodiscard]] std::vector<PublishedContainer> containersFromJson(const std::string& text);

}  // namespace tessera
