// halftone: list the screens, screen an image, or run the demonstration.
#include <cstdio>
#include <cstring>
#include <exception>
#include <span>
#include <string>

#include "commands.h"
#include "tool_error.h"

int main(int argc, char** argv) {
  using namespace halftone::tool;
  const std::span<char const* const> words(const_cast<char const* const*>(argv), argc);
  if (argc < 2) {
    std::fputs(usage(), stderr);
    return kExitBadInput;
  }
  const char* command = argv[1];
  const auto rest = words.subspan(2);
  try {
    if (std::strcmp(command, "list") == 0) return list_command(rest);
    if (std::strcmp(command, "screen") == 0) return screen_command(rest);
    if (std::strcmp(command, "demo") == 0) return demo_command(rest);
    if (std::strcmp(command, "help") == 0 || std::strcmp(command, "--help") == 0 ||
        std::strcmp(command, "-h") == 0) {
      std::fputs(usage(), stdout);
      return 0;
    }
    throw ToolError(std::string("unknown command '") + command + "'");
  } catch (ToolError const& error) {
    std::fprintf(stderr, "halftone: %s\n", error.what());
    if (error.exit_code == kExitBadInput) std::fputs("Run 'halftone help' for usage.\n", stderr);
    return error.exit_code;
  } catch (std::exception const& error) {
    std::fprintf(stderr, "halftone: %s\n", error.what());
    return kExitFailure;
  }
}
