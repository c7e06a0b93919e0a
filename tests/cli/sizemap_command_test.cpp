// `plexa sizemap`: the field it writes and the figures it prints against
// the library's calls made directly, on seeded random triangle meshes, with
// generated and read, isotropic and anisotropic fields.
#include <cstdio>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include <zeb/plexa.hpp>

#include "format.hpp"
#include "support/files.hpp"
#include "support/support.hpp"
#include "tool_runner.hpp"

namespace {

using plexa_cli::format_number;
using plexa_cli_test::result;
using plexa_cli_test::run;
using plexa_test::scratch_dir;
using namespace zeb::plexa;

// An n x n grid of nodes, each moved by up to a third of the spacing and
// the corner column stretched, cut into triangles.
void jittered_grid(unsigned n, unsigned seed, zeb::dense2D<double>& pos, zeb::dense2D<unsigned>& tria) {
  auto gen = plexa_test::rng(seed);
  std::uniform_real_distribution<double> jitter(-0.33, 0.33);
  ASSERT_TRUE(pos.resize(2, n * n));
  for (unsigned j = 0; j < n; ++j)
    for (unsigned i = 0; i < n; ++i) {
      const double stretch = i == n - 1 ? 4.0 : 1.0;
      const bool inside = i > 0 && j > 0 && i < n - 1 && j < n - 1;
      pos(0, j * n + i) = i * stretch + (inside ? jitter(gen) : 0);
      pos(1, j * n + i) = j + (inside ? jitter(gen) : 0);
    }
  ASSERT_TRUE(tria.resize(3, 2 * (n - 1) * (n - 1)));
  unsigned t = 0;
  for (unsigned j = 0; j + 1 < n; ++j)
    for (unsigned i = 0; i + 1 < n; ++i) {
      const unsigned a = j * n + i, b = a + 1, c = a + n, d = c + 1;
      tria(0, t) = a, tria(1, t) = b, tria(2, t++) = d;
      tria(0, t) = a, tria(1, t) = d, tria(2, t++) = c;
    }
}

double largest_shock(const zeb::dense2D<double>& pos, const zeb::dense2D<unsigned>& tria,
                     const zeb::dense1D<double, 8>& H) {
  zeb::dense2D<unsigned> edges;
  zeb::dense1D<double, 8> shock;
  EXPECT_EQ(copy_edges(tria, ELT_TRIA3, edges), 0);
  EXPECT_EQ(H_shock(pos, edges, H, shock), 0);
  double top = 0;
  for (unsigned v = 0; v < shock.size(); ++v) top = shock[v] > top ? shock[v] : top;
  return top;
}

const zeb::dense1D<int, 8> triangles(1, int(ELT_TRIA3));

std::string histogram_text(const zeb::misc::histogram& h) {
  char text[2048];
  h.render(text, sizeof text);
  return text;
}

TEST(SizemapCommand, WritesAndReportsTheLibrarysField) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    SCOPED_TRACE(seed);
    scratch_dir dir;
    zeb::dense2D<double> pos;
    zeb::dense2D<unsigned> tria;
    jittered_grid(6, seed, pos, tria);
    const std::string mesh = dir.file("grid.mesh"), field = dir.file("sizes.sol");
    ASSERT_EQ(medit_output(mesh.c_str(), pos, &tria, &tria + 1, triangles, {SHORTEST_DIGITS}), 0);
    const bool variation = seed % 2 == 0, freeze = seed >= 3;
    const double exponent = seed == 2 ? 2 : 1, bound = variation ? 0.1 : 0.2;
    std::vector<const char*> args = {"sizemap", mesh.c_str(), "-o", field.c_str(), "--hmax", "1.5"};
    const std::string exponent_text = format_number(exponent).text, bound_text = format_number(bound).text;
    if (exponent != 1) args.insert(args.end(), {"--exponent", exponent_text.c_str()});
    args.insert(args.end(), {variation ? "--variation" : "--gradation", bound_text.c_str()});
    if (freeze) args.push_back("--freeze-boundary");
    const result r = run(args);
    ASSERT_EQ(r.status, 0) << r.err;

    // The same steps through the library.
    zeb::dense1D<double, 8> H, original;
    ASSERT_EQ(metrics_gen_iso(pos, tria, ELT_TRIA3, H, exponent), 0);
    double low = H[0], high = H[0];
    for (unsigned v = 0; v < H.size(); ++v) low = std::min(low, H[v]), high = std::max(high, H[v]);
    ASSERT_TRUE(original.copy(H));
    const int bounded = bound_metrics(H, 0, 1.5);
    ASSERT_GE(bounded, 0);
    zeb::dense1D<double, 8> bounded_sizes;
    ASSERT_TRUE(bounded_sizes.copy(H));
    const double before = largest_shock(pos, tria, H);
    zeb::dense1D<unsigned, 8> frozen;
    if (freeze) {
      zeb::dense2D<unsigned> neighbors, boundary;
      ASSERT_EQ(get_neighbors(tria, ELT_TRIA3, false, neighbors), 0);
      ASSERT_EQ(get_mesh_boundaries(tria, neighbors, ELT_TRIA3, boundary), 0);
      ASSERT_EQ(unique_indices(frozen, boundary, zeb::dense1D<unsigned, 8>()), 0);
    }
    const int graded = variation ? bound_metric_variations(pos, tria, ELT_TRIA3, frozen, true, -1, bound, H)
                                 : bound_metric_gradations(pos, tria, ELT_TRIA3, frozen, true, -1, bound, H);
    ASSERT_GE(graded, 0);
    unsigned changed = 0;
    for (unsigned v = 0; v < H.size(); ++v) changed += H[v] != original[v];
    for (unsigned k = 0; k < frozen.size(); ++k) EXPECT_EQ(H[frozen[k]], bounded_sizes[frozen[k]]);
    zeb::misc::histogram lengths;
    ASSERT_GE(edge_qualities(pos, tria, ELT_TRIA3, H, lengths, zeb::dense2D<unsigned>()), 0);

