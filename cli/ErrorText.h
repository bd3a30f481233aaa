#pragma once

#include <string>

#include "cli/CliError.h"
#include "protocol/error.capnp.h"

namespace tessera {

// The error that came with an answer.
[[nodiscard]] CliError cliErrorOf(wire::Error::Reader error, const std::string& about = {});

// Throws cliErrorOf(error) unless the struct stands for "no error". `about` is what the
// request was about (a path), for errors that do not say it themselves.
void throwIfError(wire::Error::Reader error, const std::string& about = {});

// The extension ended while it worked on this: the same request may succeed now.
[[nodiscard]] bool isWorthAnotherTry(wire::Error::Reader error);

// What is printed for an error: one line, escaped, or one JSON object.
[[nodiscard]] std::string errorLine(const CliError& error);
[[nodiscard]] std::string errorJson(const CliError& error);

}  // namespace tessera
