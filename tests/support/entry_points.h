// Every host entry point and the decorated name a shared library exports it
// under, for the checks that find them by name (the export list, the
// comparison of two builds).
#pragma once
#include <string>
#include <typeinfo>

#include "halftone/halftone.h"

// HALFTONE_ENTRY_POINTS(X) expands X(name) once an entry point, by family.
// clang-format off
#define HALFTONE_ENTRY_POINTS(X)                                                                \
  X(Itsdiufiavs)                                                                                \
  X(hxkjsdi67x) X(jsdi6yruis) X(irpduix7sg) X(sdiufiavs) X(sdiufiavs1) X(highforces)           \
  X(mandfanes) X(orangecagn)                                                                    \
  X(SincesKai) X(Kaocosyx) X(Kaocosyx1) X(Kaocosyx10) X(Kaocosyx13) X(Kaocosyx14)              \
  X(suiruiskao) X(suiruiskao2) X(suiruiskao3) X(suiruiskao4) X(suiruiskao5) X(suiruiskao6)     \
  X(suiruiskao7) X(suiruiskao8) X(suiruiskao9) X(suiruiskao10) X(suiruiskao11)                 \
  X(sdiufiavs2) X(sdiufiavs3) X(sdiufiavs4)                                                     \
  X(FastGroup) X(FastGroup1) X(ArcistPump) X(Kaishanxing) X(SymanOpening) X(RoundFaxest)       \
  X(RoundFaxest__) X(RoundPump) X(RoundPump1)                                                   \
  X(KaiDuaning) X(NingJing) X(PuaningFa) X(PuaningFa13) X(NiceMents) X(PuaningFaAM)            \
  X(Sonicksure) X(MutexWindow) X(MutexWindow_Bak) X(TextDownload) X(WindowText)                \
  X(WindowTextAM1) X(WindowTextAM) X(CrisixOut) X(CrisixOut_double) X(CrisixOut31)             \
  X(xinskdn34skx) X(shdeiznc45kdi) X(kajdjigc23kdh) X(tishduth29dmc) X(fdxin324c)              \
  X(nchsuw56xd) X(ixndiwkc76y) X(sdicxx78xy) X(ghskdjiekld)                                     \
  X(khjhusecx) X(sinxcdke34i) X(giwncwcg7w) X(DouMaxing) X(DuanKougb) X(YountTrue)
// clang-format on

namespace halftone::test {

// The decorated name of a function of noexcept type F, at global scope or in
// namespace halftone, from the type's own encoding "DoF" return-type
// parameters "E"; "not noexcept: name" for any other type.
template <class F>
std::string decorated(char const* name, bool in_namespace = false) {
  const std::string type = typeid(F).name();  // e.g. "DoFiPhS_jjE"
  if (type.rfind("DoF", 0) != 0) return "not noexcept: " + std::string(name);
  const std::string params = type.substr(4, type.size() - 5);
  const std::string n = std::to_string(std::string(name).size()) + name;
  return in_namespace ? "_ZN8halftone" + n + "E" + params : "_Z" + n + params;
}

}  // namespace halftone::test
