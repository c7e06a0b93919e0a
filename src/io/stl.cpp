// STL files: the readers (the ASCII grammar, then the binary layout, then
// the weld; stl_soup.hpp) and the writers.
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/io/stl.hpp>

#include "core/result_codes.hpp"
#include "io/common/number_format.hpp"
#include "io/common/output_file.hpp"
#include "io/common/text_writer.hpp"
#include "io/stl_soup.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::OUT_OF_MEMORY;
using detail::text_writer;
using detail::triangle_soup;

// ---------------------------------------------------------------------------
// Reading
// ---------------------------------------------------------------------------

// Reads the soup by one grammar, then welds it.
int read_variant(std::FILE* f, bool binary, dense2D<double>& pos, dense2D<unsigned>& connect,
                 STL_read_report& report) {
  triangle_soup soup;
  const int r = binary ? detail::read_binary_soup(f, soup) : detail::read_ascii_soup(f, soup);
  if (r < 0) return r;
  if (!soup.finish(pos, connect)) return OUT_OF_MEMORY;
  report.binary = binary;
  report.triangles = connect.cols();
  const double h2 = soup.smallest_squared_height();
  if (h2 == INFINITY) return 0;  // no triangle of positive height: the soup as read
  report.welded = true;
  report.tolerance = 0.05 * std::sqrt(h2);
  const int removed = detail::weld_soup(pos, connect, h2);
  if (removed < 0) return removed;
  report.removed = unsigned(removed);
  return 0;
}

// The outcome of a reading: on failure nothing is kept.
int outcome(int r, dense2D<double>& pos, dense2D<unsigned>& connect, STL_read_report& report) {
  if (r >= 0) return r;
  report = STL_read_report();
  return detail::fail(r, pos, connect);
}

// Whether the ASCII attempt's result is final: a success or want of memory.
bool final_result(int r) { return r >= 0 || r == OUT_OF_MEMORY; }

// ---------------------------------------------------------------------------
// Writing
// ---------------------------------------------------------------------------

// The unit normal of triangle (p0, p1, p2) by the right-hand rule, from the
// two edges that leave out the longest one (the first of equal longest
// edges in the order 0-1, 1-2, 2-0); kept as it is when its squared length
// is exactly 1, and 0 0 0 when it is 0.
void facet_normal(const double* p0, const double* p1, const double* p2, double* n) {
  const auto squared = [](const double* a, const double* b) {
    double s = 0.0;
    for (unsigned k = 0; k < 3; ++k) s += (a[k] - b[k]) * (a[k] - b[k]);
    return s;
  };
  const double l01 = squared(p0, p1), l12 = squared(p1, p2), l20 = squared(p2, p0);
  // The vertex opposite the longest edge (apex) and the two others in the
  // cyclic order of the triangle: (first - apex) x (second - apex).
  const double *apex = p2, *first = p0, *second = p1;  // edge 0-1 longest
  if (l12 > l01 && l12 >= l20)
    apex = p0, first = p1, second = p2;
  else if (l20 > l01 && l20 > l12)
    apex = p1, first = p2, second = p0;
  double u[3], v[3];
  for (unsigned k = 0; k < 3; ++k) {
    u[k] = first[k] - apex[k];
    v[k] = second[k] - apex[k];
  }
  n[0] = u[1] * v[2] - u[2] * v[1];
  n[1] = u[2] * v[0] - u[0] * v[2];
  n[2] = u[0] * v[1] - u[1] * v[0];
  const double length2 = n[0] * n[0] + n[1] * n[1] + n[2] * n[2];
  if (length2 == 0.0) {
    n[0] = n[1] = n[2] = 0.0;  // a degenerate triangle: 0 0 0, whatever signs its zeros had
  } else if (length2 != 1.0) {
    const double length = std::sqrt(length2);
    for (unsigned k = 0; k < 3; ++k) n[k] /= length;
  }
}

// The vertices of triangle j.  Triangles in no particular order reach all
// over the nodes: the coordinates of a triangle further on are asked for
// meanwhile.
void vertices_of(const double* x, std::size_t ld, const dense2D<unsigned>& connect, unsigned j, const double** p) {
  constexpr unsigned AHEAD = 16;
  const unsigned* t = connect.data() + std::size_t(j) * connect.ld();
  if (j + AHEAD < connect.cols()) {
    const unsigned* later = t + std::size_t(AHEAD) * connect.ld();
    for (unsigned i = 0; i < 3; ++i) __builtin_prefetch(x + later[i] * ld);
  }
  for (unsigned i = 0; i < 3; ++i) p[i] = x + t[i] * ld;
}

