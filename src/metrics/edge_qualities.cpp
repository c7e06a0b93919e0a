// Edge qualities: the length of every mesh edge in a size field, passed to a
// histogram.  The edge set is built once; the excluded edges, sorted as the
// set is, are skipped by walking both lists together.
#include <algorithm>
#include <cstdint>

#include <zeb/plexa/edges.hpp>
#include <zeb/plexa/indices.hpp>

#include "core/element_model.hpp"
#include "core/result_codes.hpp"
#include "metrics/edge_length.hpp"
#include "metrics/eigen.hpp"
#include "topology/edge_set.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::NO_INDEX;

// The excluded edges as sorted, distinct keys (smaller << 32 | larger), the
// order of the edge set.
bool excluded_keys(const dense2D<unsigned>& excluded, dense1D<std::uint64_t, 8>& keys) {
  const unsigned n = excluded.empty() ? 0 : excluded.cols();
  if (!keys.resize(n)) return false;
  for (unsigned k = 0; k < n; ++k) {
    const unsigned a = excluded(0, k), b = excluded(1, k);
    keys[k] = a < b ? std::uint64_t(a) << 32 | b : std::uint64_t(b) << 32 | a;
  }
  std::sort(keys.begin(), keys.end());
  keys.resize(unsigned(std::unique(keys.begin(), keys.end()) - keys.begin()));
  return true;
}

// Isotropic field: one size per node.
template <unsigned D>
class sizes_field {
 public:
  explicit sizes_field(const dense1D<double, 8>& sizes) noexcept : h_(sizes.data()), n_(sizes.size()) {}
  bool prepare() noexcept { return true; }
  bool usable(unsigned v) noexcept { return v < n_ && h_[v] > 0; }
  double quality(unsigned i, unsigned j, const double* pi, const double* pj) const noexcept {
    double s = 0;
    for (unsigned k = 0; k < D; ++k) s += (pj[k] - pi[k]) * (pj[k] - pi[k]);
    return detail::length_in_sizes(std::sqrt(s), h_[i], h_[j]);
  }

 private:
  const double* h_;
  unsigned n_;
};

// Anisotropic field: one packed metric per node.  Each node's metric is
// tested once, when an edge first reaches it (the 3-D test is an
// eigen-solve).
template <unsigned D>
class metrics_field {
 public:
  explicit metrics_field(const dense2D<double>& metrics) noexcept
      : m_(metrics.data()), ld_(metrics.ld()),
        n_(metrics.rows() == detail::packed_size<D> ? metrics.cols() : 0) {}
  bool prepare() noexcept { return state_.resize(n_, UNKNOWN); }
  bool usable(unsigned v) noexcept {
    if (v >= n_) return false;
    unsigned char& s = state_[v];
    if (s == UNKNOWN) s = detail::is_valid<D>(metric(v)) ? VALID : INVALID;
    return s == VALID;
  }
  double quality(unsigned i, unsigned j, const double* pi, const double* pj) const noexcept {
    double e[D], li, lj;
    for (unsigned k = 0; k < D; ++k) e[k] = pj[k] - pi[k];
    return detail::metric_edge_length<D>(metric(i), metric(j), e, li, lj);
  }

 private:
  enum : unsigned char { UNKNOWN, VALID, INVALID };
  const double* metric(unsigned v) const noexcept { return m_ + std::size_t(v) * ld_; }

  const double* m_;
  std::size_t ld_;
  unsigned n_;
  dense1D<unsigned char, 8> state_;
};

// Measures every edge of the blocks' set that is not excluded.  Returns the
// number of such edges, -5 when one was skipped, -199.
template <unsigned D, class Field>
int measure(const dense2D<double>& pos, const detail::element_block* blocks, unsigned count, Field field,
            misc::histogram& histogram, const dense2D<unsigned>& excluded) {
  dense2D<unsigned> set;
  dense1D<std::uint64_t, 8> skip;
  if (!excluded_keys(excluded, skip) || !field.prepare() || detail::build_edge_set(blocks, count, set) != 0)
    return detail::OUT_OF_MEMORY;
  const unsigned edges = set.empty() ? 0 : set.cols();
  const unsigned* pair = set.data();
  const std::uint64_t *x = skip.begin(), *x_end = skip.end();
  const double* p = pos.data();
  const std::size_t ld = pos.ld();
  unsigned kept = 0;
  bool skipped = false;
  for (unsigned k = 0; k < edges; ++k, pair += 2) {
    const unsigned i = pair[0], j = pair[1];
    if (x != x_end) {
      const std::uint64_t key = std::uint64_t(i) << 32 | j;
      while (x != x_end && *x < key) ++x;
      if (x != x_end && *x == key) continue;
    }
    ++kept;
    if (!field.usable(i) || !field.usable(j)) {
      skipped = true;
      continue;
    }
    histogram.process(field.quality(i, j, p + i * ld, p + j * ld));
  }
  return skipped ? -5 : int(kept);
}

