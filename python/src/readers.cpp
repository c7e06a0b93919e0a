// The mesh readers: MEDIT (with its keyword-layout solution files),
// Wavefront OBJ (and its writer), NASTRAN bulk data and FEMAP neutral
// files.  The readers return the ranged layout of io_blocks.hpp; the
// NASTRAN and FEMAP readers add the file's node and element ids.
#include <string>
#include <vector>

#include "convert.hpp"
#include "errors.hpp"
#include "families.hpp"
#include "io_blocks.hpp"

namespace plexa_py {

namespace zp = zeb::plexa;

namespace {

py::tuple medit_input(py::handle path) {
  const std::string file = path_in(path);
  real_matrix pos;
  ranged_blocks r;
  check(without_gil([&] { return zp::medit_input(file.c_str(), pos, r.connect, r.ranges, r.types, r.ids); }),
        "medit_input(path, pos, connect, ranges, types, refs)");
  return ranged_out(pos, r);
}

void solution_output(py::handle path, unsigned dim, py::handle values) {
  const std::string file = path_in(path);
  real_matrix v;
  if (ndim_of(values) == 1) {  // scalars: a matrix of one row over the same block
    const real_vector scalars = vector_in<double>(values, "values");
    zeb::Ptr<zeb::vector_num<double, 8>> block;
    block = scalars.storage();
    v = real_matrix(block, scalars.start(), 1, scalars.size(), 1);
  } else {
    v = matrix_in<double>(values, "values");
  }
  check(without_gil([&] { return zp::medit_solution_output(file.c_str(), dim, v); }),
        "medit_solution_output(path, dim, values)");
}

py::tuple solution_input(py::handle path) {
  const std::string file = path_in(path);
  unsigned dim = 0;
  real_matrix values;
  check(without_gil([&] { return zp::medit_solution_input(file.c_str(), dim, values); }),
        "medit_solution_input(path, dim, values)");
  return py::make_tuple(dim, array_out(values));
}

py::tuple obj_input(py::handle path) {
  const std::string file = path_in(path);
  real_matrix pos;
  ranged_blocks r;
  std::vector<std::string> names;
  check(without_gil([&] {
          return zp::WavefrontOBJ_input(file.c_str(), pos, r.connect, r.ranges, r.types, r.ids, names);
        }),
        "WavefrontOBJ_input(path, pos, connect, ranges, types, groups, names)");
  py::list group_names;
  for (const std::string& n : names) group_names.append(py::str(n));
  const py::tuple read = ranged_out(pos, r);
  return py::make_tuple(read[0], read[1], read[2], read[3], read[4], group_names);
}

void obj_output(py::handle path, py::handle pos, py::handle connect, py::handle types, py::handle ranges,
                py::handle ids, py::handle names) {
  const std::string file = path_in(path);
  const real_matrix p = matrix_in<double>(pos, "pos");
  const ranged_blocks r = ranged_in(connect, types, ranges, ids, "ids", 0);
  if (names.is_none()) {
    check(without_gil([&] { return zp::WavefrontOBJ_output(file.c_str(), p, r.connect, r.ranges, r.types, r.ids); }),
          "WavefrontOBJ_output(path, pos, connect, ranges, types, ids)");
    return;
  }
  if (py::isinstance<py::str>(names) || !py::isinstance<py::iterable>(names))
    throw py::type_error("names: a list of str");
  std::vector<std::string> group_names;
  for (py::handle n : py::reinterpret_borrow<py::iterable>(names)) {
    if (!py::isinstance<py::str>(n)) throw py::type_error("names: a list of str");
    group_names.push_back(n.cast<std::string>());
  }
  check(without_gil([&] {
          return zp::WavefrontOBJ_output(file.c_str(), p, r.connect, r.ranges, r.types, r.ids, group_names);
        }),
        "WavefrontOBJ_output(path, pos, connect, ranges, types, ids, names)");
}

// A reader of the ranged layout with the file's ids: NASTRAN_input or
// FEMAP_input in their path form with node_ids and element_ids.
template <class Reader>
py::tuple ranged_with_ids(py::handle path, const char* signature, Reader&& read) {
  const std::string file = path_in(path);
  real_matrix pos;
  ranged_blocks r;
  index_vector node_ids, element_ids;
  check(without_gil([&] {
          return read(file.c_str(), pos, r.connect, r.ranges, r.types, r.ids, node_ids, element_ids);
        }),
        signature);
  const py::tuple read_blocks = ranged_out(pos, r);
  return py::make_tuple(read_blocks[0], read_blocks[1], read_blocks[2], read_blocks[3], read_blocks[4],
                        array_out(node_ids), array_out(element_ids));
}

py::tuple nastran_input(py::handle path) {
  return ranged_with_ids(path, "NASTRAN_input(path, pos, connect, ranges, types, pids, node_ids, element_ids)",
                         [](auto&&... a) { return zp::NASTRAN_input(a...); });
}

py::tuple femap_input(py::handle path) {
  return ranged_with_ids(path, "FEMAP_input(path, pos, connect, ranges, types, ids, node_ids, element_ids)",
                         [](auto&&... a) { return zp::FEMAP_input(a...); });
}

constexpr const char* ranged_result = R"(
Returns (pos, connect, ranges, types, ids): the nodes (n, d); the elements in
file order, one connectivity (m, r) whose block k is the rows ranges[k] to
ranges[k+1] - 1 (a new block wherever the element type changes), of type
types[k], read through its first nbr_nodes(types[k]) columns (unused entries
NO_INDEX); and one id per element.)";

void bind_readers(py::module_& m) {
  static const std::string medit = std::string(R"(medit_input(path) -> tuple

Reads a MEDIT mesh file: "MeshVersionFormatted" (1 to 4), "Dimension" (2 or
3), then Vertices and the element sections (Edges, Triangles,
Quadrilaterals, Tetrahedra, Pyramids, Prisms, Hexahedra; the degenerate
hexahedra that medit_output writes for pyramids and wedges are read back as
such), geometric sections skipped, until "End".  The ids are the elements'
references.)") + ranged_result + R"(

Raises Error -1 when the file cannot be opened or read; -2 when it does not
start with "MeshVersionFormatted"; -3 when it is malformed or truncated; -4
for what the reader does not read (an unknown keyword, a version outside 1
to 4, a dimension other than 2 or 3); -5 when an element names a vertex the
file does not have.)";
  m.def("medit_input", &medit_input, py::arg("path"), medit.c_str());

  m.def("medit_solution_output", &solution_output, py::arg("path"), py::arg("dim"), py::arg("values"),
        R"(medit_solution_output(path, dim, values) -> None

Writes one field at the nodes as a MEDIT solution file of the keyword layout
(".sol", "SolAtVertices"): values (n,) or (n, 1) scalars, (n, dim) vectors,
or (n, 3) in 2-D and (n, 6) in 3-D packed symmetric tensors.

Raises Error -1 when the file cannot be opened or written; -2 when dim is
neither 2 nor 3; -3 when values has another column count.)");

  m.def("medit_solution_input", &solution_input, py::arg("path"), R"(medit_solution_input(path) -> tuple[int, ndarray]

Reads a MEDIT solution file of either layout (the header layout of
medit_scalar, medit_vector and medit_tensor, or the keyword layout of
medit_solution_output).  Returns (dim, values): the dimension of the file
and one row per node holding the values of its fields in file order.

Raises Error -1 when the file cannot be opened or read; -2 when it starts
with neither a number nor "MeshVersionFormatted"; -3 when it is malformed or
truncated; -4 for what the reader does not read (values at elements, other
keywords, field kinds outside 1 to 4).)");

  static const std::string obj = std::string(R"(WavefrontOBJ_input(path) -> tuple

Reads a Wavefront OBJ file: vertices (v), faces (f; triangles and
quadrangles as they are, larger polygons as fans of triangles), lines (l,
one EDGE2 per segment), points (p), groups (g, o); texture and normal
indices are checked and dropped, attributes skipped.  The faces form
FACE_MIX blocks, the lines EDGE2 blocks, the points NODE blocks; the ids
are the elements' groups, numbered in order of first use.)") + ranged_result + R"(
A sixth entry, names, lists the name of each group.

Raises Error -1 when the file cannot be opened or read; -3 when it is
malformed or truncated; -4 for a statement the reader does not read
(free-form geometry, unknown keywords); -5 when an element names a vertex
the file does not have.)";
  m.def("WavefrontOBJ_input", &obj_input, py::arg("path"), obj.c_str());

  static const std::string ids_result = R"(
Two more entries follow: node_ids (n), the file's id of each node
(ascending, the order of pos), and element_ids (m), the file's id of each
element.)";

