// The compiled part of the plexa package: plexa._plexa.
#include <pybind11/pybind11.h>

#include "errors.hpp"
#include "families.hpp"

PYBIND11_MODULE(_plexa, m) {
  // Every docstring starts with the Python signature it documents.
  pybind11::options options;
  options.disable_function_signatures();
  m.doc() = "The compiled bindings of the Plexa mesh tools; use the package plexa.";
  plexa_py::define_error(m);
  plexa_py::bind_core(m);
  plexa_py::bind_indices(m);
  plexa_py::bind_geometry(m);
  plexa_py::bind_search(m);
  plexa_py::bind_topology(m);
  plexa_py::bind_edges(m);
  plexa_py::bind_metrics(m);
  plexa_py::bind_quality(m);
  plexa_py::bind_io(m);
}
