// The table of mesh file formats.
#include "mesh_formats.hpp"

#include <cstring>
#include <string>
#include <vector>

#include <zeb/plexa/io.hpp>
#include <zeb/plexa/topology.hpp>

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

// An STL file: its nodes (welded by the reader) and one block of triangles.
int read_stl(const char* path, mesh& m) {
  m = mesh();
  zeb::dense2D<unsigned> triangles;
  const int code = zeb::plexa::STL_input(path, m.coords, triangles);
  if (code != 0) return code;
  return m.add_block(triangles, zeb::plexa::ELT_TRIA3) ? 0 : OUT_OF_MEMORY;
}

// Appends the faces of `faces` (3 rows: triangles; 4 or more: a
// quadrilateral, or a triangle when row 3 is UINT_MAX) as triangles, a
// quadrilateral cut along its 0-2 diagonal.  False when memory runs out.
bool add_triangles(const zeb::dense2D<unsigned>& faces, bool quadrilaterals, zeb::dense2D<unsigned>& triangles) {
  const auto add = [&](unsigned a, unsigned b, unsigned c) {
    const unsigned j = triangles.cols();
    if (!triangles.resize(3, j + 1)) return false;
    triangles(0, j) = a, triangles(1, j) = b, triangles(2, j) = c;
    return true;
  };
  for (unsigned j = 0; j < faces.cols(); ++j) {
    const bool quad = quadrilaterals && faces.rows() > 3 && faces(3, j) != 4294967295u;
    if (!add(faces(0, j), faces(1, j), faces(2, j)) || (quad && !add(faces(0, j), faces(2, j), faces(3, j))))
      return false;
  }
  return true;
}

// The faces of the mesh as binary STL triangles: the faces of the face
// blocks and the free boundary of each solid block, triangles as they are
// (the corners of six-node ones), quadrilaterals cut along their 0-2
// diagonal; edges and nodes are left out.  Planar nodes get z = 0.
int write_stl(const char* path, const mesh& m) {
  using namespace zeb::plexa;
  zeb::dense2D<double> xyz;
  if (m.coords.rows() == 3) {
    xyz = m.coords;
  } else {
    if (!xyz.resize(3, m.coords.cols(), 0.0)) return OUT_OF_MEMORY;
    for (unsigned j = 0; j < m.coords.cols(); ++j)
      for (unsigned i = 0; i < m.coords.rows() && i < 3; ++i) xyz(i, j) = m.coords(i, j);
  }
  zeb::dense2D<unsigned> triangles(3, 0);
  for (unsigned k = 0; k < m.block_count(); ++k) {
    const zeb::dense2D<unsigned>& b = m.blocks[k];
    const element_type type = element_type(m.types[k]);
    if (b.empty()) continue;
    if (element_dim(type) == 2) {
      const bool quads = type == ELT_FACE_MIX || type == ELT_QUAD4 || type == ELT_QUAD8 || type == ELT_QUAD9;
      if (!add_triangles(b, quads, triangles)) return OUT_OF_MEMORY;
    } else if (element_dim(type) == 3) {
      zeb::dense2D<unsigned> neighbors, boundary;
      if (get_neighbors(b, type, false, neighbors) != 0 || get_mesh_boundaries(b, neighbors, type, boundary) != 0 ||
          !add_triangles(boundary, true, triangles))
        return OUT_OF_MEMORY;
    }
  }
  return STL_output(path, xyz, triangles, false);
}

constexpr const char* nastran_signature = "NASTRAN_output(path, pos, connect, ranges, types, pids)";

constexpr mesh_format formats[] = {
    {".mesh", "MEDIT", read_medit, write_medit, "medit_input(path, pos, connect, ranges, types, refs)",
     "medit_output(path, pos, connect, ranges, types, refs)"},
    {".vtk", "VTK", nullptr, write_vtk, nullptr, "vtk_output(path, pos, first, last, types)"},
    {".nas", "NASTRAN", nullptr, write_nastran, nullptr, nastran_signature},
    {".bdf", "NASTRAN", nullptr, write_nastran, nullptr, nastran_signature},
    {".obj", "Wavefront OBJ", read_obj, write_obj, "WavefrontOBJ_input(path, pos, connect, ranges, types, groups)",
     "WavefrontOBJ_output(path, pos, connect, ranges, types, ids)"},
    {".stl", "STL", read_stl, write_stl, "STL_input(path, pos, connect)", "STL_output(path, pos, connect, ascii)"},
    {".geo", "EnSight", nullptr, write_ensight, nullptr, "ensight_output(path, pos, first, last, types)"},
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
