// The smallest and largest determinant of the Jacobian of every element,
// with the Bezier certificate of the quadratic triangles and tetrahedra.
#include <zeb/plexa/quality.hpp>

#include <limits>

#include "core/aliasing.hpp"
#include "core/result_codes.hpp"
#include "quality/element_corners.hpp"
#include "quality/element_walk.hpp"
#include "quality/reference_maps.hpp"

namespace zeb {
namespace plexa {

namespace {

// Smallest and largest of n values; both NaN when one is.
struct range {
  double lo = std::numeric_limits<double>::infinity(), hi = -std::numeric_limits<double>::infinity();
  bool nan = false;

  void add(double v) noexcept {
    lo = v < lo ? v : lo;
    hi = v > hi ? v : hi;
    nan = nan || v != v;
  }
  void write(double* out) const noexcept {
    out[0] = nan ? std::numeric_limits<double>::quiet_NaN() : lo;
    out[1] = nan ? std::numeric_limits<double>::quiet_NaN() : hi;
  }
};

// Linear kinds: the determinants at the corners.
template <element_type K, unsigned D>
void linear_range(const double* pos, std::size_t ld, const unsigned* col, range& r) {
  double y[detail::base_node_count(K)][D], d[8];
  detail::gather(pos, ld, col, y);
  detail::corner_determinants<K>(y, d);
  for (unsigned k = 0; k < detail::corners_of(K).count; ++k) r.add(d[k]);
}

// The smallest Bezier coefficient of the determinant of a quadratic
// triangle (degree 2) or tetrahedron (degree 3), whose Jacobian columns
// are linear: with J_d(v) column d at vertex v, the determinant is
// sum over vertex tuples of lambda_v1 lambda_v2 (lambda_v3) det(J_1(v1),
// J_2(v2) (, J_3(v3))), and the coefficient of a multiset of vertices is
// the mean of these determinants over its orderings.
template <unsigned D>
double bezier_minimum(const double (&J)[3][2][D], const detail::face_frame<D>& f) {
  double lo = std::numeric_limits<double>::infinity();
  for (unsigned a = 0; a < 3; ++a)
    for (unsigned b = a; b < 3; ++b) {
      const double c = 0.5 * (f.det(J[a][0], J[b][1]) + f.det(J[b][0], J[a][1]));
      lo = c < lo ? c : lo;
    }
  return lo;
}

double bezier_minimum(const double (&J)[4][3][3]) {
  double det[4][4][4];
  for (unsigned a = 0; a < 4; ++a)
    for (unsigned b = 0; b < 4; ++b)
      for (unsigned c = 0; c < 4; ++c) det[a][b][c] = detail::det3(J[a][0], J[b][1], J[c][2]);
  double lo = std::numeric_limits<double>::infinity();
  for (unsigned a = 0; a < 4; ++a)
    for (unsigned b = a; b < 4; ++b)
      for (unsigned c = b; c < 4; ++c) {
        // The six permutations count every distinct ordering equally often.
        const double sum = det[a][b][c] + det[a][c][b] + det[b][a][c] + det[b][c][a] + det[c][a][b] + det[c][b][a];
        lo = sum / 6 < lo ? sum / 6 : lo;
      }
  return lo;
}

// Quadratic types: the determinants at the sample points of the type's
// table; the certificate in place of the smallest for ELT_TRIA6 and
// ELT_TETRA10, whose first sample points are their vertices.
template <element_type T, unsigned D>
void quadratic_range(const double* pos, std::size_t ld, const unsigned* col, range& r) {
  constexpr auto& table = detail::jacobian_table_of<T>;
  constexpr unsigned N = detail::node_count(T), dim = detail::dimension(T);
  constexpr unsigned V = detail::base_node_count(T);
  constexpr bool certified = T == ELT_TRIA6 || T == ELT_TETRA10;
  double y[N][D];
  detail::gather(pos, ld, col, y);
  detail::face_frame<D> f;
  if constexpr (dim == 2) f = detail::frame_of(y, detail::linear_type(T) == ELT_QUAD4);
  double vertex_columns[certified ? V : 1][dim][D];
  for (unsigned p = 0; p < table.points; ++p) {
    double J[dim][D] = {};
    for (unsigned d = 0; d < dim; ++d)
      for (unsigned i = 1; i < N; ++i) {  // y[0] = 0
        const double c = table.coef[p][d][i];
        for (unsigned k = 0; k < D; ++k) J[d][k] += c * y[i][k];
      }
    if constexpr (dim == 2)
      r.add(f.det(J[0], J[1]));
    else
      r.add(detail::det3(J[0], J[1], J[2]));
    if constexpr (certified)
      if (p < V)
        for (unsigned d = 0; d < dim; ++d)
          for (unsigned k = 0; k < D; ++k) vertex_columns[p][d][k] = J[d][k];
  }
  if constexpr (T == ELT_TRIA6) r.lo = bezier_minimum(vertex_columns, f);
  if constexpr (T == ELT_TETRA10) r.lo = bezier_minimum(vertex_columns);
}

template <unsigned D>
void fill(const dense2D<double>& pos, const dense2D<unsigned>& connect, element_type narrowed, dense2D<double>& dets) {
  const double* p = pos.data();
  const std::size_t ld = pos.ld();
  double* out = dets.data();
  detail::for_each_element(connect, narrowed, [&](auto kind, const unsigned* col, unsigned j) {
    constexpr element_type K = decltype(kind)::value;
    if constexpr (D >= detail::dimension(K)) {
      range r;
      if constexpr (detail::linear_type(K) != K)  // quadratic
        quadratic_range<K, D>(p, ld, col, r);
      else
        linear_range<K, D>(p, ld, col, r);
      r.write(out + 2 * std::size_t(j));
    }
  });
}

}  // namespace

int jacobians(const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
              dense2D<double>& dets) {
  // Shallow copies first: dets may be pos itself.
  const dense2D<double> x = pos;
  const dense2D<unsigned> c = connect;
  detail::empty_output(dets, x);
  element_type narrowed;
  const int check = detail::check_mesh(x, c, type, narrowed);
  if (check != 0) return check < 0 ? check : detail::SUCCESS;
  if (!dets.resize(2, c.cols())) return detail::fail(detail::OUT_OF_MEMORY, dets);
  if (x.rows() == 2)
    fill<2>(x, c, narrowed, dets);
  else
    fill<3>(x, c, narrowed, dets);
  return detail::SUCCESS;
}

}  // namespace plexa
}  // namespace zeb
