// Differential round trips: the input draws a format and a small mesh of
// the element kinds that format holds (or a solution field); it is written
// by the format's writer and read back by its reader, which must give the
// same mesh as the format keeps it.  Any difference aborts with what
// differs.
//
// Coordinates and values are small integers times a power of two, which
// every writer prints exactly, so that the comparisons can be exact.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <tuple>
#include <unistd.h>
#include <set>
#include <string>
#include <vector>

#include <zeb/plexa.hpp>

namespace {

using namespace zeb::plexa;
using zeb::dense2D;

[[noreturn]] void differs(const char* format, const std::string& what) {
  std::fprintf(stderr, "%s round trip: %s\n", format, what.c_str());
  std::abort();
}

// A stream the writers write into, its bytes kept once it is closed.
class written_bytes {
 public:
  written_bytes() : f_(open_memstream(&data_, &size_)) {}
  ~written_bytes() {
    if (f_) std::fclose(f_);
    std::free(data_);
  }
  written_bytes(const written_bytes&) = delete;
  written_bytes& operator=(const written_bytes&) = delete;
  std::FILE* stream() const { return f_; }
  // Closes the writing side and opens the bytes for reading.
  std::FILE* reread() {
    std::fclose(f_);
    f_ = nullptr;
    in_ = fmemopen(size_ ? data_ : &nothing_, size_, "rb");
    return in_;
  }
  void close_reading() {
    if (in_) std::fclose(in_);
    in_ = nullptr;
  }

