// A size field over the nodes of a mesh, as the operations that compare the
// two ends of an edge see it: isotropic sizes (one per node) or packed
// metrics (one column per node), with the node coordinates.  Each view
// measures an edge with a measure of metrics/edge_measures.hpp, gives the
// sizes of the two ends along it, interpolates between the two ends (for
// the correction of one of them) and tells whether a new value is a change
// at all.  Gradation control, H_shock and their tests share them.
//
// T is double for a field the caller lets change, const double for one
// only read (store() is then unusable).
#pragma once

#include <cfloat>
#include <cmath>
#include <cstddef>

#include <zeb/dense.hpp>
#include <zeb/plexa/metrics.hpp>

#include "metrics/edge_length.hpp"
#include "metrics/edge_measures.hpp"
#include "metrics/simultaneous_reduction.hpp"
#include "metrics/tensor.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// Direction modes of a node: undecided, grow only, shrink only.  Any other
// byte blocks every correction.
constexpr unsigned char UNDECIDED = 0, GROW = 1, SHRINK = 255;

// The ends of an interpolated size or eigenvalue: a size at or below
// sqrt(smallest normal double) is no size at all (eigenvalue the largest
// double), one at or above sqrt(largest double) no constraint (eigenvalue 0).
inline const double TINY_SIZE = std::sqrt(DBL_MIN), HUGE_SIZE = std::sqrt(DBL_MAX);

// Within 1e-12 of an end, the interpolation gives that end exactly.
constexpr double END_TOLERANCE = 1e-12;

template <unsigned D>
inline double euclidean_distance(const double* p, const double* q) noexcept {
  double s = 0;
  for (unsigned k = 0; k < D; ++k) s += (q[k] - p[k]) * (q[k] - p[k]);
  return std::sqrt(s);
}

// Node coordinates: column v of a matrix of D rows (or more; the first D
// are read).
template <unsigned D>
class node_points {
 public:
  node_points(const double* p, std::size_t ld) noexcept : p_(p), ld_(ld) {}
  const double* point(unsigned v) const noexcept { return p_ + std::size_t(v) * ld_; }
  void prefetch_point(unsigned v) const noexcept { __builtin_prefetch(point(v)); }

 private:
  const double* p_;
  std::size_t ld_;
};

// One size per node.
template <unsigned D, class T = double>
class size_field : public node_points<D> {
 public:
  using value = double;
  using ref = double;  // how a value is handed to measure()

  size_field(const double* p, std::size_t ld, T* h) noexcept : node_points<D>(p, ld), h_(h) {}

  ref at(unsigned v) const noexcept { return h_[v]; }
  // Asks for the memory of node v's size and coordinates ahead of use.
  void prefetch(unsigned v) const noexcept {
    __builtin_prefetch(h_ + v);
    this->prefetch_point(v);
  }
  static ref ref_of(const value& x) noexcept { return x; }
  void store(unsigned v, const value& x) noexcept { h_[v] = x; }

  // The measure of an edge between sizes hi at pi and hj at pj.
  template <class Measure>
  static double measure(ref hi, const double* pi, ref hj, const double* pj) noexcept {
    return edge_measure<Measure>(hi, hj, euclidean_distance<D>(pi, pj), [&] { return hi == hj; });
  }

  // The sizes of i and j along their edge, and its length d.
  void sizes_along(unsigned i, unsigned j, double& hi, double& hj, double& d) const noexcept {
    hi = h_[i];
    hj = h_[j];
    d = euclidean_distance<D>(this->point(i), this->point(j));
  }

  // Sizes between those of i (s = 0) and j (s = 1), linearly, then filtered
  // by the direction mode.  Usable only when both sizes are > 0.
  class interpolation {
   public:
    interpolation(const size_field& f, unsigned i, unsigned j) noexcept : hi_(f.h_[i]), hj_(f.h_[j]) {}
    const value& start() const noexcept { return hi_; }

