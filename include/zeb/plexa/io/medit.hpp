// Plexa MEDIT files: the mesh writer and reader; the solution writers of the
// header layout (medit_scalar, medit_vector, medit_tensor: the ".bb" files
// of MEDIT) and of the keyword layout (".sol"), and their reader.
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.
//
// Text is written byte for byte in the C locale's conventions ("%E" and "%d"
// of printf), whatever locale the calling program has set.
//
// Threads: the functions keep no state and only read their inputs; calls
// may run at the same time, each on its own file or stream and outputs.
#pragma once

#include <cstdio>

#include <zeb/plexa/core.hpp>
#include <zeb/plexa/io/write_options.hpp>

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
// `options` (write_options.hpp): the digits of the coordinates.
PLEXA_API int medit_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>* first,
                           const dense2D<unsigned int>* last, const dense1D<int, 8>& types,
                           const write_options& options = write_options());

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

// The writer above on blocks given as column ranges of one connectivity,
// with one reference per element: the shape medit_input returns, so that
// what it reads writes back as it was.
// Inputs: path; pos (d x n, 1 <= d <= 3); connect (rows x m), block i
// holding the columns ranges[i] to ranges[i+1] - 1 and read through its
// first nbr_nodes(types[i]) rows (min(rows, 4) for ELT_FACE_MIX, min(rows,
// 20) for ELT_SOLID_MIX, whose columns are written by kind); ranges (blocks
// + 1); types (blocks); refs (m), the reference of each element.
// Output: the file `path`, laid out as above: in each section the elements
// of the blocks in column order, each with its own reference (written with
// "%d", so references above 2147483647 read back through the int they
// print as).
// Returns, in this order (every check is made before the file is opened):
//   -2  pos has 0 or more than 3 rows;
//   -5  ranges.size() differs from types.size() + 1;
//   -6  refs.size() differs from connect.cols();
//   -4  the ranges decrease or go past connect.cols();
//   -3  a block with columns is rejected by check_IDs(block, type,
//       pos.cols()) (too few rows and out-of-range types included);
//   -1  the file cannot be opened, or a write, the flush or the close
//       failed;
//    0  written.
// `options` (write_options.hpp): the digits of the coordinates.
PLEXA_API int medit_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                           const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                           const dense1D<unsigned int, 8>& refs, const write_options& options = write_options());
// The same with a reference per vertex: node_refs (n) is written as each
// vertex's reference (in place of 0).  Returns as above, with -7 when
// node_refs.size() differs from pos.cols() (tested after -3).
PLEXA_API int medit_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                           const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                           const dense1D<unsigned int, 8>& refs, const dense1D<unsigned int, 8>& node_refs,
                           const write_options& options = write_options());

