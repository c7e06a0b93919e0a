// The reader entries and the promises every reading keeps (readers.hpp).
#include "readers.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
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
// The promises of every mesh reader
// ---------------------------------------------------------------------------

bool is_empty(const read_outcome& o) {
  if (!o.pos.empty() || !o.connect.empty() || !o.ranges.empty() || !o.types.empty()) return false;
  for (const auto* lists : {&o.node_lists, &o.element_lists})
    for (const auto& l : *lists)
      if (!l.empty()) return false;
  return std::all_of(o.values.begin(), o.values.end(), [](double v) { return v == 0; });
}

// Blocks that cover the columns in order, each of a known type, read
// through its first nbr_nodes(type) rows with the rows below them unused.
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
    const unsigned rows = nbr_nodes(element_type(type));
    if (first == last) continue;
    if (rows > c.rows()) return text("fewer rows than the type of block ", b);
    if (!check_IDs(c.sub_matrix(0, first, rows, last - first), element_type(type), n))
      return text("a node index that is none in block ", b);
    for (unsigned j = first; j < last; ++j)
      for (unsigned i = rows; i < c.rows(); ++i)
        if (c(i, j) != NO) return text("a used row below the nodes of column ", j);
  }
  for (const auto& l : o.node_lists)
    if (l.size() != n) return "a per-node list of another size";
  for (const auto& l : o.element_lists)
    if (l.size() != c.cols()) return "a per-element list of another size";
  return "";
}

}  // namespace

const std::vector<reader_entry>& readers() {
  static const std::vector<reader_entry> table = {
      {"stl", ".stl", read_stl, check_stl, {-2, -3}},
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
  if (std::string broken = check_blocks(o); !broken.empty()) return broken;
  return r.check(o);
}

}  // namespace plexa_fuzz
