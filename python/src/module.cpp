// The compiled part of the plexa package: plexa._plexa.
#include <algorithm>
#include <utility>
#include <vector>

#include <pybind11/pybind11.h>

#include "errors.hpp"
#include "families.hpp"

namespace plexa_py {

namespace {
std::vector<std::pair<int, family::binder>>& registry() {
  static std::vector<std::pair<int, family::binder>> binders;
  return binders;
}
}  // namespace

family::family(int order, binder bind) { registry().emplace_back(order, bind); }

void bind_families(pybind11::module_& m) {
  auto binders = registry();
  std::stable_sort(binders.begin(), binders.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  for (const auto& b : binders) b.second(m);
}

}  // namespace plexa_py

PYBIND11_MODULE(_plexa, m) {
  // Every docstring starts with the Python signature it documents.
  pybind11::options options;
  options.disable_function_signatures();
  m.doc() = "The compiled bindings of the Plexa mesh tools; use the package plexa.";
  plexa_py::define_error(m);
  plexa_py::bind_families(m);
}
