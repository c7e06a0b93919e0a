#include "support/read_mesh.hpp"

#include <cmath>

#include <gtest/gtest.h>

#include "support/files.hpp"

namespace plexa_test {

using namespace zeb::plexa;

int read_text(stream_reader reader, const std::string& text, read_mesh& r) {
  std::FILE* f = text.empty() ? std::tmpfile() : fmemopen(const_cast<char*>(text.data()), text.size(), "r");
  if (!f) {
    ADD_FAILURE() << "no stream over the text";
    return 1;
  }
  const int code = reader(f, r.pos, r.connect, r.ranges, r.types, r.ids, r.node_ids, r.element_ids);
  std::fclose(f);
  return code;
}

int code_of(stream_reader reader, const std::string& text) {
  read_mesh r;
  const int code = read_text(reader, text, r);
  EXPECT_TRUE(code == 0 || r.empty()) << code;
  return code;
}

void expect_a_code_for_damaged_files(stream_reader reader, const std::vector<std::string>& texts, unsigned flips) {
  unsigned seed = 0;
  for (const std::string& text : texts)
    for (const std::string& copy : damaged_copies(text, flips, ++seed)) {
      read_mesh r;
      const int code = read_text(reader, copy, r);
      ASSERT_TRUE(code == 0 || code == -2 || code == -3 || code == -4 || code == -5) << code;
      if (code != 0) {
        EXPECT_TRUE(r.empty());
        continue;
      }
      for (unsigned j = 0; j < r.connect.cols(); ++j)
        for (unsigned v : r.column(j)) ASSERT_LT(v, r.pos.cols());
    }
}

namespace {

element_type member(element_type mixed, const std::vector<unsigned>& column) {
  if (mixed == ELT_FACE_MIX) return column.size() == 3 ? ELT_TRIA3 : ELT_QUAD4;
  const element_type solids[] = {ELT_TETRA4, ELT_PYRA5, ELT_WEDGE6, ELT_NONE, ELT_HEXA8};
  return solids[column.size() - 4];
}

}  // namespace

void expect_read_back(const ranged_blocks& d, const read_mesh& r, element_type (*held)(element_type),
                      double tolerance) {
  const unsigned n = d.pos.cols(), m = d.connect.cols();
  ASSERT_EQ(r.pos.rows(), 3u);
  ASSERT_EQ(r.pos.cols(), n);
  for (unsigned p = 0; p < n; ++p) {
    EXPECT_EQ(r.node_ids[p], p + 1);
    for (unsigned k = 0; k < 3; ++k) {
      const double want = k < d.pos.rows() ? d.pos(k, p) : 0.0;
      if (tolerance == 0.0)
        EXPECT_EQ(r.pos(k, p), want) << p << ' ' << k;
      else
        EXPECT_NEAR(r.pos(k, p), want, tolerance * std::fabs(want)) << p << ' ' << k;
    }
  }
  ASSERT_EQ(r.connect.cols(), m);
  for (unsigned b = 0; b + 1 < d.ranges.size(); ++b)
    for (unsigned j = d.ranges[b]; j < d.ranges[b + 1]; ++j) {
      std::vector<unsigned> column;
      for (unsigned i = 0; i < d.connect.rows() && d.connect(i, j) != 4294967295u; ++i)
        column.push_back(d.connect(i, j));
      element_type type = element_type(d.types[b]);
      if (type == ELT_FACE_MIX || type == ELT_SOLID_MIX) type = member(type, column);
      const element_type kept = held(type);
      column.resize(nbr_nodes(kept));
      EXPECT_EQ(r.type_of(j), kept) << j;
      EXPECT_EQ(r.column(j), column) << j;
      EXPECT_EQ(r.element_ids[j], j + 1);
      EXPECT_EQ(r.ids[j], d.ids[j]);
    }
  for (unsigned b = 1; b < r.types.size(); ++b) EXPECT_NE(r.types[b], r.types[b - 1]);
}

}  // namespace plexa_test
