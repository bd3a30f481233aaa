#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <variant>

#include "protocol/error.capnp.h"

namespace tessera {

// An error as clients see it. The text always says what happened and, where there is
// something, what to do.
struct ServiceError {
  std::string domain;
  std::int64_t code = 0;
  std::string text;
  std::string path;                              // empty when there is none
  std::shared_ptr<const ServiceError> causedBy;  // null when there is none

  // The one table from what is thrown below the service.
  [[nodiscard]] static ServiceError of(const std::exception_ptr& failure);

  void encode(wire::Error::Builder error) const;
};

// What a request gives: its result or an error.
template <typename T>
using Answer = std::variant<T, ServiceError>;

struct Nothing {};

// Runs `work` and turns what it throws into an error.
template <typename Work>
[[nodiscard]] auto answerOf(const Work& work) -> Answer<decltype(work())> {
  try {
    return work();
  } catch (...) {
    return ServiceError::of(std::current_exception());
  }
}

}  // namespace tessera
