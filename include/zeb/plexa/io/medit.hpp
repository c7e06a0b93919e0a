// Plexa MEDIT files: the mesh writer and the scalar, vector and tensor
// solution writers.
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.
//
// Text is written byte for byte in the C locale's conventions ("%E" and "%d"
// of printf), whatever locale the calling program has set.
//
// Threads: the writers keep no state and only read their inputs; calls may
// run at the same time, each writing its own file.
#pragma once

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {

// ---------------------------------------------------------------------------
// MEDIT mesh files
//
// Layout: "MeshVersionFormatted 1", "Dimension d", a comment line and an
// empty line; "Vertices", the node count and one line per node (its d
// coordinates with "%E " and the reference 0), an empty line; then one
// section per element type in ascending type order: keyword, element count,
// one line per element (the one-based numbers of its vertex nodes and its
// reference), an empty line; finally "End".
//
// Keywords: edges (ELT_EDGE2, ELT_EDGE3) "Edges"; triangles (ELT_TRIA3,
// ELT_TRIA6) "Triangles"; quadrangles (ELT_QUAD4, ELT_QUAD8, ELT_QUAD9)
// "Quadrilaterals"; tetrahedra (ELT_TETRA4, ELT_TETRA10) "Tetrahedra";
// hexahedra (ELT_HEXA8, ELT_HEXA20, ELT_HEXA27) "Hexahedra".  Pyramids
// (ELT_PYRA5, ELT_PYRA14) are written as degenerate hexahedra a b c d e e e e,
// wedges (ELT_WEDGE6, ELT_WEDGE18) as a b c c d e f f, each type in a
// "Hexahedra" section of its own.  Higher-order elements are written by
// their vertices.  ELT_NONE, ELT_NODE, ELT_EDGE_MIX, ELT_PYRA13 and
// ELT_WEDGE15 are not written.  Mixed blocks (ELT_FACE_MIX, ELT_SOLID_MIX)
// are split by element kind, grouped as sort_elfes groups them.
// ---------------------------------------------------------------------------

// Writes the mesh of nodes `pos` and the connectivity blocks [first, last).
// Inputs: path; pos (d x n, 1 <= d <= 3); the blocks of the array range
// [first, last), block i of the element type types[i] and written with the
// reference i (empty blocks write nothing but keep their position in this
// numbering); types, one entry per block.
// Output: the file `path`, replaced, laid out as above.
// Returns, in this order (every check is made before the file is opened, so
// a failed check leaves no file):
//   -2  pos has 0 or more than 3 rows;
//   -4  last precedes first;
//   -5  the number of blocks differs from types.size();
//   -3  a non-empty block is rejected by check_IDs(block, type, pos.cols())
//       (an out-of-range type included);
//   -199 memory for splitting the mixed blocks could not be had;
//   -1  the file cannot be opened (a null path included);
//   -1  a write, the flush or the close failed (a full disk, say): 0 always
//       means the whole file was written.  The file is closed on every path;
//    0  written.
PLEXA_API int medit_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>* first,
                           const dense2D<unsigned int>* last, const dense1D<int, 8>& types);

// The writer above on one block of type `type`, reference 0.
// Returns: as above.
PLEXA_API int medit_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                           element_type type);

// The writer above on two blocks, references 0 and 1.
// Returns: as above.
PLEXA_API int medit_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect1,
                           const dense2D<unsigned int>& connect2, element_type type1, element_type type2);

// The writer above on one connectivity split by colour: element j has the
// reference colors[j], and elements coloured 0xFFFFFFFF are left out.
// Inputs: path, pos; connect of the element type `type`; colors, one entry
// per column of connect.
// Output: the file `path`, as above.
// Returns, in this order:
//    0  connect has no entry: returns at once, no file is created;
//   -5  colors.size() differs from connect.cols();
//   -6  the blocks of the colours cannot be allocated (one block per colour
//       value up to the largest one);
// then those of the main writer (-2, -3, -199, -1, 0).
PLEXA_API int medit_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                           element_type type, const dense1D<unsigned int, 8>& colors);

// ---------------------------------------------------------------------------
// MEDIT solution files: a header line of four "%d " numbers (dimension,
// values per node, node count, 2), then the values with "%E ".  Like the
// mesh writer they return -1 when the file cannot be opened or when a
// write, the flush or the close fails, and close the file on every path.
// ---------------------------------------------------------------------------

// Writes one scalar per node.
// Inputs: path; dim, written as given; values, one per node.
// Output: the file `path`: header "dim 1 n 2", then the values eight to a
// line; the last line (possibly empty, when n is a multiple of 8) ends the
// file.
// Returns: -1 when the file cannot be opened; -1 when a write, the flush or
// the close failed; 0.
PLEXA_API int medit_scalar(const char* path, unsigned int dim, const dense1D<double, 8>& values);

// Writes one vector per node.
// Inputs: path; dim, written as given; vectors, one column per node.
// Output: the file `path`: header "dim rows cols 2", then one line per
// column.
// Returns: -1 when the file cannot be opened; -1 when a write, the flush or
// the close failed; 0.
PLEXA_API int medit_vector(const char* path, unsigned int dim, const dense2D<double>& vectors);

// Writes one packed symmetric tensor per node.
// Inputs: path; tensors, one column per node of 3 rows in 2-D, 6 in 3-D, in
// the order of symmetric_fixed.
// Output: the file `path`: header "2 3 cols 2" or "3 6 cols 2", then one
// line per column as stored.
// Returns, in this order: -1 when the file cannot be opened; -2 when
// `tensors` has neither 3 nor 6 rows, which is tested after opening the
// file: the empty file is left behind (closed); -1 when a write, the flush
// or the close fails; 0.
PLEXA_API int medit_tensor(const char* path, const dense2D<double>& tensors);

}  // namespace plexa
}  // namespace zeb
