// The table of mesh file formats.
#include "mesh_formats.hpp"

#include <cstring>

#include <zeb/plexa/io.hpp>
#include <zeb/plexa/topology.hpp>

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

// The blocks in one connectivity, each element's property number the
// position of its block + 1: what the block-form writers take.  False when
// memory runs out.
bool joined_with_ids(const mesh& m, zeb::dense2D<unsigned>& connect, zeb::dense1D<unsigned, 8>& ranges,
                     zeb::dense1D<unsigned, 8>& ids) {
  if (!m.joined(connect, ranges) || !ids.resize(connect.cols())) return false;
  for (unsigned k = 0; k < m.block_count(); ++k)
    for (unsigned j = ranges[k]; j < ranges[k + 1]; ++j) ids[j] = k + 1;
  return true;
}

int write_nastran(const char* path, const mesh& m) {
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, pids;
  if (!joined_with_ids(m, connect, ranges, pids)) return OUT_OF_MEMORY;
  return zeb::plexa::NASTRAN_output(path, m.coords, connect, ranges, m.types, pids);
}

int write_femap(const char* path, const mesh& m) {
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, ids;
  if (!joined_with_ids(m, connect, ranges, ids)) return OUT_OF_MEMORY;
  return zeb::plexa::FEMAP_output(path, m.coords, connect, ranges, m.types, ids);
}

// A reader of the block form (nodes, one connectivity, its column ranges
// and their types, one id per element, which the tool does not keep): each
// block becomes a view of the connectivity through its type's rows.
using ranged_reader = int (*)(const char*, zeb::dense2D<double>&, zeb::dense2D<unsigned>&,
                              zeb::dense1D<unsigned, 8>&, zeb::dense1D<int, 8>&, zeb::dense1D<unsigned, 8>&);

int read_ranged(ranged_reader reader, const char* path, mesh& m) {
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, ids;
  zeb::dense1D<int, 8> types;
  if (const int code = reader(path, pos, connect, ranges, types, ids)) return code;
  m = mesh();
  m.coords = pos;
  for (unsigned k = 0; k < types.size(); ++k) {
    const auto type = zeb::plexa::element_type(types[k]);
    if (!m.add_block(connect.sub_matrix(0, ranges[k], zeb::plexa::nbr_nodes(type), ranges[k + 1] - ranges[k]), type))
      return OUT_OF_MEMORY;
  }
  return 0;
}

int read_nastran(const char* path, mesh& m) { return read_ranged(zeb::plexa::NASTRAN_input, path, m); }
int read_femap(const char* path, mesh& m) { return read_ranged(zeb::plexa::FEMAP_input, path, m); }

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
constexpr const char* nastran_read_signature = "NASTRAN_input(path, pos, connect, ranges, types, pids)";

constexpr mesh_format formats[] = {
    {".mesh", "MEDIT", nullptr, write_medit, nullptr, "medit_output(path, pos, first, last, types)"},
    {".vtk", "VTK", nullptr, write_vtk, nullptr, "vtk_output(path, pos, first, last, types)"},
    {".nas", "NASTRAN", read_nastran, write_nastran, nastran_read_signature, nastran_signature},
    {".bdf", "NASTRAN", read_nastran, write_nastran, nastran_read_signature, nastran_signature},
    {".geo", "EnSight", nullptr, write_ensight, nullptr, "ensight_output(path, pos, first, last, types)"},
    {".stl", "STL", read_stl, write_stl, "STL_input(path, pos, connect)", "STL_output(path, pos, connect, ascii)"},
    {".neu", "FEMAP", read_femap, write_femap, "FEMAP_input(path, pos, connect, ranges, types, ids)",
     "FEMAP_output(path, pos, connect, ranges, types, ids)"},
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
