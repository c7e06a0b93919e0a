// The reader entries and the promises every reading keeps (readers.hpp).
#include "readers.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

#include <zeb/plexa.hpp>

namespace plexa_fuzz {

namespace {

using namespace zeb::plexa;

constexpr unsigned NO = 4294967295u;

// A read-only stream over the bytes (a zero-length one when there is none).
struct memory_stream {
  memory_stream(const unsigned char* data, std::size_t size) {
    static unsigned char nothing;
    f = fmemopen(size ? const_cast<unsigned char*>(data) : &nothing, size, "rb");
  }
  ~memory_stream() {
    if (f) std::fclose(f);
  }
  memory_stream(const memory_stream&) = delete;
  memory_stream& operator=(const memory_stream&) = delete;
  std::FILE* f;
};

std::string text(const char* what, long long a) { return what + std::to_string(a); }

// ---------------------------------------------------------------------------
// STL
// ---------------------------------------------------------------------------

read_outcome read_stl(const unsigned char* data, std::size_t size) {
  read_outcome o;
  memory_stream s(data, size);
  STL_read_report report;
  o.code = STL_input(s.f, o.pos, o.connect, report);
  o.values = {double(report.binary), double(report.triangles), double(report.welded), report.tolerance,
              double(report.removed)};
  if (o.code == 0) {  // one block of triangles
    o.types = zeb::dense1D<int, 8>(1, int(ELT_TRIA3));
    o.ranges.resize(2, 0u);
    o.ranges[1] = o.connect.cols();
  }
  return o;
}

// The soup as read when nothing was welded; otherwise triangles of three
// distinct nodes, every node used, no two nodes at one finite place, and a
// report that adds up.
std::string check_stl(const read_outcome& o) {
  const zeb::dense2D<unsigned>& c = o.connect;
  const unsigned n = o.pos.cols(), m = c.cols();
  if (o.pos.rows() != 3 || c.rows() != 3) return "not 3 rows";
  const bool welded = o.values[2] != 0;
  const double tolerance = o.values[3];
  if (o.values[1] != double(m) + o.values[4]) return "triangles read are not those kept and removed";
  if (!welded) {
    if (tolerance != 0 || o.values[4] != 0) return "a weld reported that was not done";
    if (n != 3 * m) return "unwelded soup without 3 nodes per triangle";
    for (unsigned j = 0; j < m; ++j)
      for (unsigned i = 0; i < 3; ++i)
        if (c(i, j) != 3 * j + i) return text("unwelded soup renumbered at triangle ", j);
    return "";
  }
  if (!(tolerance > 0) || !std::isfinite(tolerance)) return "welded with a tolerance that is not positive";
  std::vector<bool> used(n, false);
  for (unsigned j = 0; j < m; ++j) {
    if (c(0, j) == c(1, j) || c(1, j) == c(2, j) || c(0, j) == c(2, j))
      return text("degenerate triangle kept: ", j);
    for (unsigned i = 0; i < 3; ++i) used[c(i, j)] = true;
  }
  if (std::find(used.begin(), used.end(), false) != used.end()) return "a node no triangle uses";
  std::vector<std::array<double, 3>> places;
  for (unsigned k = 0; k < n; ++k)
    if (std::isfinite(o.pos(0, k)) && std::isfinite(o.pos(1, k)) && std::isfinite(o.pos(2, k)))
      places.push_back({o.pos(0, k), o.pos(1, k), o.pos(2, k)});
  std::sort(places.begin(), places.end());
  if (std::adjacent_find(places.begin(), places.end()) != places.end()) return "two nodes at one place";
  return "";
}

// ---------------------------------------------------------------------------
// Readers of the shape every mesh reader returns: pos, connect, ranges,
// types, one unsigned per element; the forms with ids add the node ids and
// the element ids.
// ---------------------------------------------------------------------------

using D2 = zeb::dense2D<double>;
using U2 = zeb::dense2D<unsigned>;
using U1 = zeb::dense1D<unsigned, 8>;
using I1 = zeb::dense1D<int, 8>;
using mesh_input = int (*)(std::FILE*, D2&, U2&, U1&, I1&, U1&);
using mesh_input_with_ids = int (*)(std::FILE*, D2&, U2&, U1&, I1&, U1&, U1&, U1&);

template <mesh_input F>
read_outcome read_mesh(const unsigned char* data, std::size_t size) {
  read_outcome o;
  memory_stream s(data, size);
  o.element_lists.resize(1);
  o.code = F(s.f, o.pos, o.connect, o.ranges, o.types, o.element_lists[0]);
  return o;
}

template <mesh_input_with_ids F>
read_outcome read_mesh_with_ids(const unsigned char* data, std::size_t size) {
  read_outcome o;
  memory_stream s(data, size);
  o.node_lists.resize(1);
  o.element_lists.resize(2);
  o.code = F(s.f, o.pos, o.connect, o.ranges, o.types, o.element_lists[0], o.node_lists[0], o.element_lists[1]);
  return o;
}

// The blocks as a file reader makes them: none empty, a new one wherever
// the type changes, each of a type in `allowed`, and as many rows as the
// largest element read (the nodes used in a column of a mixed block).
std::string blocks_as_read(const read_outcome& o, std::initializer_list<element_type> allowed) {
  unsigned rows = 0;
  for (unsigned b = 0; b < o.types.size(); ++b) {
    const element_type type = element_type(o.types[b]);
    if (std::find(allowed.begin(), allowed.end(), type) == allowed.end()) return text("a type not read: ", type);
    if (o.ranges[b] == o.ranges[b + 1]) return text("an empty block: ", b);
    if (b > 0 && o.types[b - 1] == o.types[b]) return text("one type in two blocks in a row: ", b);
    if (type != ELT_FACE_MIX && type != ELT_SOLID_MIX && type != ELT_EDGE_MIX) {
      rows = std::max(rows, nbr_nodes(type));
      continue;
    }
    for (unsigned j = o.ranges[b]; j < o.ranges[b + 1]; ++j) {
      unsigned used = 0;
      while (used < o.connect.rows() && o.connect(used, j) != NO) ++used;
      rows = std::max(rows, used);
    }
  }
  if (o.connect.cols() > 0 && o.connect.rows() != rows) return text("rows other than the largest element: ", rows);
  return "";
}

// MEDIT: 2 or 3 coordinates, the seven kinds of its sections.
std::string check_medit(const read_outcome& o) {
  if (o.pos.rows() != 2 && o.pos.rows() != 3) return text("coordinates of dimension ", o.pos.rows());
  return blocks_as_read(o, {ELT_EDGE2, ELT_TRIA3, ELT_QUAD4, ELT_TETRA4, ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8});
}

// Any reader of the shared mesh shape: 2 or 3 coordinates, blocks of
// simple types as read (NASTRAN and FEMAP).
std::string check_mesh(const read_outcome& o) {
  if (o.pos.rows() != 2 && o.pos.rows() != 3 && !o.pos.empty()) return text("coordinates of dimension ", o.pos.rows());
  return blocks_as_read(o, {ELT_NODE, ELT_EDGE2, ELT_EDGE3, ELT_TRIA3, ELT_QUAD4, ELT_TRIA6, ELT_QUAD8, ELT_QUAD9,
                            ELT_TETRA4, ELT_TETRA10, ELT_PYRA5, ELT_PYRA13, ELT_PYRA14, ELT_WEDGE6, ELT_WEDGE15,
                            ELT_WEDGE18, ELT_HEXA8, ELT_HEXA20, ELT_HEXA27});
}

// ---------------------------------------------------------------------------
// MEDIT solutions (both layouts): the dimension in values[0], the values
// in `field`, at least one row of them.
// ---------------------------------------------------------------------------

read_outcome read_medit_solution(const unsigned char* data, std::size_t size) {
  read_outcome o;
  memory_stream s(data, size);
  unsigned dim = 0;
  o.code = medit_solution_input(s.f, dim, o.field);
  o.values = {double(dim)};
  return o;
}

std::string check_medit_solution(const read_outcome& o) {
  if (o.field.rows() == 0) return "values of no row";
  if (o.values[0] > 2147483647.0) return "a dimension beyond an int";
  return "";
}

// ---------------------------------------------------------------------------
// OBJ: the group of each element in element_lists[0], their names in
// `names`.
// ---------------------------------------------------------------------------

read_outcome read_obj(const unsigned char* data, std::size_t size) {
  read_outcome o;
  memory_stream s(data, size);
  o.element_lists.resize(1);
  o.code = WavefrontOBJ_input(s.f, o.pos, o.connect, o.ranges, o.types, o.element_lists[0], o.names);
  return o;
}

// Faces (triangles and quadrangles in one mixed block), segments and
// points over 3-D vertices; groups numbered in order of first use, one
// distinct name each.
std::string check_obj(const read_outcome& o) {
  if (o.pos.rows() != 3 && !o.pos.empty()) return text("coordinates of dimension ", o.pos.rows());
  if (std::string broken = blocks_as_read(o, {ELT_FACE_MIX, ELT_EDGE2, ELT_NODE}); !broken.empty()) return broken;
  const U1& groups = o.element_lists[0];
  unsigned next = 0;
  for (unsigned j = 0; j < groups.size(); ++j) {
    if (groups[j] > next) return text("a group numbered before its first use: ", j);
    if (groups[j] == next) ++next;
  }
  if (o.names.size() != next) return "a name count other than the group count";
  std::vector<std::string> sorted = o.names;
  std::sort(sorted.begin(), sorted.end());
  if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end()) return "two groups of one name";
  return "";
}

// ---------------------------------------------------------------------------
// The promises of every mesh reader
// ---------------------------------------------------------------------------

bool is_empty(const read_outcome& o) {
  if (!o.pos.empty() || !o.field.empty() || !o.connect.empty() || !o.ranges.empty() || !o.types.empty() ||
      !o.names.empty())
    return false;
  for (const auto* lists : {&o.node_lists, &o.element_lists})
    for (const auto& l : *lists)
      if (!l.empty()) return false;
  return std::all_of(o.values.begin(), o.values.end(), [](double v) { return v == 0; });
}

bool is_mixed(element_type type) { return type == ELT_EDGE_MIX || type == ELT_FACE_MIX || type == ELT_SOLID_MIX; }

// Blocks that cover the columns in order, each of a known type, read
// through its first nbr_nodes(type) rows (at most that many for a mixed
// type) with the rows below them unused; lists of the node and element
// counts; node ids, when given, strictly ascending (nodes are in id order).
std::string check_blocks(const read_outcome& o) {
  const zeb::dense2D<unsigned>& c = o.connect;
  const unsigned n = o.pos.cols();
  if (o.ranges.size() != o.types.size() + 1) return "ranges and types disagree in size";
  if (o.ranges[0] != 0 || o.ranges[o.types.size()] != c.cols()) return "ranges do not cover the columns";
  for (unsigned b = 0; b < o.types.size(); ++b) {
    const unsigned first = o.ranges[b], last = o.ranges[b + 1];
    const int type = o.types[b];
    if (last < first) return text("ranges go back at block ", b);
    if (type <= ELT_NONE || type > ELT_HEXA27) return text("no element type for block ", b);
    const element_type t = element_type(type);
    const unsigned rows = is_mixed(t) ? std::min(nbr_nodes(t), c.rows()) : nbr_nodes(t);
    if (first == last) continue;
    if (rows > c.rows()) return text("fewer rows than the type of block ", b);
    if (!check_IDs(c.sub_matrix(0, first, rows, last - first), t, n))
      return text("a node index that is none in block ", b);
    for (unsigned j = first; j < last; ++j)
      for (unsigned i = rows; i < c.rows(); ++i)
        if (c(i, j) != NO) return text("a used row below the nodes of column ", j);
  }
  for (const auto& l : o.node_lists)
    if (l.size() != n) return "a per-node list of another size";
  for (const auto& l : o.element_lists)
    if (l.size() != c.cols()) return "a per-element list of another size";
  if (!o.node_lists.empty())
    for (unsigned k = 1; k < n; ++k)
      if (o.node_lists[0][k - 1] >= o.node_lists[0][k]) return text("node ids out of order at ", k);
  return "";
}

}  // namespace

