// What the shared library exports, as lists to expand (no includes, so that
// a check compiled for another ABI can use them with the public headers alone).
#pragma once

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

// The extensions in namespace halftone: HALFTONE_EXTENSIONS(X) expands X(name).
#define HALFTONE_EXTENSIONS(X) X(pin_seed_time) X(unpin_seed_time) X(set_data_folder)

// The C API, exported by its plain names: HALFTONE_C_API(X) expands X(name).
// clang-format off
#define HALFTONE_C_API(X)                                                                        \
  X(halftone_screen_count) X(halftone_screen_id) X(halftone_screen_entry)                       \
  X(halftone_screen_bits) X(halftone_screen_info_at) X(halftone_find_screen) X(halftone_version) \
  X(halftone_row_bytes) X(halftone_last_error) X(halftone_job_new) X(halftone_job_set)          \
  X(halftone_job_output_shape) X(halftone_job_band) X(halftone_job_finish)                       \
  X(halftone_job_error) X(halftone_job_free)
// clang-format on
