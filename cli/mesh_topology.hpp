// The topology of a mesh as `plexa check` and `plexa weld` report it: its
// elements of one dimension joined into one linear connectivity, the free
// and non-manifold boundaries of that connectivity, and its connected parts.
#pragma once

#include <vector>

#include <zeb/plexa/core.hpp>

#include "mesh.hpp"

namespace plexa_cli {

// The highest element dimension of the mesh's non-empty blocks (0 without
// elements).
unsigned top_dimension(const mesh& m);

// The vertices of the elements of dimension `dim` (1, 2 or 3) of every block,
// in block and column order, as one connectivity: ELT_EDGE2, ELT_FACE_MIX of
// 4 rows or ELT_SOLID_MIX of 8 rows (unused rows UINT_MAX).  Higher-order
// elements give their vertices.  False when memory runs out.  The blocks
// must pass check_IDs.
bool join_vertices(const mesh& m, unsigned dim, zeb::dense2D<unsigned>& cells, zeb::plexa::element_type& type);

struct boundary_counts {
  unsigned free = 0;          // boundaries of one element
  unsigned non_manifold = 0;  // distinct boundaries of three or more elements
  // The first few of each, by their nodes (UINT_MAX past a triangle's third).
  std::vector<std::vector<unsigned>> first_free, first_non_manifold;
};

// Counts the free and the non-manifold boundaries of `cells`, keeping the
// first `keep` of each.  A boundary shared by three or more elements is
// linked when non-manifold links are asked for and left unlinked otherwise:
// those are the non-manifold ones.  False when memory runs out or the cells
// do not fit the type.
bool count_boundaries(const zeb::dense2D<unsigned>& cells, zeb::plexa::element_type type, unsigned keep,
                      boundary_counts& counts);

// The number of sub-domains of `cells`: groups of elements joined through
// shared boundaries (those of three or more elements included).  False when
// memory runs out.
bool count_subdomains(const zeb::dense2D<unsigned>& cells, zeb::plexa::element_type type, unsigned& count);

// The number of connected parts of the mesh: groups of elements joined
// through shared nodes (every block together).  The blocks must pass
// check_IDs.  False when memory runs out.
bool count_parts(const mesh& m, unsigned& parts);

}  // namespace plexa_cli
