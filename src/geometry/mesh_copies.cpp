// Copies of a mesh part inside the caller's coordinates: plain duplication,
// repeated rotated and translated copies, and mirrored copies.
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>

#include <zeb/plexa/geometry.hpp>
#include <zeb/plexa/indices.hpp>

#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"
#include "geometry/transform_ops.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::NO_INDEX;

// A base connectivity prepared for duplication: its distinct nodes in order
// of first appearance, and the base renumbered onto their positions in that
// list (markers kept).  The copy numbered from m is then `local` + m.
struct base_part {
  dense1D<unsigned int, 8> nodes;
  dense2D<unsigned int> local;
};

// 0, `bad_base` (the code of connect0's argument position) when connect0
// names a node not below m, or -199.
int prepare(const dense2D<unsigned int>& connect0, unsigned m, int bad_base, base_part& b) {
  if (unique_indices(b.nodes, connect0, dense1D<unsigned int, 8>()) < 0) return detail::OUT_OF_MEMORY;
  unsigned top = 0;
  for (unsigned v : b.nodes) {
    if (v >= m) return bad_base;
    if (v > top) top = v;
  }
  if (!b.local.copy(connect0)) return detail::OUT_OF_MEMORY;
  if (b.nodes.empty()) return 0;
  dense1D<unsigned int, 8> map;
  if (!map.resize(top + 1, NO_INDEX)) return detail::OUT_OF_MEMORY;
  for (unsigned k = 0, n = b.nodes.size(); k < n; ++k) map[b.nodes[k]] = k;
  change_indices(b.local, map);
  return 0;
}

// Appends to pos a copy of every node of the base (pos widened to `rows` rows
// when it has fewer) and sets W to the base renumbered onto the copies.
// -199 with pos unchanged.
int duplicate(dense2D<double>& pos, unsigned rows, const base_part& b, dense2D<unsigned int>& W) {
  const unsigned m = pos.cols();
  const unsigned nu = b.nodes.size();
  if (std::uint64_t(m) + nu >= NO_INDEX) return detail::OUT_OF_MEMORY;  // the copies must stay nameable
  dense2D<unsigned int> w;
  if (!w.copy(b.local)) return detail::OUT_OF_MEMORY;
  const unsigned r = pos.rows() > rows ? pos.rows() : rows;
  if (!pos.resize(r, m + nu, 0.0)) return detail::OUT_OF_MEMORY;
  double* p = pos.data();
  const std::size_t ld = pos.ld();
  for (unsigned k = 0; k < nu; ++k) {
    const double* src = p + std::size_t(b.nodes[k]) * ld;
    double* dst = p + (std::size_t(m) + k) * ld;
    for (unsigned i = 0; i < r; ++i) dst[i] = src[i];
  }
  detail::for_each_entry(w, [m](unsigned& v) {
    if (v != NO_INDEX) v += m;
  });
  W = static_cast<dense2D<unsigned int>&&>(w);
  return 0;
}

// Drops the columns from m on (a shrink, which needs no memory).
void truncate(dense2D<double>& pos, unsigned m) {
  if (pos.cols() > m) pos.resize(pos.rows(), m);
}

// Appends the columns of W to connect (empty, or of W's height).
bool append_columns(dense2D<unsigned int>& connect, const dense2D<unsigned int>& W) {
  if (W.cols() == 0) return true;
  if (connect.empty()) {
    connect = W;
    return true;
  }
  const unsigned old = connect.cols();
  const unsigned rows = W.rows();
  if (std::uint64_t(old) + W.cols() > UINT_MAX || !connect.resize(rows, old + W.cols())) return false;
  unsigned* dst = connect.data() + std::size_t(old) * connect.ld();
  const std::size_t ld = connect.ld();
  detail::for_each_column(W, [&](const unsigned* col, unsigned j) {
    for (unsigned i = 0; i < rows; ++i) dst[std::size_t(j) * ld + i] = col[i];
  });
  return true;
}

