// The file of a path-taking writer.  It is opened on construction and
// closed on every path out of the writer: by close() on success, which
// reports whether every byte reached the file, and by the destructor on a
// failure (a check that fails after the opening leaves the file empty).
#pragma once

#include <cstdio>

#include "io/common/text_writer.hpp"

namespace zeb {
namespace plexa {
namespace detail {

class output_file {
 public:
  // Opens `path` with open_for_writing (text, or bytes when `binary`); no
  // file when path is null or the file cannot be opened.
  explicit output_file(const char* path, bool binary = false) noexcept : file_(open_for_writing(path, binary)) {}
  output_file(const output_file&) = delete;
  output_file& operator=(const output_file&) = delete;
  ~output_file() {
    if (file_) std::fclose(file_);
  }

  explicit operator bool() const noexcept { return file_ != nullptr; }
  std::FILE* get() const noexcept { return file_; }

  // Closes the file after `result`, the outcome of the writing: a failure
  // code is returned as it is; a success becomes -1 when the close fails
  // (the last bytes did not reach the file).
  int close(int result) noexcept {
    std::FILE* f = file_;
    file_ = nullptr;
    return std::fclose(f) == 0 || result != 0 ? result : -1;
  }
  // Closes the file after writing it through `w`: 0, or -1 when a write,
  // the flush or the close failed.
  int close(text_writer& w) noexcept { return close(w.finish()); }

 private:
  std::FILE* file_;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
