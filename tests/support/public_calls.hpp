// The table of public calls shared by the aliasing test and the
// allocation-failure sweep (tests/core/aliasing_test.cpp,
// allocation_sweep_test.cpp): one row per public function that writes a
// container or allocates, with the role of each argument, a factory of
// fresh arguments from a seed and the call.  Readers read a sample file
// given by the row (their outputs are its arguments); writers write to a
// scratch file (their arguments are all read only, so the aliasing test
// has nothing to alias in them).
#pragma once

#include <random>
#include <string>
#include <variant>
#include <vector>

#include <zeb/plexa.hpp>

namespace plexa_test {

using U1 = zeb::dense1D<unsigned, 8>;
using U2 = zeb::dense2D<unsigned>;
using D1 = zeb::dense1D<double, 8>;
using D2 = zeb::dense2D<double>;
using V2 = zeb::vector_fixed<double, 2>;
using V3 = zeb::vector_fixed<double, 3>;
using I1 = zeb::dense1D<int, 8>;  // element types
using slot = std::variant<U1, U2, D1, D2, V2, V3, I1>;
using slots = std::vector<slot>;
using S = slot* const*;
using G = std::mt19937_64;

inline U1& u1(slot* s) { return std::get<U1>(*s); }
inline U2& u2(slot* s) { return std::get<U2>(*s); }
inline D1& d1(slot* s) { return std::get<D1>(*s); }
inline D2& d2(slot* s) { return std::get<D2>(*s); }
inline V2& v2(slot* s) { return std::get<V2>(*s); }
inline V3& v3(slot* s) { return std::get<V3>(*s); }
inline I1& i1(slot* s) { return std::get<I1>(*s); }

template <class C>
struct traits {
  static constexpr bool container = false, matrix = false;
};
template <class T>
struct traits<zeb::dense1D<T, 8>> {
  static constexpr bool container = true, matrix = false;
  using elem = T;
};
template <class T>
struct traits<zeb::dense2D<T>> {
  static constexpr bool container = true, matrix = true;
  using elem = T;
};

// Type, shape and entries (padding skipped).
std::vector<double> contents(const slot& s);
// Whether a container has no entry (false for the fixed-size values).
bool is_empty(const slot& s);
// The same contents in storage of its own.
slot deep_copy(const slot& s);

struct refusal {
  unsigned a, b;
  int code;
};

struct public_call {
  const char* name;
  // Per argument: 'i' read only, 'o' emptied by the call, 'k' kept as it was
  // when the call fails, 'x' written (no promise on failure).
  const char* roles;
  slots (*make)(G&);
  int (*call)(S, unsigned seed);  // the seed picks scalar options
  // Codes for two outputs that are one object, or for two arguments changed
  // in place that reach a common entry.
  std::vector<refusal> refused = {};
  // What the call returns when memory cannot be had, besides -199.
  int out_of_memory = -199;
};

const std::vector<public_call>& public_calls();

}  // namespace plexa_test
