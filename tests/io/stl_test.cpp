// STL files (src/io/stl.cpp, stl_read.cpp): exact bytes of both writers
// (normals, empty files, a comma locale), the writers' codes in order, round
// trips, the ASCII grammar case by case, files cut at every byte, hostile
// counts, streams and memory failures.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include <zeb/plexa/io/stl.hpp>

#include "io/stl_soup.hpp"
#include "support/files.hpp"
#include "support/locale.hpp"
#include "support/support.hpp"

namespace {

using namespace zeb::plexa;
using namespace plexa_test;

// A closed torus of nu x nv quadrangles cut in two, outward normals.
struct surface {
  dense2D<double> pos;
  dense2D<unsigned> connect;
};

surface torus(unsigned nu, unsigned nv, double jitter, std::mt19937_64& g) {
  surface s{dense2D<double>(3, nu * nv), dense2D<unsigned>(3, 2 * nu * nv)};
  std::uniform_real_distribution<double> u(-jitter, jitter);
  for (unsigned i = 0; i < nu; ++i)
    for (unsigned j = 0; j < nv; ++j) {
      const double a = 2 * M_PI * i / nu, b = 2 * M_PI * j / nv, r = 3 + std::cos(b) + u(g);
      const unsigned k = i * nv + j;
      s.pos(0, k) = r * std::cos(a);
      s.pos(1, k) = r * std::sin(a);
      s.pos(2, k) = std::sin(b) + u(g);
      const unsigned right = (i + 1) % nu * nv + j, up = i * nv + (j + 1) % nv, both = (i + 1) % nu * nv + (j + 1) % nv;
      const unsigned t[6] = {k, right, both, k, both, up};
      for (unsigned c = 0; c < 6; ++c) s.connect(c % 3, 2 * k + c / 3) = t[c];
    }
  return s;
}

struct read_result {
  int code;
  dense2D<double> pos;
  dense2D<unsigned> connect;
  STL_read_report report;
};

// Reads `bytes` through a memory stream.
read_result read_bytes(const std::string& bytes) {
  read_result r;
  std::string copy = bytes;
  std::FILE* f = fmemopen(copy.empty() ? nullptr : copy.data(), copy.size(), "r");
  if (copy.empty()) f = std::fopen("/dev/null", "r");
  r.code = STL_input(f, r.pos, r.connect, r.report);
  std::fclose(f);
  return r;
}

// Bytes of a binary file: the header, the count, then per triangle a zero
// normal, the nine coordinates and a zero attribute.
std::string binary_file(const std::string& header, std::uint32_t count, const std::vector<float>& coordinates) {
  std::string bytes = header;
  bytes.resize(80, '\0');
  for (unsigned k = 0; k < 4; ++k) bytes += char(count >> (8 * k));
  for (std::size_t t = 0; t + 9 <= coordinates.size(); t += 9) {
    bytes.append(12, '\0');
    for (std::size_t k = t; k < t + 9; ++k) {
      std::uint32_t b;
      std::memcpy(&b, &coordinates[k], 4);
      for (unsigned i = 0; i < 4; ++i) bytes += char(b >> (8 * i));
    }
    bytes.append(2, '\0');
  }
  return bytes;
}

std::string facet(const std::string& a, const std::string& b, const std::string& c) {
  return " facet normal 0 0 1\n  outer loop\n   vertex " + a + "\n   vertex " + b + "\n   vertex " + c +
         "\n  endloop\n endfacet\n";
}

std::string crlf(std::string text) {
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) text.insert(at, 1, '\r');
  return text;
}

// A square of two triangles: 4 nodes once welded.
const std::string square = facet("0 0 0", "1 0 0", "1 1 0") + facet("0 0 0", "1 1 0", "0 1 0");

const dense2D<double> three_triangles_pos =
    coordinates(3, {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 3, 1.5e-7, -2.5e10, 1, 0.1, 0.2, 0.3});

