#include "mesh_summary.hpp"

#include <climits>

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
  return type;
}

bool write_mesh_summary(std::FILE* out, const zeb::dense2D<double>& coords, const zeb::dense2D<unsigned>& connect,
                        element_type type) {
  const unsigned nodes = coords.cols();
  if (!check_IDs(connect, type, nodes)) return false;

  unsigned per_kind[ELEMENT_TYPE_COUNT] = {};
  const unsigned elements = connect.empty() ? 0 : connect.cols();
  for (unsigned j = 0; j < elements; ++j) ++per_kind[element_kind(connect, type, j)];

  std::fprintf(out, "nodes: %u\nelements: %u\n", nodes, elements);
  for (unsigned t = 0; t < ELEMENT_TYPE_COUNT; ++t)
    if (per_kind[t] != 0) std::fprintf(out, "  %s: %u\n", element_name(element_type(t)), per_kind[t]);

  const unsigned dim = coords.rows();
  if (nodes == 0 || dim == 0) return true;
  std::fputs("bounding box:", out);
  for (unsigned i = 0; i < dim; ++i) {
    double lo = coords(i, 0), hi = lo;
    for (unsigned j = 1; j < nodes; ++j) {
      const double v = coords(i, j);
      if (v < lo) lo = v;
      if (v > hi) hi = v;
    }
    std::fprintf(out, "%s[%s, %s]", i == 0 ? " " : " x ", format_number(lo).text, format_number(hi).text);
  }
  std::fputc('\n', out);
  return true;
}

}  // namespace plexa_cli
