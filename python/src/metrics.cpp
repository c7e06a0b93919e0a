// Metrics: the primitives on single tensors, vectorised over stacks of
// them, and the field functions.
//
// A metric is packed as the library packs symmetric_fixed: (m11, m12, m22)
// in 2-D, (m11, m12, m22, m13, m23, m33) in 3-D, so a stack of metrics is an
// array (..., 3) or (..., 6).  Sets of vectors (eigenvectors, axes, tangent
// bases) are arrays (..., k, d) whose rows are the vectors: the memory of
// the library's column-major matrix_fixed.
#include <algorithm>
#include <cmath>
#include <type_traits>

#include "convert.hpp"
#include "errors.hpp"
#include "families.hpp"

namespace plexa_py {

namespace zp = zeb::plexa;

namespace {

using shape_t = std::vector<py::ssize_t>;

// An array read as a stack of items, each made of its last `trailing`
// dimensions.
struct stack {
  py::array a;
  shape_t batch, item;
  const double* data() const { return static_cast<const double*>(a.data()); }
};

stack stack_in(py::handle obj, const char* name, int trailing) {
  stack s;
  s.a = real_array(obj, name);
  if (s.a.ndim() < trailing)
    throw py::value_error(std::string(name) + ": expected at least " + std::to_string(trailing) + " dimension(s)");
  for (py::ssize_t k = 0; k < s.a.ndim(); ++k) (k < s.a.ndim() - trailing ? s.batch : s.item).push_back(s.a.shape(k));
  return s;
}

// The stacks broadcast to one batch shape (NumPy's rules on the batch
// dimensions).
py::tuple as_tuple(const shape_t& shape) {
  py::tuple t(shape.size());
  for (std::size_t k = 0; k < shape.size(); ++k) t[k] = py::int_(shape[k]);
  return t;
}

void broadcast(std::vector<stack*> stacks) {
  const py::object numpy = py::module_::import("numpy");
  py::list shapes;
  for (stack* s : stacks) shapes.append(as_tuple(s->batch));
  shape_t batch;
  for (py::handle d : numpy.attr("broadcast_shapes")(*shapes)) batch.push_back(d.cast<py::ssize_t>());
  for (stack* s : stacks) {
    if (s->batch == batch) continue;
    shape_t full = batch;
    full.insert(full.end(), s->item.begin(), s->item.end());
    s->a = numpy.attr("ascontiguousarray")(numpy.attr("broadcast_to")(s->a, as_tuple(full)));
    s->batch = batch;
  }
}

std::size_t count_of(const shape_t& batch) {
  std::size_t n = 1;
  for (py::ssize_t d : batch) n *= std::size_t(d);
  return n;
}

template <class T = double>
py::array_t<T> out_array(const shape_t& batch, const shape_t& item) {
  shape_t full = batch;
  full.insert(full.end(), item.begin(), item.end());
  return py::array_t<T>(full);
}

// A bool array, or a bool when the batch has no dimension.
py::object flags_out(py::array_t<bool> flags, const shape_t& batch) {
  if (batch.empty()) return py::bool_(*flags.data());
  return flags;
}

py::object scalars_out(py::array_t<double> values, const shape_t& batch) {
  if (batch.empty()) return py::float_(*values.data());
  return values;
}

// The dimension of a stack of packed metrics.
unsigned metric_dim(const stack& s, const char* name) {
  if (s.item.size() == 1 && s.item[0] == 3) return 2;
  if (s.item.size() == 1 && s.item[0] == 6) return 3;
  throw py::value_error(std::string(name) + ": metrics are packed in 3 (2-D) or 6 (3-D) values per item");
}

template <unsigned D>
zeb::symmetric_fixed<double, D> sym(const double* p) {
  zeb::symmetric_fixed<double, D> m;
  for (unsigned k = 0; k < m.packed_size; ++k) m.m[k] = p[k];
  return m;
}
template <unsigned D>
void put(const zeb::symmetric_fixed<double, D>& m, double* p) {
  for (unsigned k = 0; k < m.packed_size; ++k) p[k] = m.m[k];
}
template <unsigned D>
zeb::vector_fixed<double, D> vec(const double* p) {
  zeb::vector_fixed<double, D> v;
  for (unsigned k = 0; k < D; ++k) v.v[k] = p[k];
  return v;
}
template <unsigned M, unsigned N>
zeb::matrix_fixed<double, M, N> mat(const double* p) {
  zeb::matrix_fixed<double, M, N> a;
  for (unsigned k = 0; k < M * N; ++k) a.a[k] = p[k];
  return a;
}

// Runs f(k) for every item of the batch, without the GIL.
template <class F>
void for_items(std::size_t n, F&& f) {
  without_gil([&] {
    for (std::size_t k = 0; k < n; ++k) f(k);
  });
}

// Calls f with the dimension d (2 or 3) as a constant: f(dimension<2>()).
template <unsigned D>
using dimension = std::integral_constant<unsigned, D>;
template <class F>
decltype(auto) with_dim(unsigned d, F&& f) {
  return d == 2 ? f(dimension<2>()) : f(dimension<3>());
}
template <unsigned D>
constexpr unsigned packed = D * (D + 1) / 2;

py::array metric_aniso(py::handle h, py::handle dim, py::handle R) {
  if (!dim.is_none()) {
    if (!R.is_none()) throw py::value_error("R: the axes go with per-axis sizes, not with dim");
    const unsigned d = dim.cast<unsigned>();
    if (d != 2 && d != 3) throw py::value_error("dim: 2 or 3");
    const stack s = stack_in(h, "h", 0);
    py::array_t<double> out = out_array(s.batch, {d == 2 ? 3 : 6});
    with_dim(d, [&](auto D) {
      double* o = out.mutable_data();
      const double* x = s.data();
      for_items(count_of(s.batch), [&](std::size_t k) {
        zeb::symmetric_fixed<double, D> m;
        zp::metric_aniso(x[k], m);
        put(m, o + k * packed<D>);
      });
    });
    return out;
  }
  stack H = stack_in(h, "H", 1);
  if (H.item[0] != 2 && H.item[0] != 3)
    throw py::value_error("H: per-axis sizes have 2 or 3 components (give dim for isotropic sizes)");
  const unsigned d = unsigned(H.item[0]);
  stack axes;
  if (!R.is_none()) {
    axes = stack_in(R, "R", 2);
    if (axes.item != shape_t{d, d}) throw py::value_error("R: the axes of d-D sizes are a (d, d) array, one per row");
    broadcast({&H, &axes});
  }
  py::array_t<double> out = out_array(H.batch, {d == 2 ? 3 : 6});
  with_dim(d, [&](auto D) {
    double* o = out.mutable_data();
    const double* x = H.data();
    const double* r = R.is_none() ? nullptr : axes.data();
    for_items(count_of(H.batch), [&](std::size_t k) {
      zeb::symmetric_fixed<double, D> m;
      if (r) zp::metric_aniso(vec<D>(x + D * k), mat<D, D>(r + D * D * k), m);
      else zp::metric_aniso(vec<D>(x + D * k), m);
      put(m, o + k * packed<D>);
    });
  });
  return out;
}

stack tangent_bases(py::handle T) {
  stack t = stack_in(T, "T", 2);
  if (t.item != shape_t{2, 3}) throw py::value_error("T: a tangent basis is a (2, 3) array, its rows t1 and t2");
  return t;
}

// f(item of a, basis, out) over a stack `a` of `width` values per item
// broadcast with tangent bases, into 2-D metrics.
template <class F>
py::array in_tangent_planes(stack a, py::handle T, std::size_t width, F&& f) {
  stack t = tangent_bases(T);
  broadcast({&a, &t});
  py::array_t<double> out = out_array(a.batch, {3});
  double* o = out.mutable_data();
  const double *x = a.data(), *b = t.data();
  for_items(count_of(a.batch), [&](std::size_t k) {
    zeb::symmetric_fixed<double, 2> m;
    f(x + width * k, mat<3, 2>(b + 6 * k), m);
    put(m, o + 3 * k);
  });
  return out;
}

py::array metric_aniso2d(py::handle h, py::handle T) {
  return in_tangent_planes(stack_in(h, "h", 0), T, 1, [](const double* x, const auto& basis, auto& m) {
    zp::metric_aniso2d(*x, basis, m);
  });
}

py::array metric_aniso3d_to_aniso2d(py::handle M3, py::handle T) {
  const stack s = stack_in(M3, "M3", 1);
  if (metric_dim(s, "M3") != 3) throw py::value_error("M3: 3-D metrics, 6 values per item");
  return in_tangent_planes(s, T, 6, [](const double* x, const auto& basis, auto& m) {
    zp::metric_aniso3d_to_aniso2d(sym<3>(x), basis, m);
  });
}

py::array eigen_values(py::handle M) {
  const stack s = stack_in(M, "M", 1);
  const unsigned d = metric_dim(s, "M");
  py::array_t<double> out = out_array(s.batch, {py::ssize_t(d)});
  with_dim(d, [&](auto D) {
    double* o = out.mutable_data();
    const double* x = s.data();
    for_items(count_of(s.batch), [&](std::size_t k) {
      zeb::vector_fixed<double, D> l;
      zp::eigen_values(sym<D>(x + packed<D> * k), l);
      std::copy(l.v, l.v + D, o + D * k);
    });
  });
  return out;
}

py::tuple eigen_pairs(py::handle M, py::handle M2) {
  stack s = stack_in(M, "M", 1), s2;
  const unsigned d = metric_dim(s, "M");
  if (!M2.is_none()) {
    s2 = stack_in(M2, "M2", 1);
    if (metric_dim(s2, "M2") != d) throw py::value_error("M2: of another dimension than M");
    broadcast({&s, &s2});
  }
  py::array_t<double> L = out_array(s.batch, {py::ssize_t(d)}), V = out_array(s.batch, {py::ssize_t(d), py::ssize_t(d)});
  py::array_t<bool> ok = out_array<bool>(s.batch, {});
  with_dim(d, [&](auto D) {
    double *l = L.mutable_data(), *v = V.mutable_data();
    bool* good = ok.mutable_data();
    const double *x = s.data(), *y = M2.is_none() ? nullptr : s2.data();
    for_items(count_of(s.batch), [&](std::size_t k) {
      zeb::vector_fixed<double, D> values;
      zeb::matrix_fixed<double, D, D> vectors;  // column j, contiguous, is row j of V
      const auto m = sym<D>(x + packed<D> * k);
      good[k] = y ? zp::eigen_pairs(m, sym<D>(y + packed<D> * k), values, vectors) : zp::eigen_pairs(m, values, vectors);
      std::copy(values.v, values.v + D, l + D * k);
      std::copy(vectors.a, vectors.a + D * D, v + D * D * k);
    });
  });
  return py::make_tuple(L, V, flags_out(ok, s.batch));
}

py::object is_valid_metric(py::handle M) {
  const stack s = stack_in(M, "M", 1);
  py::array_t<bool> ok = out_array<bool>(s.batch, {});
  with_dim(metric_dim(s, "M"), [&](auto D) {
    bool* o = ok.mutable_data();
    const double* x = s.data();
    for_items(count_of(s.batch), [&](std::size_t k) { o[k] = zp::is_valid_metric(sym<D>(x + packed<D> * k)); });
  });
  return flags_out(ok, s.batch);
}

// f(item of a, item of b, result) -> bool over two broadcast stacks of
// packed metrics; returns (results, flags).  The result starts as the item
// of a, as the library leaves it where it says so.
template <class F>
py::tuple metric_pairs(stack a, stack b, const char* name_a, const char* name_b, F&& f) {
  const unsigned d = metric_dim(a, name_a);
  if (metric_dim(b, name_b) != d) throw py::value_error(std::string(name_b) + ": of another dimension than " + name_a);
  broadcast({&a, &b});
  py::array_t<double> out = out_array(a.batch, a.item);
  py::array_t<bool> ok = out_array<bool>(a.batch, {});
  with_dim(d, [&](auto D) {
    double* o = out.mutable_data();
    bool* good = ok.mutable_data();
    const double *x = a.data(), *y = b.data();
    for_items(count_of(a.batch), [&](std::size_t k) {
      auto m = sym<D>(x + packed<D> * k);
      good[k] = f(sym<D>(x + packed<D> * k), sym<D>(y + packed<D> * k), m);
      put(m, o + packed<D> * k);
    });
  });
  return py::make_tuple(out, flags_out(ok, a.batch));
}

py::tuple bound_metric(py::handle M, double hmin, double hmax) {
  // The bounds are checked once, on an identity metric: -2 and -3 refuse
  // them whatever the metric.
  zeb::symmetric_fixed<double, 2> probe(1.0, 1.0);
  const int refused = zp::bound_metric(probe, hmin, hmax);
  if (refused == -2 || refused == -3) raise_code(refused, "bound_metric(M, hmin, hmax)");
  const stack s = stack_in(M, "M", 1);
  return metric_pairs(s, s, "M", "M", [&](const auto&, const auto&, auto& m) { return zp::bound_metric(m, hmin, hmax) == 0; });
}

py::tuple maximum_metric(py::handle M1, py::handle M2) {
  return metric_pairs(stack_in(M1, "M1", 1), stack_in(M2, "M2", 1), "M1", "M2",
                      [](const auto& a, const auto& b, auto& m) { return zp::maximum_metric(a, b, m); });
}

py::tuple minimum_metric(py::handle M1, py::handle M2) {
  return metric_pairs(stack_in(M1, "M1", 1), stack_in(M2, "M2", 1), "M1", "M2",
                      [](const auto& a, const auto& b, auto& m) { return zp::minimum_metric(a, b, m); });
}

py::object metric_aniso_to_iso(py::handle M, double t) {
  const stack s = stack_in(M, "M", 1);
  py::array_t<double> out = out_array(s.batch, {});
  with_dim(metric_dim(s, "M"), [&](auto D) {
    double* o = out.mutable_data();
    const double* x = s.data();
    for_items(count_of(s.batch), [&](std::size_t k) { o[k] = zp::metric_aniso_to_iso(sym<D>(x + packed<D> * k), t); });
  });
  return scalars_out(out, s.batch);
}

// ---------------------------------------------------------------------------
// Fields: sizes (1-D, one per node) or metrics (n, 3) / (n, 6).
// ---------------------------------------------------------------------------

bool is_size_field(py::handle field) { return ndim_of(field) == 1; }

// Runs scan(field) or scan(nodes, field) on a size or metric field.
template <class Scan>
auto scan_field(py::handle field, py::handle nodes, Scan&& scan) {
  const index_vector n = optional_vector_in<unsigned>(nodes, "nodes");
  const bool listed = !nodes.is_none();
  if (is_size_field(field)) {
    const real_vector h = vector_in<double>(field, "H");
    return without_gil([&] { return listed ? scan(n, h) : scan(h); });
  }
  const real_matrix m = matrix_in<double>(field, "M");
  return without_gil([&] { return listed ? scan(n, m) : scan(m); });
}

unsigned first_invalid(py::handle field, py::handle nodes) {
  return scan_field(field, nodes, [](const auto&... a) { return zp::first_invalid_metric(a...); });
}

bool are_valid(py::handle field, py::handle nodes) {
  return scan_field(field, nodes, [](const auto&... a) { return zp::are_valid_metrics(a...); });
}

py::array valid_columns(py::handle M) {
  const real_matrix m = matrix_in<double>(M, "M");
  index_vector ids;
  without_gil([&] { zp::valid_metrics(m, ids); });
  // valid_metrics has no result code and appends all or nothing: an empty
  // list is a failure when some metric is valid.
  if (ids.empty() && (m.rows() == 3 || m.rows() == 6)) {
    const bool some_valid = without_gil([&] {
      for (unsigned j = 0; j < m.cols(); ++j) {
        const double* c = &m(0, j);
        if (with_dim(m.rows() == 3 ? 2 : 3, [&](auto D) { return zp::is_valid_metric(sym<D>(c)); })) return true;
      }
      return false;
    });
    if (some_valid) throw std::bad_alloc();
  }
  return array_out(ids);
}

py::tuple bound_fields(py::handle field, double hmin, double hmax, bool inplace) {
  index_vector modified;
  if (is_size_field(field)) {
    real_vector h = vector_inout<double>(field, "H", inplace);
    check(without_gil([&] { return zp::bound_metrics(h, hmin, hmax, modified); }),
          "bound_metrics(H, hmin, hmax, modified)");
    return py::make_tuple(inplace ? py::reinterpret_borrow<py::object>(field) : py::object(array_out(h)),
                          array_out(modified));
  }
  real_matrix m = matrix_inout<double>(field, "M", inplace);
  check(without_gil([&] { return zp::bound_metrics(m, hmin, hmax, modified); }),
        "bound_metrics(M, hmin, hmax, modified)");
  return py::make_tuple(inplace ? py::reinterpret_borrow<py::object>(field) : py::object(array_out(m)),
                        array_out(modified));
}

py::object overwrite_invalid(py::handle field, py::handle ref, py::handle metric, bool inplace) {
  if (ref.is_none() == metric.is_none()) throw py::value_error("ref, metric: give one of them");
  if (is_size_field(field)) {
    if (!metric.is_none()) throw py::value_error("metric: a size field is repaired from sizes");
    real_vector h = vector_inout<double>(field, "H", inplace);
    if (ndim_of(ref) == 0) {
      const double size = ref.cast<double>();
      check(without_gil([&] { return zp::overwrite_invalid_metrics(h, size); }), "overwrite_invalid_metrics(H, h)");
    } else {
      const real_vector href = vector_in<double>(ref, "Href");
      check(without_gil([&] { return zp::overwrite_invalid_metrics(h, href); }), "overwrite_invalid_metrics(H, Href)");
    }
    return inplace ? py::reinterpret_borrow<py::object>(field) : py::object(array_out(h));
  }
  real_matrix m = matrix_inout<double>(field, "M", inplace);
  if (!metric.is_none()) {
    const stack s = stack_in(metric, "metric", 1);
    if (!s.batch.empty()) throw py::value_error("metric: one packed metric");
    const unsigned d = metric_dim(s, "metric");
    check(without_gil([&] {
            return with_dim(d, [&](auto D) { return zp::overwrite_invalid_metrics(m, sym<D>(s.data())); });
          }),
          "overwrite_invalid_metrics(M, Mref)");
  } else if (ndim_of(ref) == 1) {
    const real_vector href = vector_in<double>(ref, "Href");
    check(without_gil([&] { return zp::overwrite_invalid_metrics(m, href); }), "overwrite_invalid_metrics(M, Href)");
  } else if (ndim_of(ref) == 2) {
    const real_matrix mref = matrix_in<double>(ref, "Mref");
    check(without_gil([&] { return zp::overwrite_invalid_metrics(m, mref); }), "overwrite_invalid_metrics(M, Mref)");
  } else {
    throw py::value_error("ref: a metric field is repaired from a size field (1-D) or a metric field (2-D)");
  }
  return inplace ? py::reinterpret_borrow<py::object>(field) : py::object(array_out(m));
}

// The output field of a conversion: a copy of the one given, or zeros.
real_matrix conversion_output(py::handle given, unsigned rows, unsigned cols, const char* name) {
  if (!given.is_none()) return matrix_inout<double>(given, name, false);
  real_matrix out;
  if (!out.resize(rows, cols, 0.0)) throw std::bad_alloc();
  return out;
}

py::array iso_to_aniso2d(py::handle H, py::handle T, py::handle M) {
  const real_vector h = vector_in<double>(H, "H");
  real_matrix out = conversion_output(M, 3, h.size(), "M");
  if (T.is_none()) {
    check(without_gil([&] { return zp::metrics_iso_to_aniso2d(h, out); }), "metrics_iso_to_aniso2d(H, M)");
  } else {
    const real_matrix t = matrix_in<double>(T, "T");
    check(without_gil([&] { return zp::metrics_iso_to_aniso2d(h, t, out); }), "metrics_iso_to_aniso2d(H, T, M)");
  }
  return array_out(out);
}

py::array iso_to_aniso3d(py::handle H, py::handle M) {
  const real_vector h = vector_in<double>(H, "H");
  real_matrix out = conversion_output(M, 6, h.size(), "M");
  check(without_gil([&] { return zp::metrics_iso_to_aniso3d(h, out); }), "metrics_iso_to_aniso3d(H, M)");
  return array_out(out);
}

py::array aniso3d_to_aniso2d(py::handle M3, py::handle T, py::handle M2) {
  const real_matrix m3 = matrix_in<double>(M3, "M3");
  const real_matrix t = matrix_in<double>(T, "T");
  real_matrix out = conversion_output(M2, 3, m3.cols(), "M2");
  check(without_gil([&] { return zp::metrics_aniso3d_to_aniso2d(m3, t, out); }),
        "metrics_aniso3d_to_aniso2d(M3, T, M2)");
  return array_out(out);
}

void bind_metrics(py::module_& m) {
  m.def("metric_aniso", &metric_aniso, py::arg("h"), py::arg("dim") = py::none(), py::arg("R") = py::none(),
        R"(metric_aniso(h, dim=None, R=None) -> ndarray

Metrics from sizes, packed (..., 3) in 2-D or (..., 6) in 3-D.

With dim (2 or 3): isotropic metrics of the sizes h (any shape):
  diag(1/h^2), the zero metric where h is not > 0.
Without dim: h holds per-axis sizes (..., d), d = 2 or 3: the diagonal
  metrics m_kk = 1/h_k^2 (0 where h_k is not > 0); with R (..., d, d), whose
  rows are the axes, R^T diag(1/h_k^2) R along those axes (a size of 0 puts
  no constraint, negative sizes count by their magnitude).)");

  m.def("metric_aniso2d", &metric_aniso2d, py::arg("h"), py::arg("T"),
        R"(metric_aniso2d(h, T) -> ndarray

The isotropic size h seen in a tangent plane: M(i, j) = (t_i . t_j) / h^2
(the zero metric where h is not > 0), packed (..., 3).  T (..., 2, 3) holds
the basis vectors t1, t2 as rows.)");

  m.def("metric_aniso3d_to_aniso2d", &metric_aniso3d_to_aniso2d, py::arg("M3"), py::arg("T"),
        R"(metric_aniso3d_to_aniso2d(M3, T) -> ndarray

The 3-D metrics M3 (..., 6) restricted to the planes of the bases T
(..., 2, 3), rows t1 and t2: M2(i, j) = t_i . (M3 t_j), packed (..., 3).)");

  m.def("eigen_values", &eigen_values, py::arg("M"), R"(eigen_values(M) -> ndarray

The eigenvalues of packed metrics (..., 3) or (..., 6), in ascending order:
(..., 2) or (..., 3).  2-D by closed forms, 3-D by LAPACK's packed
symmetric solver; a 3-D metric with a non-finite coefficient gives NaN.)");

  m.def("eigen_pairs", &eigen_pairs, py::arg("M"), py::arg("M2") = py::none(),
        R"(eigen_pairs(M, M2=None) -> tuple[ndarray, ndarray, ndarray | bool]

Eigenvalues and unit eigenvectors of packed metrics.  Returns (L, V, ok): L
(..., d) ascending, V (..., d, d) whose row k is the eigenvector of L[k]
(a right-handed basis), and whether each solve succeeded (L and V are
unspecified where it did not).

With M2: the generalized problem M2 v = l M v (the eigen-pairs of
M^-1 M2); ok is False where M cannot be factorised.)");

  m.def("is_valid_metric", &is_valid_metric, py::arg("M"), R"(is_valid_metric(M) -> bool | ndarray

Whether each packed metric is valid: its smallest eigenvalue is > 0 (False
when the solve fails, non-finite coefficients included).)");

  m.def("bound_metric", &bound_metric, py::arg("M"), py::arg("hmin"), py::arg("hmax"),
        R"(bound_metric(M, hmin, hmax) -> tuple[ndarray, ndarray | bool]

Clamps the sizes of packed metrics between hmin and hmax: eigenvalues above
1/hmin^2 (none when hmin <= 0) are lowered to it, then those below 1/hmax^2
(0 when hmax <= 0) raised to it; the eigenvectors are kept.  Returns (M, ok):
the clamped metrics and, for each, whether it was rebuilt and is valid (or
no bound was given: hmin <= 0 and hmax the largest double).  Where ok is
False the metric is unchanged (no size needed clamping, or the solve
failed) or was rebuilt but is not valid.

Raises Error -2 when hmin is not finite, -3 when hmax is not.)");

  m.def("maximum_metric", &maximum_metric, py::arg("M1"), py::arg("M2"),
        R"(maximum_metric(M1, M2) -> tuple[ndarray, ndarray | bool]

The larger of two metrics: its unit ball holds both unit balls, built in the
basis that reduces both at once.  Returns (M, ok): ok is False where the
reduction failed (M is M1 there) or the result has no positive eigenvalue.)");

  m.def("minimum_metric", &minimum_metric, py::arg("M1"), py::arg("M2"),
        R"(minimum_metric(M1, M2) -> tuple[ndarray, ndarray | bool]

The smaller of two metrics (the intersection): its unit ball lies in both
unit balls.  Returns (M, ok) as maximum_metric.)");

  m.def("metric_aniso_to_iso", &metric_aniso_to_iso, py::arg("M"), py::arg("t"),
        R"(metric_aniso_to_iso(M, t) -> float | ndarray

One isotropic size for each packed metric: hmin + t (hmax - hmin), hmin and
hmax its smallest and largest sizes (t = 0 the smallest, 1 the largest; not
clamped); 0 where the solve fails or the metric is not positive.)");

  m.def("first_invalid_metric", &first_invalid, py::arg("field"), py::arg("nodes") = py::none(),
        R"(first_invalid_metric(field, nodes=None) -> int

The first entry of a field that is not valid: field holds sizes (1-D; a size
is valid when 0 < h < the largest double) or packed metrics (n, 3) / (n, 6).
With nodes, the position in nodes of the first listed node whose index has
no entry or whose entry is not valid.  The length scanned when there is
none; 0 for a metric field of another column count.)");

  m.def("are_valid_metrics", &are_valid, py::arg("field"), py::arg("nodes") = py::none(),
        R"(are_valid_metrics(field, nodes=None) -> bool

Whether every scanned entry of the field is valid (see first_invalid_metric).)");

  m.def("valid_metrics", &valid_columns, py::arg("M"), R"(valid_metrics(M) -> ndarray

The indices of the valid metrics of a field (n, 3) or (n, 6), in increasing
order; empty for a field of another column count.)");

  m.def("bound_metrics", &bound_fields, py::arg("field"), py::arg("hmin"), py::arg("hmax"), py::kw_only(),
        py::arg("inplace") = false,
        R"(bound_metrics(field, hmin, hmax, *, inplace=False) -> tuple[ndarray, ndarray]

Clamps a field between the sizes hmin and hmax.  Sizes (1-D): h < hmin
becomes hmin, otherwise h > hmax becomes hmax (NaN stays).  Metrics
(n, 3) / (n, 6): bound_metric on every metric.  Returns (field, modified):
the clamped field and the indices of the entries changed (for metrics,
those rebuilt valid).  Nothing changes when hmin <= 0 and hmax is the
largest double.

inplace: change `field` itself (a writable float64 array) and return it.
Raises Error -1 for a metric field of neither 3 nor 6 columns; -2 when hmin
is not finite; -3 when hmax is not.)");

  m.def("overwrite_invalid_metrics", &overwrite_invalid, py::arg("field"), py::arg("ref") = py::none(), py::kw_only(),
        py::arg("metric") = py::none(), py::arg("inplace") = false,
        R"(overwrite_invalid_metrics(field, ref=None, *, metric=None, inplace=False) -> ndarray

Repairs the invalid entries of a field.  Sizes (1-D; entries h <= 0 are
invalid, NaN and infinite sizes are left alone): from a size `ref` (a
float) or from the sizes of a field `ref` (1-D) where they are positive.
Metrics (n, 3) / (n, 6) (a metric whose smallest eigenvalue is not > 0 is
invalid): from a size field `ref` (1-D, isotropic metrics), a metric field
`ref` (2-D) where its metrics are valid, or one packed `metric`.  Returns
the repaired field.

inplace: change `field` itself (a writable float64 array) and return it.
Raises Error -1 for a metric field of neither 3 nor 6 columns; -2 for a
size ref that is not positive, a metric field of another column count, or
a metric that is not valid.)");

  m.def("metrics_iso_to_aniso2d", &iso_to_aniso2d, py::arg("H"), py::arg("T") = py::none(), py::arg("M") = py::none(),
        R"(metrics_iso_to_aniso2d(H, T=None, M=None) -> ndarray

2-D metrics (n, 3) of isotropic sizes H (n): diag(1/h^2), or with tangent
bases T (n, 6; t1 then t2 in each row) the sizes seen in the tangent planes.
Entries of H that are not > 0 leave their metric as in M (a field of at
least n rows, not changed itself) or zero.

Raises Error -2 when M (or T) does not have the expected shape; -3 for M
with T.)");

  m.def("metrics_iso_to_aniso3d", &iso_to_aniso3d, py::arg("H"), py::arg("M") = py::none(),
        R"(metrics_iso_to_aniso3d(H, M=None) -> ndarray

3-D metrics (n, 6) of isotropic sizes H (n): diag(1/h^2).  Entries of H
that are not > 0 leave their metric as in M or zero.

Raises Error -2 when M does not have 6 columns and at least n rows.)");

  m.def("metrics_aniso3d_to_aniso2d", &aniso3d_to_aniso2d, py::arg("M3"), py::arg("T"), py::arg("M2") = py::none(),
        R"(metrics_aniso3d_to_aniso2d(M3, T, M2=None) -> ndarray

The 3-D metrics M3 (n, 6) restricted to the tangent planes T (n, 6; t1 then
t2 in each row): (n, 3), row i the metric of row i of M3 in the basis of row
i of T.  M2 gives the rows beyond n (not changed itself).

Raises Error -1 when M3 does not have 6 columns; -2 when T does not have 6
columns and n rows; -3 when M2 does not have 3 columns and at least n rows.)");
}

}  // namespace

const family metrics_family(70, bind_metrics);

}  // namespace plexa_py