// One row per reader entry; CMake makes a fuzz target of each row's name (a
// row starts with `{"name", `).  A mesh reader of the shared shape needs no
// code of its own: read_mesh<F> (or read_mesh_with_ids<F>) and a check
// built on blocks_as_read.
const std::vector<reader_entry>& readers() {
  static const std::vector<reader_entry> table = {
      {"stl", ".stl", read_stl, check_stl, {-2, -3}},
      {"medit", ".mesh", read_mesh<medit_input>, check_medit, {-2, -3, -4, -5}},
      {"medit_solution", ".sol", read_medit_solution, check_medit_solution, {-2, -3, -4}, false},
      {"obj", ".obj", read_obj, check_obj, {-3, -4, -5}},
      // The codes their headers give for arbitrary bytes; ".bdf" and ".neu"
      // are the extensions of the sample files in tests/data.
      {"nastran", ".bdf", read_mesh_with_ids<NASTRAN_input>, check_mesh, {-2, -3, -4, -5}},
      {"femap", ".neu", read_mesh_with_ids<FEMAP_input>, check_mesh, {-2, -3, -4, -5}},
  };
  return table;
}

const reader_entry* find_reader(const std::string& name) {
  for (const reader_entry& r : readers())
    if (name == r.name) return &r;
  return nullptr;
}

std::string broken_promise(const reader_entry& r, const unsigned char* data, std::size_t size) {
  return broken_promise(r, r.read(data, size));
}

std::string broken_promise(const reader_entry& r, const read_outcome& o) {
  if (o.code != 0) {
    if (std::find(r.codes.begin(), r.codes.end(), o.code) == r.codes.end()) return text("undocumented code ", o.code);
    return is_empty(o) ? "" : text("outputs left after code ", o.code);
  }
  if (r.mesh)
    if (std::string broken = check_blocks(o); !broken.empty()) return broken;
  return r.check(o);
}

}  // namespace plexa_fuzz