// Reads a MEDIT mesh file (text) from the open stream `f`, from its
// position; the stream is not closed.
//
// What is read: tokens separated by any white space, in any line layout;
// keywords in any case; '#' at the start of a token begins a comment that
// runs to the end of its line.  Lines may be of any length and end with LF
// or CRLF (the CR is white space); a UTF-8 byte-order mark at the start is
// skipped; a NUL byte is an ordinary character of the token it is in (a
// number or keyword holding one is malformed or unknown); a token longer
// than 32768 characters makes the file malformed (-3).  Counts are not
// trusted: storage grows with the records actually read, and what is
// reserved ahead from a count is bounded by the size of the file.  The file starts with "MeshVersionFormatted"
// and a version from 1 to 4; "Dimension" (2 or 3) comes before the
// sections that need it; then sections in any order, each a keyword, a
// count and that many records, until "End" (what follows it is not read)
// or the end of the file:
//   Vertices        d coordinates and a reference (not kept) per vertex;
//                   vertex k (1-based) is node k - 1; one section at most
//   Edges, Triangles, Quadrilaterals, Tetrahedra, Pyramids, Prisms,
//   Hexahedra       the 1-based vertex numbers of an element (2, 3, 4, 4,
//                   5, 6, 8) and its reference; read as ELT_EDGE2,
//                   ELT_TRIA3, ELT_QUAD4, ELT_TETRA4, ELT_PYRA5,
//                   ELT_WEDGE6, ELT_HEXA8.  A hexahedron a b c d e e e e is
//                   the pyramid a b c d e and a b c c d e f f the wedge
//                   a b c d e f (the degenerate forms medit_output writes;
//                   the pyramid form is tested first).
//   Corners, Ridges, RequiredVertices, RequiredEdges, RequiredTriangles,
//   RequiredQuadrilaterals, RequiredTetrahedra, RequiredHexahedra (one
//   integer per record), NormalAtVertices, TangentAtVertices (two),
//   NormalAtTriangleVertices, NormalAtQuadrilateralVertices,
//   TangentAtEdges (three), Normals, Tangents (d reals)
//                   geometric information: read and dropped.
// Numbers are read as scanf's "%lg" reads them in the C locale, whatever
// locale the calling program has set; counts and vertex numbers are
// decimal integers, references integers from -2147483648 (read as the
// unsigned of the same bits, as medit_output writes them) to 4294967295.
//
// Outputs (emptied first; left empty on failure):
//   pos      d x n, the vertices in file order;
//   connect  r x m, the elements in file order (r the largest node count
//            read; unused rows 4294967295);
//   ranges   blocks + 1: block i is the columns ranges[i] to ranges[i+1] - 1,
//            a new block wherever the element type changes;
//   types    blocks, the element_type of each block;
//   refs     m, the reference of each element.
// Returns, in this order:
//   -6  refs is the same object as ranges;
//   -1  f is null or in error, or reading it failed;
//   -2  the file does not start with "MeshVersionFormatted" (an empty file
//       included);
//   -3  a malformed or truncated file: a token where a number should be, a
//       number out of its range, a section cut short, "Dimension" missing,
//       given twice or after a section that needs it, a second "Vertices";
//   -4  what this reader does not read: a keyword not listed above, a
//       version outside 1 to 4, a dimension other than 2 or 3;
//   -5  an element names a vertex number that the file does not have;
//   -199 memory could not be had;
//    0  read.
PLEXA_API int medit_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect,
                          dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& refs);
// The same from the file `path`, opened in text mode and closed on every
// path.  Returns as above; -1 also when the file cannot be opened (a null
// path included).
PLEXA_API int medit_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                          dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& refs);
// The readers above, keeping the vertices' references: node_refs (n) gets
// the reference of each vertex, read as the element references are.  -7
// (before -1) when node_refs is the same object as refs or ranges; the
// other codes as above, node_refs left empty on failure.
PLEXA_API int medit_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect,
                          dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& refs,
                          dense1D<unsigned int, 8>& node_refs);
PLEXA_API int medit_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                          dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& refs,
                          dense1D<unsigned int, 8>& node_refs);

// ---------------------------------------------------------------------------
// MEDIT solution files, header layout (".bb"): a header line of four "%d "
// numbers (dimension, values per node, node count, 2), then the values with
// "%E " (or as `options` asks: write_options.hpp).  Current tools read this layout only as ".bb" files.  Like the
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
PLEXA_API int medit_scalar(const char* path, unsigned int dim, const dense1D<double, 8>& values,
                           const write_options& options = write_options());

// Writes one vector per node.
// Inputs: path; dim, written as given; vectors, one column per node.
// Output: the file `path`: header "dim rows cols 2", then one line per
// column.
// Returns: -1 when the file cannot be opened; -1 when a write, the flush or
// the close failed; 0.
PLEXA_API int medit_vector(const char* path, unsigned int dim, const dense2D<double>& vectors,
                           const write_options& options = write_options());

// Writes one packed symmetric tensor per node.
// Inputs: path; tensors, one column per node of 3 rows in 2-D, 6 in 3-D, in
// the order of symmetric_fixed.
// Output: the file `path`: header "2 3 cols 2" or "3 6 cols 2", then one
// line per column as stored.
// Returns, in this order: -1 when the file cannot be opened; -2 when
// `tensors` has neither 3 nor 6 rows, which is tested after opening the
// file: the empty file is left behind (closed); -1 when a write, the flush
// or the close fails; 0.
PLEXA_API int medit_tensor(const char* path, const dense2D<double>& tensors,
                           const write_options& options = write_options());

