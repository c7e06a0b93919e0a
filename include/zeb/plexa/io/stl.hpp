// Plexa STL files: triangle surfaces, ASCII or binary, read and written.
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.
//
// Text is written byte for byte in the C locale's conventions ("%e" of
// printf) and read as scanf's "%lg" reads it in the C locale, whatever
// locale the calling program has set.
//
// Threads: the functions keep no state.  Calls may run at the same time,
// each on its own file or stream and its own outputs.
#pragma once

#include <cstdio>

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {

// ---------------------------------------------------------------------------
// STL layouts
//
// Binary (little-endian): an 80-byte header (written as the text "ZEB STL
// Binary" with its terminating zero byte and 65 more zero bytes, ignored
// when read), the triangle count (unsigned 32-bit), then per triangle 50
// bytes: the normal and the three vertices as 32-bit floats (12 of them)
// and a 16-bit attribute (written 0, ignored when read).
//
// ASCII, as written (the leading blanks included):
//   "solid ZEB"
//   per triangle: "   facet normal nx ny nz", "      outer loop",
//     three times "         vertex x y z", "      endloop", "   endfacet"
//   "endsolid ZEB"
// with every number as "%e" writes it.
//
// The normal written is the unit normal of the node order (right-hand
// rule), computed from the two edges that leave out the longest one (the
// first of equal longest edges in the order 0-1, 1-2, 2-0); a normal of
// squared length exactly 1 is kept as it is, a degenerate triangle gets
// 0 0 0.
//
// Reading tries the ASCII grammar first and, when it fails, the binary
// layout from the same starting position.  The ASCII grammar takes lines as
// fgets with a 256-byte buffer takes them (a longer line is read as several
// lines of at most 255 characters), lower-cased, examined up to their first
// NUL byte (as C strings), and finds its keywords anywhere in a line (so a
// UTF-8 byte-order mark before "solid" is passed over, and the CR of a CRLF
// line end is white space after the last number): a first line containing "solid"; then facets, each a
// line read as sscanf's " facet normal %lg %lg %lg" (the normal is not
// used), a line containing "outer loop", three lines read as
// " vertex %lg %lg %lg", a line containing "endloop" and one containing
// "endfacet".  Lines containing "color" before a facet are skipped; a line
// containing "endsolid" ends the file when no line follows it, starts a
// further solid when the next line contains "solid" (several solids make
// one mesh), and is otherwise followed by a facet.
//
// Every vertex read is a node of its own; the triangle soup is then welded
// when some triangle has a positive (and finite) height.  With h the
// smallest such height in the file (for each vertex, its distance to the
// line of the opposite edge):
//   1. exactly coincident nodes are merged, the triangles taken in slices of
//      100000 in file order: a node onto the first node of its slice at the
//      same place;
//   2. the nodes left are merged within 0.05 h, each onto the closest node
//      before it (merge of zeb/plexa/search.hpp, mode 0);
//   3. the triangles that no longer have three distinct nodes are removed,
//      then the nodes that no triangle uses; the rest keep their order.
// A file without such a triangle is returned as read, three nodes per
// triangle.
//
// The triangle count of a binary file is not trusted: storage grows with
// the triangles actually read, and a file that holds fewer than its count
// is cut short (-3).
// ---------------------------------------------------------------------------

// What a reading found and what its weld did.
struct STL_read_report {
  bool binary = false;     // read by the binary layout (the ASCII grammar failed)
  unsigned triangles = 0;  // triangles in the file (three nodes read for each)
  bool welded = false;     // some triangle has a positive height
  double tolerance = 0.0;  // 0.05 h, the tolerance of the second merge (0 when not welded)
  unsigned removed = 0;    // triangles removed for want of three distinct nodes
};

// Reads an STL file from an open stream, from its position: the ASCII
// grammar, then, when that fails, the binary layout from the same position.
// The stream is not closed; after a success it stands at the end of the
// ASCII file or after the last binary triangle.
// Inputs: f.
// Outputs (emptied first, left empty on failure):
//   pos      3 x n, the nodes after welding;
//   connect  3 x m, the triangles (zero-based node indices) in file order.
// Returns, in this order:
//   -1   f is null or in error, or its position cannot be had (or restored
//        for the binary attempt);
//   -2   the ASCII grammar failed and fewer than 80 bytes follow the
//        position (no binary header);
//   -3   the ASCII grammar failed and the binary layout is cut short (no
//        count, or fewer triangles than the count);
//   -199 memory could not be had (also when the ASCII attempt runs out);
//    0   read (and welded).
PLEXA_API int STL_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect);

// The same, and what was read and done.
// Output: report, as above (all members zero or false on failure).
PLEXA_API int STL_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect,
                        STL_read_report& report);

// Reads the STL file `path`, opened in text mode for the ASCII attempt, then
// in binary mode when that fails; closed on every path.
// Outputs: pos, connect (and report) as above.
// Returns as above, with -1 when the file cannot be opened.
PLEXA_API int STL_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect);
PLEXA_API int STL_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                        STL_read_report& report);

// Writes the triangles `connect` over the nodes `pos` to an open stream,
// ASCII when `ascii` is true, binary otherwise (coordinates and normals
// rounded to the nearest 32-bit float).
// Inputs: f, pos (3 x n, or without entries: then n is 0), connect (3 x m,
// zero-based indices below n; any shape without entries writes no
// triangle), ascii.
// Output: the file laid out as above, written to `f`, which is flushed (so
// that a write error shows) but not closed.
// Returns, in this order (nothing is written on a failed check):
//   -1  f is null or in error;
//   -2  pos has entries and a row count other than 3;
//   -3  connect is rejected by check_IDs(connect, ELT_TRIA3, n);
//   -1  a write or the flush failed;
//    0  written.
PLEXA_API int STL_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                         bool ascii);

// The same to the file `path`, which is opened first and closed on every
// path: a failed check leaves it empty.
// Returns: -1 when the file cannot be opened, then as above; a failing
// close turns a success into -1.
PLEXA_API int STL_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                         bool ascii);

}  // namespace plexa
}  // namespace zeb
