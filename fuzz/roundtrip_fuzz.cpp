// Differential round trips: the input draws a format and a small mesh of
// the element kinds that format holds; the mesh is written by the format's
// writer and read back by its reader, which must give the same mesh as the
// format keeps it.  Any difference aborts with what differs.
//
// Coordinates are small integers times a power of two, which every writer
// prints exactly, so that the comparisons can be exact.
#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include <zeb/plexa.hpp>

namespace {

using namespace zeb::plexa;
using zeb::dense2D;

[[noreturn]] void differs(const char* format, const std::string& what) {
  std::fprintf(stderr, "%s round trip: %s\n", format, what.c_str());
  std::abort();
}

// A stream the writers write into, its bytes kept once it is closed.
class written_bytes {
 public:
  written_bytes() : f_(open_memstream(&data_, &size_)) {}
  ~written_bytes() {
    if (f_) std::fclose(f_);
    std::free(data_);
  }
  written_bytes(const written_bytes&) = delete;
  written_bytes& operator=(const written_bytes&) = delete;
  std::FILE* stream() const { return f_; }
  // Closes the writing side and opens the bytes for reading.
  std::FILE* reread() {
    std::fclose(f_);
    f_ = nullptr;
    in_ = fmemopen(size_ ? data_ : &nothing_, size_, "rb");
    return in_;
  }
  void close_reading() {
    if (in_) std::fclose(in_);
    in_ = nullptr;
  }

 private:
  char* data_ = nullptr;
  std::size_t size_ = 0;
  char nothing_ = 0;
  std::FILE* f_;
  std::FILE* in_ = nullptr;
};

// n nodes at distinct points of a 16 x 16 x 16 grid of step 2^e.
dense2D<double> distinct_nodes(FuzzedDataProvider& in, unsigned n) {
  const double step = std::ldexp(1.0, in.ConsumeIntegralInRange(-3, 3));
  std::set<unsigned> taken;
  dense2D<double> pos(3, n);
  for (unsigned k = 0; k < n; ++k) {
    unsigned cell = in.ConsumeIntegralInRange(0u, 4095u);
    while (taken.count(cell)) cell = (cell + 1) % 4096;  // n <= 4096
    taken.insert(cell);
    for (unsigned i = 0; i < 3; ++i) pos(i, k) = step * (double(cell >> (4 * i) & 15) - 8.0);
  }
  return pos;
}

// ---------------------------------------------------------------------------
// STL: triangles only.  Reading welds: the mesh comes back with its nodes in
// order of first use, as long as it has no degenerate triangle, no unused
// node and no two nodes within the weld's tolerance (0.05 times the
// smallest height).  Draws that break the last condition are not compared.
// ---------------------------------------------------------------------------

double squared_height(const double* a, const double* b, const double* c) {
  double u[3], v[3], w[3];
  for (unsigned k = 0; k < 3; ++k) u[k] = b[k] - a[k], v[k] = c[k] - a[k], w[k] = c[k] - b[k];
  const double n0 = u[1] * v[2] - u[2] * v[1], n1 = u[2] * v[0] - u[0] * v[2], n2 = u[0] * v[1] - u[1] * v[0];
  const double longest = std::max({u[0] * u[0] + u[1] * u[1] + u[2] * u[2], v[0] * v[0] + v[1] * v[1] + v[2] * v[2],
                                   w[0] * w[0] + w[1] * w[1] + w[2] * w[2]});
  return (n0 * n0 + n1 * n1 + n2 * n2) / longest;
}

void stl_trip(FuzzedDataProvider& in, bool ascii) {
  const char* name = ascii ? "STL ASCII" : "STL binary";
  const unsigned nodes = in.ConsumeIntegralInRange(3u, 40u), drawn = in.ConsumeIntegralInRange(0u, 40u);
  const dense2D<double> all = distinct_nodes(in, nodes);
  // The triangles of positive height, over their nodes renumbered in order
  // of first use.
  std::vector<unsigned> number(nodes, ~0u), order;
  std::vector<unsigned> triangles;
  double smallest = INFINITY;
  for (unsigned t = 0; t < drawn; ++t) {
    unsigned v[3];
    for (unsigned& x : v) x = in.ConsumeIntegralInRange(0u, nodes - 1);
    const double h2 = squared_height(&all(0, v[0]), &all(0, v[1]), &all(0, v[2]));
    if (!(h2 > 0)) continue;
    smallest = std::min(smallest, h2);
    for (unsigned x : v) {
      if (number[x] == ~0u) number[x] = unsigned(order.size()), order.push_back(x);
      triangles.push_back(number[x]);
    }
  }
  const unsigned n = unsigned(order.size()), m = unsigned(triangles.size() / 3);
  dense2D<double> pos(3, n);
  dense2D<unsigned> connect(3, m);
  for (unsigned k = 0; k < n; ++k)
    for (unsigned i = 0; i < 3; ++i) pos(i, k) = all(i, order[k]);
  for (unsigned k = 0; k < 3 * m; ++k) connect.data()[k] = triangles[k];
  const double tolerance2 = 0.0025 * smallest;
  for (unsigned a = 0; a < n; ++a)
    for (unsigned b = a + 1; b < n; ++b) {
      double d2 = 0;
      for (unsigned i = 0; i < 3; ++i) d2 += (pos(i, a) - pos(i, b)) * (pos(i, a) - pos(i, b));
      if (d2 <= tolerance2 * 1.0001) return;  // the weld would merge them
    }

  written_bytes file;
  if (const int r = STL_output(file.stream(), pos, connect, ascii)) differs(name, "written with code " + std::to_string(r));
  dense2D<double> pos_read;
  dense2D<unsigned> connect_read;
  STL_read_report report;
  const int r = STL_input(file.reread(), pos_read, connect_read, report);
  file.close_reading();
  if (r != 0) differs(name, "read with code " + std::to_string(r));
  if (report.binary == ascii) differs(name, "read as the other variant");
  if (report.triangles != m || report.removed != 0) differs(name, "triangles read or removed");
  if (pos_read.rows() != 3 || pos_read.cols() != n) differs(name, "node count");
  if (connect_read.rows() != 3 || connect_read.cols() != m) differs(name, "triangle count");
  for (unsigned k = 0; k < 3 * m; ++k)
    if (connect_read.data()[k] != connect.data()[k]) differs(name, "triangle " + std::to_string(k / 3));
  for (unsigned k = 0; k < n; ++k)
    for (unsigned i = 0; i < 3; ++i)
      if (pos_read(i, k) != pos(i, k)) differs(name, "node " + std::to_string(k));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  switch (in.ConsumeIntegralInRange(0, 1)) {
    case 0:
      stl_trip(in, true);
      break;
    case 1:
      stl_trip(in, false);
      break;
  }
  return 0;
}
