#include "mesh_summary.hpp"

#include <algorithm>
#include <climits>
#include <new>
#include <string>
#include <vector>
#include <limits>

#include <zeb/plexa/geometry.hpp>
#include <zeb/plexa/indices.hpp>

#include "format.hpp"

namespace plexa_cli {

using zeb::plexa::element_type;
using namespace zeb::plexa;

const char* element_name(element_type type) {
  static const char* const names[ELEMENT_TYPE_COUNT] = {
      "NONE",   "NODE",   "EDGE_MIX", "EDGE2",  "EDGE3",  "FACE_MIX", "TRIA3",   "QUAD4",
      "TRIA6",  "QUAD8",  "QUAD9",    "SOLID_MIX", "TETRA4", "TETRA10", "PYRA5", "PYRA13",
      "PYRA14", "WEDGE6", "WEDGE15",  "WEDGE18", "HEXA8",  "HEXA20",   "HEXA27"};
  return unsigned(type) < ELEMENT_TYPE_COUNT ? names[type] : "UNKNOWN";
}

element_type element_kind(const zeb::dense2D<unsigned>& connect, element_type type, unsigned column) {
  const unsigned rows = connect.rows();
  if (type == ELT_FACE_MIX) {
    if (rows == 3 || connect(3, column) == UINT_MAX) return ELT_TRIA3;
    return ELT_QUAD4;
  }
  if (type == ELT_SOLID_MIX) {
    // A short mixed connectivity holds a single kind; a full one ends each
    // column at its first marker in rows 4 to 6.
    const element_type by_end[4] = {ELT_TETRA4, ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8};
    for (unsigned r = 4; r < 7; ++r)
      if (r >= rows || connect(r, column) == UINT_MAX) return by_end[r - 4];
    return ELT_HEXA8;
  }
  // Mixed edges are all two-node edges.
  return type == ELT_EDGE_MIX ? ELT_EDGE2 : type;
}

namespace {

// Bounding box of all nodes, through the library, for 2-D and 3-D
// coordinates.  Returns the number of axes filled (0 when the dimension is
// not 2 or 3 or there is no node), or -1 on failure.
template <unsigned N>
int bounding_box(const zeb::dense2D<double>& coords, double lo[3], double hi[3]) {
  const double inf = std::numeric_limits<double>::infinity();
  zeb::vector_fixed<double, N> min, max;
  for (unsigned i = 0; i < N; ++i) min[i] = inf, max[i] = -inf;
  if (inc_bounding_box(coords, min, max) != 0) return -1;
  for (unsigned i = 0; i < N; ++i) lo[i] = min[i], hi[i] = max[i];
  return int(N);
}

// Elements by kind over one block, added to per_kind; false when the block
// does not fit its type.
bool count_kinds(const zeb::dense2D<double>& coords, const zeb::dense2D<unsigned>& connect, element_type type,
                 unsigned per_kind[ELEMENT_TYPE_COUNT], unsigned& elements) {
  if (!check_IDs(connect, type, coords.cols())) return false;
  const unsigned n = connect.empty() ? 0 : connect.cols();
  for (unsigned j = 0; j < n; ++j) ++per_kind[element_kind(connect, type, j)];
  elements += n;
  return true;
}

// Node and element counts, elements by kind and the bounding box.
bool write_counts(std::FILE* out, const zeb::dense2D<double>& coords, const unsigned per_kind[ELEMENT_TYPE_COUNT],
                  unsigned elements) {
  const unsigned nodes = coords.cols();
  double lo[3], hi[3];
  int axes = 0;
  if (nodes != 0 && coords.rows() == 2) axes = bounding_box<2>(coords, lo, hi);
  if (nodes != 0 && coords.rows() == 3) axes = bounding_box<3>(coords, lo, hi);
  if (axes < 0) return false;

  std::fprintf(out, "nodes: %u\nelements: %u\n", nodes, elements);
  for (unsigned t = 0; t < ELEMENT_TYPE_COUNT; ++t)
    if (per_kind[t] != 0) std::fprintf(out, "  %s: %u\n", element_name(element_type(t)), per_kind[t]);
  if (axes == 0) return true;
  std::fputs("bounding box:", out);
  for (int i = 0; i < axes; ++i)
    std::fprintf(out, "%s[%s, %s]", i == 0 ? " " : " x ", format_number(lo[i]).text, format_number(hi[i]).text);
  std::fputc('\n', out);
  return true;
}

// The distinct ids, ascending, as runs: "0-3, 7, 9-10", the first eight runs.
std::string id_runs(const zeb::dense1D<unsigned, 8>& ids) {
  std::vector<unsigned> sorted(ids.begin(), ids.end());
  std::sort(sorted.begin(), sorted.end());
  sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
  std::string text;
  unsigned runs = 0;
  for (std::size_t k = 0; k < sorted.size(); ++runs) {
    std::size_t end = k;
    while (end + 1 < sorted.size() && sorted[end + 1] == sorted[end] + 1) ++end;
    if (runs == 8) return text + ", ...";
    if (!text.empty()) text += ", ";
    text += std::to_string(sorted[k]);
    if (end > k) text += "-" + std::to_string(sorted[end]);
    k = end + 1;
  }
  return text;
}

}  // namespace

bool write_mesh_summary(std::FILE* out, const zeb::dense2D<double>& coords, const zeb::dense2D<unsigned>& connect,
                        element_type type) {
  unsigned per_kind[ELEMENT_TYPE_COUNT] = {}, elements = 0;
  return count_kinds(coords, connect, type, per_kind, elements) && write_counts(out, coords, per_kind, elements);
}

bool write_mesh_summary(std::FILE* out, const mesh& m) {
  unsigned per_kind[ELEMENT_TYPE_COUNT] = {}, elements = 0;
  for (unsigned k = 0; k < m.block_count(); ++k)
    if (!count_kinds(m.coords, m.blocks[k], element_type(m.types[k]), per_kind, elements)) return false;
  try {
    std::vector<std::string> ids;
    for (unsigned k = 0; k < m.block_count(); ++k) ids.push_back(id_runs(m.ids[k]));
    if (!write_counts(out, m.coords, per_kind, elements)) return false;
    std::fprintf(out, "blocks: %u\n", m.block_count());
    for (unsigned k = 0; k < m.block_count(); ++k) {
      const unsigned n = m.blocks[k].empty() ? 0 : m.blocks[k].cols();
      std::fprintf(out, "  %u: %s, %u element%s", k, element_name(element_type(m.types[k])), n, n == 1 ? "" : "s");
      if (!ids[k].empty()) std::fprintf(out, ", ids %s", ids[k].c_str());
      std::fputc('\n', out);
    }
  } catch (const std::bad_alloc&) {
    return false;
  }
  if (m.id_names.empty()) return true;
  std::fputs("names:\n", out);
  for (std::size_t k = 0; k < m.id_names.size(); ++k)
    std::fprintf(out, "  %zu: %s\n", k, m.id_names[k].empty() ? "(none)" : m.id_names[k].c_str());
  return true;
}

}  // namespace plexa_cli
