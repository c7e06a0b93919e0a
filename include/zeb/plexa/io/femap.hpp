// Plexa FEMAP files: neutral files, written and read.
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.
//
// Text is written byte for byte in the C locale's conventions, and read,
// whatever locale the calling program has set.
//
// Threads: the functions keep no state and only read their inputs; calls
// may run at the same time, each on its own file or stream and outputs.
#pragma once

#include <cstdio>

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {

// ---------------------------------------------------------------------------
// FEMAP neutral files, version 4.41: the subset that holds a mesh.
//
// A file is a run of data blocks, each its delimiter "   -1", its block
// number ("%6d"), its records (one a line, fields separated by commas, a
// comma after the last) and the delimiter again.  Blocks written:
//   100  header: the title "ZEB Plexa(R) FEMAP exporter", the version "4.41,"
//   403  nodes, one record each (written when there are nodes):
//          "ID,0,0,1,46,0,0,0,0,0,0,x,y,z,"   the definition and output
//          systems 0 (basic), layer 1, colour 46, no permanent constraint
//   404  elements, eight records each (written when there are elements):
//          "ID,124,propID,type,topology,1,0,0,"   colour 124, layer 1
//          node slots 0 to 9, then 10 to 19 (node IDs, 0 for an empty slot)
//          "0.,0.,0.," three times: orientation and the two offsets
//          "0,0,0,0,0,0," twice: the releases of the two ends
// Node ID = node index + 1 (z = 0 for planar nodes); element ID = column
// index + 1 over the whole connectivity; propID = the element's id; these
// and the node IDs are written with "%u".  Reals are the shortest text that
// reads back as the same double, with a point when it is an integer ("0.",
// "-1.5", "1e-07"); nothing else is written (no property, material,
// coordinate system or group).
//
// Topology (slots of the node array: the corners, then the middle nodes)
// and type written, by element type (rows: local rows of the column):
//   ELT_NODE                   9 point     0                          27
//   ELT_EDGE2, ELT_EDGE_MIX    0 line2     0 1                         2
//   ELT_EDGE3                  1 line3     0 1; 2 = row 2              2
//   ELT_TRIA3                  2 tria3     0 1 2                      17
//   ELT_TRIA6                  3 tria6     0 1 2; 4 5 6 = rows 5 3 4  18
//   ELT_QUAD4                  4 quad4     0 1 2 3                    17
//   ELT_QUAD8, ELT_QUAD9       5 quad8     0 to 7 (the centre dropped) 18
//   ELT_TETRA4                 6 tetra4    0 1 2 4 = rows 0 1 2 3     25
//   ELT_TETRA10               10 tetra10   0 1 2 4 = rows 0 1 2 3;
//                                          8 9 10 = rows 6 4 5;
//                                          12 13 14 = rows 7 8 9      26
//   ELT_WEDGE6                 7 wedge6    0 1 2 4 5 6 = rows 0 to 5 25
//   ELT_WEDGE15, ELT_WEDGE18  11 wedge15   0 1 2 4 5 6 = rows 0 to 5;
//                                          8 9 10 = rows 11 9 10;
//                                          12 13 14 = rows 6 7 8;
//                                          16 17 18 = rows 14 12 13
//                                          (the face centres dropped) 26
//   ELT_HEXA8                  8 brick8    0 to 7                     25
//   ELT_HEXA20, ELT_HEXA27    12 brick20   0 to 11 = rows 0 to 11;
//                                          12 to 15 = rows 16 to 19;
//                                          16 to 19 = rows 12 to 15
//                                          (the centres dropped)      26
//   ELT_PYRA5                  8 brick8    0 to 3; the apex in 4 to 7 25
//   ELT_PYRA13, ELT_PYRA14    12 brick20   0 to 3; the apex in 4 to 7
//                                          and 16 to 19; 8 to 11 =
//                                          rows 5 to 8; 12 to 15 =
//                                          rows 9 to 12 (the centre of
//                                          the base dropped)          26
// Types: 2 bar, 17 plate, 18 parabolic plate, 25 solid, 26 parabolic
// solid, 27 mass.  Mixed blocks are read column by column as by
// NASTRAN_output; ELT_NONE blocks write nothing.
//
// Reading takes the same layout: blocks in any order after the header,
// blank lines between blocks, blocks other than 100, 403 and 404 skipped to
// their closing delimiter.  Records are read by position, fields beyond
// those named below are not read, and a node or element list may end with
// a record whose ID is -1.  The header's version must be 4.4 or 4.41.  A
// node record needs 14 fields: ID, the definition system (0), and x, y, z
// at positions 11 to 13.  An element's first record needs 5 fields: ID,
// colour, propID, type (not read) and topology, which alone decides the
// element type: the slots of the table above hold the nodes (IDs of
// 403 records) and every other slot is 0; a brick8 whose slots 4 to 7 hold
// one node is the pyramid ELT_PYRA5, a brick20 whose slots 4 to 7 and 16
// to 19 hold one node is ELT_PYRA13.  The next seven records are not read.
// Numbers: integers an optional sign and decimal digits, reals as scanf's
// "%lg" reads them in the C locale.  IDs are from 1 to 4294967295, propID
// from 0.
// ---------------------------------------------------------------------------

// Writes a neutral file to an open stream.  The blocks share one
// connectivity: block i holds the columns ranges[i] to ranges[i+1] - 1 and
// has the element type types[i]; it is read through its first min(rows,
// 4) rows for ELT_FACE_MIX, min(rows, 20) for ELT_SOLID_MIX and
// nbr_nodes(type) rows otherwise.
// Inputs: f, pos (2 or 3 x n), connect (rows x m: node indices below n),
// ranges (blocks + 1), types (blocks), ids (m: the property of each
// element).
// Output: the file laid out as above, written to `f`, which is flushed (so
// that a write error shows) but not closed.
// Returns, in this order (nothing is written on a failed check):
//   -1  f is null or in error;
//   -2  pos has neither 2 nor 3 rows;
//   -5  ranges.size() differs from types.size() + 1;
//   -6  ids.size() differs from connect.cols();
//   -4  the ranges decrease or go past connect.cols();
//   -3  a block with columns is rejected by check_IDs(block, type,
//       pos.cols()) (fewer rows than its type needs and out-of-range types
//       included);
//   -1  a write or the flush failed;
//    0  written.
PLEXA_API int FEMAP_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                           const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                           const dense1D<unsigned int, 8>& ids);
// The same to the file `path`, which is opened first (-1 when it cannot be
// opened, a null path included) and closed on every path: a failed check
// leaves it empty.  A failing close turns a success into -1.
PLEXA_API int FEMAP_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                           const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                           const dense1D<unsigned int, 8>& ids);

