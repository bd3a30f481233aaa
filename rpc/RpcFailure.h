#pragma once

#include <string>
#include <utility>
#include <variant>

#include <kj/exception.h>

namespace tessera {

// Why a call has no result. What goes wrong in the peer's domain is no failure: it travels
// in results. Threads: a plain value.
struct RpcFailure {
  enum class Kind {
    Disconnected,   // the peer, or the own loop, is gone
    TimedOut,       // the deadline ran out
    Overloaded,     // the peer has too much to do
    Failed,         // the peer's code, or the own one, threw
    Cancelled,      // by the caller
    Unimplemented,  // the peer has no such method
  };

  Kind kind;
  std::string text;

  [[nodiscard]] static RpcFailure of(const kj::Exception& exception);
};

[[nodiscard]] const char* nameOf(RpcFailure::Kind kind);

// A call's result or why there is none. Outcome<void> holds no value.
template <class R>
class [[nodiscard]] Outcome {
 public:
  Outcome(R value) : _state(std::in_place_index<0>, std::move(value)) {}  // NOLINT: a result
  Outcome(RpcFailure failure)                                             // NOLINT: a result
      : _state(std::in_place_index<1>, std::move(failure)) {}

  [[nodiscard]] bool ok() const { return _state.index() == 0; }
  explicit operator bool() const { return ok(); }
  // Precondition: ok().
  [[nodiscard]] R& value() & { return std::get<0>(_state); }
  [[nodiscard]] const R& value() const& { return std::get<0>(_state); }
  [[nodiscard]] R&& value() && { return std::get<0>(std::move(_state)); }
  // Precondition: !ok().
  [[nodiscard]] const RpcFailure& failure() const { return std::get<1>(_state); }

 private:
  std::variant<R, RpcFailure> _state;
};

template <>
class [[nodiscard]] Outcome<void> {
 public:
  Outcome() = default;
  Outcome(RpcFailure failure) : _state(std::move(failure)) {}  // NOLINT: a result

  [[nodiscard]] bool ok() const { return _state.index() == 0; }
  explicit operator bool() const { return ok(); }
  [[nodiscard]] const RpcFailure& failure() const { return std::get<1>(_state); }

 private:
  std::variant<std::monostate, RpcFailure> _state;
};

}  // namespace tessera