// ---------------------------------------------------------------------------
// MEDIT solution files, keyword layout (".sol"), as written:
//   "MeshVersionFormatted 2" (other tools then read the values as doubles),
//   "Dimension d", a comment line, an empty line,
//   "SolAtVertices", the node count, "1 k" (one field of kind k: 1 scalar,
//   2 vector, 3 symmetric tensor), one line per node (its values with
//   "%E ", or as `options` asks: write_options.hpp), an empty line and
//   "End".
// Tensors are packed as symmetric_fixed packs them (m11 m12 m22, and m13
// m23 m33 in 3-D), the order of the format.
// ---------------------------------------------------------------------------

// Writes one field at the nodes to the open stream `f`, which is flushed
// (so that a write error shows) but not closed.
// Inputs: f; dim, the space dimension (2 or 3); values, one column per node
// of 1 row (scalars), dim rows (vectors) or dim (dim + 1) / 2 rows (packed
// symmetric tensors: 3 in 2-D, 6 in 3-D).
// Returns, in this order (nothing is written on a failed check):
//   -1  f is null or in error;
//   -2  dim is neither 2 nor 3;
//   -3  values has another row count;
//   -1  a write or the flush failed;
//    0  written.
PLEXA_API int medit_solution_output(std::FILE* f, unsigned int dim, const dense2D<double>& values,
                                    const write_options& options = write_options());
// The same to the file `path`, which is opened first (-1 when it cannot be
// opened, a null path included) and closed on every path: a failed check
// leaves it empty.  A failing close turns a success into -1.
PLEXA_API int medit_solution_output(const char* path, unsigned int dim, const dense2D<double>& values,
                                    const write_options& options = write_options());

// Reads a solution file of either layout from the open stream `f`, from its
// position; the stream is not closed.  Tokens, comments and numbers are
// read as by medit_input.
//   Header layout (the first token is a number): "dim rows nodes 2", then
//     rows x nodes values, node after node; nothing else may follow.  The
//     dimension is any integer from 0 to 2147483647, rows at least 1; a
//     last header number other than 2 (values at elements) is not read.
//   Keyword layout (the first token is a keyword): "MeshVersionFormatted"
//     (version 1 to 4), "Dimension" (2 or 3), and one "SolAtVertices"
//     section: the node count, the number of fields, the kind of each (1
//     scalar, 2 vector of dim values, 3 symmetric tensor of dim (dim + 1) /
//     2 values, 4 matrix of dim x dim values) and, node after node, the
//     values of its fields one after the other; "End" or the end of the
//     file closes it.
// Outputs (emptied first; left empty on failure, dim 0):
//   dim     the dimension of the file;
//   values  rows x nodes: one column per node, the values of its fields in
//           file order (rows: the sum of the field sizes).
// Returns, in this order:
//   -1  f is null or in error, or reading it failed;
//   -2  the first token is neither a number nor "MeshVersionFormatted" (an
//       empty file included);
//   -3  a malformed or truncated file: a token where a number should be, a
//       number out of its range, fewer values than announced, something
//       after the values of the header layout, 0 rows or fields, a second
//       "Dimension" or "SolAtVertices", "SolAtVertices" before "Dimension";
//   -4  what this reader does not read: values at elements (header
//       layout), another keyword than "Dimension", "SolAtVertices" and
//       "End", a field kind outside 1 to 4, a version outside 1 to 4, a
//       dimension other than 2 or 3, no "SolAtVertices" section;
//   -199 memory could not be had;
//    0  read.
PLEXA_API int medit_solution_input(std::FILE* f, unsigned int& dim, dense2D<double>& values);
// The same from the file `path`, opened in text mode and closed on every
// path.  Returns as above; -1 also when the file cannot be opened (a null
// path included).
PLEXA_API int medit_solution_input(const char* path, unsigned int& dim, dense2D<double>& values);

}  // namespace plexa
}  // namespace zeb