template <template <unsigned> class Field, class Values>
int measure_in(const dense2D<double>& pos, const detail::element_block* blocks, unsigned count, const Values& values,
               misc::histogram& histogram, const dense2D<unsigned>& excluded) {
  if (pos.rows() == 2) return measure<2>(pos, blocks, count, Field<2>(values), histogram, excluded);
  return measure<3>(pos, blocks, count, Field<3>(values), histogram, excluded);
}

// The checks and codes of the block-range overloads.
template <template <unsigned> class Field, class Values>
int range_qualities(const dense2D<double>& pos, const dense2D<unsigned>* first, const dense2D<unsigned>* last,
                    const dense1D<int, 8>& types, const Values& values, misc::histogram& histogram,
                    const dense2D<unsigned>& excluded) {
  if (first == last) return 0;
  if (pos.rows() != 2 && pos.rows() != 3) return -1;
  if (last < first) return -3;
  if (std::size_t(last - first) != types.size() || !detail::element_types(types)) return -4;
  const unsigned nodes = pos.cols();
  if (!detail::blocks_fit(first, types, nodes)) return -2;
  if (!check_IDs(excluded, ELT_EDGE2, nodes)) return -7;
  dense1D<detail::element_block, 8> blocks;
  if (!detail::blocks_of(first, types, blocks)) return detail::OUT_OF_MEMORY;
  return measure_in<Field>(pos, blocks.data(), blocks.size(), values, histogram, excluded);
}

// The checks of the single-block overloads: those of a range of one block,
// with the codes below -3 raised by one.
template <template <unsigned> class Field, class Values>
int block_qualities(const dense2D<double>& pos, const dense2D<unsigned>& connect, element_type type,
                    const Values& values, misc::histogram& histogram, const dense2D<unsigned>& excluded) {
  if (pos.rows() != 2 && pos.rows() != 3) return -1;
  if (!detail::is_element_type(type)) return -3;
  const unsigned nodes = pos.cols();
  const element_type t = detail::narrow_type(type, connect.rows());
  if (!check_IDs(connect, t, nodes)) return -2;
  if (!check_IDs(excluded, ELT_EDGE2, nodes)) return -6;
  const detail::element_block block = detail::block_of(connect, t);
  const int r = measure_in<Field>(pos, &block, 1, values, histogram, excluded);
  return r == -5 ? -4 : r;
}

}  // namespace

int edge_quality(double length, double h1, double h2, double& quality) {
  quality = 0.0;
  if (!(h1 > 0)) return -2;
  if (!(h2 > 0)) return -3;
  quality = detail::length_in_sizes(length, h1, h2);
  return 0;
}

int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned int>& connectivity, element_type type,
                   const dense1D<double, 8>& sizes, misc::histogram& histogram, const dense2D<unsigned int>& excluded) {
  return block_qualities<sizes_field>(pos, connectivity, type, sizes, histogram, excluded);
}

int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned int>& connectivity, element_type type,
                   const dense2D<double>& metrics, misc::histogram& histogram, const dense2D<unsigned int>& excluded) {
  return block_qualities<metrics_field>(pos, connectivity, type, metrics, histogram, excluded);
}

int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned int>* first, const dense2D<unsigned int>* last,
                   const dense1D<int, 8>& types, const dense1D<double, 8>& sizes, misc::histogram& histogram,
                   const dense2D<unsigned int>& excluded) {
  return range_qualities<sizes_field>(pos, first, last, types, sizes, histogram, excluded);
}

int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned int>* first, const dense2D<unsigned int>* last,
                   const dense1D<int, 8>& types, const dense2D<double>& metrics, misc::histogram& histogram,
                   const dense2D<unsigned int>& excluded) {
  return range_qualities<metrics_field>(pos, first, last, types, metrics, histogram, excluded);
}

}  // namespace plexa
}  // namespace zeb
