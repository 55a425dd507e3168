// The decorated name a shared library exports each host entry point under,
// for the checks that find them by name (the export list, the comparison of
// two builds); the lists are in entry_point_list.h.
#pragma once
#include <string>
#include <typeinfo>

#include "halftone/halftone.h"
#include "support/entry_point_list.h"

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
