#include "support/files.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

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

bool write_file(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary);
  out << bytes;
  out.close();
  return bool(out);
}

std::string data_file(const std::string& name) { return std::string(PLEXA_TEST_DATA_DIR) + "/" + name; }

std::vector<std::string> damaged_copies(const std::string& bytes, unsigned flips, unsigned seed) {
  std::vector<std::string> copies;
  for (std::size_t n = 0; n < bytes.size(); ++n) copies.push_back(bytes.substr(0, n));
  std::mt19937_64 g(seed);
  for (unsigned k = 0; k < flips && !bytes.empty(); ++k) {
    std::string copy = bytes;
    for (unsigned f = 0, count = 1 + unsigned(g() % 4); f < count; ++f)
      copy[g() % copy.size()] = char(g() % 256);
    copies.push_back(copy);
  }
  return copies;
}

std::string read_file(const std::string& path, bool* exists) {
  std::ifstream in(path, std::ios::binary);
  if (exists) *exists = bool(in);
  return in ? std::string(std::istreambuf_iterator<char>(in), {}) : std::string();
}

bool file_exists(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(path, ignored);
}

std::string outcome(int code, const std::string& path) {
  return code == 0 ? read_file(path) : "code " + std::to_string(code);
}

unsigned open_descriptor_count() {
  unsigned n = 0;
  std::error_code ignored;
  for (auto it = std::filesystem::directory_iterator("/proc/self/fd", ignored);
       it != std::filesystem::directory_iterator(); it.increment(ignored))
    ++n;
  return n;
}

}  // namespace plexa_test
