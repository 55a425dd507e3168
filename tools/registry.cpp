#include "registry.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "tool_error.h"

namespace halftone::tool {

std::size_t edit_distance(std::string const& a, std::string const& b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const bool same = std::tolower(static_cast<unsigned char>(a[i - 1])) ==
                        std::tolower(static_cast<unsigned char>(b[j - 1]));
      const std::size_t next = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (same ? 0 : 1)});
      diagonal = row[j];
      row[j] = next;
    }
  }
  return row[b.size()];
}

std::vector<halftone_screen_info const*> all_screens() {
  std::vector<halftone_screen_info const*> screens;
  for (std::size_t i = 0; i < halftone_screen_count(); ++i)
    if (auto const* info = halftone_screen_info_at(i)) screens.push_back(info);
  return screens;
}

halftone_screen_info const& find_screen(std::string const& name) {
  const long index = halftone_find_screen(name.c_str());
  if (index >= 0) {
    if (auto const* info = halftone_screen_info_at(static_cast<std::size_t>(index))) return *info;
  }
  // The closest names, ids and entry names alike, nearest first.
  std::vector<std::pair<std::size_t, std::string>> near;
  for (auto const* info : all_screens())
    for (char const* known : {info->id, info->entry})
      near.emplace_back(edit_distance(name, known), known);
  std::stable_sort(near.begin(), near.end(),
                   [](auto const& x, auto const& y) { return x.first < y.first; });
  std::string message = "unknown screen '" + name + "'";
  const std::size_t limit = std::max<std::size_t>(2, name.size() / 3);
  std::string suggestions;
  for (std::size_t i = 0; i < near.size() && i < 3 && near[i].first <= limit; ++i)
    suggestions += (i == 0 ? "" : ", ") + near[i].second;
  if (!suggestions.empty()) message += "; did you mean " + suggestions + "?";
  throw ToolError(message + " ('halftone list' shows every screen)");
}

std::string needs_text(halftone_screen_info const& info) {
  std::string text;
  auto add = [&](std::string const& what) {
    if (!text.empty()) text += ", ";
    text += what;
  };
  const unsigned needs = info.needs;
  if (needs & HALFTONE_NEEDS_TONE_CURVES) add("tone-curves");
  if (needs & HALFTONE_NEEDS_LEVELS) add("levels(" + std::to_string(info.levels) + ")");
  std::string size;
  if (info.pattern_width > 0) {
    size = ' ' + std::to_string(info.pattern_width);
    size += 'x';
    size += std::to_string(info.pattern_height);
  }
  if (needs & HALFTONE_NEEDS_PATTERN) add("pattern" + size);
  if (needs & HALFTONE_NEEDS_PATTERN2) add("pattern2" + size);
  if (needs & HALFTONE_NEEDS_MATRIX) add("matrix");
  if (needs & HALFTONE_NEEDS_BLOCKS) add("blocks");
  if (needs & HALFTONE_NEEDS_BUILT_MATRIX) add("built-matrix");
  return text.empty() ? "-" : text;
}

std::string checked_levels(std::string const& text, halftone_screen_info const& info) {
  const int count = info.levels;
  const std::string form = "--levels for " + std::string(info.id) + " takes " +
                           std::to_string(count) + " whole numbers 0-255 from dark to light," +
                           " e.g. " + info.default_levels;
  std::vector<int> values;
  std::size_t start = 0;
  while (true) {
    const std::size_t comma = text.find(',', start);
    const std::string token = text.substr(start, comma - start);
    int value = -1;
    auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), value);
    if (token.empty() || error != std::errc() || end != token.data() + token.size() || value < 0 ||
        value > 255)
      throw ToolError(form + "; '" + token + "' is not one");
    if (!values.empty() && value < values.back())
      throw ToolError(form + "; " + std::to_string(value) + " comes after " +
                      std::to_string(values.back()));
    values.push_back(value);
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  if (static_cast<int>(values.size()) != count)
    throw ToolError(form + "; " + std::to_string(values.size()) + " given");
  std::string result;
  for (int v : values) {
    if (!result.empty()) result += ',';
    result += std::to_string(v);
  }
  return result;
}

bool is_curve_mode(long mode) { return (mode >= 0 && mode <= 5) || (mode >= 11 && mode <= 17); }

std::string curve_modes_text() { return "0 (no tone bias), 1-5 or 11-17"; }

}  // namespace halftone::tool