// n copies; make_rotation(k) gives the rotation of copy k.
template <unsigned D, class MakeRotation>
int repeated_copies(dense2D<double>& pos, dense2D<unsigned int>& connect, const vector_fixed<double, D>& T,
                    unsigned n, const dense2D<unsigned int>& connect0, MakeRotation make_rotation) {
  if (pos.empty() || n == 0) return 0;
  if (!connect.empty() && connect.rows() != connect0.rows()) return -2;
  base_part b;
  const int r = prepare(connect0, pos.cols(), detail::bad_argument(7), b);
  if (r < 0) return r;
  for (unsigned k = 1; k <= n; ++k) {
    const unsigned m = pos.cols();
    dense2D<unsigned int> W;
    if (duplicate(pos, 0, b, W) < 0) return detail::OUT_OF_MEMORY;
    const unsigned last = pos.cols();
    // Rotation first, then translation.
    if (detail::transform_columns(pos, m, last, make_rotation(k)) < 0 ||
        detail::transform_columns(pos, m, last, detail::shift_op<D>(T, double(k))) < 0 ||
        !append_columns(connect, W)) {
      truncate(pos, m);
      return detail::OUT_OF_MEMORY;
    }
  }
  return 0;
}

template <unsigned D>
int mirrored_copy(dense2D<double>& pos, dense2D<unsigned int>& connect, const vector_fixed<double, D>& P,
                  const vector_fixed<double, D>& N, const dense2D<unsigned int>& connect0) {
  if (pos.empty()) return 0;
  double q = 0.0;
  for (unsigned k = 0; k < D; ++k) q += N[k] * N[k];
  if (q == 0.0) return -4;
  // N.N overflows for a normal beyond about 1e154 and loses its precision
  // below about 1e-154: such a normal is scaled by a power of two (exactly)
  // to a length near 1 first.  Ordinary normals are used as given.
  vector_fixed<double, D> n = N;
  if (!(q >= DBL_MIN && q <= DBL_MAX)) {
    double largest = 0.0;
    for (unsigned k = 0; k < D; ++k) largest = std::fmax(largest, std::fabs(N[k]));
    if (std::isfinite(largest)) {
      int e;
      std::frexp(largest, &e);
      q = 0.0;
      for (unsigned k = 0; k < D; ++k) {
        n[k] = std::ldexp(N[k], -e);
        q += n[k] * n[k];
      }
    }
  }
  base_part b;
  const int r = prepare(connect0, pos.cols(), detail::bad_argument(5), b);
  if (r < 0) return r;
  const unsigned m = pos.cols();
  dense2D<unsigned int> W;
  if (duplicate(pos, D, b, W) < 0) return detail::OUT_OF_MEMORY;
  double* p = pos.data();
  const std::size_t ld = pos.ld();
  for (std::size_t j = m, end = pos.cols(); j < end; ++j) {
    double* x = p + j * ld;
    double s = 0.0;
    for (unsigned k = 0; k < D; ++k) s += (x[k] - P[k]) * n[k];
    const double t = -2.0 * s / q;
    for (unsigned k = 0; k < D; ++k) x[k] += t * n[k];
  }
  connect = W;
  return 0;
}

}  // namespace

int copy_mesh(dense2D<double>& pos, dense2D<unsigned int>& connect, const dense2D<unsigned int>& connect0) {
  base_part b;
  const int r = prepare(connect0, pos.cols(), detail::bad_argument(3), b);
  if (r < 0) return r;
  dense2D<unsigned int> W;
  if (duplicate(pos, 0, b, W) < 0) return detail::OUT_OF_MEMORY;
  connect = W;
  return 0;
}

int copy_mesh(dense2D<double>& pos, dense2D<unsigned int>& connect, const vector_fixed<double, 2>& T,
              const vector_fixed<double, 2>& C, double angle, unsigned int n, const dense2D<unsigned int>& connect0) {
  return repeated_copies<2>(pos, connect, T, n, connect0,
                            [&](unsigned k) { return detail::rotate2_op(C, double(k) * angle); });
}

int copy_mesh(dense2D<double>& pos, dense2D<unsigned int>& connect, const vector_fixed<double, 3>& T,
              const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& R, unsigned int n,
              const dense2D<unsigned int>& connect0) {
  return repeated_copies<3>(pos, connect, T, n, connect0,
                            [&](unsigned k) { return detail::rotate3_op(C, R, double(k)); });
}

int copy_sym_mesh(dense2D<double>& pos, dense2D<unsigned int>& connect, const vector_fixed<double, 2>& P,
                  const vector_fixed<double, 2>& N, const dense2D<unsigned int>& connect0) {
  return mirrored_copy<2>(pos, connect, P, N, connect0);
}

int copy_sym_mesh(dense2D<double>& pos, dense2D<unsigned int>& connect, const vector_fixed<double, 3>& P,
                  const vector_fixed<double, 3>& N, const dense2D<unsigned int>& connect0) {
  return mirrored_copy<3>(pos, connect, P, N, connect0);
}

}  // namespace plexa
}  // namespace zeb
