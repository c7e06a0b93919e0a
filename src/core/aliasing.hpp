// Arguments that share storage.  Views share their block by design (a
// shallow copy, as_vector, sub_vector, sub_matrix), so a caller may pass one
// block as an input and as an output.  Every exported function reads its
// inputs as they were on entry; the tools here make that cheap:
//
//   - An output the call empties and refills: the call first takes shallow
//     copies of its inputs (one count each; they keep the input's block and
//     entries alive even when the output is the input object itself), then
//     empties the output with empty_output().  An output sharing storage
//     with an input or another output is detached (clear_hard), so that its
//     writes go to a fresh block; no entry is copied.
//   - An output the call appends to, or an argument it changes in place,
//     that shares storage with an input it still reads: that input is read
//     through detach(), a deep copy made before anything changes.
//   - Two arguments changed in place: overlaps() tells whether they reach
//     common entries; each function then renumbers from copies taken on
//     entry or refuses, as its header states.
//
// For arguments that share nothing all of this costs a few pointer
// comparisons.
#pragma once

#include <cstdint>
#include <type_traits>

#include <zeb/dense.hpp>

namespace zeb {
namespace plexa {
namespace detail {

// True when a and b are the same object, or views of the same block.
// Containers of different element types never share.
template <class A, class B>
bool shares_storage(const A& a, const B& b) noexcept {
  if constexpr (std::is_same_v<typename A::value_type, typename B::value_type>)
    return static_cast<const void*>(&a) == static_cast<const void*>(&b) ||
           (a.storage() != nullptr && a.storage() == b.storage());
  else
    return false;
}

// Empties an output that the call refills.  `others` are the inputs (their
// shallow copies) and the other outputs of the call: when `out` shares
// storage with one of them it is detached from its block; otherwise it keeps
// the block for reuse.
template <class Out, class... Others>
void empty_output(Out& out, const Others&... others) noexcept {
  if ((shares_storage(out, others) || ...))
    out.clear_hard();
  else
    out.clear();
}

// The entries a view reaches in its block: `cols` runs of `rows` entries,
// `ld` apart, from `start` (a vector is one run).
struct entry_runs {
  std::uint64_t start, rows, cols, ld;
};

template <class T, unsigned K>
entry_runs runs_of(const dense1D<T, K>& v) noexcept {
  return {v.start(), v.size(), 1, v.size()};
}

template <class T>
entry_runs runs_of(const dense2D<T>& m) noexcept {
  return {m.start(), m.rows(), m.cols(), m.ld() > m.rows() ? m.ld() : m.rows()};
}

// True when some entry of a is an entry of b (both views of one block).
// Linear in the smaller column count.
inline bool runs_meet(entry_runs a, entry_runs b) noexcept {
  if (a.rows == 0 || a.cols == 0 || b.rows == 0 || b.cols == 0) return false;
  if (a.cols > b.cols) {
    const entry_runs t = a;
    a = b;
    b = t;
  }
  // Column j of a is [x, x + a.rows).  The columns of b are disjoint runs in
  // increasing order; the first one ending after x is the only candidate.
  for (std::uint64_t j = 0; j < a.cols; ++j) {
    const std::uint64_t x = a.start + j * a.ld;
    const std::uint64_t k = x < b.start + b.rows ? 0 : (x - b.start - b.rows) / b.ld + 1;
    if (k < b.cols && b.start + k * b.ld < x + a.rows) return true;
  }
  return false;
}

// True when a and b reach at least one common entry.
template <class A, class B>
bool overlaps(const A& a, const B& b) noexcept {
  return shares_storage(a, b) && runs_meet(runs_of(a), runs_of(b));
}

// Makes `view` a view of `input` that writing `output` (an output that
// grows, an argument changed in place) cannot change: a shallow copy of
// `input`, or a deep copy when the two share storage.  False when the deep
// copy cannot be made.
template <class In, class Out>
bool detach(const In& input, const Out& output, In& view) noexcept {
  if (shares_storage(input, output)) return view.copy(input);
  view = input;
  return true;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
