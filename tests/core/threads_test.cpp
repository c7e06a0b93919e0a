// Calls of every family from several threads at once, each on its own data,
// and containers sharing one storage block across threads: every thread gets
// the answers one thread alone gets.  Run under ThreadSanitizer in CI.
#include <string>
#include <thread>
#include <vector>

#include "support/files.hpp"
#include "support/meshes.hpp"
#include "support/support.hpp"

using namespace zeb::plexa;
using namespace plexa_test;

namespace {

// Everything one worker computes on its mesh, flattened for comparison.
std::vector<double> work(const random_mesh& m, const std::string& file) {
  std::vector<double> out;
  auto add = [&](const auto& v) {
    for (auto x : to_vector(v)) out.push_back(double(x));
  };
  dense2D<unsigned> neighbors, edges;
  dense1D<unsigned, 8> nodes, offsets, graph, map;
  dense1D<double, 8> qualities;
  out.push_back(get_neighbors(m.connect, m.type, false, neighbors));
  add(neighbors);
  out.push_back(unique_indices(nodes, m.connect, dense1D<unsigned, 8>()));
  add(nodes);
  out.push_back(get_node_graph(m.connect, offsets, graph, m.type));
  add(offsets);
  add(graph);
  out.push_back(copy_edges(m.connect, m.type, edges));
  add(edges);
  out.push_back(shape_qualities(m.coords, m.connect, m.type, qualities));
  add(qualities);
  dense2D<unsigned> welded;
  welded.copy(m.connect);
  out.push_back(merge(m.coords, welded, map, 0.3, 0));
  add(map);
  dense1D<double, 8> sizes;
  out.push_back(metrics_gen_iso(m.coords, m.connect, m.type, sizes, 1.0));
  if (!sizes.empty()) sizes[0] *= 0.01;  // a point source for the gradation
  out.push_back(bound_metric_gradations(m.coords, m.connect, m.type, dense1D<unsigned, 8>(), true, -1, 0.3, sizes));
  add(sizes);
  out.push_back(medit_output(file.c_str(), m.coords, m.connect, m.type));
  const std::string text = read_file(file);
  out.insert(out.end(), text.begin(), text.end());
  return out;
}

}  // namespace

TEST(Threads, FamiliesRunConcurrentlyOnSeparateData) {
  const scratch_dir dir;
  constexpr unsigned workers = 4;
  std::vector<random_mesh> meshes;
  for (unsigned t = 0; t < workers; ++t) {
    auto g = rng(900 + t);
    meshes.push_back(random_conforming_mesh(g, t % 2 ? cell_cut::tetrahedra : cell_cut::mixed_solids, 5, 4, 3));
  }
  std::vector<std::vector<double>> alone(workers), together(workers);
  for (unsigned t = 0; t < workers; ++t) alone[t] = work(meshes[t], dir.file("alone" + std::to_string(t)));
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < workers; ++t)
    threads.emplace_back([&, t] { together[t] = work(meshes[t], dir.file("together" + std::to_string(t))); });
  for (std::thread& t : threads) t.join();
  for (unsigned t = 0; t < workers; ++t) EXPECT_EQ(together[t], alone[t]) << t;
}

// One mesh shared by every thread (inputs are only read): the same answers.
TEST(Threads, SharedInputsAreOnlyRead) {
  const scratch_dir dir;
  auto g = rng(77);
  const random_mesh m = random_conforming_mesh(g, cell_cut::tetrahedra, 6, 5, 4);
  const std::vector<double> expected = work(m, dir.file("alone"));
  std::vector<std::vector<double>> got(4);
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 4; ++t)
    threads.emplace_back([&, t] { got[t] = work(m, dir.file("shared" + std::to_string(t))); });
  for (std::thread& t : threads) t.join();
  for (unsigned t = 0; t < 4; ++t) EXPECT_EQ(got[t], expected) << t;
}
