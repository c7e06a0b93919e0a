// File formats: the writers (path forms) and vtk_convert.  Every call
// releases the GIL while it formats and writes.

#include "convert.hpp"
#include "errors.hpp"
#include "families.hpp"
#include "io_blocks.hpp"

namespace plexa_py {

namespace zp = zeb::plexa;

namespace {

// A block writer in its one-block form (`write(path, pos, connect, type)`)
// or its block-range form (`write(path, pos, first, last, types)`).
template <class Writer>
void write_blocks(py::handle path, py::handle pos, py::handle connect, py::handle types, const char* name,
                  Writer&& write) {
  const std::string file = path_in(path);
  const real_matrix p = matrix_in<double>(pos, "pos");
  const blocks_and_types b = blocks_with_types(connect, types);
  const std::string signature = std::string(name) + (b.single ? "(path, pos, connect, type)"
                                                              : "(path, pos, connect, last, types)");
  if (b.single) {
    const element_type t = element_type(b.types[0]);
    check(without_gil([&] { return write(file.c_str(), p, b.blocks[0], t); }), signature.c_str());
  } else {
    check(without_gil([&] { return write(file.c_str(), p, b.first(), b.last(), b.types); }), signature.c_str());
  }
}

void medit_output(py::handle path, py::handle pos, py::handle connect, py::handle types, py::handle colors,
                  py::handle ranges, py::handle refs) {
  if (!ranges.is_none() || !refs.is_none()) {
    if (!colors.is_none()) throw py::value_error("colors: refs give the references already");
    const std::string file = path_in(path);
    const real_matrix p = matrix_in<double>(pos, "pos");
    const ranged_blocks r = ranged_in(connect, types, ranges, refs, "refs", 0);
    check(without_gil([&] { return zp::medit_output(file.c_str(), p, r.connect, r.ranges, r.types, r.ids); }),
          "medit_output(path, pos, connect, ranges, types, refs)");
    return;
  }
  if (colors.is_none())
    return write_blocks(path, pos, connect, types, "medit_output",
                        [](const auto&... a) { return zp::medit_output(a...); });
  if (is_block_sequence(connect)) throw py::value_error("colors: given for one connectivity only");
  const std::string file = path_in(path);
  const mesh_args a = mesh_in(pos, connect, types);
  const index_vector k = vector_in<unsigned>(colors, "colors");
  check(without_gil([&] { return zp::medit_output(file.c_str(), a.pos, a.connect, a.type, k); }),
        "medit_output(path, pos, connect, type, colors)");
}

void medit_scalar(py::handle path, unsigned dim, py::handle values) {
  const std::string file = path_in(path);
  const real_vector v = vector_in<double>(values, "values");
  check(without_gil([&] { return zp::medit_scalar(file.c_str(), dim, v); }), "medit_scalar(path, dim, values)");
}

void medit_vector(py::handle path, unsigned dim, py::handle vectors) {
  const std::string file = path_in(path);
  const real_matrix v = matrix_in<double>(vectors, "vectors");
  check(without_gil([&] { return zp::medit_vector(file.c_str(), dim, v); }), "medit_vector(path, dim, vectors)");
}

void medit_tensor(py::handle path, py::handle tensors) {
  const std::string file = path_in(path);
  const real_matrix t = matrix_in<double>(tensors, "tensors");
  check(without_gil([&] { return zp::medit_tensor(file.c_str(), t); }), "medit_tensor(path, tensors)");
}

py::tuple vtk_convert(py::handle connect, py::handle type) {
  const index_matrix c = matrix_in<unsigned>(connect, "connect");
  const element_type t = type_in(type, "type");
  unsigned ncells = 0;
  index_vector cells, cell_types;
  check(without_gil([&] { return zp::vtk_convert(c, t, ncells, cells, cell_types); }),
        "vtk_convert(connect, type, ncells, cells, cell_types)");
  return py::make_tuple(array_out(cells), array_out(cell_types));
}

void vtk_output(py::handle path, py::handle pos, py::handle connect, py::handle types) {
  write_blocks(path, pos, connect, types, "vtk_output", [](const auto&... a) { return zp::vtk_output(a...); });
}

// A writer of the column-range layout with one id per element (by default
// the block's position + 1).
template <class Writer>
void write_ranged(py::handle path, py::handle pos, py::handle connect, py::handle types, py::handle ranges,
                  py::handle ids, const char* ids_name, const char* signature, Writer&& write) {
  const std::string file = path_in(path);
  const real_matrix p = matrix_in<double>(pos, "pos");
  const ranged_blocks r = ranged_in(connect, types, ranges, ids, ids_name, 1);
  check(without_gil([&] { return write(file.c_str(), p, r.connect, r.ranges, r.types, r.ids); }), signature);
}

void nastran_output(py::handle path, py::handle pos, py::handle connect, py::handle types, py::handle ranges,
                    py::handle pids) {
  write_ranged(path, pos, connect, types, ranges, pids, "pids", "NASTRAN_output(path, pos, connect, ranges, types, pids)",
               [](const auto&... a) { return zp::NASTRAN_output(a...); });
}

void femap_output(py::handle path, py::handle pos, py::handle connect, py::handle types, py::handle ranges,
                  py::handle ids) {
  write_ranged(path, pos, connect, types, ranges, ids, "ids", "FEMAP_output(path, pos, connect, ranges, types, ids)",
               [](const auto&... a) { return zp::FEMAP_output(a...); });
}

void ensight_output(py::handle path, py::handle pos, py::handle connect, py::handle types) {
  write_blocks(path, pos, connect, types, "ensight_output", [](const auto&... a) { return zp::ensight_output(a...); });
}

constexpr const char* write_errors = R"(
Raises Error -1 when the file cannot be opened or written (a full disk
included: success means every byte reached the file).)";

std::string doc(const char* text, const char* tail = write_errors) { return std::string(text) + tail; }

// The docstring of a writer of the column-range layout: its description,
// the blocks and ranges arguments, its ids argument (`ids` the line that
// describes it, `name` its name) and the checks.
std::string ranged_doc(const char* text, const char* ids, const char* name) {
  return doc((std::string(text) + R"(
connect, types: one connectivity and its type, or lists of them (joined
  into one connectivity, in order).
ranges: instead, one connectivity whose block k is the rows ranges[k] to
  ranges[k+1] - 1, of type types[k].)" + ids + R"(

Raises Error -2 for the column count of pos; -3 when a block does not fit
its type; -4 when the ranges decrease or go past the elements; -5 when
there is not one type per range; -6 when )" + name + R"( does not have one entry per
element.)").c_str());
}

void bind_io(py::module_& m) {
  static const std::string medit = doc(R"(medit_output(path, pos, connect, types, colors=None, ranges=None, refs=None) -> None

Writes a MEDIT mesh file: the nodes pos (n, d), d from 1 to 3, and the
elements, one section per element type in ascending type order, each element
by its vertices (pyramids and wedges as degenerate hexahedra; NONE, NODE,
EDGE_MIX, PYRA13 and WEDGE15 are not written; mixed blocks are split by
kind).

connect, types: one connectivity and its type, or a list of connectivities
  and one type per block; block i has the reference i.
colors: with one connectivity, the reference of each element
  (0xFFFFFFFF leaves an element out).
ranges: instead, one connectivity whose block k is the rows ranges[k] to
  ranges[k+1] - 1, of type types[k] (the layout medit_input returns).
refs: the reference of each element (all blocks in order; with or without
  ranges); by default the block's position.

Raises Error -2 for the column count of pos; -3 when a block does not fit
its type or names a missing node; -5 when the types (or colors) do not
match the blocks (or elements); with refs, -4 when the ranges decrease or go
past the elements and -6 when refs does not have one entry per element.)");
  m.def("medit_output", &medit_output, py::arg("path"), py::arg("pos"), py::arg("connect"), py::arg("types"),
        py::arg("colors") = py::none(), py::arg("ranges") = py::none(), py::arg("refs") = py::none(), medit.c_str());

  static const std::string scalar = doc(R"(medit_scalar(path, dim, values) -> None

Writes a MEDIT solution file of one scalar per node (dim, the space
dimension, is written as given).)");
  m.def("medit_scalar", &medit_scalar, py::arg("path"), py::arg("dim"), py::arg("values"), scalar.c_str());

  static const std::string vector = doc(R"(medit_vector(path, dim, vectors) -> None

Writes a MEDIT solution file of one vector (a row of `vectors`) per node.)");
  m.def("medit_vector", &medit_vector, py::arg("path"), py::arg("dim"), py::arg("vectors"), vector.c_str());

  static const std::string tensor = doc(R"(medit_tensor(path, tensors) -> None

Writes a MEDIT solution file of one packed symmetric tensor per node:
tensors (n, 3) in 2-D, (n, 6) in 3-D.

Raises Error -2 when tensors has neither 3 nor 6 columns (an empty file is
left behind).)");
  m.def("medit_tensor", &medit_tensor, py::arg("path"), py::arg("tensors"), tensor.c_str());

  m.def("vtk_convert", &vtk_convert, py::arg("connect"), py::arg("type"),
        R"(vtk_convert(connect, type) -> tuple[ndarray, ndarray]

A connectivity as VTK cells: (cells, cell_types), cells the flat content of a
CELLS section (each cell's node count, then its nodes) and one VTK cell type
per cell.  A quadratic element gives its linear cell followed by a
poly-vertex of its other nodes.

Raises Error -1 when the connectivity does not fit its type; -2 for a type
without a VTK cell (NONE, NODE, EDGE_MIX, FACE_MIX, SOLID_MIX, PYRA13,
WEDGE15).)");

  static const std::string vtk = doc(R"(vtk_output(path, pos, connect, types) -> None

Writes a legacy VTK unstructured grid: the nodes pos (n, 2) or (n, 3) and the
blocks (one connectivity and its type, or lists of them), mixed blocks
split by kind, each converted as vtk_convert does.

Raises Error -2 for the column count of pos or a block type without a VTK
cell; -3 when a block does not fit its type or names a missing node; -5
when there is not one type per block.)");
  m.def("vtk_output", &vtk_output, py::arg("path"), py::arg("pos"), py::arg("connect"), py::arg("types"),
        vtk.c_str());

  static const std::string nastran = ranged_doc(R"(NASTRAN_output(path, pos, connect, types, ranges=None, pids=None) -> None

Writes a NASTRAN bulk-data deck: the nodes pos (n, 2) or (n, 3) as GRID*
cards, the elements as free-field cards (node id = index + 1, element id =
its position + 1 over all blocks).
)", R"(
pids: the property number of each element; by default the block's
  position + 1.)", "pids");
  m.def("NASTRAN_output", &nastran_output, py::arg("path"), py::arg("pos"), py::arg("connect"), py::arg("types"),
        py::arg("ranges") = py::none(), py::arg("pids") = py::none(), nastran.c_str());

  static const std::string femap = ranged_doc(R"(FEMAP_output(path, pos, connect, types, ranges=None, ids=None) -> None

Writes a FEMAP neutral file (version 4.41): a header block, the nodes pos
(n, 2) or (n, 3) as a node block (planar nodes at z = 0), the elements as an
element block of eight records each, with the topology and node slots of
their type (node id = index + 1, element id = its position + 1 over all
blocks; mixed blocks written as their members, pyramids as degenerate
bricks).
)", R"(
ids: the property id of each element; by default the block's position + 1.)", "ids");
  m.def("FEMAP_output", &femap_output, py::arg("path"), py::arg("pos"), py::arg("connect"), py::arg("types"),
        py::arg("ranges") = py::none(), py::arg("ids") = py::none(), femap.c_str());

  static const std::string ensight = doc(R"(ensight_output(path, pos, connect, types) -> None

Writes an EnSight ASCII geometry file with given node and element ids: the
nodes pos (n, d), d from 1 to 3, and one part per block (block i is part
i + 1; mixed blocks, pyramids and WEDGE15 write nothing, leaving a gap in
the part numbers).

Raises Error -2 for the column count of pos; -3 when a block does not fit
its type; -5 when there is not one type per block.)");
  m.def("ensight_output", &ensight_output, py::arg("path"), py::arg("pos"), py::arg("connect"), py::arg("types"),
        ensight.c_str());
}

}  // namespace

const family io_family(90, bind_io);

}  // namespace plexa_py
