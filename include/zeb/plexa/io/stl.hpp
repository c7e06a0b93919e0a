// Plexa STL files: triangle surfaces, ASCII or binary, read and written.
//
// Binary layout (little-endian): an 80-byte header (written as the text
// "ZEB STL Binary" with its terminating zero byte and 65 more zero bytes,
// ignored when read), the triangle count (unsigned 32-bit), then per
// triangle 50 bytes: the normal and the three vertices as 32-bit floats
// (12 of them) and a 16-bit attribute (written 0, ignored when read).
//
// ASCII layout as written (the leading blanks included):
//   "solid ZEB"
//   per triangle: "   facet normal nx ny nz", "      outer loop",
//     three times "         vertex x y z", "      endloop", "   endfacet"
//   "endsolid ZEB"
// with the numbers as printf's "%e" writes them in the C locale.
//
// The facet normal written is the unit normal of the node order (right-hand
// rule), computed from the two edges that leave out the longest one (the
// first of equal longest edges in the order 0-1, 1-2, 2-0); a normal of
// squared length exactly 1 is kept as it is, a degenerate triangle gets
// 0 0 0.
//
// Reading: the ASCII grammar is tried first and, when it fails, the binary
// layout from the same starting position.  The ASCII reader takes lines as
// fgets with a 256-byte buffer takes them (a longer line is read as several
// lines of at most 255 characters), lower-cased, and looks for its keywords
// anywhere in a line: a first line containing "solid"; then facets, each a
// line read as " facet normal %lg %lg %lg" (the normal is not used), a line
// containing "outer loop", three lines read as " vertex %lg %lg %lg", a line
// containing "endloop" and one containing "endfacet"; lines containing
// "color" between facets are skipped; a line containing "endsolid" ends the
// file when no line follows it, or starts a further solid when the next line
// contains "solid" (several solids make one mesh).  Numbers are read as
// scanf's "%lg" reads them in the C locale, whatever locale the calling
// program has set.
//
// Every vertex read is a node of its own; the triangle soup is then welded
// when some triangle has a positive height.  With h the smallest positive
// height of a triangle in the file (for each vertex, its distance to the
// line of the opposite edge):
//   1. exactly coincident nodes are merged, the triangles taken in slices of
//      100000 in file order (a node onto the first node of its slice at the
//      same place);
//   2. the nodes left are merged within 0.05 h, each onto the closest node
//      before it (merge of zeb/plexa/search.hpp, mode 0);
//   3. the triangles that no longer have three distinct nodes are removed,
//      and the nodes that no triangle uses (the others keep their order).
// A file whose triangles all have zero height is returned as read, three
// nodes per triangle.
//
// Threads: the functions keep no state.  Calls may run at the same time,
// each on its own file or stream and its own outputs.
#pragma once

#include <cstdio>

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {

// What STL_input read and what its weld did.  The nodes read are three per
// triangle; the nodes kept are pos.cols() and the triangles kept
// connect.cols().
struct STL_read_report {
  bool binary = false;     // read by the binary layout (the ASCII grammar failed)
  unsigned triangles = 0;  // triangles in the file
  bool welded = false;     // some triangle has a positive height
  double tolerance = 0.0;  // 0.05 h, the tolerance of the second merge (0 when not welded)
  unsigned removed = 0;    // triangles without three distinct nodes after the merges
};

// Reads an STL file from the open stream `f`: the ASCII grammar from the
// stream's position, then, when that fails, the binary layout from the same
// position.  The stream is not closed.
// Outputs (emptied first; left empty on failure):
//   pos      3 x n, the nodes after welding;
//   connect  3 x m, the triangles (zero-based node indices), in file order.
// Result codes:
//   0    read (and welded);
//   -1   f is null or in error, or its position cannot be had or restored;
//   -2   the first line does not contain "solid" and the binary header is
//        shorter than 80 bytes;
//   -3   a truncated or malformed file: the ASCII grammar failed after its
//        first line and the binary layout is shorter than its count says;
//   -199 memory could not be had.
PLEXA_API int STL_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect);
// The same, telling what was read and done in `report` (all zero on
// failure).
PLEXA_API int STL_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect,
                        STL_read_report& report);

// The same from the file `path`, opened first in text mode for the ASCII
// attempt, then in binary mode when that fails; closed on every path.
// Result codes as above; -1 when the file cannot be opened.
PLEXA_API int STL_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect);
PLEXA_API int STL_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                        STL_read_report& report);

// Writes the triangles `connect` over the nodes `pos` to the open stream
// `f`, ASCII when `ascii` is true, binary otherwise.  Coordinates are
// written as 32-bit floats (rounded to nearest) in binary files.  The
// stream is flushed (so that a write error shows) but not closed.
// Inputs: f, pos (3 x n, or empty), connect (3 x m: zero-based indices
// below n; any shape without entries writes no triangle), ascii.
// Result codes, tested in this order (nothing is written on a failed check):
//   -1  f is null or in error;
//   -2  pos has entries and a row count other than 3;
//   -3  connect is rejected by check_IDs(connect, ELT_TRIA3, n);
//   -1  a write or the flush failed.
PLEXA_API int STL_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                         bool ascii);

// The same to the file `path`, which is opened first (-1 when it cannot be
// opened) and closed on every path: a failed check leaves it empty.  A
// failing close turns a success into -1.
PLEXA_API int STL_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                         bool ascii);

}  // namespace plexa
}  // namespace zeb