    // The size at s: exactly hi or hj within 1e-12 of an end, else hi + s
    // (hj - hi), which must lie in (0, largest double).  Mode GROW keeps hi
    // in place of a smaller size, mode SHRINK in place of a size not below
    // it.  False when no size can be given.
    bool at(double s, unsigned char mode, value& out) const noexcept {
      if (!(hi_ > 0) || !(hj_ > 0)) return false;
      double h;
      if (s < END_TOLERANCE) {
        h = hi_;
      } else if (s > 1 - END_TOLERANCE) {
        h = hj_;
      } else {
        h = hi_ + s * (hj_ - hi_);
        if (!(h > 0 && h < LARGEST)) return false;
      }
      if ((mode == GROW && h < hi_) || (mode == SHRINK && h >= hi_)) h = hi_;
      out = h;
      return true;
    }

   private:
    double hi_, hj_;
  };

  // A change when the sizes differ by a factor above 1 + 1e-12.
  static bool changed(const value& old, const value& now) noexcept {
    const double big = old < now ? now : old, small = old < now ? old : now;
    return big / small > 1 + 1e-12;
  }

 private:
  T* h_;
};

// One packed metric per node: column v of a matrix of D(D+1)/2 rows.
template <unsigned D, class T = double>
class metric_field : public node_points<D> {
 public:
  using value = symmetric_fixed<double, D>;
  using ref = const double*;
  static constexpr unsigned P = packed_size<D>;

  metric_field(const double* p, std::size_t ld, T* m, std::size_t m_ld) noexcept
      : node_points<D>(p, ld), m_(m), m_ld_(m_ld) {}

  ref at(unsigned v) const noexcept { return m_ + std::size_t(v) * m_ld_; }
  void prefetch(unsigned v) const noexcept {
    __builtin_prefetch(at(v));
    this->prefetch_point(v);
  }
  static ref ref_of(const value& x) noexcept { return x.m; }
  void store(unsigned v, const value& x) noexcept {
    double* c = m_ + std::size_t(v) * m_ld_;
    for (unsigned k = 0; k < P; ++k) c[k] = x.m[k];
  }

  // The measure of an edge between the metrics mi at pi and mj at pj, from
  // its lengths in both (its length in the field is 0 when a form is not
  // positive).
  template <class Measure>
  static double measure(ref mi, const double* pi, ref mj, const double* pj) noexcept {
    double e[D], li, lj;
    for (unsigned k = 0; k < D; ++k) e[k] = pj[k] - pi[k];
    if (!metric_lengths<D>(mi, mj, e, li, lj)) return equal(mi, mj) ? 0.0 : LARGEST;  // L = 0
    return edge_measure<Measure>(li, lj, li * lj, [&] { return equal(mi, mj); });
  }

  // The sizes of the metrics of i and j along the unit vector u of their
  // edge, 1/sqrt(u^T M u) (a form that is not positive gives what the
  // formula gives: infinity or NaN), and the edge's length.  A vector of
  // squared length exactly 0 or 1 is used as it is.
  void sizes_along(unsigned i, unsigned j, double& hi, double& hj, double& d) const noexcept {
    const double *pi = this->point(i), *pj = this->point(j);
    double u[D], d2 = 0;
    for (unsigned k = 0; k < D; ++k) u[k] = pj[k] - pi[k], d2 += u[k] * u[k];
    d = std::sqrt(d2);
    if (d2 != 0 && d2 != 1)
      for (unsigned k = 0; k < D; ++k) u[k] /= d;
    hi = 1 / std::sqrt(quadratic_form<D>(at(i), u));
    hj = 1 / std::sqrt(quadratic_form<D>(at(j), u));
  }

  // Metrics between those of i (s = 0) and j (s = 1): in the basis that
  // reduces both (p_k^T Mi p_k = a_k, p_k^T Mj p_k = b_k) the sizes
  // 1/sqrt(a_k) and 1/sqrt(b_k) are interpolated linearly, direction by
  // direction.  The reduction is made on the first interior point asked.
  class interpolation {
   public:
    interpolation(const metric_field& f, unsigned i, unsigned j) noexcept {
      const double *mi = f.at(i), *mj = f.at(j);
      for (unsigned k = 0; k < P; ++k) mi_.m[k] = mi[k], mj_.m[k] = mj[k];
    }
    const value& start() const noexcept { return mi_; }

