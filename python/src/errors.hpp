// Result codes as Python exceptions: -199 raises MemoryError, any other
// negative code plexa.Error, whose message is the library's words for the
// code (result_message), naming the argument of the C++ signature.
#pragma once

#include <pybind11/pybind11.h>

namespace plexa_py {

// Defines plexa.Error in the module.
void define_error(pybind11::module_& m);

// Raises the exception of a negative `code` returned by the function
// declared as `signature` (its name and parameter names, as result_message
// takes them).  The forms over a block range [first, last) are given with
// the Python name of the block list in place of `first`, so that a message
// names the argument the caller passed.  Call with the GIL held.
[[noreturn]] void raise_code(int code, const char* signature);

// The code itself when it is not negative.
inline int check(int code, const char* signature) {
  if (code < 0) raise_code(code, signature);
  return code;
}

}  // namespace plexa_py
