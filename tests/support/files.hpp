// Scratch files for tests of the file writers.
#pragma once

#include <string>

namespace plexa_test {

// A fresh directory under /tmp, removed with its contents on destruction.
class scratch_dir {
 public:
  scratch_dir();
  ~scratch_dir();
  scratch_dir(const scratch_dir&) = delete;
  scratch_dir& operator=(const scratch_dir&) = delete;

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// The bytes of a file; "" with *exists set to false when it cannot be opened.
std::string read_file(const std::string& path, bool* exists = nullptr);
bool file_exists(const std::string& path);
// Replaces the file at `path` with `bytes`; false when it cannot be written.
bool write_file(const std::string& path, const std::string& bytes);

// What a writer left at `path` when it returned `code`: the file's bytes
// after a success, "code N" after a failure.
std::string outcome(int code, const std::string& path);

// Open file descriptors of the process, to show that a writer closed its
// stream on every path.
unsigned open_descriptor_count();

}  // namespace plexa_test