TEST(StlOutput, BothVariantsWriteExactly) {
  scratch_dir dir;
  const std::string path = dir.file("t.stl");
  // A unit normal kept as it is, a normal scaled to unit length (its longest
  // edge is 1-2), a degenerate triangle (zero normal), through a strided view.
  const dense2D<double> pos = three_triangles_pos;
  const dense2D<unsigned> connect = connectivity(3, {0, 1, 2, 3, 4, 5, 6, 6, 7});
  const std::string ascii =
      "solid ZEB\n"
      "   facet normal 0.000000e+00 0.000000e+00 1.000000e+00\n"
      "      outer loop\n"
      "         vertex 0.000000e+00 0.000000e+00 0.000000e+00\n"
      "         vertex 1.000000e+00 0.000000e+00 0.000000e+00\n"
      "         vertex 0.000000e+00 1.000000e+00 0.000000e+00\n"
      "      endloop\n"
      "   endfacet\n"
      "   facet normal 0.000000e+00 -1.000000e+00 0.000000e+00\n"
      "      outer loop\n"
      "         vertex 0.000000e+00 0.000000e+00 0.000000e+00\n"
      "         vertex 2.000000e+00 0.000000e+00 0.000000e+00\n"
      "         vertex 0.000000e+00 0.000000e+00 3.000000e+00\n"
      "      endloop\n"
      "   endfacet\n"
      "   facet normal 0.000000e+00 0.000000e+00 0.000000e+00\n"
      "      outer loop\n"
      "         vertex 1.500000e-07 -2.500000e+10 1.000000e+00\n"
      "         vertex 1.500000e-07 -2.500000e+10 1.000000e+00\n"
      "         vertex 1.000000e-01 2.000000e-01 3.000000e-01\n"
      "      endloop\n"
      "   endfacet\n"
      "endsolid ZEB\n";
  EXPECT_EQ(outcome(STL_output(path.c_str(), pos, strided(connect), true), path), ascii);
  {
    decimal_comma_locale comma;
    ASSERT_EQ(STL_output(path.c_str(), strided(pos), connect, true), 0);
  }
  EXPECT_EQ(read_file(path), ascii);

  // Binary: the header, the count, 12 floats and a zero attribute per triangle.
  std::string binary = binary_file("ZEB STL Binary", 3, {});
  const float values[3][12] = {{0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0},
                               {0, -1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 3},
                               {0, 0, 0, 1.5e-7f, -2.5e10f, 1, 1.5e-7f, -2.5e10f, 1, 0.1f, 0.2f, 0.3f}};
  for (const auto& record : values) {
    for (float v : record) {
      std::uint32_t b;
      std::memcpy(&b, &v, 4);
      for (unsigned i = 0; i < 4; ++i) binary += char(b >> (8 * i));
    }
    binary.append(2, '\0');
  }
  EXPECT_EQ(outcome(STL_output(path.c_str(), pos, connect, false), path), binary);

  // No triangle: an empty solid, or a header and a zero count.
  EXPECT_EQ(outcome(STL_output(path.c_str(), dense2D<double>(), dense2D<unsigned>(), true), path),
            "solid ZEB\nendsolid ZEB\n");
  EXPECT_EQ(outcome(STL_output(path.c_str(), pos, dense2D<unsigned>(5, 0), false), path), binary_file("ZEB STL Binary", 0, {}));
}

TEST(StlOutput, CodesInTheirOrder) {
  scratch_dir dir;
  const std::string path = dir.file("t.stl");
  const dense2D<double> pos = three_triangles_pos, planar = coordinates(2, {0, 0, 1, 0, 0, 1});
  const dense2D<unsigned> good = connectivity(3, {0, 1, 2}), far = connectivity(3, {0, 1, 8}),
                          quads = connectivity(4, {0, 1, 2, 3});
  for (bool ascii : {true, false}) {
    EXPECT_EQ(STL_output(static_cast<std::FILE*>(nullptr), pos, good, ascii), -1);
    EXPECT_EQ(STL_output(dir.file("no/such/dir.stl").c_str(), pos, good, ascii), -1);
    EXPECT_EQ(STL_output(static_cast<const char*>(nullptr), pos, good, ascii), -1);
    EXPECT_EQ(outcome(STL_output(path.c_str(), planar, far, ascii), path), "code -2");
    EXPECT_EQ(read_file(path), "");  // opened first, left empty
    EXPECT_EQ(outcome(STL_output(path.c_str(), pos, far, ascii), path), "code -3");
    EXPECT_EQ(outcome(STL_output(path.c_str(), pos, quads, ascii), path), "code -3");
    // Coordinates without entries name no node.
    EXPECT_EQ(outcome(STL_output(path.c_str(), dense2D<double>(0, 8), good, ascii), path), "code -3");
    // A stream in error, and one the writer leaves open.
    std::FILE* f = std::fopen(path.c_str(), "w+");
    std::fgetc(f);
    std::fputc('x', f);  // writing after reading without positioning: the stream is in error
    if (std::ferror(f)) {
      EXPECT_EQ(STL_output(f, pos, good, ascii), -1);
    }
    std::clearerr(f);
    std::rewind(f);
    EXPECT_EQ(STL_output(f, pos, good, ascii), 0);
    EXPECT_EQ(std::fputc('!', f), '!');
    std::fclose(f);
  }
}

