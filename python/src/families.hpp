// The binding sources register themselves: each defines one `family`
// object naming the function that binds it, and the module runs them in
// increasing order when it is imported.  A new family or file format is
// one more source file (the build picks up every src/*.cpp):
//
//   void bind_stl(pybind11::module_& m) { m.def("STL_input", ...); }
//   const family stl(80, bind_stl);
#pragma once

#include <pybind11/pybind11.h>

namespace plexa_py {

struct family {
  using binder = void (*)(pybind11::module_&);
  family(int order, binder bind);
};

// Runs the registered binders, in increasing order.
void bind_families(pybind11::module_& m);

}  // namespace plexa_py
