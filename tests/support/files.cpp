#include "support/files.hpp"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace plexa_test {

scratch_dir::scratch_dir() {
  char name[] = "/tmp/plexa-test-XXXXXX";
  if (!mkdtemp(name)) throw std::runtime_error("cannot create a scratch directory");
  path_ = name;
}

scratch_dir::~scratch_dir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string read_file(const std::string& path, bool* exists) {
  std::string bytes;
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (exists) *exists = f != nullptr;
  if (!f) return bytes;
  char chunk[65536];
  for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, f)) > 0;) bytes.append(chunk, n);
  std::fclose(f);
  return bytes;
}

bool file_exists(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(path, ignored);
}

}  // namespace plexa_test
