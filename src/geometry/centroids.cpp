// Element centroids: the mean of the nodes of every element.
#include <zeb/plexa/geometry.hpp>
#include <zeb/plexa/indices.hpp>

#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {

namespace {

// How many nodes a column holds: fixed for single types, read from the
// column for the mixed ones (the column has passed the typed index check).
template <unsigned N>
struct fixed_nodes {
  unsigned operator()(const unsigned*) const noexcept { return N; }
};
struct face_mix_nodes {
  unsigned operator()(const unsigned* col) const noexcept { return detail::face_column_nodes(col); }
};
struct solid_mix_nodes {
  unsigned operator()(const unsigned* col) const noexcept { return detail::solid_column_nodes(col); }
};

// g = mean of the D leading components of the n nodes of col.  Triangle sums
// are multiplied by 1/3 (0.3333333333333333) rather than divided by 3.
template <unsigned D>
inline void mean_of(const double* p, std::size_t ld, const unsigned* col, unsigned n, double* g) noexcept {
  double s[D] = {};
  for (unsigned i = 0; i < n; ++i) {
    const double* x = p + std::size_t(col[i]) * ld;
    for (unsigned k = 0; k < D; ++k) s[k] += x[k];
  }
  if (n == 3) {
    for (unsigned k = 0; k < D; ++k) g[k] = s[k] * (1.0 / 3.0);
  } else {
    for (unsigned k = 0; k < D; ++k) g[k] = s[k] / double(n);
  }
}

template <unsigned D, class Count>
void centroids_of(const dense2D<double>& pos, const dense2D<unsigned int>& connect, dense2D<double>& G,
                  Count count) {
  const double* p = pos.data();
  const std::size_t ld = pos.ld();
  double* g = G.data();
  const std::size_t gld = G.ld();
  detail::for_each_column(connect, [&](const unsigned* col, unsigned j) {
    mean_of<D>(p, ld, col, count(col), g + std::size_t(j) * gld);
  });
}

// One routine per element kind, instantiated for 1, 2 and 3 rows.
template <class Count>
void centroids_by_rows(const dense2D<double>& pos, const dense2D<unsigned int>& connect, dense2D<double>& G,
                       Count count) {
  switch (pos.rows()) {
    case 1: centroids_of<1>(pos, connect, G, count); break;
    case 2: centroids_of<2>(pos, connect, G, count); break;
    default: centroids_of<3>(pos, connect, G, count); break;
  }
}

}  // namespace

int centroids(const dense2D<double>& pos_arg, const dense2D<unsigned int>& connect, dense2D<double>& G,
              element_type type) {
  const dense2D<double> pos = pos_arg;  // as on entry: G may be pos_arg itself
  G = dense2D<double>();
  if (!detail::is_element_type(type)) return -4;
  const unsigned rows = pos.rows();
  if (rows < 1 || rows > 3 || rows < detail::dimension(type)) return -1;
  if (!check_IDs(connect, type, pos.cols())) return -2;
  if (!G.resize(rows, connect.cols(), 0.0)) return detail::OUT_OF_MEMORY;

  switch (detail::narrow_type(type, connect.rows())) {
    case ELT_EDGE2: centroids_by_rows(pos, connect, G, fixed_nodes<2>()); break;
    case ELT_TRIA3: centroids_by_rows(pos, connect, G, fixed_nodes<3>()); break;
    case ELT_QUAD4:
    case ELT_TETRA4: centroids_by_rows(pos, connect, G, fixed_nodes<4>()); break;
    case ELT_PYRA5: centroids_by_rows(pos, connect, G, fixed_nodes<5>()); break;
    case ELT_WEDGE6: centroids_by_rows(pos, connect, G, fixed_nodes<6>()); break;
    case ELT_HEXA8: centroids_by_rows(pos, connect, G, fixed_nodes<8>()); break;
    case ELT_FACE_MIX: centroids_by_rows(pos, connect, G, face_mix_nodes()); break;
    case ELT_SOLID_MIX: centroids_by_rows(pos, connect, G, solid_mix_nodes()); break;
    default: return -4;  // ELT_EDGE_MIX and the quadratic types; G stays zero-filled
  }
  return 0;
}

}  // namespace plexa
}  // namespace zeb
