// Selection of the elements lying on one side of a plane.
#include <climits>
#include <cstdint>

#include <zeb/plexa/geometry.hpp>
#include <zeb/plexa/indices.hpp>

#include "core/aliasing.hpp"
#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::NO_INDEX;

enum side : unsigned char { UNKNOWN = 0, KEPT = 1, REJECTED = 2 };

// Side of the nodes against the plane, each computed once and remembered.
class side_cache {
 public:
  side_cache(const dense2D<double>& pos, const vector_fixed<double, 3>& P, const vector_fixed<double, 3>& N,
             dense1D<unsigned char, 8>& memo) noexcept
      : p_(pos.data()), ld_(pos.ld()), d_(pos.rows() < 3 ? pos.rows() : 3), P_(P), N_(N), memo_(memo.data()) {}

  bool kept(unsigned node) noexcept {
    unsigned char& s = memo_[node];
    if (s == UNKNOWN) {
      const double* x = p_ + std::size_t(node) * ld_;
      double d = 0.0;
      for (unsigned k = 0; k < d_; ++k) d += (x[k] - P_[k]) * N_[k];
      s = d >= 0.0 ? KEPT : REJECTED;  // NaN rejects
    }
    return s == KEPT;
  }

  // True when the nodes of the column, up to its first marker, are all kept.
  bool column_kept(const unsigned* col, unsigned rows) noexcept {
    for (unsigned i = 0; i < rows && col[i] != NO_INDEX; ++i)
      if (!kept(col[i])) return false;
    return true;
  }

 private:
  const double* p_;
  std::size_t ld_;
  unsigned d_;
  const vector_fixed<double, 3>& P_;
  const vector_fixed<double, 3>& N_;
  unsigned char* memo_;
};

}  // namespace

int clip(const dense2D<double>& pos, const dense2D<unsigned int>& connect, const vector_fixed<double, 3>& P,
         const vector_fixed<double, 3>& N, dense2D<unsigned int>& kept) {
  if (connect.empty()) return 0;
  const unsigned nodes = pos.cols();
  if (!check_IDs(connect, nodes)) return -2;
  if (N[0] == 0.0 && N[1] == 0.0 && N[2] == 0.0) return -4;
  const unsigned rows = connect.rows();
  if (!kept.empty() && kept.rows() != rows) return -5;

  // kept grows in place, over entries of connect when it shares their block.
  dense2D<unsigned int> elements;
  dense1D<unsigned char, 8> memo;
  if (!detail::detach(connect, kept, elements) || !memo.resize(nodes, UNKNOWN)) return detail::OUT_OF_MEMORY;
  side_cache sides(pos, P, N, memo);

  // First pass: count; the second pass reads the remembered sides only.
  std::uint64_t selected = 0;
  detail::for_each_column(elements, [&](const unsigned* col, unsigned) { selected += sides.column_kept(col, rows); });
  if (selected == 0) return 0;

  const unsigned n = elements.cols();
  const unsigned old = kept.empty() ? 0 : kept.cols();
  if (old + selected > UINT_MAX || !kept.resize(rows, old + unsigned(selected))) return detail::OUT_OF_MEMORY;
  const unsigned* src = elements.data();
  const std::size_t sld = elements.ld();
  unsigned* dst = kept.data() + std::size_t(old) * kept.ld();
  const std::size_t dld = kept.ld();
  for (unsigned j = 0; j < n; ++j) {
    const unsigned* col = src + std::size_t(j) * sld;
    if (!sides.column_kept(col, rows)) continue;
    for (unsigned i = 0; i < rows; ++i) dst[i] = col[i];
    dst += dld;
  }
  return 0;
}

}  // namespace plexa
}  // namespace zeb