// Written, read back: the triangles in order over the same points, the
// coordinates as the file holds them ("%e" text, or 32-bit floats).
TEST(StlInput, RoundTrips) {
  scratch_dir dir;
  const std::string path = dir.file("torus.stl");
  auto g = rng(3);
  const surface s = torus(24, 11, 0.05, g);
  for (bool ascii : {true, false}) {
    SCOPED_TRACE(ascii ? "ASCII" : "binary");
    ASSERT_EQ(STL_output(path.c_str(), strided(s.pos), s.connect, ascii), 0);
    dense2D<double> pos;
    dense2D<unsigned> connect;
    STL_read_report report;
    ASSERT_EQ(STL_input(path.c_str(), pos, connect, report), 0);
    EXPECT_EQ(report.binary, !ascii);
    EXPECT_EQ(report.triangles, s.connect.cols());
    EXPECT_TRUE(report.welded);
    EXPECT_GT(report.tolerance, 0.0);
    EXPECT_EQ(report.removed, 0u);
    ASSERT_EQ(pos.cols(), s.pos.cols());
    ASSERT_EQ(connect.cols(), s.connect.cols());
    // Nodes come in order of first appearance.
    std::vector<unsigned> seen(s.pos.cols(), NO);
    unsigned next = 0;
    for (unsigned j = 0; j < connect.cols(); ++j)
      for (unsigned i = 0; i < 3; ++i) {
        const unsigned original = s.connect(i, j);
        if (seen[original] == NO) seen[original] = next++;
        ASSERT_EQ(connect(i, j), seen[original]);
        for (unsigned k = 0; k < 3; ++k) {
          const double x = s.pos(k, original);
          char text[32];
          std::snprintf(text, sizeof text, "%e", x);
          ASSERT_EQ(pos(k, connect(i, j)), ascii ? std::strtod(text, nullptr) : double(float(x)));
        }
      }
  }
}

