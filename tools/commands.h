// The commands of the halftone program. Each takes the words after the
// command name, returns the exit code, and throws ToolError for bad input.
#pragma once
#include <span>

namespace halftone::tool {

int list_command(std::span<char const* const> args);
int screen_command(std::span<char const* const> args);
int demo_command(std::span<char const* const> args);

// The usage text printed by "halftone help".
char const* usage();

}  // namespace halftone::tool
