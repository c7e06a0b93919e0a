// `plexa partition` and `plexa merge-parts` (cli/commands/partition.cpp,
// merge_parts.cpp; built with the MPI companion): the part files, and the
// round trip of a mesh and a field through them.
#if PLEXA_CLI_MPI
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/plexa.hpp>
#include <zeb/plexa/io/medit.hpp>

#include "support/files.hpp"
#include "support/support.hpp"
#include "tool_runner.hpp"

namespace {

using plexa_cli_test::result;
using plexa_cli_test::run;
using plexa_test::scratch_dir;

struct medit_mesh {
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, refs, node_refs;
  zeb::dense1D<int, 8> types;
  int read(const std::string& path) {
    return zeb::plexa::medit_input(path.c_str(), pos, connect, ranges, types, refs, node_refs);
  }
};

TEST(PartitionCommand, PartsCarryGlobalIdsAndGlueBackWithTheirFields) {
  scratch_dir dir;
  const std::string prefix = dir.file("part"), whole = dir.file("whole.mesh");
  ASSERT_EQ(run({"convert", "builtin", whole.c_str()}).status, 0);
  medit_mesh original;
  ASSERT_EQ(original.read(whole), 0);
  const result r = run({"partition", whole.c_str(), "-n", "3", "-o", prefix.c_str()});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "wrote " + prefix + ".0.mesh: 7 nodes, 2 elements\n" +
                   "wrote " + prefix + ".1.mesh: 9 nodes, 3 elements\n" +
                   "wrote " + prefix + ".2.mesh: 12 nodes, 2 elements\n" + whole +
                   ": 7 elements in 3 parts; 28 node copies for 17 nodes\n");
  // Each part's vertices are the original nodes their references name; a
  // field of those ids, glued, is the identity.
  std::vector<std::string> parts;
  for (int q = 0; q < 3; ++q) {
    parts.push_back(prefix + "." + std::to_string(q) + ".mesh");
    medit_mesh p;
    ASSERT_EQ(p.read(parts.back()), 0);
    zeb::dense2D<double> ids(1, p.pos.cols());
    for (unsigned i = 0; i < p.pos.cols(); ++i) {
      for (unsigned k = 0; k < 3; ++k) EXPECT_EQ(p.pos(k, i), original.pos(k, p.node_refs[i]));
      ids(0, i) = p.node_refs[i];
    }
    const std::string sol = prefix + "." + std::to_string(q) + ".sol";
    ASSERT_EQ(zeb::plexa::medit_solution_output(sol.c_str(), 3, ids), 0);
  }
  const std::string glued = dir.file("glued.mesh"), field = dir.file("glued.sol");
  const result m = run({"merge-parts", parts[0].c_str(), parts[1].c_str(), parts[2].c_str(), "-o", glued.c_str(),
                        "--field", field.c_str()});
  ASSERT_EQ(m.status, 0) << m.err;
  EXPECT_EQ(m.out, "wrote " + glued + " (MEDIT): 17 nodes, 7 elements\nwrote " + field +
                       " (MEDIT solution): 1 values per node, 17 nodes\n");
  medit_mesh back;
  ASSERT_EQ(back.read(glued), 0);
  EXPECT_EQ(plexa_test::to_vector(back.pos), plexa_test::to_vector(original.pos));
  // The same elements, whatever their order.
  auto elements = [](const medit_mesh& x) {
    std::vector<std::vector<unsigned>> all;
    for (unsigned b = 0; b + 1 < x.ranges.size(); ++b)
      for (unsigned j = x.ranges[b]; j < x.ranges[b + 1]; ++j) {
        std::vector<unsigned> e{unsigned(x.types[b])};
        for (unsigned i = 0; i < zeb::plexa::nbr_nodes(zeb::plexa::element_type(x.types[b])); ++i)
          e.push_back(x.connect(i, j));
        all.push_back(e);
      }
    std::sort(all.begin(), all.end());
    return all;
  };
  EXPECT_EQ(elements(back), elements(original));
  unsigned dim = 0;
  zeb::dense2D<double> values;
  ASSERT_EQ(zeb::plexa::medit_solution_input(field.c_str(), dim, values), 0);
  ASSERT_EQ(values.cols(), 17u);
  for (unsigned v = 0; v < 17; ++v) EXPECT_EQ(values(0, v), double(v));
}

TEST(PartitionCommand, Mistakes) {
  scratch_dir dir;
  const std::string prefix = dir.file("p");
  EXPECT_EQ(run({"partition", "builtin", "-n", "0", "-o", prefix.c_str()}).status, 2);
  EXPECT_EQ(run({"partition", "builtin", "-n", "x", "-o", prefix.c_str()}).status, 2);
  EXPECT_EQ(run({"partition", "builtin", "-o", prefix.c_str()}).status, 2);
  EXPECT_EQ(run({"partition", "builtin", "-n", "2"}).status, 2);
  EXPECT_EQ(run({"merge-parts", "-o", dir.file("x.mesh").c_str()}).status, 2);
  const result missing = run({"merge-parts", dir.file("none.mesh").c_str(), "-o", dir.file("x.mesh").c_str()});
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("cannot read"), std::string::npos) << missing.err;
}

}  // namespace
#endif
