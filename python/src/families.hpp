// The binding sources, one per family of the library; module.cpp calls
// them in this order.  A new family or file format is one more source
// defining one more of these.
#pragma once

#include <pybind11/pybind11.h>

namespace plexa_py {

void bind_core(pybind11::module_& m);      // version, element tables, inspection helpers
void bind_indices(pybind11::module_& m);   // index utilities
void bind_geometry(pybind11::module_& m);  // transforms, boxes, centroids, copies, clipping
void bind_search(pybind11::module_& m);    // NodeDetector, merge, remove_degenerated, simplify
void bind_topology(pybind11::module_& m);  // boundaries, neighbours, graphs, sub-domains
void bind_edges(pybind11::module_& m);     // edge sets, edge qualities, Histogram
void bind_metrics(pybind11::module_& m);   // metric primitives and fields
void bind_quality(pybind11::module_& m);   // shape qualities, Jacobians
void bind_io(pybind11::module_& m);        // file writers (and readers)

}  // namespace plexa_py
