// Every writer on a full disk (/dev/full): -1, never 0, whether the error
// shows while writing (large files) or only when the last bytes are flushed
// or the file is closed (small files); and no stream is left open.
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include <zeb/plexa/io.hpp>

#include "support/files.hpp"
#include "support/meshes.hpp"
#include "support/support.hpp"

namespace {

using namespace zeb::plexa;
using namespace plexa_test;

const char* full = "/dev/full";

struct mesh {
  dense2D<double> pos;
  dense2D<unsigned> tets;
};

// A single tetrahedron (a few hundred bytes in any format) and a grid of
// 6000 (far beyond any buffer).
std::vector<mesh> meshes() {
  auto g = rng(9);
  return {{coordinates(3, {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1}), connectivity(4, {0, 1, 2, 3})},
          {random_coordinates(g, 3, 11 * 11 * 11), grid_tetrahedra(10, 10, 10)}};
}

TEST(WriteErrors, AFullDiskIsReportedByEveryWriter) {
  if (access(full, W_OK) != 0) GTEST_SKIP() << full << " is not writable here";
  const unsigned descriptors = open_descriptor_count();
  for (const mesh& m : meshes()) {
    const unsigned n = m.pos.cols();
    const dense1D<int, 8> tet_type = type_list({ELT_TETRA4});
    const dense1D<unsigned, 8> colours(m.tets.cols(), 0u), ranges = ids({0, m.tets.cols()}), pids(m.tets.cols(), 1u);
    dense1D<double, 8> values(n, 1.0);
    const dense2D<unsigned> faces = m.tets.sub_matrix(0, 0, 3, m.tets.cols());  // three nodes of each
    unsigned ncells = 0;
    dense1D<unsigned, 8> cells, cell_types;
    ASSERT_EQ(vtk_convert(m.tets, ELT_TETRA4, ncells, cells, cell_types), 0);

    const std::vector<std::pair<const char*, std::function<int()>>> writers = {
        {"medit_output", [&] { return medit_output(full, m.pos, &m.tets, &m.tets + 1, tet_type); }},
        {"medit_output (colours)", [&] { return medit_output(full, m.pos, m.tets, ELT_TETRA4, colours); }},
        {"medit_scalar", [&] { return medit_scalar(full, 3, values); }},
        {"medit_vector", [&] { return medit_vector(full, 3, m.pos); }},
        {"medit_tensor", [&] { return medit_tensor(full, m.pos); }},
        {"vtk_output", [&] { return vtk_output(full, m.pos, m.tets, ELT_TETRA4); }},
        {"NASTRAN_output", [&] { return NASTRAN_output(full, m.pos, m.tets, ranges, tet_type, pids); }},
        {"NASTRAN_output (one block)", [&] { return NASTRAN_output(full, m.pos, m.tets, ELT_TETRA4); }},
        {"ensight_output", [&] { return ensight_output(full, m.pos, m.tets, ELT_TETRA4); }},
        {"STL_output (ASCII)", [&] { return STL_output(full, m.pos, faces, true); }},
        {"STL_output (binary)", [&] { return STL_output(full, m.pos, faces, false); }},
        {"STL_output (stream)",
         [&] {
           std::FILE* f = std::fopen(full, "w");
           const int r = STL_output(f, m.pos, faces, false);
           std::fclose(f);
           return r;
         }},
        {"vtk_output (stream)",
         [&] {
           std::FILE* f = std::fopen(full, "w");
           const int r = vtk_output(f, m.pos, ncells, cells, cell_types);
           std::fclose(f);
           return r;
         }},
        {"NASTRAN_output (stream)",
         [&] {
           std::FILE* f = std::fopen(full, "w");
           const int r = NASTRAN_output(f, m.pos, m.tets, m.tets, ELT_TETRA4, ELT_TETRA4);
           std::fclose(f);
           return r;
         }},
    };
    for (const auto& w : writers) EXPECT_EQ(w.second(), -1) << w.first << " on " << m.tets.cols() << " elements";
  }
  EXPECT_EQ(open_descriptor_count(), descriptors);
}

}  // namespace
