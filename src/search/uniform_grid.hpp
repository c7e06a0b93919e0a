// A uniform grid of bins over the target nodes of a merge: the fast path of
// the merging core when few nodes lie near one another.
//
// The bounding box of the finite targets is cut into about one bin per
// target (fewer along thin axes, never bins smaller than the tolerance), and
// the targets are sorted into their bins by a counting sort, each with its
// coordinates and its rank.  The sort is stable: inside a bin the targets
// keep their rank order.  A box query then scans the few bins the box
// overlaps, in the order of the bins and of the targets inside them, which
// is not the visiting order of the k-d tree: the merging core only trusts
// answers that do not depend on that order.
//
// The bin of a coordinate is monotone in the coordinate, so the bins of the
// corners of a box hold every target inside it.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include <zeb/dense.hpp>

#include "core/element_model.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// A target in its bin: coordinates, rank and node.
template <unsigned D>
struct grid_item {
  double x[D];
  unsigned rank;
  unsigned node;
};

// Whether every coordinate of p is finite.
template <unsigned D>
inline bool finite_point(const double* p) noexcept {
  for (unsigned k = 0; k < D; ++k)
    if (!(p[k] - p[k] == 0.0)) return false;
  return true;
}

template <unsigned D>
class uniform_grid {
 public:
  enum status { BUILT, UNSUITED, NO_MEMORY };

  // Sorts the finite targets nodes[0, n) (rank = position) into bins no
  // smaller than `cell` along any axis.  UNSUITED when the bounding box has
  // no finite extent (the grid is then not made), NO_MEMORY when its storage
  // cannot be had.
  status build(const dense2D<double>& pos, const unsigned* nodes, unsigned n, double cell) noexcept {
    const double* x = pos.data();
    const std::size_t ld = pos.ld();
    bool any = false;
    for (unsigned i = 0; i < n; ++i) {
      const double* p = x + nodes[i] * ld;
      if (!finite_point<D>(p)) continue;
      for (unsigned k = 0; k < D; ++k) {
        if (!any || p[k] < min_[k]) min_[k] = p[k];
        if (!any || p[k] > max_[k]) max_[k] = p[k];
      }
      any = true;
    }
    if (!any) return UNSUITED;
    if (!choose_bins(n, cell)) return UNSUITED;

    // Counting sort: the bin of every finite target, the bin sizes, their
    // starts, then the targets in place.
    dense1D<unsigned, 8> bin_of;
    if (!bin_of.resize(n) || !start_.resize(unsigned(bins_) + 1, 0u)) return NO_MEMORY;
    unsigned* start = start_.data();
    unsigned finite = 0;
    for (unsigned i = 0; i < n; ++i) {
      const double* p = x + nodes[i] * ld;
      if (!finite_point<D>(p)) {
        bin_of[i] = NO_INDEX;
        continue;
      }
      std::size_t b = 0;
      for (unsigned k = D; k-- > 0;) b = b * dims_[k] + bin(k, p[k]);
      bin_of[i] = unsigned(b);
      ++start[b + 1];
      ++finite;
    }
    for (std::size_t b = 0; b < bins_; ++b) start[b + 1] += start[b];
    if (!items_.resize(finite)) return NO_MEMORY;
    grid_item<D>* items = items_.data();
    for (unsigned i = 0; i < n; ++i) {
      const unsigned b = bin_of[i];
      if (b == NO_INDEX) continue;
      grid_item<D>& it = items[start[b]++];
      const double* p = x + nodes[i] * ld;
      for (unsigned k = 0; k < D; ++k) it.x[k] = p[k];
      it.rank = i;
      it.node = nodes[i];
    }
    // The fills moved every start to the next bin's: shift them back.
    for (std::size_t b = bins_; b > 0; --b) start[b] = start[b - 1];
    start[0] = 0;
    return BUILT;
  }

  const grid_item<D>* items() const noexcept { return items_.data(); }
  unsigned size() const noexcept { return items_.size(); }

