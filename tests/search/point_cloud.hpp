// Seeded point clouds for the search tests: random points of which many are
// exact copies and many are copies moved by a tiny amount.
#pragma once

#include <random>

#include "support/support.hpp"

namespace plexa_test {

// `cols` points in [0, 1)^rows: about a third exact copies of earlier points,
// a third moved copies (each component moved by less than `shift`).
inline dense2D<double> cloud_with_copies(std::mt19937_64& g, unsigned rows, unsigned cols, double shift = 1e-9) {
  dense2D<double> m = random_coordinates(g, rows, cols);
  std::uniform_real_distribution<double> move(-shift, shift);
  for (unsigned j = 1; j < cols; ++j) {
    const unsigned kind = unsigned(g() % 3);
    if (kind == 0) continue;
    const unsigned from = unsigned(g() % j);
    for (unsigned i = 0; i < rows; ++i) m(i, j) = m(i, from) + (kind == 2 ? move(g) : 0.0);
  }
  return m;
}

inline double squared_distance(const dense2D<double>& pos, unsigned a, const double* q) {
  double d = 0.0;
  for (unsigned i = 0; i < pos.rows(); ++i) d += (pos(i, a) - q[i]) * (pos(i, a) - q[i]);
  return d;
}

inline double squared_distance(const dense2D<double>& pos, unsigned a, unsigned b) {
  double q[3] = {};
  for (unsigned i = 0; i < pos.rows(); ++i) q[i] = pos(i, b);
  return squared_distance(pos, a, q);
}

}  // namespace plexa_test
