#include "support/support.hpp"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace plexa_test {

namespace {

template <class T>
dense1D<T, 8> from_list(std::initializer_list<T> v) {
  dense1D<T, 8> out(unsigned(v.size()));
  std::copy(v.begin(), v.end(), out.begin());
  return out;
}

template <class T>
dense2D<T> from_columns(unsigned rows, std::initializer_list<T> v) {
  dense2D<T> m(rows, rows ? unsigned(v.size()) / rows : 0);
  std::copy_n(v.begin(), std::size_t(m.rows()) * m.cols(), m.data());
  return m;
}

template <class T>
dense2D<T> make_strided(const dense2D<T>& m, unsigned pad, T garbage) {
  dense2D<T> big(m.rows() + pad, m.cols() + 1, garbage);
  for (unsigned j = 0; j < m.cols(); ++j)
    for (unsigned i = 0; i < m.rows(); ++i) big(i + 1, j) = m(i, j);
  return big.sub_matrix(1, 0, m.rows(), m.cols());
}

template <class T>
std::vector<T> entries(const dense2D<T>& m) {
  std::vector<T> out;
  for (unsigned j = 0; j < m.cols(); ++j)
    for (unsigned i = 0; i < m.rows(); ++i) out.push_back(m(i, j));
  return out;
}

template <class T, class Dist>
dense2D<T> random_matrix(unsigned rows, unsigned cols, Dist d, std::mt19937_64& g) {
  dense2D<T> m(rows, cols);
  for (unsigned j = 0; j < cols; ++j)
    for (unsigned i = 0; i < rows; ++i) m(i, j) = d(g);
  return m;
}

}  // namespace

dense1D<unsigned, 8> ids(std::initializer_list<unsigned> v) { return from_list(v); }
dense1D<double, 8> reals(std::initializer_list<double> v) { return from_list(v); }
dense1D<int, 8> type_list(std::initializer_list<int> v) { return from_list(v); }
dense2D<unsigned> connectivity(unsigned rows, std::initializer_list<unsigned> v) { return from_columns(rows, v); }
dense2D<double> coordinates(unsigned rows, std::initializer_list<double> v) { return from_columns(rows, v); }
dense2D<unsigned> strided(const dense2D<unsigned>& m, unsigned pad, unsigned garbage) {
  return make_strided(m, pad, garbage);
}
dense2D<double> strided(const dense2D<double>& m, unsigned pad, double garbage) { return make_strided(m, pad, garbage); }

std::vector<unsigned> to_vector(const dense1D<unsigned, 8>& v) { return {v.begin(), v.end()}; }
std::vector<double> to_vector(const dense1D<double, 8>& v) { return {v.begin(), v.end()}; }
std::vector<unsigned> to_vector(const dense2D<unsigned>& m) { return entries(m); }
std::vector<double> to_vector(const dense2D<double>& m) { return entries(m); }

dense2D<unsigned> random_connectivity(std::mt19937_64& g, unsigned rows, unsigned cols, unsigned nodes) {
  return random_matrix<unsigned>(rows, cols, std::uniform_int_distribution<unsigned>(0, nodes - 1), g);
}
dense2D<double> random_coordinates(std::mt19937_64& g, unsigned rows, unsigned cols, double lo, double hi) {
  return random_matrix<double>(rows, cols, std::uniform_real_distribution<double>(lo, hi), g);
}

::testing::AssertionResult near(const std::vector<double>& a, const std::vector<double>& b, double tol) {
  if (a.size() != b.size())
    return ::testing::AssertionFailure() << "sizes differ: " << a.size() << " vs " << b.size();
  for (std::size_t k = 0; k < a.size(); ++k) {
    const double scale = std::max({1.0, std::fabs(a[k]), std::fabs(b[k])});
    if (a[k] != b[k] && !(std::isnan(a[k]) && std::isnan(b[k])) && !(std::fabs(a[k] - b[k]) <= tol * scale)) {
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