  // The bin along axis k of coordinate v (clamped to the grid).
  unsigned bin(unsigned k, double v) const noexcept {
    const double t = (v - min_[k]) * scale_[k];
    return t <= 0.0 ? 0u : t >= dims_[k] ? dims_[k] - 1 : unsigned(t);
  }

  // Calls f(first, last) for the items of every bin that the closed box
  // [lo, hi] overlaps, in bin order.
  template <class F>
  void for_each_bin(const double* lo, const double* hi, F&& f) const noexcept {
    unsigned from[D], to[D];
    for (unsigned k = 0; k < D; ++k) {
      from[k] = bin(k, lo[k]);
      to[k] = bin(k, hi[k]);
    }
    const grid_item<D>* items = items_.data();
    const unsigned* start = start_.data();
    if (D == 2) {
      for (unsigned b = from[1]; b <= to[1]; ++b) {
        const std::size_t row = std::size_t(b) * dims_[0];
        f(items + start[row + from[0]], items + start[row + to[0] + 1]);
      }
    } else {
      for (unsigned c = from[D - 1]; c <= to[D - 1]; ++c)
        for (unsigned b = from[1]; b <= to[1]; ++b) {
          const std::size_t row = (std::size_t(c) * dims_[1] + b) * dims_[0];
          f(items + start[row + from[0]], items + start[row + to[0] + 1]);
        }
    }
  }

 private:
  // Bin counts per axis: about one bin per target over the axes of
  // non-zero extent, each bin at least `cell` wide.  False when an extent
  // or a scale is not finite.
  bool choose_bins(unsigned n, double cell) noexcept {
    double extent[D];
    for (unsigned k = 0; k < D; ++k) {
      extent[k] = max_[k] - min_[k];
      if (!std::isfinite(extent[k])) return false;
    }
    const double wanted = double(n) + 1.0;
    double side = 0.0;
    bool active[D];
    for (unsigned k = 0; k < D; ++k) active[k] = extent[k] > 0.0;
    // The side of a cubic bin that cuts the active axes into `wanted` bins;
    // an axis shorter than that side gets one bin and the side is made again.
    for (bool again = true; again;) {
      again = false;
      double volume = 1.0;
      unsigned axes = 0;
      for (unsigned k = 0; k < D; ++k)
        if (active[k]) {
          volume *= extent[k];
          ++axes;
        }
      if (axes == 0) break;
      side = volume > 0.0 && std::isfinite(volume) ? std::pow(volume / wanted, 1.0 / axes) : 0.0;
      if (!(side > 0.0)) side = extent[0] / wanted;  // extents under- or overflowing their product
      for (unsigned k = 0; k < D; ++k)
        if (active[k] && extent[k] < side) active[k] = false, again = true;
    }
    if (side < cell) side = cell;
    bins_ = 1;
    for (unsigned k = 0; k < D; ++k) {
      double count = active[k] && side > 0.0 ? std::floor(extent[k] / side) : 1.0;
      if (!(count >= 1.0)) count = 1.0;
      if (count > wanted) count = wanted;
      dims_[k] = unsigned(count);
      scale_[k] = dims_[k] > 1 ? dims_[k] / extent[k] : 0.0;
      if (!std::isfinite(scale_[k])) return false;
      bins_ *= dims_[k];
    }
    // Rounding can only lower the counts, but the fallback side can make too
    // many bins: halve the largest count until they are about `wanted`.
    while (bins_ > 2 * wanted) {
      unsigned k = 0;
      for (unsigned a = 1; a < D; ++a)
        if (dims_[a] > dims_[k]) k = a;
      bins_ /= dims_[k];
      dims_[k] = (dims_[k] + 1) / 2;
      scale_[k] = dims_[k] > 1 ? dims_[k] / extent[k] : 0.0;
      bins_ *= dims_[k];
    }
    return bins_ < UINT32_MAX;
  }

  double min_[D] = {}, max_[D] = {}, scale_[D] = {};
  unsigned dims_[D] = {};
  std::size_t bins_ = 0;
  dense1D<unsigned, 8> start_;  // bins_ + 1 entries: the items of bin b are [start[b], start[b+1])
  dense1D<grid_item<D>, 8> items_;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