 private:
  char* data_ = nullptr;
  std::size_t size_ = 0;
  char nothing_ = 0;
  std::FILE* f_;
  std::FILE* in_ = nullptr;
};

// n nodes at distinct points of a 16 x 16 x 16 grid of step 2^e.
dense2D<double> distinct_nodes(FuzzedDataProvider& in, unsigned n) {
  const double step = std::ldexp(1.0, in.ConsumeIntegralInRange(-3, 3));
  std::set<unsigned> taken;
  dense2D<double> pos(3, n);
  for (unsigned k = 0; k < n; ++k) {
    unsigned cell = in.ConsumeIntegralInRange(0u, 4095u);
    while (taken.count(cell)) cell = (cell + 1) % 4096;  // n <= 4096
    taken.insert(cell);
    for (unsigned i = 0; i < 3; ++i) pos(i, k) = step * (double(cell >> (4 * i) & 15) - 8.0);
  }
  return pos;
}

// ---------------------------------------------------------------------------
// STL: triangles only.  Reading welds: the mesh comes back with its nodes in
// order of first use, as long as it has no degenerate triangle, no unused
// node and no two nodes within the weld's tolerance (0.05 times the
// smallest height).  Draws that break the last condition are not compared.
// ---------------------------------------------------------------------------

double squared_height(const double* a, const double* b, const double* c) {
  double u[3], v[3], w[3];
  for (unsigned k = 0; k < 3; ++k) u[k] = b[k] - a[k], v[k] = c[k] - a[k], w[k] = c[k] - b[k];
  const double n0 = u[1] * v[2] - u[2] * v[1], n1 = u[2] * v[0] - u[0] * v[2], n2 = u[0] * v[1] - u[1] * v[0];
  const double longest = std::max({u[0] * u[0] + u[1] * u[1] + u[2] * u[2], v[0] * v[0] + v[1] * v[1] + v[2] * v[2],
                                   w[0] * w[0] + w[1] * w[1] + w[2] * w[2]});
  return (n0 * n0 + n1 * n1 + n2 * n2) / longest;
}

void stl_trip(FuzzedDataProvider& in, bool ascii) {
  const char* name = ascii ? "STL ASCII" : "STL binary";
  const unsigned nodes = in.ConsumeIntegralInRange(3u, 40u), drawn = in.ConsumeIntegralInRange(0u, 40u);
  const dense2D<double> all = distinct_nodes(in, nodes);
  // The triangles of positive height, over their nodes renumbered in order
  // of first use.
  std::vector<unsigned> number(nodes, ~0u), order;
  std::vector<unsigned> triangles;
  double smallest = INFINITY;
  for (unsigned t = 0; t < drawn; ++t) {
    unsigned v[3];
    for (unsigned& x : v) x = in.ConsumeIntegralInRange(0u, nodes - 1);
    const double h2 = squared_height(&all(0, v[0]), &all(0, v[1]), &all(0, v[2]));
    if (!(h2 > 0)) continue;
    smallest = std::min(smallest, h2);
    for (unsigned x : v) {
      if (number[x] == ~0u) number[x] = unsigned(order.size()), order.push_back(x);
      triangles.push_back(number[x]);
    }
  }
  const unsigned n = unsigned(order.size()), m = unsigned(triangles.size() / 3);
  dense2D<double> pos(3, n);
  dense2D<unsigned> connect(3, m);
  for (unsigned k = 0; k < n; ++k)
    for (unsigned i = 0; i < 3; ++i) pos(i, k) = all(i, order[k]);
  for (unsigned k = 0; k < 3 * m; ++k) connect.data()[k] = triangles[k];
  const double tolerance2 = 0.0025 * smallest;
  for (unsigned a = 0; a < n; ++a)
    for (unsigned b = a + 1; b < n; ++b) {
      double d2 = 0;
      for (unsigned i = 0; i < 3; ++i) d2 += (pos(i, a) - pos(i, b)) * (pos(i, a) - pos(i, b));
      if (d2 <= tolerance2 * 1.0001) return;  // the weld would merge them
    }

  written_bytes file;
  if (const int r = STL_output(file.stream(), pos, connect, ascii)) differs(name, "written with code " + std::to_string(r));
  dense2D<double> pos_read;
  dense2D<unsigned> connect_read;
  STL_read_report report;
  const int r = STL_input(file.reread(), pos_read, connect_read, report);
  file.close_reading();
  if (r != 0) differs(name, "read with code " + std::to_string(r));
  if (report.binary == ascii) differs(name, "read as the other variant");
  if (report.triangles != m || report.removed != 0) differs(name, "triangles read or removed");
  if (pos_read.rows() != 3 || pos_read.cols() != n) differs(name, "node count");
  if (connect_read.rows() != 3 || connect_read.cols() != m) differs(name, "triangle count");
  for (unsigned k = 0; k < 3 * m; ++k)
    if (connect_read.data()[k] != connect.data()[k]) differs(name, "triangle " + std::to_string(k / 3));
  for (unsigned k = 0; k < n; ++k)
    for (unsigned i = 0; i < 3; ++i)
      if (pos_read(i, k) != pos(i, k)) differs(name, "node " + std::to_string(k));
}

// ---------------------------------------------------------------------------
// The block meshes of MEDIT and OBJ: blocks of the kinds a writer takes,
// over n >= 8 nodes, each column of distinct vertices (so that no element
// reads back as a degenerate form of another kind) and valid higher-order
// nodes; rows below a simple type's nodes hold garbage, which the writers
// must not read, rows below a mixed column's nodes 4294967295.
// ---------------------------------------------------------------------------

constexpr unsigned NO = 4294967295u;

struct block_mesh {
  dense2D<double> pos;
  dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, ids;
  zeb::dense1D<int, 8> types;
};

// The member kind of a mixed column drawn at random.
element_type member_of(FuzzedDataProvider& in, element_type mixed) {
  static const element_type faces[] = {ELT_TRIA3, ELT_QUAD4};
  static const element_type solids[] = {ELT_TETRA4, ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8};
  if (mixed == ELT_FACE_MIX) return faces[in.ConsumeIntegralInRange(0, 1)];
  if (mixed == ELT_SOLID_MIX) return solids[in.ConsumeIntegralInRange(0, 3)];
  return mixed;
}

block_mesh draw_blocks(FuzzedDataProvider& in, unsigned dim, const std::vector<element_type>& kinds) {
  block_mesh m;
  const unsigned n = in.ConsumeIntegralInRange(8u, 40u);
  const dense2D<double> all = distinct_nodes(in, n);
  m.pos = dense2D<double>(dim, n);
  for (unsigned k = 0; k < n; ++k)
    for (unsigned i = 0; i < dim; ++i) m.pos(i, k) = all(i, k);
  const unsigned blocks = in.ConsumeIntegralInRange(0u, 5u);
  std::vector<element_type> types;
  std::vector<unsigned> counts;
  unsigned rows = 1, cols = 0;
  for (unsigned b = 0; b < blocks; ++b) {
    types.push_back(kinds[in.ConsumeIntegralInRange<std::size_t>(0, kinds.size() - 1)]);
    counts.push_back(in.ConsumeIntegralInRange(0u, 6u));
    rows = std::max(rows, nbr_nodes(types.back()));
    cols += counts.back();
  }
  // The block form reads a mixed solid block through min(rows, 20) rows,
  // which check_IDs accepts for 8 rows only: beside a type of more nodes a
  // mixed solid block becomes a block of hexahedra.
  if (rows > 8) std::replace(types.begin(), types.end(), ELT_SOLID_MIX, ELT_HEXA8);
  m.connect = dense2D<unsigned>(rows, cols);
  m.ranges = zeb::dense1D<unsigned, 8>(blocks + 1, 0u);
  m.types = zeb::dense1D<int, 8>(blocks, 0);
  m.ids = zeb::dense1D<unsigned, 8>(cols, 0u);
  unsigned j = 0;
  for (unsigned b = 0; b < blocks; ++b) {
    m.types[b] = types[b];
    const bool mixed = types[b] == ELT_FACE_MIX || types[b] == ELT_SOLID_MIX;
    for (unsigned e = 0; e < counts[b]; ++e, ++j) {
      const element_type member = member_of(in, types[b]);
      const unsigned vertices = member == ELT_NODE ? 1 : nbr_base_nodes(member), nodes = nbr_nodes(member);
      std::set<unsigned> taken;
      for (unsigned i = 0; i < rows; ++i) {
        unsigned& x = m.connect(i, j);
        if (i < vertices) {
          x = in.ConsumeIntegralInRange(0u, n - 1);
          while (taken.count(x)) x = (x + 1) % n;
          taken.insert(x);
        } else if (i < nodes) {
          x = in.ConsumeIntegralInRange(0u, n - 1);
        } else {
          x = mixed ? NO : in.ConsumeIntegral<unsigned>();
        }
      }
      m.ids[j] = in.ConsumeIntegral<unsigned>();
    }
    m.ranges[b + 1] = j;
  }
  return m;
}

// An element as a reader gives it back: its kind, its vertices, its id.
using element = std::tuple<int, std::vector<unsigned>, unsigned>;

// The kind of column j of a block of `type` read through `rows` rows.
element_type column_kind(element_type type, const dense2D<unsigned>& c, unsigned j) {
  auto used = [&](unsigned i) { return i < c.rows() && c(i, j) != NO; };
  if (type == ELT_FACE_MIX) return used(3) ? ELT_QUAD4 : ELT_TRIA3;
  if (type == ELT_SOLID_MIX) return used(6) ? ELT_HEXA8 : used(5) ? ELT_WEDGE6 : used(4) ? ELT_PYRA5 : ELT_TETRA4;
  return type;
}

element element_of(element_type kind, const dense2D<unsigned>& c, unsigned j, unsigned id) {
  const unsigned vertices = kind == ELT_NODE ? 1 : nbr_base_nodes(kind);
  std::vector<unsigned> v(vertices);
  for (unsigned i = 0; i < vertices; ++i) v[i] = c(i, j);
  return {kind, v, id};
}

// What a reader returned, element by element.
std::vector<element> elements_read(const dense2D<unsigned>& c, const zeb::dense1D<unsigned, 8>& ranges,
                                   const zeb::dense1D<int, 8>& types, const zeb::dense1D<unsigned, 8>& ids) {
  std::vector<element> out;
  for (unsigned b = 0; b < types.size(); ++b)
    for (unsigned j = ranges[b]; j < ranges[b + 1]; ++j)
      out.push_back(element_of(column_kind(element_type(types[b]), c, j), c, j, ids[j]));
  return out;
}

// The linear kind of a type: the one its vertices make.
element_type linear_kind(element_type t) {
  switch (nbr_base_nodes(t)) {
    case 2: return ELT_EDGE2;
    case 3: return ELT_TRIA3;
    case 4: return element_dim(t) == 2 ? ELT_QUAD4 : ELT_TETRA4;
    case 5: return ELT_PYRA5;
    case 6: return ELT_WEDGE6;
    case 8: return ELT_HEXA8;
    default: return t;
  }
}

std::string describe(const element& e) {
  std::string s = "kind " + std::to_string(std::get<0>(e)) + ", nodes";
  for (unsigned v : std::get<1>(e)) s += " " + std::to_string(v);
  return s + ", id " + std::to_string(std::get<2>(e));
}

void compare(const char* format, const std::vector<element>& expected, const std::vector<element>& got) {
  if (expected.size() != got.size())
    differs(format, std::to_string(got.size()) + " elements read for " + std::to_string(expected.size()));
  for (std::size_t k = 0; k < got.size(); ++k)
    if (got[k] != expected[k])
      differs(format, "element " + std::to_string(k) + ": " + describe(got[k]) + " for " + describe(expected[k]));
}

void compare_nodes(const char* format, const dense2D<double>& expected, const dense2D<double>& got) {
  if (got.rows() != expected.rows() || got.cols() != expected.cols())
    differs(format, "coordinates of shape " + std::to_string(got.rows()) + " x " + std::to_string(got.cols()));
  for (unsigned k = 0; k < got.cols(); ++k)
    for (unsigned i = 0; i < got.rows(); ++i)
      if (got(i, k) != expected(i, k)) differs(format, "node " + std::to_string(k));
}

// A file of its own for a writer that takes a path, removed when it goes
// (left behind only by a trip that aborts, for a look at it).
class scratch_file {
 public:
  scratch_file() {
    const int fd = mkstemp(path_);
    if (fd < 0) differs("scratch", "no temporary file");
    close(fd);
  }
  ~scratch_file() { std::remove(path_); }
  scratch_file(const scratch_file&) = delete;
  scratch_file& operator=(const scratch_file&) = delete;
  const char* path() const { return path_; }

