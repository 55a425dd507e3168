// The library's screen registry as the program uses it: finding a screen by
// id or entry name, describing what it reads, and checking the options that
// set its levels and tone curves.
#pragma once
#include <halftone/halftone.h>

#include <cstddef>
#include <string>
#include <vector>

namespace halftone::tool {

// The screen named `name` (id or entry name). An unknown name throws
// ToolError suggesting the closest ids and entry names.
halftone_screen_info const& find_screen(std::string const& name);

// Every screen, in the registry's order.
std::vector<halftone_screen_info const*> all_screens();

// "tone-curves, levels(4), pattern 16x16" or "-".
std::string needs_text(halftone_screen_info const& info);

// Checks a level list for a screen that reads `count` levels: that many
// whole numbers 0-255, none below the one before. Returns it as
// "v1,v2,...". Throws ToolError giving the expected form.
std::string checked_levels(std::string const& text, halftone_screen_info const& info);

// Tone-curve modes that select curves: 0 (none) and the others listed.
bool is_curve_mode(long mode);
std::string curve_modes_text();

// Edit distance between two names, letters compared without case.
std::size_t edit_distance(std::string const& a, std::string const& b);

}  // namespace halftone::tool