    // The file holds exactly those sizes.
    unsigned dim = 0;
    zeb::dense2D<double> written;
    ASSERT_EQ(medit_solution_input(field.c_str(), dim, written), 0);
    EXPECT_EQ(dim, 2u);
    ASSERT_EQ(written.rows(), 1u);
    ASSERT_EQ(written.cols(), H.size());
    for (unsigned v = 0; v < H.size(); ++v) EXPECT_EQ(written(0, v), H[v]) << v;

    std::string want = mesh + ": 36 nodes, 50 elements\n" + "size field: power mean (exponent " + exponent_text +
                       ") of the edge lengths at each node, " + format_number(low, 6).text + " to " +
                       format_number(high, 6).text + "\n" + "bounded to [0, 1.5]: " + std::to_string(bounded) +
                       " nodes\n";
    if (freeze) want += "frozen boundary nodes: " + std::to_string(frozen.size()) + "\n";
    want += std::string("largest gradation (H_shock): ") + format_number(before, 6).text + " before, " +
            format_number(largest_shock(pos, tria, H), 6).text + " after bounding the " +
            (variation ? "variation" : "gradation") + " to " + bound_text + " (sizes only shrink)\n" +
            "nodes changed: " + std::to_string(changed) + "\n" + "edge lengths in the new field:\n" +
            histogram_text(lengths) + "wrote " + field + " (MEDIT solution): 36 nodes, 1 values per node\n";
    EXPECT_EQ(r.out, want);
    EXPECT_GT(changed, 0u);
  }
}

// A metric field read from a file: anisotropic metrics go through the
// library's anisotropic gradation, as read.
TEST(SizemapCommand, ReadsAnIsotropicOrAnisotropicField) {
  scratch_dir dir;
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> tria;
  jittered_grid(5, 7, pos, tria);
  const std::string mesh = dir.file("grid.mesh"), in = dir.file("in.sol"), out = dir.file("out.bb");
  ASSERT_EQ(medit_output(mesh.c_str(), pos, &tria, &tria + 1, triangles, {SHORTEST_DIGITS}), 0);
  zeb::dense2D<double> M(3, pos.cols());
  for (unsigned v = 0; v < pos.cols(); ++v)
    M(0, v) = 1 + v % 3 * 10, M(1, v) = 0.5 * (v % 2), M(2, v) = 2 + v % 4;  // positive definite
  ASSERT_EQ(medit_solution_output(in.c_str(), 2, M), 0);
  result r = run({"sizemap", mesh.c_str(), "--metric", in.c_str(), "-o", out.c_str(), "--json"});
  ASSERT_EQ(r.status, 0) << r.err;
  zeb::dense2D<double> read, expected;
  unsigned dim;
  ASSERT_EQ(medit_solution_input(in.c_str(), dim, read), 0);
  ASSERT_TRUE(expected.copy(read));
  const int changed = bound_metric_gradations(pos, tria, ELT_TRIA3, zeb::dense1D<unsigned, 8>(), true, -1, 0.3, expected);
  ASSERT_GT(changed, 0);
  zeb::dense2D<double> written;
  ASSERT_EQ(medit_solution_input(out.c_str(), dim, written), 0);
  ASSERT_EQ(written.rows(), 3u);
  ASSERT_EQ(written.cols(), expected.cols());
  for (unsigned v = 0; v < expected.cols(); ++v)
    for (unsigned i = 0; i < 3; ++i) EXPECT_EQ(written(i, v), expected(i, v)) << v;
  EXPECT_NE(r.out.find("\"field\": \"" + in + "\", \"kind\": \"anisotropic\", \"exponent\": null"), std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("\"bound\": \"gradation\", \"limit\": 0.3, \"freeze_boundary\": false"), std::string::npos);

  // A field that does not fit the mesh is a failure, and nothing is written.
  zeb::dense2D<double> short_field(1, 3, 1.0);
  ASSERT_EQ(medit_solution_output(in.c_str(), 2, short_field), 0);
  const std::string none = dir.file("none.sol");
  r = run({"sizemap", mesh.c_str(), "--metric", in.c_str(), "-o", none.c_str()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "plexa sizemap: the field '" + in + "' has 3 values for 25 nodes\n");
  EXPECT_FALSE(plexa_test::file_exists(none));
}

TEST(SizemapCommand, UnwritableAndUnreadablePathsFail) {
  scratch_dir dir;
  const std::string unwritable = dir.file("no-folder/s.sol");
  result r = run({"sizemap", "-o", unwritable.c_str()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "plexa sizemap: cannot write '" + unwritable + "': No such file or directory\n");
  const std::string missing = dir.file("missing.sol");
  r = run({"sizemap", "--metric", missing.c_str(), "-o", dir.file("s.sol").c_str()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("plexa sizemap: cannot read '" + missing + "': ", 0), 0u) << r.err;
}

}  // namespace
