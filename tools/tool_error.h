// Errors the command-line program reports to the user.
#pragma once
#include <stdexcept>
#include <string>

namespace halftone::tool {

// Exit codes: 1 for a failure while running, 2 for bad arguments or input.
constexpr int kExitFailure = 1;
constexpr int kExitBadInput = 2;

// A failure with a message meant for the user, and the exit code it earns.
struct ToolError : std::runtime_error {
  int exit_code;
  explicit ToolError(std::string const& message, int code = kExitBadInput)
      : std::runtime_error(message), exit_code(code) {}
};

}  // namespace halftone::tool
