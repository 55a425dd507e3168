// The family's entry points with the rules each one follows in the model.
#pragma once
#include <array>
#include <ostream>

#include "damped/reference.h"
#include "halftone/damped.h"

namespace halftone::test {

using ScreenFn = int (*)(unsigned char*, unsigned char*, unsigned int, unsigned int, unsigned int);

struct DampedScreen {
  char const* name;
  ScreenFn fn;
  Model model;
};

inline void PrintTo(DampedScreen const& s, std::ostream* os) { *os << s.name; }

inline constexpr std::array<DampedScreen, 14> kDampedScreens{{
    {"suiruiskao", suiruiskao, Model::Runs},
    {"suiruiskao2", suiruiskao2, Model::HalfSplit},
    {"sdiufiavs2", sdiufiavs2, Model::Amplitude31},
    {"sdiufiavs3", sdiufiavs3, Model::Band31},
    {"suiruiskao11", suiruiskao11, Model::FiveBand},
    {"suiruiskao8", suiruiskao8, Model::Halves},
    // Members without rules of their own.
    {"suiruiskao3", suiruiskao3, Model::Runs},
    {"suiruiskao4", suiruiskao4, Model::Runs},
    {"suiruiskao5", suiruiskao5, Model::Runs},
    {"suiruiskao6", suiruiskao6, Model::Runs},
    {"suiruiskao7", suiruiskao7, Model::Runs},
    {"suiruiskao9", suiruiskao9, Model::Runs},
    {"suiruiskao10", suiruiskao10, Model::Runs},
    {"sdiufiavs4", sdiufiavs4, Model::Band31},
}};

}  // namespace halftone::test
