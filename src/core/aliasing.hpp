// Arguments that share storage.  Views share their block by design (a
// shallow copy, as_vector, sub_vector, sub_matrix), so a caller may pass one
// block as an input and as an output.  An output that grows, or an argument
// changed in place, that shares storage with an input the call still reads
// reads that input through detach(): a deep copy made before anything
// changes.
#pragma once

#include <type_traits>

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
