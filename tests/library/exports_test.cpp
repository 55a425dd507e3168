// The shared library exports exactly the host entry points, each under the
// decorated name that encodes its declared argument types, and the C API;
// the registry describes only exported screens.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <set>
#include <string>
#include <typeinfo>

#include "exports/registry.h"
#include "halftone/halftone.h"

namespace halftone::test {
namespace {

// The decorated name of a global-scope function, built from its declared
// type: a noexcept function type's own encoding is "DoF" return-type
// parameters "E"; noexcept is not part of the symbol's name.
template <class F>
std::string decorated(char const* name, bool in_namespace = false) {
  const std::string type = typeid(F).name();  // e.g. "DoFiPhS_jjE"
  if (type.rfind("DoF", 0) != 0) return "not noexcept: " + std::string(name);
  const std::string params = type.substr(4, type.size() - 5);
  const std::string n = std::to_string(std::string(name).size()) + name;
  return in_namespace ? "_ZN8halftone" + n + "E" + params : "_Z" + n + params;
}

#define ENTRY(f) decorated<decltype(f)>(#f)
const std::set<std::string>& declared() {
  static const std::set<std::string> names = {
      ENTRY(Itsdiufiavs),
      ENTRY(hxkjsdi67x),
      ENTRY(jsdi6yruis),
      ENTRY(irpduix7sg),
      ENTRY(sdiufiavs),
      ENTRY(sdiufiavs1),
      ENTRY(highforces),
      ENTRY(mandfanes),
      ENTRY(orangecagn),
      ENTRY(SincesKai),
      ENTRY(Kaocosyx),
      ENTRY(Kaocosyx1),
      ENTRY(Kaocosyx10),
      ENTRY(Kaocosyx13),
      ENTRY(Kaocosyx14),
      ENTRY(suiruiskao),
      ENTRY(suiruiskao2),
      ENTRY(suiruiskao3),
      ENTRY(suiruiskao4),
      ENTRY(suiruiskao5),
      ENTRY(suiruiskao6),
      ENTRY(suiruiskao7),
      ENTRY(suiruiskao8),
      ENTRY(suiruiskao9),
      ENTRY(suiruiskao10),
      ENTRY(suiruiskao11),
      ENTRY(sdiufiavs2),
      ENTRY(sdiufiavs3),
      ENTRY(sdiufiavs4),
      ENTRY(FastGroup),
      ENTRY(FastGroup1),
      ENTRY(ArcistPump),
      ENTRY(Kaishanxing),
      ENTRY(SymanOpening),
      ENTRY(RoundFaxest),
      ENTRY(RoundFaxest__),
      ENTRY(RoundPump),
      ENTRY(RoundPump1),
      ENTRY(KaiDuaning),
      ENTRY(NingJing),
      ENTRY(PuaningFa),
      ENTRY(PuaningFa13),
      ENTRY(NiceMents),
      ENTRY(PuaningFaAM),
      ENTRY(Sonicksure),
      ENTRY(MutexWindow),
      ENTRY(MutexWindow_Bak),
      ENTRY(TextDownload),
      ENTRY(WindowText),
      ENTRY(WindowTextAM1),
      ENTRY(WindowTextAM),
      ENTRY(CrisixOut),
      ENTRY(CrisixOut_double),
      ENTRY(CrisixOut31),
      ENTRY(xinskdn34skx),
      ENTRY(shdeiznc45kdi),
      ENTRY(kajdjigc23kdh),
      ENTRY(tishduth29dmc),
      ENTRY(fdxin324c),
      ENTRY(nchsuw56xd),
      ENTRY(ixndiwkc76y),
      ENTRY(sdicxx78xy),
      ENTRY(ghskdjiekld),
      ENTRY(khjhusecx),
      ENTRY(sinxcdke34i),
      ENTRY(giwncwcg7w),
      ENTRY(DouMaxing),
      ENTRY(DuanKougb),
      ENTRY(YountTrue),
      decorated<decltype(halftone::pin_seed_time)>("pin_seed_time", true),
      decorated<decltype(halftone::unpin_seed_time)>("unpin_seed_time", true),
      decorated<decltype(halftone::set_data_folder)>("set_data_folder", true)};
  return names;
}
#undef ENTRY

// The C API, exported by its plain names.
const std::set<std::string> kCApi = {
    "halftone_screen_count", "halftone_screen_id",      "halftone_screen_entry",
    "halftone_screen_bits",  "halftone_screen_info_at", "halftone_find_screen",
    "halftone_version",      "halftone_row_bytes",      "halftone_last_error",
    "halftone_job_new",      "halftone_job_set",        "halftone_job_output_shape",
    "halftone_job_band",     "halftone_job_finish",     "halftone_job_error",
    "halftone_job_free"};

TEST(Exports, DecoratedNamesEncodeTheDeclaredTypes) {
  EXPECT_EQ(decorated<decltype(hxkjsdi67x)>("hxkjsdi67x"), "_Z10hxkjsdi67xPhS_jj");
  EXPECT_EQ(decorated<decltype(ghskdjiekld)>("ghskdjiekld"), "_Z11ghskdjiekldPhRS_iiPiS_");
  EXPECT_EQ(declared().size(), 72u);
}

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
