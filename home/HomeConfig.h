#pragma once

#include <optional>
#include <string>

#include "home/Home.h"

namespace tessera {

// How the documents that are not on the device stand in the tree.
enum class PlaceholderKind { Hidden };

[[nodiscard]] std::string placeholderKindName(PlaceholderKind kind);

// What a home was set up with: state/config.json, written by `tessera up`.
struct HomeConfig {
  std::string cloudUrl;
  PlaceholderKind placeholders = PlaceholderKind::Hidden;

  // nullopt when the home was never set up. Throws HomeError for a file that is broken or
  // was written by a newer version.
  [[nodiscard]] static std::optional<HomeConfig> load(const Home& home);
  void save(const Home& home) const;
};

}  // namespace tessera
