// The table of mesh file formats.
#include "mesh_formats.hpp"

#include <cstring>

#include <zeb/plexa/io.hpp>

namespace plexa_cli {

namespace {

// The library's code for memory that could not be had.
constexpr int OUT_OF_MEMORY = -199;

int write_medit(const char* path, const mesh& m) {
  return zeb::plexa::medit_output(path, m.coords, m.first_block(), m.last_block(), m.types);
}

int write_vtk(const char* path, const mesh& m) {
  return zeb::plexa::vtk_output(path, m.coords, m.first_block(), m.last_block(), m.types);
}

// The blocks in one connectivity; an element's property number is the
// position of its block + 1.
int write_nastran(const char* path, const mesh& m) {
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, pids;
  if (!m.joined(connect, ranges) || !pids.resize(connect.cols())) return OUT_OF_MEMORY;
  for (unsigned k = 0; k < m.block_count(); ++k)
    for (unsigned j = ranges[k]; j < ranges[k + 1]; ++j) pids[j] = k + 1;
  return zeb::plexa::NASTRAN_output(path, m.coords, connect, ranges, m.types, pids);
}

// The EnSight writer leaves mixed blocks out: they are split by kind first.
int write_ensight(const char* path, const mesh& m) {
  mesh simple;
  if (!m.split_mixed(simple)) return OUT_OF_MEMORY;
  return zeb::plexa::ensight_output(path, simple.coords, simple.first_block(), simple.last_block(), simple.types);
}

constexpr const char* nastran_signature = "NASTRAN_output(path, pos, connect, ranges, types, pids)";

constexpr mesh_format formats[] = {
    {".mesh", "MEDIT", nullptr, write_medit, nullptr, "medit_output(path, pos, first, last, types)"},
    {".vtk", "VTK", nullptr, write_vtk, nullptr, "vtk_output(path, pos, first, last, types)"},
    {".nas", "NASTRAN", nullptr, write_nastran, nullptr, nastran_signature},
    {".bdf", "NASTRAN", nullptr, write_nastran, nullptr, nastran_signature},
    {".geo", "EnSight", nullptr, write_ensight, nullptr, "ensight_output(path, pos, first, last, types)"},
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
