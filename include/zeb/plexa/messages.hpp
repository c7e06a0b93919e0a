// Plexa result messages: the words for a result code, for programs that
// report failures to people (the plexa tool, the Python module).
#pragma once

#include <zeb/export.hpp>

namespace zeb {
namespace plexa {

// Writes into `text` a one-line message for `code` as returned by the
// function declared as `signature`: its name followed by its parameter names
// as its header declares them, e.g. "medit_output(path, pos, first, last,
// types)" (a bare name, "medit_output", gives the reasons without naming
// the argument).
//   code >= 0      "success"
//   -199           "out of memory"
//   -k             "argument k (<name>): <reason>": the reason the library
//                  gives for that function and code ("a block does not fit
//                  its element type or names a missing node"), or "invalid
//                  value" when it has none; the name is the k-th parameter
//                  of `signature` unless the function deliberately reports
//                  another argument under that code (the tolerance of the
//                  node-list merge is its fifth argument, reported as -4);
//                  for a code that tells what a reader found in its file
//                  rather than naming an argument, the reason alone
//                  ("malformed or truncated STL file");
//   other codes    "failure <code>".
// Inputs: signature (may be null), code, text (size bytes, may be null
// when size is 0).
// Output: text, the message cut to size - 1 characters and NUL-terminated
// (nothing written when size is 0).
// Returns the length of the whole message, as snprintf does.  Thread-safe.
PLEXA_API unsigned result_message(const char* signature, int code, char* text, unsigned size) noexcept;

}  // namespace plexa
}  // namespace zeb