  static const std::string nastran = std::string(R"(NASTRAN_input(path) -> tuple

Reads a NASTRAN bulk-data deck: lines in free field (with commas), small
or large fixed field (tabs to the next multiple of 8 columns), '$'
comments, continuations; a "BEGIN BULK" line drops what came before it,
"ENDDATA" ends the deck.  Cards read: GRID and GRID*, CORD2R, CORD2C and
CORD2S (the coordinates are turned into the basic system), CBAR, CBEAM,
CROD, CTRIA, CTRIA3, CTRIA6, CQUAD4, CQUAD8, CQUAD, CTETRA, CPYRAM, CPYRA,
CPENTA, CHEXA (the node count given decides the element type, in the rows
NASTRAN_output writes them from); other cards are skipped.  The nodes are
in ascending GRID id order, in 3-D; the ids are the elements' PIDs (a
blank PID is the EID).)") + ranged_result + ids_result + R"(

Raises Error -1 when the file cannot be opened or read; -2 when it holds no
card; -3 for a malformed card (a field that is not a number of its kind, an
id out of range, a missing node, a line over 4096 characters), "BEGIN BULK"
without "ENDDATA", a coordinate system whose RID chain loops or whose
points give no axes; -4 for what the reader does not read (a node count or
a blank between nodes that is none of the element's forms, INCLUDE); -5
when the ids do not resolve (a CID or GRID id given twice, a RID, CP or
element node naming what the file does not have).)";
  m.def("NASTRAN_input", &nastran_input, py::arg("path"), nastran.c_str());

  static const std::string femap = std::string(R"(FEMAP_input(path) -> tuple

Reads a FEMAP neutral file (version 4.4 or 4.41): the header block 100,
then the node (403) and element (404) blocks in any order, other blocks
skipped.  A node is defined in the basic system; an element's topology
alone decides its type (the slots FEMAP_output writes; a brick whose top
slots all hold one node is a pyramid).  The nodes are in ascending id
order, in 3-D; the ids are the elements' property ids.)") + ranged_result + ids_result + R"(

Raises Error -1 when the file cannot be opened or read; -2 when it does not
start with a header block; -3 when it is malformed or truncated (a missing
version, a record with too few fields or a field that is not a number of
its kind, an id out of range, an empty slot of a topology, a line over 4096
characters, a block without its closing delimiter); -4 for what the reader
does not read (another version, a node in another coordinate system, an
unknown topology, a node in a slot its topology does not use); -5 when the
ids do not resolve (a node id given twice, an element naming a node the
file does not have).)";
  m.def("FEMAP_input", &femap_input, py::arg("path"), femap.c_str());

  m.def("WavefrontOBJ_output", &obj_output, py::arg("path"), py::arg("pos"), py::arg("connect"), py::arg("types"),
        py::arg("ranges") = py::none(), py::arg("ids") = py::none(), py::arg("names") = py::none(),
        R"(WavefrontOBJ_output(path, pos, connect, types, ranges=None, ids=None, names=None) -> None

Writes a Wavefront OBJ file: the nodes pos (n, 2) or (n, 3) as v lines, the
elements as f (triangles, quadrangles), l (edges) and p (nodes) lines by
their vertices, and a g line wherever the group changes.

connect, types: one connectivity and its type, or lists of them; or, with
  ranges, one connectivity whose block k is the rows ranges[k] to
  ranges[k+1] - 1 (the layout WavefrontOBJ_input returns).  NODE, EDGE2,
  EDGE3, TRIA3, TRIA6, QUAD4, QUAD8, QUAD9 and FACE_MIX blocks are written.
ids: the group of each element; by default the block's position.
names: the name of each group (ids index it); without it a group is named
  by its number.

Raises Error -1 when the file cannot be opened or written; -2 for the column
count of pos; -3 when a block does not fit its type or has a type that is
not written; -4 when the ranges decrease or go past the elements; -5 when
there is not one type per range; -6 when ids does not have one entry per
element; -7 when a group has no name or a name that would not read back.)");
}

}  // namespace

const family readers_family(92, bind_readers);

}  // namespace plexa_py
