#include "support/support.hpp"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace plexa_test {

dense1D<unsigned, 8> ids(std::initializer_list<unsigned> v) {
  dense1D<unsigned, 8> out(unsigned(v.size()));
  unsigned k = 0;
  for (unsigned x : v) out[k++] = x;
  return out;
}

dense1D<double, 8> reals(std::initializer_list<double> v) {
  dense1D<double, 8> out(unsigned(v.size()));
  unsigned k = 0;
  for (double x : v) out[k++] = x;
  return out;
}

template <class T>
static dense2D<T> from_columns(unsigned rows, std::initializer_list<T> v) {
  const unsigned cols = rows ? unsigned(v.size()) / rows : 0;
  dense2D<T> m(rows, cols);
  unsigned k = 0;
  for (T x : v) {
    if (k >= rows * cols) break;
    m(k % rows, k / rows) = x;
    ++k;
  }
  return m;
}

dense2D<unsigned> connectivity(unsigned rows, std::initializer_list<unsigned> by_columns) {
  return from_columns<unsigned>(rows, by_columns);
}
dense2D<double> coordinates(unsigned rows, std::initializer_list<double> by_columns) {
  return from_columns<double>(rows, by_columns);
}

template <class T>
static dense2D<T> make_strided(const dense2D<T>& m, unsigned pad, T garbage) {
  dense2D<T> big(m.rows() + pad, m.cols() + 1, garbage);
  for (unsigned j = 0; j < m.cols(); ++j)
    for (unsigned i = 0; i < m.rows(); ++i) big(i + 1, j) = m(i, j);
  return big.sub_matrix(1, 0, m.rows(), m.cols());
}

dense2D<unsigned> strided(const dense2D<unsigned>& m, unsigned pad, unsigned garbage) {
  return make_strided(m, pad, garbage);
}
dense2D<double> strided(const dense2D<double>& m, unsigned pad, double garbage) {
  return make_strided(m, pad, garbage);
}

std::vector<unsigned> to_vector(const dense1D<unsigned, 8>& v) { return std::vector<unsigned>(v.begin(), v.end()); }
std::vector<double> to_vector(const dense1D<double, 8>& v) { return std::vector<double>(v.begin(), v.end()); }

template <class T>
static std::vector<T> matrix_entries(const dense2D<T>& m) {
  std::vector<T> out;
  out.reserve(std::size_t(m.rows()) * m.cols());
  for (unsigned j = 0; j < m.cols(); ++j)
    for (unsigned i = 0; i < m.rows(); ++i) out.push_back(m(i, j));
  return out;
}
std::vector<unsigned> to_vector(const dense2D<unsigned>& m) { return matrix_entries(m); }
std::vector<double> to_vector(const dense2D<double>& m) { return matrix_entries(m); }

dense2D<unsigned> random_connectivity(std::mt19937_64& g, unsigned rows, unsigned cols, unsigned nodes) {
  dense2D<unsigned> m(rows, cols);
  std::uniform_int_distribution<unsigned> d(0, nodes - 1);
  for (unsigned j = 0; j < cols; ++j)
    for (unsigned i = 0; i < rows; ++i) m(i, j) = d(g);
  return m;
}

dense2D<double> random_coordinates(std::mt19937_64& g, unsigned rows, unsigned cols, double lo, double hi) {
  dense2D<double> m(rows, cols);
  std::uniform_real_distribution<double> d(lo, hi);
  for (unsigned j = 0; j < cols; ++j)
    for (unsigned i = 0; i < rows; ++i) m(i, j) = d(g);
  return m;
}

::testing::AssertionResult near(const std::vector<double>& a, const std::vector<double>& b, double tol) {
  if (a.size() != b.size())
    return ::testing::AssertionFailure() << "sizes differ: " << a.size() << " vs " << b.size();
  for (std::size_t k = 0; k < a.size(); ++k) {
    const double scale = std::max({1.0, std::fabs(a[k]), std::fabs(b[k])});
    const bool both_nan = std::isnan(a[k]) && std::isnan(b[k]);
    if (!both_nan && !(std::fabs(a[k] - b[k]) <= tol * scale)) {
      std::ostringstream s;
      s.precision(17);
      s << "entry " << k << ": " << a[k] << " vs " << b[k];
      return ::testing::AssertionFailure() << s.str();
    }
  }
  return ::testing::AssertionSuccess();
}

::testing::AssertionResult near(const dense2D<double>& a, const dense2D<double>& b, double tol) {
  if (a.rows() != b.rows() || a.cols() != b.cols())
    return ::testing::AssertionFailure() << "shapes differ: " << a.rows() << "x" << a.cols() << " vs " << b.rows()
                                         << "x" << b.cols();
  auto r = near(to_vector(a), to_vector(b), tol);
  if (!r && a.rows()) return ::testing::AssertionFailure() << r.message() << " (rows " << a.rows() << ")";
  return r;
}

}  // namespace plexa_test
