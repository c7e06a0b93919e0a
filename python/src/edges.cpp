// Edges: the edge set of a mesh, edge qualities, and the histogram they
// feed.
#include <mutex>

#include "convert.hpp"
#include "errors.hpp"
#include "families.hpp"

namespace plexa_py {

namespace zp = zeb::plexa;

namespace {

// A histogram shared with Python; the lock keeps a call that feeds it
// without the GIL apart from other uses.
struct histogram_box {
  zeb::misc::histogram h;
  mutable std::mutex lock;
};

// Passes every value on to a histogram and keeps it.
class recorder final : public zeb::misc::histogram {
 public:
  explicit recorder(zeb::misc::histogram& target) : target_(target) {}
  void process(double value) override {
    target_.process(value);
    if (!values.push_back(value)) failed = true;
  }
  real_vector values;
  bool failed = false;

 private:
  zeb::misc::histogram& target_;
};

void set_edges(histogram_box& box, py::handle edges) {
  const real_vector e = vector_in<double>(edges, "edges");
  std::lock_guard<std::mutex> hold(box.lock);
  if (!box.h.set_edges(e.data(), e.size()))
    throw py::value_error("edges: from 1 to 32 finite values in strictly increasing order");
}

void process(histogram_box& box, py::handle values) {
  const real_vector v = ndim_of(values) == 0 ? real_vector(1, values.cast<double>()) : vector_in<double>(values, "values");
  without_gil([&] {
    std::lock_guard<std::mutex> hold(box.lock);
    for (unsigned k = 0; k < v.size(); ++k) box.h.process(v[k]);
  });
}

std::string render(const histogram_box& box) {
  std::lock_guard<std::mutex> hold(box.lock);
  std::string text(box.h.render(nullptr, 0), '\0');
  box.h.render(text.data(), text.size() + 1);
  return text;
}

template <class Box, class F>
auto locked(Box& box, F&& f) {
  std::lock_guard<std::mutex> hold(box.lock);
  return f(box.h);
}

py::array copy_edges(py::handle connectivity, py::handle type) {
  index_matrix edges;
  if (!is_block_sequence(connectivity)) {
    const index_matrix c = matrix_in<unsigned>(connectivity, "connectivity");
    const element_type t = type_in(type, "type");
    check(without_gil([&] { return zp::copy_edges(c, t, edges); }), "copy_edges(connectivity, type, edges)");
  } else {
    const std::vector<index_matrix> blocks = blocks_in(connectivity, "connectivity");
    const int_vector types = types_in(type, blocks.size(), "types");
    check(without_gil([&] { return zp::copy_edges(blocks.data(), blocks.data() + blocks.size(), types, edges); }),
          "copy_edges(connectivity, last, types, edges)");
  }
  return array_out(edges, 2);
}

py::object edge_quality(py::handle length, py::handle h1, py::handle h2) {
  if (ndim_of(length) == 0 && ndim_of(h1) == 0 && ndim_of(h2) == 0) {
    double q = 0;
    check(zp::edge_quality(length.cast<double>(), h1.cast<double>(), h2.cast<double>(), q),
          "edge_quality(length, h1, h2, quality)");
    return py::float_(q);
  }
  const py::object numpy = py::module_::import("numpy");
  const py::tuple b = numpy.attr("broadcast_arrays")(length, h1, h2);
  const auto flat = [&](std::size_t k, const char* name) {
    return vector_in<double>(numpy.attr("ravel")(b[k]), name);
  };
  const real_vector l = flat(0, "length"), a = flat(1, "h1"), c = flat(2, "h2");
  real_vector q(l.size());
  if (q.size() != l.size()) throw std::bad_alloc();
  int code = 0;
  without_gil([&] {
    for (unsigned k = 0; k < l.size() && code == 0; ++k) code = zp::edge_quality(l[k], a[k], c[k], q[k]);
  });
  check(code, "edge_quality(length, h1, h2, quality)");
  return array_out(q).attr("reshape")(py::reinterpret_borrow<py::object>(b[0]).attr("shape"));
}

py::tuple edge_qualities(py::handle pos, py::handle connectivity, py::handle type, py::handle field,
                         py::handle excluded, py::object histogram) {
  const real_matrix p = matrix_in<double>(pos, "pos");
  const index_matrix skip = optional_matrix_in<unsigned>(excluded, "excluded");
  if (histogram.is_none()) histogram = py::module_::import("plexa._plexa").attr("Histogram")();
  histogram_box& box = histogram.cast<histogram_box&>();
  recorder feed(box.h);
  const bool sizes = ndim_of(field) == 1;
  const real_vector h = sizes ? vector_in<double>(field, "sizes") : real_vector();
  const real_matrix metric = sizes ? real_matrix() : matrix_in<double>(field, "metrics");
  int code;
  const char* signature;
  if (!is_block_sequence(connectivity)) {
    const index_matrix c = matrix_in<unsigned>(connectivity, "connectivity");
    const element_type t = type_in(type, "type");
    code = without_gil([&] {
      std::lock_guard<std::mutex> hold(box.lock);
      return sizes ? zp::edge_qualities(p, c, t, h, feed, skip) : zp::edge_qualities(p, c, t, metric, feed, skip);
    });
    signature = sizes ? "edge_qualities(pos, connectivity, type, sizes, histogram, excluded)"
                      : "edge_qualities(pos, connectivity, type, metrics, histogram, excluded)";
  } else {
    const std::vector<index_matrix> blocks = blocks_in(connectivity, "connectivity");
    const int_vector types = types_in(type, blocks.size(), "types");
    const index_matrix* first = blocks.data();
    const index_matrix* last = first + blocks.size();
    code = without_gil([&] {
      std::lock_guard<std::mutex> hold(box.lock);
      return sizes ? zp::edge_qualities(p, first, last, types, h, feed, skip)
                   : zp::edge_qualities(p, first, last, types, metric, feed, skip);
    });
    signature = sizes ? "edge_qualities(pos, connectivity, last, types, sizes, histogram, excluded)"
                      : "edge_qualities(pos, connectivity, last, types, metrics, histogram, excluded)";
  }
  check(code, signature);
  if (feed.failed) throw std::bad_alloc();
  return py::make_tuple(array_out(feed.values), histogram);
}

void bind_edges(py::module_& m) {
  py::class_<histogram_box>(m, "Histogram", R"(Histogram(edges=None)

Binned statistics of measured values.  Values are sorted into bins by
strictly increasing edges e0 < ... < e(n-1): bin 0 holds values below e0,
bin k holds [e(k-1), e(k)), bin n values from e(n-1) on.  The default edges,
0, 0.3, 0.6, 0.71, 0.9, 1.3, 1.41, 2, 5, are the usual classes of edge
lengths measured in a size field.  NaN values are counted apart and never
enter the bins, min, max or mean.  str() gives the text rendering.)")
      .def(py::init([](py::handle edges) {
             auto box = std::make_unique<histogram_box>();
             if (!edges.is_none()) set_edges(*box, edges);
             return box;
           }),
           py::arg("edges") = py::none())
      .def("process", &process, py::arg("values"), R"(process(values) -> None

Adds one value, or every value of an array.)")
      .def("reset", [](histogram_box& b) { locked(b, [](zeb::misc::histogram& h) { h.reset(); return 0; }); },
           R"(reset() -> None

Empties the histogram; the edges are kept.)")
      .def("set_edges", &set_edges, py::arg("edges"), R"(set_edges(edges) -> None

Replaces the edges (1 to 32 finite values, strictly increasing) and empties
the histogram.  ValueError, with nothing changed, for other edges.)")
      .def_property_readonly("count", [](const histogram_box& b) { return locked(b, [](auto& h) { return h.count(); }); },
                             "Values processed, NaN values excluded.")
      .def_property_readonly("nan_count",
                             [](const histogram_box& b) { return locked(b, [](auto& h) { return h.nan_count(); }); },
                             "NaN values processed.")
      .def_property_readonly("min", [](const histogram_box& b) { return locked(b, [](auto& h) { return h.min(); }); },
                             "The smallest value; NaN when count is 0.")
      .def_property_readonly("max", [](const histogram_box& b) { return locked(b, [](auto& h) { return h.max(); }); },
                             "The largest value; NaN when count is 0.")
      .def_property_readonly("mean", [](const histogram_box& b) { return locked(b, [](auto& h) { return h.mean(); }); },
                             "The mean value; NaN when count is 0.")
      .def_property_readonly("edges",
                             [](const histogram_box& b) {
                               return locked(b, [](auto& h) {
                                 py::array_t<double> e(h.edge_count());
                                 for (std::size_t k = 0; k < h.edge_count(); ++k) e.mutable_at(k) = h.edge(k);
                                 return e;
                               });
                             },
                             "The bin edges.")
      .def_property_readonly("bins",
                             [](const histogram_box& b) {
                               return locked(b, [](auto& h) {
                                 py::array_t<std::uint64_t> n(h.bin_count());
                                 for (std::size_t k = 0; k < h.bin_count(); ++k) n.mutable_at(k) = h.bin(k);
                                 return n;
                               });
                             },
                             "The count of each bin (one more than the edges).")
      .def("__str__", &render);

  m.def("copy_edges", &copy_edges, py::arg("connectivity"), py::arg("type"),
        R"(copy_edges(connectivity, type) -> ndarray

The edge set of a mesh: every vertex edge of the elements once, as (smaller,
larger) node pairs sorted by smaller then larger node; an (e, 2) array.
Mid-edge and face nodes are ignored; PYRA13, WEDGE15, HEXA20, NONE, NODE and
EDGE_MIX blocks add no edge.

connectivity, type: one connectivity and its type, or a list of them and a
  list of types (an edge shared by several blocks is listed once).
Raises Error -1 when a block does not fit its type; -3 (list form) when
there is not one type per block.)");

  m.def("edge_quality", &edge_quality, py::arg("length"), py::arg("h1"), py::arg("h2"),
        R"(edge_quality(length, h1, h2) -> float | ndarray

The quality of an edge of the given length between nodes of sizes h1 and h2:
length / H(h1, h2), H the mean size seen along the edge when the size varies
linearly from h1 to h2 (1 for an edge of exactly the wanted size).  Arrays
are broadcast together.

Raises Error -2 when h1 is not positive (NaN included), -3 when h2 is not.)");

  m.def("edge_qualities", &edge_qualities, py::arg("pos"), py::arg("connectivity"), py::arg("type"),
        py::arg("field"), py::arg("excluded") = py::none(), py::arg("histogram") = py::none(),
        R"(edge_qualities(pos, connectivity, type, field, excluded=None, histogram=None) -> tuple[ndarray, Histogram]

The qualities of the edges of a mesh (its edge set, as copy_edges gives it)
measured in a size field: 1 for an edge of exactly the wanted size.
Returns (qualities, histogram): the quality of every edge measured, in edge
set order, and the histogram they were added to (a new one when None is
given; it is not reset first).

pos: coordinates (n, 2) or (n, 3).
connectivity, type: one block, or lists of them as for copy_edges.
field: sizes (1-D, one per node) or metrics (n, 3) in 2-D, (n, 6) in 3-D,
  one packed symmetric tensor per node.
excluded: edges to leave out, (k, 2), their nodes in either order.

Raises Error when an edge has a node without a positive size or a valid
metric (-4, or -5 for the lists; the other edges were measured and added to
the histogram); -1 when pos has neither 2 nor 3 columns; -2 when a block
does not fit its type or names a node without coordinates; for `excluded`
(-6, or -7).)");
}

}  // namespace

const family edges_family(60, bind_edges);

}  // namespace plexa_py
