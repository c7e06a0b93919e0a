// Text summary of a mesh: node count, elements by type, bounding box.
#pragma once

#include <cstdio>

#include <zeb/plexa/core.hpp>

#include "mesh.hpp"

namespace plexa_cli {

// Name of an element type without its ELT_ prefix ("HEXA8", "SOLID_MIX").
const char* element_name(zeb::plexa::element_type type);

// Kind of one element of a connectivity of the given type: the member a
// mixed column holds (ELT_EDGE2 for ELT_EDGE_MIX, ELT_TRIA3 or ELT_QUAD4 for
// ELT_FACE_MIX, ELT_TETRA4 ... ELT_HEXA8 for ELT_SOLID_MIX), the declared
// type otherwise.  The column
// must pass check_IDs for that type.
zeb::plexa::element_type element_kind(const zeb::dense2D<unsigned>& connect, zeb::plexa::element_type type,
                                      unsigned column);

// Writes to out:
//   nodes: <count>
//   elements: <count>
//     <TYPE>: <count>          (one line per kind present, in enumeration order)
//   bounding box: [xmin, xmax] x [ymin, ymax] (x [zmin, zmax])
// The bounding box line is left out when there is no node or the coordinates
// are not 2-D or 3-D.  Numbers are written independently of the locale.
// Returns false, writing nothing, when the connectivity does not fit the type
// or refers to a missing node, or memory runs out.
bool write_mesh_summary(std::FILE* out, const zeb::dense2D<double>& coords, const zeb::dense2D<unsigned>& connect,
                        zeb::plexa::element_type type);

}  // namespace plexa_cli

namespace plexa_cli {

// The same summary over every block of a mesh, then its blocks:
//   blocks: <count>
//     <k>: <TYPE>, <count> elements[, ids <list>]
// with the distinct ids of a block ascending, runs written "a-b" (the first
// eight runs, then "..."), and, when the ids have names:
//   names:
//     <id>: <name>     ("(none)" for an empty name)
// Returns false, writing nothing, when a block does not fit its type or
// memory runs out.
bool write_mesh_summary(std::FILE* out, const mesh& m);

}  // namespace plexa_cli