 private:
  char path_[32] = "/tmp/plexa_roundtrip_XXXXXX";
};

// ---------------------------------------------------------------------------
// MEDIT meshes: sections in ascending type order, each of the elements of
// that type in block and column order (the members of that kind of the
// mixed blocks included), written by their vertices and read back as the
// linear kind; references as written.
// ---------------------------------------------------------------------------

void medit_trip(FuzzedDataProvider& in) {
  static const std::vector<element_type> kinds = {
      ELT_EDGE2,     ELT_EDGE3, ELT_FACE_MIX, ELT_TRIA3,  ELT_QUAD4,  ELT_TRIA6,  ELT_QUAD8, ELT_QUAD9,  ELT_SOLID_MIX,
      ELT_TETRA4,    ELT_TETRA10, ELT_PYRA5,  ELT_PYRA14, ELT_WEDGE6, ELT_WEDGE18, ELT_HEXA8, ELT_HEXA20, ELT_HEXA27};
  const unsigned dim = in.ConsumeIntegralInRange(2u, 3u);
  const block_mesh m = draw_blocks(in, dim, kinds);
  std::vector<element> expected;
  for (int t = 0; t < int(ELT_HEXA27) + 1; ++t)
    for (unsigned b = 0; b < m.types.size(); ++b)
      for (unsigned j = m.ranges[b]; j < m.ranges[b + 1]; ++j)
        if (column_kind(element_type(m.types[b]), m.connect, j) == t)
          expected.push_back(element_of(linear_kind(element_type(t)), m.connect, j, m.ids[j]));

  const scratch_file file;
  if (const int r = medit_output(file.path(), m.pos, m.connect, m.ranges, m.types, m.ids))
    differs("MEDIT", "written with code " + std::to_string(r));
  dense2D<double> pos;
  dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, refs;
  zeb::dense1D<int, 8> types;
  if (const int r = medit_input(file.path(), pos, connect, ranges, types, refs))
    differs("MEDIT", "read with code " + std::to_string(r));
  compare_nodes("MEDIT", m.pos, pos);
  compare("MEDIT", expected, elements_read(connect, ranges, types, refs));
}

// ---------------------------------------------------------------------------
// OBJ: elements in block and column order, faces read back as triangles or
// quadrangles, edges as one segment, points; 2-D nodes get z = 0; the
// groups come back numbered in order of first use, with their names.
// ---------------------------------------------------------------------------

void obj_trip(FuzzedDataProvider& in) {
  static const std::vector<element_type> kinds = {ELT_NODE,  ELT_EDGE2, ELT_EDGE3, ELT_TRIA3,   ELT_TRIA6,
                                                  ELT_QUAD4, ELT_QUAD8, ELT_QUAD9, ELT_FACE_MIX};
  static const std::vector<std::string> names = {"", "walls", "a b", "0", "g\\x"};
  const unsigned dim = in.ConsumeIntegralInRange(2u, 3u);
  block_mesh m = draw_blocks(in, dim, kinds);
  for (unsigned j = 0; j < m.ids.size(); ++j) m.ids[j] %= unsigned(names.size());
  std::vector<element> expected;
  for (unsigned b = 0; b < m.types.size(); ++b)
    for (unsigned j = m.ranges[b]; j < m.ranges[b + 1]; ++j) {
      const element_type kind = linear_kind(column_kind(element_type(m.types[b]), m.connect, j));
      element e = element_of(kind, m.connect, j, m.ids[j]);
      if (kind == ELT_TRIA3 || kind == ELT_QUAD4) std::get<0>(e) = ELT_FACE_MIX;
      expected.push_back(e);
    }
  dense2D<double> nodes(3, m.pos.cols(), 0.0);
  for (unsigned k = 0; k < m.pos.cols(); ++k)
    for (unsigned i = 0; i < dim; ++i) nodes(i, k) = m.pos(i, k);

  written_bytes file;
  if (const int r = WavefrontOBJ_output(file.stream(), m.pos, m.connect, m.ranges, m.types, m.ids, names))
    differs("OBJ", "written with code " + std::to_string(r));
  dense2D<double> pos;
  dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, groups;
  zeb::dense1D<int, 8> types;
  std::vector<std::string> read_names;
  const int r = WavefrontOBJ_input(file.reread(), pos, connect, ranges, types, groups, read_names);
  file.close_reading();
  if (r != 0) differs("OBJ", "read with code " + std::to_string(r));
  compare_nodes("OBJ", nodes, pos);
  // The group of each element as the name written for it.
  std::vector<element> got;
  for (unsigned b = 0; b < types.size(); ++b)
    for (unsigned j = ranges[b]; j < ranges[b + 1]; ++j) {
      const element_type type = element_type(types[b]);
      element e = element_of(column_kind(type, connect, j), connect, j, 0);
      std::get<0>(e) = type;
      if (groups[j] >= read_names.size()) differs("OBJ", "a group without a name");
      const auto name = std::find(names.begin(), names.end(), read_names[groups[j]]);
      if (name == names.end()) differs("OBJ", "a group name not written: " + read_names[groups[j]]);
      std::get<2>(e) = unsigned(name - names.begin());
      got.push_back(e);
    }
  compare("OBJ", expected, got);
}

// ---------------------------------------------------------------------------
// MEDIT solutions: the keyword layout (scalars, vectors, packed symmetric
// tensors in 2-D and 3-D) and the header layout of medit_scalar,
// medit_vector and medit_tensor.
// ---------------------------------------------------------------------------

dense2D<double> draw_values(FuzzedDataProvider& in, unsigned rows, unsigned cols) {
  const double step = std::ldexp(1.0, in.ConsumeIntegralInRange(-3, 3));
  dense2D<double> v(rows, cols);
  for (unsigned j = 0; j < cols; ++j)
    for (unsigned i = 0; i < rows; ++i) v(i, j) = step * double(in.ConsumeIntegralInRange(-2048, 2047));
  return v;
}

void solution_trip(FuzzedDataProvider& in) {
  const unsigned layout = in.ConsumeIntegralInRange(0u, 3u), nodes = in.ConsumeIntegralInRange(0u, 20u);
  unsigned dim = in.ConsumeIntegralInRange(2u, 3u), rows;
  switch (layout) {
    case 0: rows = in.PickValueInArray({1u, dim, dim * (dim + 1) / 2}); break;  // keyword layout
    case 1: rows = 1, dim = in.ConsumeIntegralInRange(0u, 4u); break;           // medit_scalar
    case 2: rows = in.ConsumeIntegralInRange(1u, 6u), dim = in.ConsumeIntegralInRange(0u, 4u); break;
    default: rows = dim * (dim + 1) / 2; break;  // medit_tensor
  }
  const dense2D<double> values = draw_values(in, rows, nodes);
  const scratch_file file;
  const char* path = file.path();
  int r;
  switch (layout) {
    case 0: r = medit_solution_output(path, dim, values); break;
    case 1: r = medit_scalar(path, dim, values.as_vector()); break;
    case 2: r = medit_vector(path, dim, values); break;
    default: r = medit_tensor(path, values); break;
  }
  const char* format = layout == 0 ? "MEDIT solution" : "MEDIT .bb";
  if (r != 0) differs(format, "written with code " + std::to_string(r));
  unsigned dim_read;
  dense2D<double> read;
  if ((r = medit_solution_input(path, dim_read, read))) differs(format, "read with code " + std::to_string(r));
  if (dim_read != dim) differs(format, "dimension " + std::to_string(dim_read));
  compare_nodes(format, values, read);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  switch (in.ConsumeIntegralInRange(0, 4)) {
    case 0: stl_trip(in, true); break;
    case 1: stl_trip(in, false); break;
    case 2: medit_trip(in); break;
    case 3: obj_trip(in); break;
    case 4: solution_trip(in); break;
  }
  return 0;
}