// The grammar, case by case: what is read, and the code when it fails.
TEST(StlInput, AsciiGrammar) {
  const std::string long_line(300, ' ');
  const struct {
    const char* name;
    std::string text;
    int code;
    unsigned nodes, triangles;
  } cases[] = {
      {"plain", "solid s\n" + square + "endsolid s\n", 0, 4, 2},
      {"CRLF lines, no final newline", crlf("solid\n" + facet("0 0 0", "1 0 0", "0 1 0")) + "endsolid", 0, 3, 1},
      {"upper and mixed case", "SOLID S\n FACET NORMAL 0 0 1\n  Outer Loop\n   VERTEX 0 0 0\n   Vertex 1E0 0 0\n"
                               "   VERTEX 0 1 0\n  ENDLOOP\n ENDFACET\nENDSOLID\n", 0, 3, 1},
      {"colour lines", "solid\ncolor 1 0 0\n" + facet("0 0 0", "1 0 0", "0 1 0") + "  COLOR 0 1 0\n" +
                           facet("1 0 0", "1 1 0", "0 1 0") + "endsolid\n", 0, 4, 2},
      {"two solids make one mesh", "solid a\n" + facet("0 0 0", "1 0 0", "1 1 0") + "endsolid a\nsolid b\n" +
                                       facet("0 0 0", "1 1 0", "0 1 0") + "endsolid b\n", 0, 4, 2},
      {"a facet after endsolid", "solid\nendsolid\n" + square + "endsolid\n", 0, 4, 2},
      {"numbers as %lg takes them", "solid\n" + facet("1e 2e+ 0x1p1", "1.e0 -0 .5", "+1 0X1.8P1 5e-1") + "endsolid\n",
       0, 3, 1},
      {"words glued, text after the numbers, a NUL byte",
       "solid\nfacetnormal0 0 1 trailing\nouter loop\nvertex0 0 0\nvertex 1 0 0 x\nvertex 0 1 0\n"
       "endloop\nendfacet" + std::string(1, '\0') + "junk\nendsolid\n", 0, 3, 1},
      {"254 characters and the newline", "solid\n" + std::string(236, ' ') + "facet normal 0 0 1\n" +
                                             square.substr(square.find('\n') + 1) + "endsolid\n", 0, 4, 2},
      // A longer line is read as two: its newline alone is no "outer loop" line.
      {"255 characters and the newline", "solid\n" + std::string(237, ' ') + "facet normal 0 0 1\n" +
                                             square.substr(square.find('\n') + 1) + "endsolid\n", -3, 0, 0},
      {"a vertex line cut by the line length", "solid\n facet normal 0 0 1\n outer loop\n vertex" + long_line +
                                                   "0 0 0\n vertex 1 0 0\n vertex 0 1 0\n endloop\n endfacet\n"
                                                   "endsolid\n", -3, 0, 0},
      {"no solid line", "facet normal 0 0 1\n", -2, 0, 0},
      {"empty", "", -2, 0, 0},
      {"only the solid line", "solid\n", -2, 0, 0},  // the ASCII -3 ends as the binary reader's -2
      {"no endsolid", "solid\n" + square, -3, 0, 0},
      {"two numbers", "solid\n" + facet("0 0", "1 0 0", "0 1 0") + "endsolid\n", -3, 0, 0},
      {"not a number", "solid\n" + facet("0 0 .", "1 0 0", "0 1 0") + "endsolid\n", -3, 0, 0},
      {"no endloop", "solid\n facet normal 0 0 1\n outer loop\n vertex 0 0 0\n vertex 1 0 0\n vertex 0 1 0\n"
                     " endfacet\n endfacet\nendsolid\n" + std::string(100, ' '), -3, 0, 0},
      {"a colour line inside a facet", "solid\n facet normal 0 0 1\n color 1 1 1\n outer loop\n" +
                                           square.substr(square.find("   vertex")) + "endsolid\n", -3, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const read_result r = read_bytes(c.text);
    EXPECT_EQ(r.code, c.code);
    EXPECT_EQ(r.pos.cols(), c.nodes);
    EXPECT_EQ(r.connect.cols(), c.triangles);
    EXPECT_FALSE(r.report.binary);
  }
  const read_result numbers = read_bytes("solid\n" + facet("1e 2e+ 0x1p1", "1.e0 -0 .5", "+1 0X1.8P1 5e-1") + "endsolid\n");
  EXPECT_EQ(to_vector(numbers.pos), (std::vector<double>{1, 2, 2, 1, -0.0, 0.5, 1, 3, 0.5}));
  EXPECT_TRUE(std::signbit(numbers.pos(1, 1)));
}

// Binary files: a header that starts with "solid" fails the ASCII grammar
// at its second line; all-degenerate soups are not welded; files of 0, 1,
// 80 and 84 bytes; counts the file does not hold.
TEST(StlInput, BinaryFiles) {
  const std::vector<float> two = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 1, 0, 0, 1, 0};
  read_result r = read_bytes(binary_file("solid made by a binary writer\n", 2, two));
  EXPECT_EQ(r.code, 0);
  EXPECT_TRUE(r.report.binary);
  EXPECT_EQ(r.pos.cols(), 4u);
  EXPECT_EQ(to_vector(r.connect), (std::vector<unsigned>{0, 1, 2, 0, 2, 3}));

  // Degenerate triangles only (a point, a segment): the soup as read.
  r = read_bytes(binary_file("", 2, {1, 2, 3, 1, 2, 3, 1, 2, 3, 0, 0, 0, 1, 1, 1, 2, 2, 2}));
  EXPECT_EQ(r.code, 0);
  EXPECT_FALSE(r.report.welded);
  EXPECT_EQ(r.pos.cols(), 6u);
  EXPECT_EQ(to_vector(r.connect), (std::vector<unsigned>{0, 1, 2, 3, 4, 5}));
  r = read_bytes("solid\n" + facet("0 0 0", "0 0 0", "0 0 0") + facet("0 0 0", "0 0 0", "0 0 0") + "endsolid\n");
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.pos.cols(), 6u);

  // Short files, and a count the file does not hold (found short, not
  // allocated for: the nodes of 2^32 - 1 triangles cannot be had at all).
  EXPECT_EQ(read_bytes("").code, -2);
  EXPECT_EQ(read_bytes("s").code, -2);
  EXPECT_EQ(read_bytes(std::string(80, 's')).code, -3);
  EXPECT_EQ(read_bytes(binary_file("", 0, {})).code, 0);
  EXPECT_EQ(read_bytes(binary_file("", 1, {})).code, -3);
  EXPECT_EQ(read_bytes(binary_file("", 0xFFFFFFFFu, two)).code, -3);
  EXPECT_EQ(read_bytes(binary_file("", 3, two)).code, -3);
  // Bytes after the last triangle are left alone.
  EXPECT_EQ(read_bytes(binary_file("", 1, two)).code, 0);
}