// Reads a neutral file from the open stream `f`, from its position; the
// stream is not closed.
// Outputs (emptied first; left empty on failure):
//   pos          3 x n, the nodes in ascending ID order;
//   connect      r x m, the elements in file order, node IDs replaced by
//                positions in pos (r the largest node count read; unused
//                rows 4294967295);
//   ranges       blocks + 1: block i is the columns ranges[i] to
//                ranges[i+1] - 1, a new block wherever the element type
//                changes;
//   types        blocks, the element_type of each block;
//   ids          m, the propID of each element;
//   node_ids     n, the ID of each node (ascending);
//   element_ids  m, the ID of each element.
// Returns, in this order:
//   -6  ids is the same object as ranges;
//   -7  node_ids is the same object as ranges or ids;
//   -8  element_ids is the same object as ranges, ids or node_ids;
//   -1  f is null or in error (for a path: the file cannot be opened);
// then at the first line found so, in file order,
//   -2  the file does not start with a header block: its first line that
//       is not blank is not the delimiter, or the block number after it is
//       not 100 (an empty file included);
//   -3  a malformed or truncated file: the header without its version, a
//       record of a node or element block with fewer fields than it needs
//       or a field that is not a number of its kind, an ID out of its
//       range, an empty slot of the element's topology, an element cut
//       short by the delimiter, a line of those blocks longer than 4096
//       characters, a line between blocks that is neither blank nor a
//       delimiter, a block without its closing delimiter;
//   -4  what this reader does not read: a version other than 4.4 and
//       4.41, a node defined in a coordinate system other than the basic
//       one, a topology outside the table above, a node in a slot that its
//       topology does not use;
// then
//   -1  reading the stream failed;
//   -5  the IDs do not resolve: a node ID given twice, an element naming a
//       node ID that the file does not have;
//   -199 memory could not be had (at any step);
//    0  read.
PLEXA_API int FEMAP_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect,
                          dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& ids,
                          dense1D<unsigned int, 8>& node_ids, dense1D<unsigned int, 8>& element_ids);
// The same without the IDs of the nodes and elements.
PLEXA_API int FEMAP_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect,
                          dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& ids);

// The same two from the file `path`, opened in text mode and closed on
// every path.  Returns as above; -1 also when the file cannot be opened (a
// null path included).
PLEXA_API int FEMAP_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                          dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& ids,
                          dense1D<unsigned int, 8>& node_ids, dense1D<unsigned int, 8>& element_ids);
PLEXA_API int FEMAP_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                          dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& ids);

}  // namespace plexa
}  // namespace zeb
