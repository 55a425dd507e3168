// The halftone command-line program (placeholder until the front end lands).
#include <cstdio>

#include "exports/catalog.h"

int main() {
  for (auto const& s : halftone::catalog()) std::printf("%s\n", s.name);
  return 0;
}
