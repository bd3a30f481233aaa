#include "home/HomeConfig.h"

#include <nlohmann/json.hpp>

#include "home/PublishedFile.h"

namespace tessera {
namespace {

constexpr int kFormat = 1;

}  // namespace

std::string placeholderKindName(PlaceholderKind kind) {
  switch (kind) {
    case PlaceholderKind::Hidden:
      return "hidden";
  }
  return {};
}

std::optional<HomeConfig> HomeConfig::load(const Home& home) {
  const auto text = PublishedFile(home.configFile()).read();
  if (!text) return std::nullopt;
  const auto json = nlohmann::json::parse(*text, nullptr, false);
  const std::string file = home.configFile().string();
  if (!json.is_object() || !json.value("cloud", nlohmann::json()).is_string() ||
      !json.value("format", nlohmann::json()).is_number_integer()) {
    throw HomeError(file + " is broken; move it away and run tessera up again.");
  }
  if (json["format"] > kFormat) {
    throw HomeError(file + " was written by a newer version of tessera; use that version.");
  }
  return HomeConfig{json["cloud"], PlaceholderKind::Hidden};
}

void HomeConfig::save(const Home& home) const {
  const nlohmann::json json = {{"format", kFormat},
                               {"cloud", cloudUrl},
                               {"placeholders", placeholderKindName(placeholders)}};
  publishFile(home.configFile(), json.dump(2) + "\n");
}

}  // namespace tessera