// Both variants cut at every byte: a code, never a crash, and empty
// outputs; the ASCII file still reads once its "endsolid" is whole.
TEST(StlInput, FilesCutAtEveryByte) {
  auto g = rng(4);
  const surface s = torus(3, 3, 0.0, g);
  scratch_dir dir;
  for (bool ascii : {true, false}) {
    const std::string path = dir.file(ascii ? "a.stl" : "b.stl");
    ASSERT_EQ(STL_output(path.c_str(), s.pos, s.connect, ascii), 0);
    const std::string whole = read_file(path);
    const std::size_t complete = ascii ? whole.rfind("endsolid") + 8 : whole.size();
    for (std::size_t n = 0; n <= whole.size(); ++n) {
      const read_result r = read_bytes(whole.substr(0, n));
      const int expected = n >= complete ? 0 : n < 80 ? -2 : -3;
      ASSERT_EQ(r.code, expected) << n << " bytes";
      if (expected != 0) ASSERT_TRUE(r.pos.empty() && r.connect.empty() && r.report.triangles == 0) << n;
      else ASSERT_EQ(r.connect.cols(), s.connect.cols());
    }
  }
}

TEST(StlInput, StreamsPathsAndLocales) {
  scratch_dir dir;
  const std::string path = dir.file("s.stl"), text = "solid\n" + square + "endsolid\n";
  dense2D<double> pos = coordinates(3, {1, 2, 3});
  dense2D<unsigned> connect = connectivity(3, {0, 0, 0});
  EXPECT_EQ(STL_input(static_cast<std::FILE*>(nullptr), pos, connect), -1);
  EXPECT_TRUE(pos.empty() && connect.empty());
  EXPECT_EQ(STL_input(dir.file("missing.stl").c_str(), pos, connect), -1);
  EXPECT_EQ(STL_input(static_cast<const char*>(nullptr), pos, connect), -1);
  // A stream in error, and one that cannot be positioned.
  std::FILE* f = std::fopen(path.c_str(), "w");
  std::fgetc(f);
  if (std::ferror(f)) {
    EXPECT_EQ(STL_input(f, pos, connect), -1);
  }
  std::fclose(f);
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  std::FILE* in = fdopen(fds[0], "r");
  EXPECT_EQ(STL_input(in, pos, connect), -1);
  std::fclose(in);
  close(fds[1]);

  // From the stream's position; the binary attempt starts there too.
  f = std::fopen(path.c_str(), "w+");
  const std::string binary = binary_file("", 2, {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 1, 0, 0, 1, 0});
  std::fputs("prefix", f);
  std::fwrite(binary.data(), 1, binary.size(), f);
  std::fputs("rest", f);
  std::fseek(f, 6, SEEK_SET);
  EXPECT_EQ(STL_input(f, pos, connect), 0);
  EXPECT_EQ(pos.cols(), 4u);
  EXPECT_EQ(std::ftell(f), long(6 + binary.size()));
  std::fclose(f);

  // A decimal comma changes nothing.
  std::FILE* out = std::fopen(path.c_str(), "w");
  std::fputs(text.c_str(), out);
  std::fclose(out);
  ASSERT_EQ(STL_input(path.c_str(), pos, connect), 0);
  const std::vector<double> expected = to_vector(pos);
  decimal_comma_locale comma;
  ASSERT_EQ(STL_input(path.c_str(), pos, connect), 0);
  EXPECT_EQ(to_vector(pos), expected);
}

TEST(StlInput, MemoryFailuresLeaveNothing) {
  auto g = rng(5);
  const surface s = torus(6, 5, 0.01, g);
  scratch_dir dir;
  for (bool ascii : {true, false}) {
    const std::string path = dir.file("m.stl");
    ASSERT_EQ(STL_output(path.c_str(), s.pos, s.connect, ascii), 0);
    dense2D<double> pos;
    dense2D<unsigned> connect;
    EXPECT_GT(for_each_allocation_failure([&] { return STL_input(path.c_str(), pos, connect); },
                                          [&] { EXPECT_TRUE(pos.empty() && connect.empty()); }),
              5u);
    EXPECT_EQ(connect.cols(), s.connect.cols());
  }
}

}  // namespace
