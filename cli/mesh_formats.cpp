// The table of mesh file formats.
#include "mesh_formats.hpp"

#include <cstring>
#include <string>
#include <vector>

#include <zeb/plexa/io.hpp>

namespace plexa_cli {

namespace {

// The library's code for memory that could not be had.
constexpr int OUT_OF_MEMORY = -199;

// Readers return nodes, column ranges and one id per element.
struct read_result {
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, ids;
  zeb::dense1D<int, 8> types;

  int into(int code, mesh& m) const {
    if (code != 0) return code;
    return m.assign(pos, connect, ranges, types, ids) ? 0 : OUT_OF_MEMORY;
  }
};

int read_medit(const char* path, mesh& m) {
  read_result r;
  return r.into(zeb::plexa::medit_input(path, r.pos, r.connect, r.ranges, r.types, r.ids), m);
}

// The references read, or each block's position.
int write_medit(const char* path, const mesh& m) {
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, refs;
  if (!m.joined(connect, ranges) || !m.joined_ids(refs, 0)) return OUT_OF_MEMORY;
  return zeb::plexa::medit_output(path, m.coords, connect, ranges, m.types, refs);
}

int read_obj(const char* path, mesh& m) {
  read_result r;
  std::vector<std::string> names;
  const int code = r.into(zeb::plexa::WavefrontOBJ_input(path, r.pos, r.connect, r.ranges, r.types, r.ids, names), m);
  if (code == 0) m.id_names.swap(names);
  return code;
}

// The groups read (with their names), or each block's position.
int write_obj(const char* path, const mesh& m) {
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, groups;
  if (!m.joined(connect, ranges) || !m.joined_ids(groups, 0)) return OUT_OF_MEMORY;
  if (m.id_names.empty()) return zeb::plexa::WavefrontOBJ_output(path, m.coords, connect, ranges, m.types, groups);
  return zeb::plexa::WavefrontOBJ_output(path, m.coords, connect, ranges, m.types, groups, m.id_names);
}

int read_stl(const char* path, mesh& m) {
  m = mesh();
  zeb::dense2D<unsigned> triangles;
  const int code = zeb::plexa::STL_input(path, m.coords, triangles);
  if (code != 0) return code;
  return m.add_block(triangles, zeb::plexa::ELT_TRIA3) ? 0 : OUT_OF_MEMORY;
}

// The triangles of the mesh (blocks of triangles, and mixed faces that are
// all triangles), written as ASCII.
int write_stl(const char* path, const mesh& m) {
  zeb::dense2D<unsigned> connect, triangles;
  zeb::dense1D<unsigned, 8> ranges;
  for (unsigned k = 0; k < m.block_count(); ++k) {
    const zeb::dense2D<unsigned>& b = m.blocks[k];
    const bool triangle_rows = m.types[k] == zeb::plexa::ELT_TRIA3 ||
                               (m.types[k] == zeb::plexa::ELT_FACE_MIX && b.rows() == 3);
    if (!b.empty() && !triangle_rows) return CANNOT_HOLD;
  }
  if (!m.joined(connect, ranges)) return OUT_OF_MEMORY;
  if (connect.rows() == 3) triangles = connect;
  return zeb::plexa::STL_output(path, m.coords, triangles, true);
}

int write_vtk(const char* path, const mesh& m) {
  return zeb::plexa::vtk_output(path, m.coords, m.first_block(), m.last_block(), m.types);
}

// The blocks in one connectivity; an element's property number is the one
// read, or the position of its block + 1.
int write_nastran(const char* path, const mesh& m) {
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, pids;
  if (!m.joined(connect, ranges) || !m.joined_ids(pids, 1)) return OUT_OF_MEMORY;
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
    {".mesh", "MEDIT", read_medit, write_medit, "medit_input(path, pos, connect, ranges, types, refs)",
     "medit_output(path, pos, connect, ranges, types, refs)", nullptr},
    {".vtk", "VTK", nullptr, write_vtk, nullptr, "vtk_output(path, pos, first, last, types)", nullptr},
    {".nas", "NASTRAN", nullptr, write_nastran, nullptr, nastran_signature, nullptr},
    {".bdf", "NASTRAN", nullptr, write_nastran, nullptr, nastran_signature, nullptr},
    {".obj", "Wavefront OBJ", read_obj, write_obj, "WavefrontOBJ_input(path, pos, connect, ranges, types, groups)",
     "WavefrontOBJ_output(path, pos, connect, ranges, types, ids)", nullptr},
    {".stl", "STL", read_stl, write_stl, "STL_input(path, pos, connect)", "STL_output(path, pos, connect, ascii)",
     "triangles only"},
    {".geo", "EnSight", nullptr, write_ensight, nullptr, "ensight_output(path, pos, first, last, types)", nullptr},
};

// Solutions: the keyword layout as ".sol" (its reader takes both layouts),
// the header layout of medit_scalar, medit_vector and medit_tensor as ".bb".
int read_solution(const char* path, field& f) {
  return zeb::plexa::medit_solution_input(path, f.dim, f.values);
}

int write_sol(const char* path, const field& f) { return zeb::plexa::medit_solution_output(path, f.dim, f.values); }

// Scalars, packed tensors (3 rows in 2-D, 6 in 3-D), vectors otherwise.
int write_bb(const char* path, const field& f) {
  const unsigned rows = f.values.rows();
  if (rows == 1) {
    zeb::dense2D<double> scalars;
    if (!scalars.copy(f.values)) return OUT_OF_MEMORY;
    return zeb::plexa::medit_scalar(path, f.dim, scalars.as_vector());
  }
  if ((rows == 3 && f.dim == 2) || (rows == 6 && f.dim == 3)) return zeb::plexa::medit_tensor(path, f.values);
  return zeb::plexa::medit_vector(path, f.dim, f.values);
}

constexpr const char* solution_input = "medit_solution_input(path, dim, values)";

constexpr field_format field_formats[] = {
    {".sol", "MEDIT solution", read_solution, write_sol, solution_input, "medit_solution_output(path, dim, values)"},
    {".bb", "MEDIT solution, header layout", read_solution, write_bb, solution_input, "medit_vector(path, dim, vectors)"},
};

// Whether `path` ends with `extension` after at least one character.
bool has_extension(const char* path, const char* extension) {
  const std::size_t n = std::strlen(path), e = std::strlen(extension);
  return n > e && std::strcmp(path + n - e, extension) == 0;
}

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
  for (const mesh_format& f : formats)
    if (has_extension(path, f.extension)) return &f;
  return nullptr;
}

const field_format* field_format_of(const char* path) {
  for (const field_format& f : field_formats)
    if (has_extension(path, f.extension)) return &f;
  return nullptr;
}

std::string field_extensions() {
  std::string list;
  for (const field_format& f : field_formats) list += (list.empty() ? "" : ", ") + std::string(f.extension);
  return list;
}

std::string writable_extensions() { return extensions(false); }
std::string readable_extensions() { return extensions(true); }

}  // namespace plexa_cli
