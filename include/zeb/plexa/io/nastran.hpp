// Plexa NASTRAN files: bulk-data decks, written and read.
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.
//
// Text is written byte for byte in the C locale's conventions ("%16E" and
// "%d" of printf), and read, whatever locale the calling program has set.
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
// NASTRAN bulk data
//
// Layout: a comment banner, "BEGIN BULK", one placeholder material
// ("MAT1    1       0.                 0.  0."), the nodes as large-field
// cards of two lines each,
//   "GRID*   " id (%16d), 16 blanks, x and y (%16E), "*C"
//   "*C      " z (%16E; 0 for planar nodes)
// the elements as free-field cards "CARD,id,pid,n1,n2,...", and "ENDDATA".
// Node id = node index + 1; element id = column index + 1 over the whole
// connectivity; pid = the element's property number.  An element card holds
// 9 fields on its first line (card, id, pid and six nodes) and continues
// with ",+C" / "+C" and up to eight more nodes per line.
//
// Cards and node order (local rows of a column) by element type:
//   ELT_EDGE2, ELT_EDGE3     CBAR    0 1 (the middle node is dropped)
//   ELT_TRIA3                CTRIA3  0 1 2
//   ELT_TRIA6                CTRIA6  0 1 2 5 3 4
//   ELT_QUAD4                CQUAD4  0 1 2 3
//   ELT_QUAD8, ELT_QUAD9     CQUAD8  0 to 7 (the centre of ELT_QUAD9 is dropped)
//   ELT_TETRA4               CTETRA  0 2 1 3
//   ELT_TETRA10              CTETRA  0 2 1 3 5 4 6 7 9 8
//   ELT_PYRA5                CPYRAM  0 to 4
//   ELT_PYRA13, ELT_PYRA14   CPYRAM  0 to 12 (the 14th node is dropped)
//   ELT_WEDGE6               CPENTA  0 to 5
//   ELT_WEDGE15, ELT_WEDGE18 CPENTA  0 1 2 3 4 5 11 9 10 6 7 8 14 12 13
//   ELT_HEXA8                CHEXA   0 to 7
//   ELT_HEXA20, ELT_HEXA27   CHEXA   0 to 11, 16 17 18 19, 12 13 14 15
// Mixed blocks are read column by column: ELT_FACE_MIX as ELT_QUAD4 or
// ELT_TRIA3, ELT_SOLID_MIX as ELT_HEXA8, ELT_PYRA5, ELT_WEDGE6 or
// ELT_TETRA4.  Blocks of ELT_NONE, ELT_NODE and ELT_EDGE_MIX write nothing.
//
// Write errors are detected: a write, flush or close that fails turns a
// success into -1, so that 0 always means the whole deck was written.
// ---------------------------------------------------------------------------

// Writes the deck to an open stream.  The blocks share one connectivity:
// block i holds the columns ranges[i] to ranges[i+1] - 1 and has the
// element type types[i]; it is read through its first min(rows, 4) rows for
// ELT_FACE_MIX, min(rows, 20) for ELT_SOLID_MIX (so a mixed solid block
// needs a connectivity of 4, 5, 6 or 8 rows) and nbr_nodes(type) rows
// otherwise.  Node indices are not bounded by the node count.
// Inputs: f, pos (2 or 3 x n), connect (rows x m), ranges (blocks + 1),
// types (blocks), pids (m).
// Output: the deck laid out as above, written to `f`, which is flushed (so
// that a write error shows) but not closed.
// Returns, in this order (nothing is written on a failed check):
//   -1  f is null or in error;
//   -2  pos has neither 2 nor 3 rows;
//   -5  ranges.size() differs from types.size() + 1;
//   -6  pids.size() differs from connect.cols();
//   -4  the ranges decrease or go past connect.cols();
//   -3  a block with columns is rejected by check_IDs(block, type, UINT_MAX)
//       (fewer rows than its type needs and out-of-range types included);
//   -1  a write or the flush failed;
//    0  written.
// `options` (write_options.hpp): the digits of the coordinates, as many as
// the 16 characters of a large field hold at most; "%16E" by default.
PLEXA_API int NASTRAN_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                             const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                             const dense1D<unsigned int, 8>& pids, const write_options& options = write_options());

