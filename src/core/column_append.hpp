// Growing a caller's matrix by whole columns, for the operations that append
// to their output.
#pragma once

#include <cstdint>

#include <zeb/dense.hpp>

namespace zeb {
namespace plexa {
namespace detail {

// Adds `count` columns of `rows` rows after the columns of `out`, which is
// empty or has `rows` rows; their entries are left for the caller to write.
// The column capacity grows by doubling, to at least 4 columns, so that
// repeated appends stay linear; a strided view is first gathered into a
// block of its own, so `out` is contiguous afterwards.  `first` receives the
// first new column.  Nothing happens when count is 0.  False, with `out`
// unchanged, when memory could not be had or the matrix would exceed 2^32 - 1
// entries.
template <class T>
bool append_columns(dense2D<T>& out, unsigned rows, std::uint64_t count, T*& first) noexcept {
  first = nullptr;
  if (count == 0) return true;
  const unsigned old = out.empty() ? 0 : out.cols();
  const std::uint64_t total = old + count;
  if (total * rows > UINT32_MAX) return false;
  std::uint64_t room = out.empty() ? 0 : std::uint64_t(out.ld()) * old;
  if (room < 4ull * rows) room = 4ull * rows;
  while (room < total * rows) room *= 2;
  if (room > UINT32_MAX) room = total * rows;
  // Both keep the existing columns when they fail; the resize cannot fail
  // once the room is reserved.
  if (!out.reserve(rows, static_cast<unsigned>(room / rows)) || !out.resize(rows, static_cast<unsigned>(total)))
    return false;
  first = out.data() + std::size_t(old) * rows;
  return true;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
