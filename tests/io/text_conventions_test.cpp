// The text conventions the readers document, checked through the reader
// entries of the fuzz targets (fuzz/readers.hpp): a UTF-8 byte-order mark
// and CRLF line ends read as the plain file, long comment lines are passed
// over, a NUL byte inside a number and a token past 32768 characters make
// the file malformed.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "readers.hpp"
#include "support/support.hpp"

namespace {

using plexa_fuzz::read_outcome;
using plexa_test::to_vector;

struct sample {
  const char* reader;
  std::string text;
  std::string comment;  // what starts a comment line
  std::string number;   // a number in `text` to break (the first occurrence)
};

const std::vector<sample>& samples() {
  static const std::vector<sample> all = {
      {"medit",
       "MeshVersionFormatted 2\nDimension 3\nVertices 4\n0 0 0 1\n1 0 0 1\n0 1 0 1\n0 0 1 1\n"
       "Triangles 1\n1 2 3 7\nTetrahedra 1\n1 2 3 4 5\nEnd\n",
       "#", "1 0 0 1"},
      {"medit_solution", "MeshVersionFormatted 2\nDimension 2\nSolAtVertices\n2\n1 2\n1 2\n4 5\nEnd\n", "#", "4 5"},
      {"medit_solution", "2 1 3 2\n1.5 2.5 3.5\n", "#", "2.5"},
      {"obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\ng walls\nf 1 2 3 4\nl 1 3\n", "#", "1 1 0"},
      {"stl",
       "solid\n facet normal 0 0 1\n outer loop\n vertex 0 0 0\n vertex 1 0 0\n vertex 1 1 0\n endloop\n"
       " endfacet\nendsolid\n",
       "color", "1 1 0"},
  };
  return all;
}

read_outcome read(const char* reader, const std::string& bytes) {
  const plexa_fuzz::reader_entry* r = plexa_fuzz::find_reader(reader);
  EXPECT_NE(r, nullptr) << reader;
  read_outcome o = r->read(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  EXPECT_EQ(plexa_fuzz::broken_promise(*r, o), "");
  return o;
}

::testing::AssertionResult same(const read_outcome& a, const read_outcome& b) {
  if (a.code != b.code) return ::testing::AssertionFailure() << "codes " << a.code << " and " << b.code;
  if (to_vector(a.pos) != to_vector(b.pos) || a.pos.rows() != b.pos.rows()) return ::testing::AssertionFailure() << "pos";
  if (to_vector(a.field) != to_vector(b.field) || a.field.rows() != b.field.rows())
    return ::testing::AssertionFailure() << "values";
  if (to_vector(a.connect) != to_vector(b.connect) || to_vector(a.ranges) != to_vector(b.ranges))
    return ::testing::AssertionFailure() << "elements";
  if (std::vector<int>(a.types.begin(), a.types.end()) != std::vector<int>(b.types.begin(), b.types.end()))
    return ::testing::AssertionFailure() << "types";
  for (std::size_t k = 0; k < a.element_lists.size(); ++k)
    if (to_vector(a.element_lists[k]) != to_vector(b.element_lists[k]))
      return ::testing::AssertionFailure() << "per-element list " << k;
  if (a.names != b.names || a.values != b.values) return ::testing::AssertionFailure() << "names or values";
  return ::testing::AssertionSuccess();
}

std::string crlf(std::string text) {
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) text.insert(at, 1, '\r');
  return text;
}

TEST(TextConventions, ByteOrderMarkAndCrlfReadAsThePlainFile) {
  for (const sample& s : samples()) {
    SCOPED_TRACE(std::string(s.reader) + ": " + s.text);
    const read_outcome plain = read(s.reader, s.text);
    ASSERT_EQ(plain.code, 0);
    EXPECT_TRUE(same(read(s.reader, "\xEF\xBB\xBF" + s.text), plain));
    EXPECT_TRUE(same(read(s.reader, crlf(s.text)), plain));
    EXPECT_TRUE(same(read(s.reader, "\xEF\xBB\xBF" + crlf(s.text)), plain));
  }
}

TEST(TextConventions, LongCommentLinesArePassedOver) {
  for (const sample& s : samples()) {
    if (s.reader == std::string("stl")) continue;  // its lines are cut every 255 characters
    SCOPED_TRACE(s.reader);
    std::string text = s.text;
    text.insert(text.find('\n') + 1, s.comment + " " + std::string(200000, 'x') + "\n");
    EXPECT_TRUE(same(read(s.reader, text), read(s.reader, s.text)));
  }
}

TEST(TextConventions, NulBytesAndOverlongTokensMakeTheFileMalformed) {
  for (const sample& s : samples()) {
    // STL lines are C strings to its grammar, cut every 255 characters:
    // either way the vertex misses numbers, and the bytes make no binary
    // file either.
    SCOPED_TRACE(std::string(s.reader) + ": " + s.text);
    const std::size_t at = s.text.find(s.number);
    ASSERT_NE(at, std::string::npos);
    std::string nul = s.text;
    nul.insert(at + 1, 1, '\0');
    std::string overlong = s.text;
    overlong.insert(at, 40000, '0');
    EXPECT_EQ(read(s.reader, nul).code, -3);
    EXPECT_EQ(read(s.reader, overlong).code, -3);
  }
}

}  // namespace