// The stream writer above on two blocks: the connectivities are joined into
// one matrix of as many rows as the larger node count of the two types
// (unused entries UINT_MAX; rows beyond that are not written), the first
// block's elements with pid 1, the second's with pid 2 and the ids that
// follow.
// Returns: -199 when the joined matrix cannot be allocated (tested first),
// then the codes above.
PLEXA_API int NASTRAN_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect1,
                             const dense2D<unsigned int>& connect2, element_type type1, element_type type2);

// The stream writer above on one block, pid 1 for every element.
// Returns: -199 when its ranges and property numbers cannot be allocated
// (tested first), then the codes above.
PLEXA_API int NASTRAN_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                             element_type type);

// The same three writing to the file `path`, which they open first and
// close on every path: a failed check leaves the file empty.
// Output: the file `path`, replaced.
// Returns: -1 when the file cannot be opened (a null path included); then
// the codes of the stream form (-199 first for the one- and two-block
// forms); a failing close turns a success into -1.
PLEXA_API int NASTRAN_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                             const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                             const dense1D<unsigned int, 8>& pids, const write_options& options = write_options());
PLEXA_API int NASTRAN_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect1,
                             const dense2D<unsigned int>& connect2, element_type type1, element_type type2);
PLEXA_API int NASTRAN_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                             element_type type);

