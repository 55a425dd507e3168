#include "args.h"

#include <charconv>

#include "tool_error.h"

namespace halftone::tool {

std::optional<std::string> ParsedArgs::value(std::string const& name) const {
  auto it = options.find(name);
  if (it == options.end()) return std::nullopt;
  return it->second;
}

ParsedArgs parse_args(std::span<char const* const> args, std::span<OptionDef const> known) {
  ParsedArgs parsed;
  for (std::size_t i = 0; i < args.size(); ++i) {
    std::string word = args[i];
    if (word.size() < 3 || word.compare(0, 2, "--") != 0) {
      parsed.positional.push_back(word);
      continue;
    }
    std::string name = word.substr(2);
    std::optional<std::string> inline_value;
    if (auto eq = name.find('='); eq != std::string::npos) {
      inline_value = name.substr(eq + 1);
      name.resize(eq);
    }
    OptionDef const* option = nullptr;
    for (OptionDef const& s : known)
      if (name == s.name) option = &s;
    if (option == nullptr) throw ToolError("unknown option --" + name);
    if (parsed.has(name)) throw ToolError("option --" + name + " given twice");
    if (!option->takes_value) {
      if (inline_value) throw ToolError("option --" + name + " takes no value");
      parsed.options[name] = "";
    } else if (inline_value) {
      parsed.options[name] = *inline_value;
    } else {
      if (i + 1 >= args.size()) throw ToolError("option --" + name + " needs a value");
      parsed.options[name] = args[++i];
    }
  }
  return parsed;
}

std::int64_t parse_integer(std::string const& text, std::string const& what, std::int64_t min,
                           std::int64_t max) {
  std::int64_t value = 0;
  char const* first = text.data();
  char const* last = first + text.size();
  if (first != last && *first == '+') ++first;
  auto [end, ec] = std::from_chars(first, last, value);
  if (text.empty() || ec != std::errc() || end != last)
    throw ToolError(what + " must be a whole number, not '" + text + "'");
  if (value < min || value > max)
    throw ToolError(what + " must be between " + std::to_string(min) + " and " +
                    std::to_string(max) + ", not " + text);
  return value;
}

Size parse_size(std::string const& text, std::string const& what, int min, int max) {
  auto x = text.find_first_of("xX");
  if (x == std::string::npos)
    throw ToolError(what + " must be written WIDTHxHEIGHT, not '" + text + "'");
  return {static_cast<int>(parse_integer(text.substr(0, x), what + " width", min, max)),
          static_cast<int>(parse_integer(text.substr(x + 1), what + " height", min, max))};
}

std::string normalize_parameters(std::string const& text) {
  constexpr int kMaxValues = 9;
  std::string result;
  int count = 0;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t comma = text.find(',', start);
    std::string token = text.substr(start, comma == std::string::npos ? comma : comma - start);
    if (++count > kMaxValues)
      throw ToolError("--params holds at most " + std::to_string(kMaxValues) + " values");
    result += std::to_string(parse_integer(token, "each --params value", 0, 255)) + ",";
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  return result;
}

}  // namespace halftone::tool