void put_triple(text_writer& w, const double* v) {
  for (unsigned k = 0; k < 3; ++k) {
    w.put(' ');
    w.put_exponent(v[k], detail::LOWER_E, 0);
  }
  w.put('\n');
}

void write_ascii(text_writer& w, const double* x, std::size_t ld, const dense2D<unsigned>& connect) {
  w.put("solid ZEB\n");
  for (unsigned j = 0; j < connect.cols(); ++j) {
    const double* p[3];
    vertices_of(x, ld, connect, j, p);
    double n[3];
    facet_normal(p[0], p[1], p[2], n);
    w.put("   facet normal");
    put_triple(w, n);
    w.put("      outer loop\n");
    for (const double* v : p) {
      w.put("         vertex");
      put_triple(w, v);
    }
    w.put("      endloop\n   endfacet\n");
  }
  w.put("endsolid ZEB\n");
}

// Little-endian bytes of an unsigned 32-bit value.
void put_u32(unsigned char* out, std::uint32_t v) {
  for (unsigned k = 0; k < 4; ++k) out[k] = static_cast<unsigned char>(v >> (8 * k));
}

void write_binary(text_writer& w, const double* x, std::size_t ld, const dense2D<unsigned>& connect) {
  char header[84] = "ZEB STL Binary";  // and its zero byte, then zeros
  put_u32(reinterpret_cast<unsigned char*>(header) + 80, connect.cols());
  w.put(header, sizeof header);
  for (unsigned j = 0; j < connect.cols(); ++j) {
    const double* p[3];
    vertices_of(x, ld, connect, j, p);
    double values[12];
    facet_normal(p[0], p[1], p[2], values);
    for (unsigned i = 0; i < 3; ++i)
      for (unsigned k = 0; k < 3; ++k) values[3 + 3 * i + k] = p[i][k];
    unsigned char record[50] = {};  // the attribute stays 0
    for (unsigned k = 0; k < 12; ++k) put_u32(record + 4 * k, std::bit_cast<std::uint32_t>(float(values[k])));
    w.put(reinterpret_cast<const char*>(record), sizeof record);
  }
}

// The checks of both writers, then the writing.
int write_stl(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned>& connect, bool ascii) {
  if (!pos.empty() && pos.rows() != 3) return -2;
  if (!check_IDs(connect, ELT_TRIA3, pos.rows() == 3 ? pos.cols() : 0u)) return -3;
  text_writer w(f);
  // An empty connectivity of any shape writes no triangle.
  const dense2D<unsigned> triangles = connect.empty() ? dense2D<unsigned>(3, 0) : connect;
  if (ascii)
    write_ascii(w, pos.data(), pos.ld(), triangles);
  else
    write_binary(w, pos.data(), pos.ld(), triangles);
  return w.finish();
}

}  // namespace

int STL_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect, STL_read_report& report) {
  pos.clear_hard();
  connect.clear_hard();
  report = STL_read_report();
  std::fpos_t start;
  if (!f || std::ferror(f) || std::fgetpos(f, &start) != 0) return -1;
  const int r = read_variant(f, false, pos, connect, report);
  if (final_result(r)) return outcome(r, pos, connect, report);
  pos.clear_hard();
  connect.clear_hard();
  if (std::fsetpos(f, &start) != 0) return -1;
  return outcome(read_variant(f, true, pos, connect, report), pos, connect, report);
}

int STL_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect) {
  STL_read_report report;
  return STL_input(f, pos, connect, report);
}

int STL_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect, STL_read_report& report) {
  pos.clear_hard();
  connect.clear_hard();
  report = STL_read_report();
  if (!path) return -1;
  if (std::FILE* f = std::fopen(path, "r")) {
    const int r = read_variant(f, false, pos, connect, report);
    std::fclose(f);
    if (final_result(r)) return outcome(r, pos, connect, report);
    pos.clear_hard();
    connect.clear_hard();
  }
  std::FILE* f = std::fopen(path, "rb");
  if (!f) return -1;
  const int r = read_variant(f, true, pos, connect, report);
  std::fclose(f);
  return outcome(r, pos, connect, report);
}

int STL_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect) {
  STL_read_report report;
  return STL_input(path, pos, connect, report);
}

int STL_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect, bool ascii) {
  if (!f || std::ferror(f)) return -1;
  return write_stl(f, pos, connect, ascii);
}

int STL_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect, bool ascii) {
  detail::output_file file(path, !ascii);
  if (!file) return -1;
  return file.close(write_stl(file.get(), pos, connect, ascii));
}

}  // namespace plexa
}  // namespace zeb
