// The STL reader's pieces: the triangle soup as read (three nodes of its
// own per triangle), the ASCII and binary grammars that fill it, and the
// weld that makes a conforming mesh of it.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>

#include <zeb/dense.hpp>

namespace zeb {
namespace plexa {
namespace detail {

// Three nodes per triangle in file order, and the smallest positive squared
// height of a triangle.
class triangle_soup {
 public:
  // Node storage never grows beyond the nodes of `triangles` triangles (the
  // count a binary file announces, which it may not hold).
  void expect(std::uint64_t triangles) noexcept { limit_ = 3 * triangles; }

  // Appends a triangle: x, y, z of its first, second and third vertex.
  // False when the node storage cannot grow (by doubling, at least 4
  // columns).
  bool add(const double* v) noexcept {
    if (nodes_ + 3 > pos_.cols() && !grow()) return false;
    double* x = pos_.data() + 3 * std::size_t(nodes_);
    for (unsigned k = 0; k < 9; ++k) x[k] = v[k];
    nodes_ += 3;
    const double h2 = squared_height(v);
    if (h2 > 0.0 && h2 < smallest_) smallest_ = h2;
    return true;
  }

  unsigned nodes() const noexcept { return nodes_; }
  // The smallest positive squared height, +infinity when there is none.
  double smallest_squared_height() const noexcept { return smallest_; }

  // Moves the nodes to pos (3 x nodes) and gives connect the triangles 0 1
  // 2, 3 4 5, ...  False when memory cannot be had.
  bool finish(dense2D<double>& pos, dense2D<unsigned>& connect) noexcept {
    if (!pos_.resize(3, nodes_) || !connect.resize(3, nodes_ / 3)) return false;
    unsigned* c = connect.data();
    for (unsigned i = 0; i < nodes_; ++i) c[i] = i;
    pos = static_cast<dense2D<double>&&>(pos_);
    return true;
  }

  // The smallest squared distance from a vertex to the line of the opposite
  // edge: the squared norm of (v1 - v0) x (v2 - v0) over the squared length
  // of the longest edge.
  static double squared_height(const double* v) noexcept {
    double a[3], b[3], c[3];
    for (unsigned k = 0; k < 3; ++k) {
      a[k] = v[3 + k] - v[k];
      b[k] = v[6 + k] - v[k];
      c[k] = v[6 + k] - v[3 + k];
    }
    const double n0 = a[1] * b[2] - a[2] * b[1], n1 = a[2] * b[0] - a[0] * b[2], n2 = a[0] * b[1] - a[1] * b[0];
    const double cross2 = n0 * n0 + n1 * n1 + n2 * n2;
    double longest = a[0] * a[0] + a[1] * a[1] + a[2] * a[2];
    const double b2 = b[0] * b[0] + b[1] * b[1] + b[2] * b[2], c2 = c[0] * c[0] + c[1] * c[1] + c[2] * c[2];
    if (b2 > longest) longest = b2;
    if (c2 > longest) longest = c2;
    return cross2 / longest;
  }

 private:
  bool grow() noexcept {
    std::uint64_t cols = pos_.cols() < 2 ? 4 : 2 * std::uint64_t(pos_.cols());
    if (cols > limit_) cols = limit_;
    if (cols < nodes_ + 3 || 3 * cols > UINT32_MAX) return false;
    return pos_.resize(3, unsigned(cols));
  }

  dense2D<double> pos_;
  unsigned nodes_ = 0;
  std::uint64_t limit_ = UINT32_MAX;
  double smallest_ = INFINITY;
};

// Fills `soup` from the stream, from its position, by the ASCII grammar
// (zeb/plexa/io/stl.hpp).  0, -2 (no first line containing "solid"), -3
// (malformed or cut short after it) or -199.
int read_ascii_soup(std::FILE* f, triangle_soup& soup) noexcept;

// Fills `soup` from the stream, from its position, by the binary layout.
// 0, -2 (fewer than 80 bytes), -3 (no count, or fewer triangles than it
// says) or -199.
int read_binary_soup(std::FILE* f, triangle_soup& soup) noexcept;

// Triangles of a file slice by slice in the exact merge of the weld.
constexpr unsigned WELD_SLICE = 100000;

// Welds the soup pos (3 x 3m, contiguous), connect (3 x m, holding 0 1 2,
// 3 4 5, ...) whose smallest positive squared height is h2 (finite): exact
// merges slice by slice (`slice` triangles each), a merge of everything
// within 0.05 * sqrt(h2), removal of the degenerate triangles and of the
// unused nodes.  Returns the number of triangles removed, or -199 (pos and
// connect are then unspecified).
int weld_soup(dense2D<double>& pos, dense2D<unsigned>& connect, double h2, unsigned slice = WELD_SLICE) noexcept;

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
