// Scratch files, sample files and damaged files for the tests of the file
// readers and writers.
#pragma once

#include <string>
#include <vector>

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

// Writes `bytes` to the file `path` (replaced); false when it cannot.
bool write_file(const std::string& path, const std::string& bytes);

// The hand-written sample file `name` of tests/data.
std::string data_file(const std::string& name);

// Damaged copies of a file's bytes for the readers' robustness tests:
// every prefix (the empty one included, the whole excluded), then `flips`
// copies in each of which a few bytes (1 to 4, seeded by `seed`) are set to
// random values.
std::vector<std::string> damaged_copies(const std::string& bytes, unsigned flips, unsigned seed);

// The bytes of a file; "" with *exists set to false when it cannot be opened.
std::string read_file(const std::string& path, bool* exists = nullptr);
bool file_exists(const std::string& path);

// What a writer left at `path` when it returned `code`: the file's bytes
// after a success, "code N" after a failure.
std::string outcome(int code, const std::string& path);

// Open file descriptors of the process, to show that a writer closed its
// stream on every path.
unsigned open_descriptor_count();

}  // namespace plexa_test
