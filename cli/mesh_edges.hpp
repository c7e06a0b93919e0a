// Text summaries of a mesh's free boundary and of its edge lengths.
#pragma once

#include <cstdio>

#include <zeb/plexa/core.hpp>

namespace plexa_cli {

// Writes to out the free boundary of the mesh (the element boundaries that
// no other element shares), counted by kind:
//   free boundary: <count> faces          ("edges" for a face mesh, "nodes"
//     <KIND>: <count>                      for an edge mesh)
// one line per kind present, in enumeration order (NODE, EDGE2, TRIA3,
// QUAD4).  Returns false, writing nothing, when the connectivity does not
// fit the type, the type has no boundaries, or memory runs out.
bool write_free_boundary(std::FILE* out, const zeb::dense2D<unsigned>& connect, zeb::plexa::element_type type);

// Writes to out the histogram of the lengths of the mesh's edges measured
// against the uniform size h (each edge once):
//   edge lengths against a uniform size <h>:
//   count <n>  min <min>  max <max>  mean <mean>
//     <bins, as zeb::misc::histogram::print writes them>
// Returns false, writing nothing, when the lengths cannot be measured (a
// coordinate matrix of neither 2 nor 3 rows, a connectivity that does not
// fit its type or names a missing node, h not positive, memory).
bool write_edge_lengths(std::FILE* out, const zeb::dense2D<double>& coords, const zeb::dense2D<unsigned>& connect,
                        zeb::plexa::element_type type, double h);

}  // namespace plexa_cli
