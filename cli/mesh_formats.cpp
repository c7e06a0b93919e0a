// The table of mesh file formats.
#include "mesh_formats.hpp"

#include <cstring>

#include <zeb/plexa/io.hpp>

namespace plexa_cli {

namespace {

int write_medit(const char* path, const mesh& m) {
  return zeb::plexa::medit_output(path, m.coords, m.first_block(), m.last_block(), m.types);
}

constexpr mesh_format formats[] = {
    {".mesh", "MEDIT", nullptr, write_medit, nullptr, "medit_output(path, pos, first, last, types)"},
};

std::string extensions(bool readable) {
  std::string list;
  for (const mesh_format& f : formats) {
    if (readable ? !f.read : !f.write) continue;
    if (!list.empty()) list += ", ";
    list += f.extension;
  }
  return list;
}

}  // namespace

const mesh_format* format_of(const char* path) {
  const std::size_t n = std::strlen(path);
  for (const mesh_format& f : formats) {
    const std::size_t e = std::strlen(f.extension);
    if (n > e && std::strcmp(path + n - e, f.extension) == 0) return &f;
  }
  return nullptr;
}

std::string writable_extensions() { return extensions(false); }
std::string readable_extensions() { return extensions(true); }

}  // namespace plexa_cli
