// The size-field pipeline on a mesh: a size field from its edges, made
// rough by a point source, then graded.
#pragma once

#include <cstdio>

#include <zeb/plexa/core.hpp>

namespace plexa_cli {

// Builds at each node the mean length of the element edges there
// (metrics_gen_iso), shrinks the size of node `source` by `factor` (a point
// source), and bounds the gradation of the field to g with sizes only
// shrinking (bound_metric_gradations), measuring its largest gradation
// (H_shock) before and after.  Writes to out:
//   size field: mean edge length at each node, <min> to <max>
//   point source at node <source>: size <size>
//   largest gradation: <before> before, <after> after bounding it to <g> (sizes only shrink)
//   nodes changed: <count>
// Output: sizes, the graded field, one size per node.
// Returns false, writing nothing, when a step fails (a connectivity that
// does not fit its type, a source that is no node of the mesh, memory).
bool write_size_gradation(std::FILE* out, const zeb::dense2D<double>& coords, const zeb::dense2D<unsigned>& connect,
                          zeb::plexa::element_type type, unsigned source, double factor, double g,
                          zeb::dense1D<double, 8>& sizes);

}  // namespace plexa_cli
