// The result codes every exported function returns, named once, and the
// step that ends a failed call: empty the outputs, return the code.
//
//   0 (or a count)   success
//   -k               argument k (1-based, in signature order) is invalid
//   -199             memory could not be had
#pragma once

namespace zeb {
namespace plexa {
namespace detail {

constexpr int SUCCESS = 0;
constexpr int OUT_OF_MEMORY = -199;

// The code naming argument k (1-based) as the invalid one.
constexpr int bad_argument(unsigned k) noexcept { return -static_cast<int>(k); }

// Empties every output (size 0, storage released, so that no stale part of
// a result survives and nothing is shared any more) and returns `code`.
template <class... Outputs>
int fail(int code, Outputs&... outputs) noexcept {
  (outputs.clear_hard(), ...);
  return code;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
