// Inputs of the field functions that share storage with the field they
// write are read from a private copy, so that the call sees them as they
// were on entry.
#pragma once

namespace zeb {
namespace plexa {
namespace detail {

// Makes `view` a view of `input` that writing `output` cannot change: a
// shallow copy of `input`, or a deep copy when the two share one storage
// block.  False when the deep copy cannot be made.
template <class In, class Out>
bool detach(const In& input, const Out& output, In& view) noexcept {
  const void* block = input.storage();
  if (block && block == static_cast<const void*>(output.storage())) return view.copy(input);
  view = input;
  return true;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
