#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <type_traits>

#include "platform/log/LogArgument.h"
#include "platform/log/LogFormat.h"

namespace tessera {

enum class LogType : std::uint8_t { Default, Info, Debug, Error, Fault };

// The most that one "%@" or "%s" prints, in bytes; what was cut ends in "…".
inline constexpr std::size_t kLogArgumentLimit = 1024;

// Where finished lines go. Threads: any, several at once.
class LogBackend {
 public:
  virtual ~LogBackend() = default;
  virtual void write(std::string_view subsystem, LogType type, std::string_view line) = 0;
};

// A handle of the unified log: lines of one subsystem, each of one of five types.
//
// The texts are checked against their arguments when the program is compiled
// (LogFormat). A line whose type is not enabled costs one load and one branch: nothing
// is formatted. Each "%@" and "%s" prints at most kLogArgumentLimit bytes.
//
// Threads: any.
class Log {
 public:
  constexpr explicit Log(std::string_view subsystem) : _subsystem(subsystem) {}

  [[nodiscard]] bool isEnabled(LogType type) const noexcept {
    return (_enabled.load(std::memory_order_relaxed) >> static_cast<unsigned>(type)) & 1U;
  }
  // Which types reach `backend`, as a set of bits 1 << type. The backend outlives its use;
  // nullptr with an empty set turns the handle off.
  void attach(LogBackend* backend, std::uint8_t enabledTypes) noexcept;

  template <class... A>
  void debug(LogFormat<std::type_identity_t<A>...> format, const A&... arguments) const {
    if (isEnabled(LogType::Debug)) [[unlikely]]
      emit(LogType::Debug, format.text(), {LogArgument(arguments)...});
  }
  template <class... A>
  void info(LogFormat<std::type_identity_t<A>...> format, const A&... arguments) const {
    if (isEnabled(LogType::Info)) [[unlikely]]
      emit(LogType::Info, format.text(), {LogArgument(arguments)...});
  }
  template <class... A>
  void notice(LogFormat<std::type_identity_t<A>...> format, const A&... arguments) const {
    if (isEnabled(LogType::Default)) [[unlikely]]
      emit(LogType::Default, format.text(), {LogArgument(arguments)...});
  }
  template <class... A>
  void error(LogFormat<std::type_identity_t<A>...> format, const A&... arguments) const {
    if (isEnabled(LogType::Error)) [[unlikely]]
      emit(LogType::Error, format.text(), {LogArgument(arguments)...});
  }
  template <class... A>
  void fault(LogFormat<std::type_identity_t<A>...> format, const A&... arguments) const {
    if (isEnabled(LogType::Fault)) [[unlikely]]
      emit(LogType::Fault, format.text(), {LogArgument(arguments)...});
  }

 private:
  void emit(LogType type, std::string_view format,
            std::initializer_list<LogArgument> arguments) const;

  const std::string_view _subsystem;
  std::atomic<LogBackend*> _backend{nullptr};
  std::atomic<std::uint8_t> _enabled{0};
};

}  // namespace tessera
