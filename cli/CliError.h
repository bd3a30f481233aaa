#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

namespace tessera {

// Exit statuses of every command.
inline constexpr int kStatusDone = 0;
inline constexpr int kStatusFailed = 1;
inline constexpr int kStatusUsage = 2;
inline constexpr int kStatusLeftOut = 3;        // done, but some entries could not be taken
inline constexpr int kStatusInterrupted = 130;  // by Ctrl-C, as shells have it

// Why a command failed: what a person reads, and for programs the domain and code.
class CliError : public std::runtime_error {
 public:
  CliError(std::string domain, std::int64_t code, const std::string& message,
           int status = kStatusFailed)
      : std::runtime_error(message), _domain(std::move(domain)), _code(code), _status(status) {}
  // One of the command line's own, without a domain.
  explicit CliError(const std::string& message, int status = kStatusFailed)
      : CliError({}, 0, message, status) {}

  [[nodiscard]] const std::string& domain() const noexcept { return _domain; }
  [[nodiscard]] std::int64_t code() const noexcept { return _code; }
  [[nodiscard]] int status() const noexcept { return _status; }

 private:
  std::string _domain;
  std::int64_t _code;
  int _status;
};

}  // namespace tessera
