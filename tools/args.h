// Command-line parsing: positional arguments, "--name value" / "--name=value"
// options and flags, and checked number conversion.
#pragma once
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace halftone::tool {

struct OptionDef {
  char const* name;  // without the leading "--"
  bool takes_value;
};

struct ParsedArgs {
  std::vector<std::string> positional;
  std::map<std::string, std::string> options;  // flags hold ""

  bool has(std::string const& name) const { return options.count(name) != 0; }
  std::optional<std::string> value(std::string const& name) const;
};

// Parses `args` (the words after the command). Unknown, repeated or
// value-less options throw ToolError.
ParsedArgs parse_args(std::span<char const* const> args, std::span<OptionDef const> known);

// A decimal integer in [min, max]; `what` names the value in the message.
std::int64_t parse_integer(std::string const& text, std::string const& what, std::int64_t min,
                           std::int64_t max);

// "W x H" written as "16x16".
struct Size {
  int width;
  int height;
};
Size parse_size(std::string const& text, std::string const& what, int min, int max);

// Checks a level list such as "0,85,170,255" (at most nine values, each
// 0-255) and returns it with a closing comma, so that every value is taken.
std::string normalize_parameters(std::string const& text);

}  // namespace halftone::tool