// ---------------------------------------------------------------------------
// Reading a bulk-data deck
//
// Lines.  A '$' starts a comment that runs to the end of its line; blank
// lines are skipped.  A line holding a ',' is in free field: its fields are
// separated by commas (blanks around them dropped).  Other lines are in
// fixed field, a tab moving to the next multiple of 8 columns: small field
// (columns 1-8 the card name, then eight fields of 8 columns) or, when the
// name ends with '*', large field (four fields of 16 columns); columns 73-80
// (the continuation mark) and beyond are not read.  Card names are read in
// any case.
//
// Cards.  A line whose first field is blank or starts with '+' or '*'
// continues the card above it (the marks are not matched: the order of the
// lines decides); a continuation starting with '*' is in large field.  The
// data fields of a card are numbered on from its first line: a small-field
// line (fixed or free) holds eight, a large-field line four, two large-field
// lines making one small-field line, and a line always starts the next
// group of eight; a free-field line shorter than its form leaves the rest
// blank, and one with more fields than its form (eight, or four in large
// field, plus the continuation mark) is malformed.
//
// Numbers.  Integers: an optional sign and decimal digits.  Reals: an
// optional sign, digits with an optional point, and an optional exponent
// written "E" or "D" with an optional sign, or as a bare sign ("1.5-3",
// "-.5+2", "1.D3", "7.", "7"); no embedded blank.  A blank field is 0 (0.0
// for reals) unless the card says otherwise.
//
// The deck.  Lines are read as bulk data from the first; a line "BEGIN
// BULK" drops what the lines before it defined (they are the executive and
// case control decks), so that a file of bulk data alone, without that
// line, reads too.  "ENDDATA" ends the reading (what follows it is not
// read); a file with "BEGIN BULK" must have it.
// Cards read (fields by position, from 1):
//   GRID, GRID*     1 ID, 2 CP (the system of the coordinates, blank: 0 the
//                   basic system), 3-5 X1, X2, X3; CD, PS, SEID not read
//   CORD2R, CORD2C, CORD2S
//                   1 CID, 2 RID (blank: 0), 3-5 A, 6-8 B, 9-11 C: a
//                   rectangular, cylindrical or spherical system of origin
//                   A, z axis towards B, x axis in the plane of A, B, C, the
//                   points given in system RID
//   CBAR, CBEAM, CROD                  1 EID, 2 PID, 3-4 G1, G2
//   CTRIA, CTRIA3                      1 EID, 2 PID, 3-5 G1 to G3
//   CTRIA6                             G1 to G6 (3 or 6 given)
//   CQUAD4                             G1 to G4
//   CQUAD8                             G1 to G8 (4 or 8 given)
//   CQUAD                              G1 to G9 (4, 8 or 9 given)
//   CTETRA                             G1 to G10 (4 or 10 given)
//   CPYRAM, CPYRA                      G1 to G13 (5 or 13 given)
//   CPENTA                             G1 to G15 (6 or 15 given)
//   CHEXA                              G1 to G20 (8 or 20 given)
// An element's given nodes must be G1, G2, ... with no blank between them;
// their count decides the element type, and they are put in the local rows
// that NASTRAN_output writes them from (the inverse of its table above;
// CQUAD8 with 8 nodes is ELT_QUAD8, CQUAD with 9 ELT_QUAD9 in row order), so
// that a deck written by NASTRAN_output reads back as the same mesh (mixed
// blocks as runs of their members, quadratic types the deck cannot hold as
// the types written).  A blank PID is the EID.  Fields after the nodes
// (orientation, thickness, offsets) are not read, nor are other cards.
// Coordinates in a system CP are turned into the basic system: (X1, X2,
// X3) is (x, y, z) in a rectangular system, (r, theta, z) in a cylindrical
// one and (r, theta, phi) in a spherical one (angles in degrees; theta
// from the z axis, phi about it from the x axis), in that system's axes.
// Systems defined relative to other systems are resolved along their RID
// chains, which must end in the basic system.  Ids are from 1 to
// 4294967295 (CP, RID and PID from 0).
//
// Outputs (emptied first; left empty on failure):
//   pos          3 x n, the GRID points in ascending ID order, in the
//                basic system;
//   connect      r x m, the elements in file order, node IDs replaced by
//                positions in pos (r the largest node count read; unused
//                rows 4294967295);
//   ranges       blocks + 1: block i is the columns ranges[i] to
//                ranges[i+1] - 1, a new block wherever the element type
//                changes;
//   types        blocks, the element_type of each block;
//   pids         m, the PID of each element;
//   node_ids     n, the ID of each point (ascending);
//   element_ids  m, the EID of each element.
// Returns, in this order:
//   -6  pids is the same object as ranges;
//   -7  node_ids is the same object as ranges or pids;
//   -8  element_ids is the same object as ranges, pids or node_ids;
//   -1  f is null or in error (for a path: the file cannot be opened);
// then at the first card found so, in file order,
//   -3  a malformed card: a field of a card read above that is not a
//       number of its kind, an ID out of its range, a G1 to Gk that an
//       element needs left blank, a line of such a card longer than 4096
//       characters or with more fields than its form;
//   -4  what this reader does not read: an element with a node count or a
//       blank between nodes that is none of its forms, an INCLUDE line;
// then
//   -1  reading the stream failed (the cards before the failure checked);
//   -2  the file holds no card: it is empty, or blank lines and comments;
//   -3  "BEGIN BULK" without "ENDDATA";
//   -5  a CID given twice;
// then system by system in CID order
//   -5  its RID names no system CORD2R, CORD2C or CORD2S of the file;
//   -3  its RID chain loops, or its A, B, C give no axes (B on A, C on the
//       z axis);
// then
//   -5  a GRID ID given twice, an element naming a GRID ID that the file
//       does not have, a CP naming no system (CORD1R and the like are not
//       read);
//   -199 memory could not be had (at any step);
//    0  read.
// ---------------------------------------------------------------------------

// Reads a deck from the open stream `f`, from its position; the stream is
// not closed.  Outputs and results as above.
PLEXA_API int NASTRAN_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect,
                            dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types,
                            dense1D<unsigned int, 8>& pids, dense1D<unsigned int, 8>& node_ids,
                            dense1D<unsigned int, 8>& element_ids);
// The same without the IDs of the points and elements.
PLEXA_API int NASTRAN_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect,
                            dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types,
                            dense1D<unsigned int, 8>& pids);

// The same two from the file `path`, opened in text mode and closed on
// every path.  Returns as above; -1 also when the file cannot be opened (a
// null path included).
PLEXA_API int NASTRAN_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                            dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types,
                            dense1D<unsigned int, 8>& pids, dense1D<unsigned int, 8>& node_ids,
                            dense1D<unsigned int, 8>& element_ids);
PLEXA_API int NASTRAN_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                            dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types,
                            dense1D<unsigned int, 8>& pids);

}  // namespace plexa
}  // namespace zeb
