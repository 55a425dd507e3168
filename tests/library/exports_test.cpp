// The shared library exports exactly the host entry points, each under the
// decorated name that encodes its declared argument types, and the C API
// (and the Windows DLL's export list names the same); the registry
// describes only exported screens.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <set>
#include <string>

#include "exports/registry.h"
#include "halftone/halftone.h"
#include "support/entry_points.h"

namespace halftone::test {
namespace {

const std::set<std::string>& declared() {
  static const std::set<std::string> names = [] {
    std::set<std::string> v;
#define DECORATE(name) v.insert(decorated<decltype(name)>(#name));
    HALFTONE_ENTRY_POINTS(DECORATE)
#undef DECORATE
#define DECORATE_EXTENSION(name) v.insert(decorated<decltype(name)>(#name, true));
    HALFTONE_EXTENSIONS(DECORATE_EXTENSION)
#undef DECORATE_EXTENSION
    return v;
  }();
  return names;
}

// The C API, exported by its plain names.
#define NAME(name) #name,
const std::set<std::string> kCApi = {HALFTONE_C_API(NAME)};
#undef NAME

TEST(Exports, SharedLibraryExportsExactlyTheEntryPoints) {
  void* lib = dlopen(HALFTONE_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(lib, nullptr) << dlerror();
  for (std::string const& name : declared()) EXPECT_NE(dlsym(lib, name.c_str()), nullptr) << name;
  for (std::string const& name : kCApi) EXPECT_NE(dlsym(lib, name.c_str()), nullptr) << name;
  // Nothing else of the library's is exported.
  FILE* nm = popen("nm -D --defined-only " HALFTONE_SHARED_LIBRARY, "r");
  ASSERT_NE(nm, nullptr);
  char line[1024];
  std::set<std::string> exported;
  while (std::fgets(line, sizeof line, nm)) {
    std::string symbol(line);
    symbol = symbol.substr(symbol.find_last_of(' ') + 1);
    symbol.erase(symbol.find_last_not_of("\r\n") + 1);
    exported.insert(symbol);
  }
  pclose(nm);
  std::set<std::string> expected = declared();
  expected.insert(kCApi.begin(), kCApi.end());
  EXPECT_EQ(exported, expected);
  dlclose(lib);
  // The Windows DLL's list names the same (MinGW decorates names as GCC does here).
  std::ifstream def(HALFTONE_EXPORTS_DEF);
  ASSERT_TRUE(def) << HALFTONE_EXPORTS_DEF;
  std::set<std::string> listed;
  for (std::string word; def >> word;) {
    if (word[0] == ';')
      std::getline(def, word);  // a comment
    else if (word != "EXPORTS")
      listed.insert(word);
  }
  EXPECT_EQ(listed, expected);
}

TEST(Exports, RegistryNamesExportedScreensOnceWithUniqueIds) {
  std::set<std::string> seen;
  for (Screen const& s : registry()) {
    EXPECT_TRUE(seen.insert(s.info.entry).second) << s.info.entry;
    EXPECT_TRUE(seen.insert(s.info.id).second) << s.info.id;
    for (char c : std::string(s.info.id))
      EXPECT_TRUE((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-') << s.info.id;
    EXPECT_TRUE(s.info.bits == 1 || s.info.bits == 2 || s.info.bits == 4) << s.info.id;
    const std::string entry = s.info.entry;
    const bool exported = std::any_of(declared().begin(), declared().end(), [&](auto const& d) {
      return d.find(std::to_string(entry.size()) + entry) == 2;
    });
    EXPECT_TRUE(exported) << entry;
    EXPECT_EQ(find_screen(s.info.id), &s);
    EXPECT_EQ(find_screen(s.info.entry), &s);
  }
  // Every screen and utility: the 69 entry points less the tone setup, the
  // matrix build, the six loaders, the three pacing and three constant entries.
  EXPECT_EQ(registry().size(), 69u - 14u);
}

}  // namespace
}  // namespace halftone::test