    // The metric at s: exactly Mi or Mj within 1e-12 of an end, else
    // P^-T diag(1/h_k^2) P^-1 with h_k the interpolated sizes (eigenvalue
    // the largest double at or below TINY_SIZE, 0 at or above HUGE_SIZE).
    // Then mode GROW takes maximum_metric(Mi, M), mode SHRINK
    // minimum_metric(Mi, M).  False when the reduction fails, a reduced
    // value a_k or b_k is not in (0, largest double), or the mode filter
    // reports false.  Where the filter keeps its output as it was, the
    // result is Mi.
    bool at(double s, unsigned char mode, value& out) noexcept {
      value m;
      if (s < END_TOLERANCE) {
        m = mi_;
      } else if (s > 1 - END_TOLERANCE) {
        m = mj_;
      } else {
        if (!reduced_) reduce();
        if (!usable_) return false;
        double l[D];
        for (unsigned k = 0; k < D; ++k) {
          const double h = hi_[k] + s * (hj_[k] - hi_[k]);
          l[k] = h <= TINY_SIZE ? LARGEST : h >= HUGE_SIZE ? 0.0 : 1 / (h * h);
        }
        assemble<D>(r_.Q, l, m.m);
      }
      // Where the filter leaves its output as it was (an eigenvalue at the
      // largest double), the metric stays Mi: no change.
      out = mi_;
      if (mode == GROW) return maximum_metric(mi_, m, out);
      if (mode == SHRINK) return minimum_metric(mi_, m, out);
      out = m;
      return true;
    }

   private:
    void reduce() noexcept {
      reduced_ = true;
      if (!reduce_simultaneously<D>(mi_.m, mj_.m, r_)) return;
      for (unsigned k = 0; k < D; ++k) {
        if (!(r_.a[k] > 0 && r_.a[k] < LARGEST && r_.b[k] > 0 && r_.b[k] < LARGEST)) return;
        hi_[k] = 1 / std::sqrt(r_.a[k]);
        hj_[k] = 1 / std::sqrt(r_.b[k]);
      }
      usable_ = true;
    }

    value mi_, mj_;
    bool reduced_ = false, usable_ = false;
    reduction<D> r_;
    double hi_[D] = {}, hj_[D] = {};
  };

  // A change when some diagonal coefficient changes by a factor whose
  // square root is above 1 + 1e-12 (the sizes along the axes change by
  // that factor).
  static bool changed(const value& old, const value& now) noexcept {
    double r = 1;
    for (unsigned k = 0; k < D; ++k) {
      const double a = old.m[k * (k + 3) / 2], b = now.m[k * (k + 3) / 2];
      const double q = a < b ? b / a : a / b;
      if (q > r) r = q;
    }
    return std::sqrt(r) > 1 + 1e-12;
  }

 private:
  static bool equal(ref a, ref b) noexcept {
    for (unsigned k = 0; k < P; ++k)
      if (!(a[k] == b[k])) return false;
    return true;
  }

  T* m_;
  std::size_t m_ld_;
};

// Views over a caller's field and coordinates (D rows of pos read).
template <unsigned D>
size_field<D> view_of(const dense2D<double>& pos, dense1D<double, 8>& H) noexcept {
  return size_field<D>(pos.data(), pos.ld(), H.data());
}
template <unsigned D>
size_field<D, const double> view_of(const dense2D<double>& pos, const dense1D<double, 8>& H) noexcept {
  return size_field<D, const double>(pos.data(), pos.ld(), H.data());
}
template <unsigned D>
metric_field<D> view_of(const dense2D<double>& pos, dense2D<double>& M) noexcept {
  return metric_field<D>(pos.data(), pos.ld(), M.data(), M.ld());
}
template <unsigned D>
metric_field<D, const double> view_of(const dense2D<double>& pos, const dense2D<double>& M) noexcept {
  return metric_field<D, const double>(pos.data(), pos.ld(), M.data(), M.ld());
}

// Whether a field holds a value for every node up to `largest`, as a field
// of the space dimension `dim` (3 rows of metrics in 2-D, 6 in 3-D).
inline bool covers(const dense1D<double, 8>& H, unsigned, unsigned largest) noexcept { return H.size() > largest; }
inline bool covers(const dense2D<double>& M, unsigned dim, unsigned largest) noexcept {
  return M.rows() == (dim == 2 ? 3u : 6u) && M.cols() > largest;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
