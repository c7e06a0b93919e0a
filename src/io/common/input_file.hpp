// The file of a path-taking reader: opened in text mode, read, and closed
// on every path.
#pragma once

#include <cstdio>

namespace zeb {
namespace plexa {
namespace detail {

// Runs read(f) on the file `path` and closes it; -1 when the file cannot
// be opened (a null path included), else what read returns.
template <class Read>
int with_input_file(const char* path, Read&& read) noexcept {
  std::FILE* f = path ? std::fopen(path, "r") : nullptr;
  if (!f) return -1;
  const int result = read(f);
  std::fclose(f);
  return result;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
