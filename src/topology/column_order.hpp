// Reordering the columns of a matrix in place, following the cycles of the
// permutation with one column of scratch, so that the caller's storage (and
// view) is kept and no second copy of the matrix is needed.
#pragma once

#include <zeb/dense.hpp>

namespace zeb {
namespace plexa {
namespace detail {

class column_reorder {
 public:
  // Scratch for matrices of up to `cols` columns and `rows` rows; false when
  // memory cannot be had.
  bool prepare(unsigned cols, unsigned rows) noexcept;

  // Column j of m becomes the old column order[j], for j below m.cols();
  // `order` must be a permutation of 0 ... m.cols() - 1.
  void apply(dense2D<unsigned>& m, const unsigned* order) noexcept;

 private:
  dense1D<unsigned, 8> done_;    // one bit per column
  dense1D<unsigned, 8> column_;  // the column that a cycle starts from
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
