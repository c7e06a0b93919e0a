// Geometry: transforms, bounding boxes, centroids, mesh copies, clipping.
#include <limits>

#include "convert.hpp"
#include "errors.hpp"
#include "families.hpp"

namespace plexa_py {

namespace zp = zeb::plexa;

namespace {

// The node selection of a transform: every node, a node list (1-D) or the
// nodes of a connectivity (2-D).
struct selection {
  enum { all, list, connectivity } kind = all;
  index_vector nodes;
  index_matrix connect;
};

selection selection_in(py::handle nodes) {
  selection s;
  if (nodes.is_none()) return s;
  if (ndim_of(nodes) == 1) {
    s.kind = selection::list;
    s.nodes = vector_in<unsigned>(nodes, "nodes");
  } else {
    s.kind = selection::connectivity;
    s.connect = matrix_in<unsigned>(nodes, "connect");
  }
  return s;
}

// The coordinates a transform works on: a copy, or the caller's array with
// `inplace` (which cannot gain the rows of a wider transform).
real_matrix transformed(py::handle pos, unsigned dim, bool inplace) {
  real_matrix p = matrix_inout<double>(pos, "pos", inplace);
  if (inplace && !p.empty() && p.rows() < dim)
    throw py::value_error("pos: changed in place, but it has " + std::to_string(p.rows()) +
                          " columns and the transform needs " + std::to_string(dim));
  return p;
}

// Runs the transform `f(pos, selection)` and returns the coordinates.
template <class F>
py::object transform(py::handle pos, unsigned dim, py::handle nodes, bool inplace, const char* name, F&& f) {
  real_matrix p = transformed(pos, dim, inplace);
  const selection s = selection_in(nodes);
  check(without_gil([&] { return f(p, s); }), name);
  return inplace ? py::reinterpret_borrow<py::object>(pos) : py::object(array_out(p));
}

py::object translate(py::handle pos, py::handle T, py::handle nodes, bool inplace) {
  const fixed_vector t = fixed_in(T, "T");
  return transform(pos, t.dim, nodes, inplace, "translate(pos, T, nodes)", [&](real_matrix& p, const selection& s) {
    if (t.dim == 2) {
      const auto v = t.d2();
      return s.kind == selection::list ? zp::translate(p, v, s.nodes)
             : s.kind == selection::connectivity ? zp::translate(p, v, s.connect)
                                                 : zp::translate(p, v);
    }
    const auto v = t.d3();
    return s.kind == selection::list ? zp::translate(p, v, s.nodes)
           : s.kind == selection::connectivity ? zp::translate(p, v, s.connect)
                                               : zp::translate(p, v);
  });
}

py::object rotate(py::handle pos, py::handle C, py::handle R, py::handle nodes, bool inplace) {
  const fixed_vector c = fixed_in(C, "C");
  if (c.dim == 2) {
    const double angle = R.cast<double>();
    const auto centre = c.d2();
    return transform(pos, 2, nodes, inplace, "rotate(pos, C, angle, nodes)", [&](real_matrix& p, const selection& s) {
      return s.kind == selection::list ? zp::rotate(p, centre, angle, s.nodes)
             : s.kind == selection::connectivity ? zp::rotate(p, centre, angle, s.connect)
                                                 : zp::rotate(p, centre, angle);
    });
  }
  const fixed_vector r = fixed_in(R, "R");
  if (r.dim != 3) throw py::value_error("R: a 3-D rotation takes a rotation vector of 3 components");
  const auto centre = c.d3(), axis = r.d3();
  return transform(pos, 3, nodes, inplace, "rotate(pos, C, R, nodes)", [&](real_matrix& p, const selection& s) {
    return s.kind == selection::list ? zp::rotate(p, centre, axis, s.nodes)
           : s.kind == selection::connectivity ? zp::rotate(p, centre, axis, s.connect)
                                               : zp::rotate(p, centre, axis);
  });
}

py::object zoom(py::handle pos, py::handle C, double factor, py::handle nodes, bool inplace) {
  const fixed_vector c = fixed_in(C, "C");
  return transform(pos, c.dim, nodes, inplace, "zoom(pos, C, factor, nodes)", [&](real_matrix& p, const selection& s) {
    if (c.dim == 2) {
      const auto v = c.d2();
      return s.kind == selection::list ? zp::zoom(p, v, factor, s.nodes)
             : s.kind == selection::connectivity ? zp::zoom(p, v, factor, s.connect)
                                                 : zp::zoom(p, v, factor);
    }
    const auto v = c.d3();
    return s.kind == selection::list ? zp::zoom(p, v, factor, s.nodes)
           : s.kind == selection::connectivity ? zp::zoom(p, v, factor, s.connect)
                                               : zp::zoom(p, v, factor);
  });
}

template <unsigned D>
py::tuple grow_box(const real_matrix& p, const selection& s, const real_vector& low, const real_vector& high) {
  zeb::vector_fixed<double, D> a, b;
  for (unsigned k = 0; k < D; ++k) {
    a[k] = low.empty() ? std::numeric_limits<double>::infinity() : low[k];
    b[k] = high.empty() ? -std::numeric_limits<double>::infinity() : high[k];
  }
  switch (s.kind) {
    case selection::list:
      check(without_gil([&] { return zp::inc_bounding_box(p, s.nodes, a, b); }), "inc_bounding_box(pos, nodes, min, max)");
      break;
    case selection::connectivity:
      check(without_gil([&] { return zp::inc_bounding_box(p, s.connect, a, b); }),
            "inc_bounding_box(pos, connect, min, max)");
      break;
    default:
      check(without_gil([&] { return zp::inc_bounding_box(p, a, b); }), "inc_bounding_box(pos, min, max)");
  }
  py::array_t<double> x(D), y(D);
  for (unsigned k = 0; k < D; ++k) {
    x.mutable_at(k) = a[k];
    y.mutable_at(k) = b[k];
  }
  return py::make_tuple(x, y);
}

py::tuple bounding_box(py::handle pos, py::handle min, py::handle max, py::handle nodes) {
  const real_matrix p = matrix_in<double>(pos, "pos");
  const real_vector low = optional_vector_in<double>(min, "min"), high = optional_vector_in<double>(max, "max");
  unsigned dim = !low.empty() ? low.size() : !high.empty() ? high.size() : p.rows();
  if ((!low.empty() && low.size() != dim) || (!high.empty() && high.size() != dim))
    throw py::value_error("min, max: corners of different dimensions");
  if (dim != 2 && dim != 3) throw py::value_error("min, max: a box has 2 or 3 dimensions, got " + std::to_string(dim));
  const selection s = selection_in(nodes);
  return dim == 2 ? grow_box<2>(p, s, low, high) : grow_box<3>(p, s, low, high);
}

py::array centroids(py::handle pos, py::handle connect, py::handle type) {
  const mesh_args a = mesh_in(pos, connect, type);
  real_matrix g;
  check(without_gil([&] { return zp::centroids(a.pos, a.connect, g, a.type); }), "centroids(pos, connect, G, type)");
  return array_out(g);
}

py::tuple copy_mesh(py::handle pos, py::handle connect0, py::handle T, py::handle C, py::handle R, py::handle n,
                    py::handle connect) {
  real_matrix p = matrix_inout<double>(pos, "pos", false);
  const index_matrix base = matrix_in<unsigned>(connect0, "connect0");
  index_matrix out;
  if (T.is_none() && C.is_none() && R.is_none() && n.is_none()) {
    if (!connect.is_none()) throw py::value_error("connect: only the repeated copies append to a connectivity");
    check(without_gil([&] { return zp::copy_mesh(p, out, base); }), "copy_mesh(pos, connect, connect0)");
    return py::make_tuple(array_out(p), array_out(out));
  }
  if (T.is_none() || C.is_none() || R.is_none() || n.is_none())
    throw py::value_error("T, C, R, n: the repeated copies need all four");
  if (!connect.is_none()) out = matrix_inout<unsigned>(connect, "connect", false);
  const fixed_vector t = fixed_in(T, "T"), c = fixed_in(C, "C");
  const unsigned copies = n.cast<unsigned>();
  if (t.dim != c.dim) throw py::value_error("T, C: of different dimensions");
  if (t.dim == 2) {
    const double angle = R.cast<double>();
    check(without_gil([&] { return zp::copy_mesh(p, out, t.d2(), c.d2(), angle, copies, base); }),
          "copy_mesh(pos, connect, T, C, angle, n, connect0)");
  } else {
    const fixed_vector r = fixed_in(R, "R");
    if (r.dim != 3) throw py::value_error("R: a 3-D rotation takes a rotation vector of 3 components");
    check(without_gil([&] { return zp::copy_mesh(p, out, t.d3(), c.d3(), r.d3(), copies, base); }),
          "copy_mesh(pos, connect, T, C, R, n, connect0)");
  }
  return py::make_tuple(array_out(p), array_out(out));
}

py::tuple copy_sym_mesh(py::handle pos, py::handle connect0, py::handle P, py::handle N) {
  real_matrix p = matrix_inout<double>(pos, "pos", false);
  const index_matrix base = matrix_in<unsigned>(connect0, "connect0");
  const fixed_vector point = fixed_in(P, "P"), normal = fixed_in(N, "N");
  if (point.dim != normal.dim) throw py::value_error("P, N: of different dimensions");
  index_matrix out;
  const char* signature = "copy_sym_mesh(pos, connect, P, N, connect0)";
  if (point.dim == 2)
    check(without_gil([&] { return zp::copy_sym_mesh(p, out, point.d2(), normal.d2(), base); }), signature);
  else
    check(without_gil([&] { return zp::copy_sym_mesh(p, out, point.d3(), normal.d3(), base); }), signature);
  return py::make_tuple(array_out(p), array_out(out));
}

py::array clip(py::handle pos, py::handle connect, py::handle P, py::handle N) {
  const real_matrix p = matrix_in<double>(pos, "pos");
  const index_matrix c = matrix_in<unsigned>(connect, "connect");
  const fixed_vector point = fixed_in(P, "P"), normal = fixed_in(N, "N");
  index_matrix kept;
  check(without_gil([&] { return zp::clip(p, c, point.d3(), normal.d3(), kept); }), "clip(pos, connect, P, N, kept)");
  return array_out(kept, c.rows());
}

constexpr const char* transform_rules = R"(
pos: coordinates (n, d), one row per node.
nodes: which nodes move: None (every node), a node list (1-D; a node listed
  twice moves twice; entries that are not node indices are skipped) or a
  connectivity (2-D; each of its distinct nodes once).
inplace: change `pos` itself (a writable float64 array) and return it; it
  must then have at least as many columns as the transform's dimension.
  Otherwise the transformed copy is returned and `pos` is left alone.
A 2-D transform gives a pos of fewer than 2 columns a second column of
zeros, a 3-D one a third; columns beyond the transform's dimension are left
alone.  An empty pos is returned as it is.)";

void bind_geometry(py::module_& m) {
  m.def("translate", &translate, py::arg("pos"), py::arg("T"), py::arg("nodes") = py::none(), py::kw_only(),
        py::arg("inplace") = false,
        (std::string(R"(translate(pos, T, nodes=None, *, inplace=False) -> ndarray

The coordinates translated by T (2 or 3 components): x <- x + T.)") + transform_rules).c_str());

  m.def("rotate", &rotate, py::arg("pos"), py::arg("C"), py::arg("R"), py::arg("nodes") = py::none(), py::kw_only(),
        py::arg("inplace") = false,
        (std::string(R"(rotate(pos, C, R, nodes=None, *, inplace=False) -> ndarray

The coordinates rotated about the centre C.
2-D (C of 2 components): R is the angle in radians, counter-clockwise.
3-D (C of 3 components): R is the rotation vector: the axis through C along
  R, by the angle |R| (right-hand rule).)") + transform_rules).c_str());

  m.def("zoom", &zoom, py::arg("pos"), py::arg("C"), py::arg("factor"), py::arg("nodes") = py::none(), py::kw_only(),
        py::arg("inplace") = false,
        (std::string(R"(zoom(pos, C, factor, nodes=None, *, inplace=False) -> ndarray

The coordinates scaled about the centre C (2 or 3 components):
x <- x + (x - C) (factor - 1).)") + transform_rules).c_str());

  m.def("inc_bounding_box", &bounding_box, py::arg("pos"), py::arg("min") = py::none(), py::arg("max") = py::none(),
        py::arg("nodes") = py::none(), R"(inc_bounding_box(pos, min=None, max=None, nodes=None) -> tuple[ndarray, ndarray]

The box [min, max] grown over nodes of pos (n, d): every component of a
corner takes the node's when it lies outside.  A NaN component never
changes the box.  Returns the new corners; the ones given are not changed.

min, max: the box to grow (2 or 3 components, d of them); None starts from
  +inf and -inf (an empty box) of dimension d.
nodes: None (every node), a node list (1-D; NO_INDEX entries skipped) or a
  connectivity (2-D; its distinct nodes).

Raises Error -1 when d is not the dimension of the corners; -2 when a node
index is neither NO_INDEX nor below n.)");

  m.def("centroids", &centroids, py::arg("pos"), py::arg("connect"), py::arg("type"),
        R"(centroids(pos, connect, type) -> ndarray

The centroid of every element, the mean of its nodes: an (m, d) array for a
connectivity (m, k) of a linear type over coordinates (n, d), d from 1 to 3.

Raises Error -4 for a type that is not linear (EDGE2, FACE_MIX, TRIA3, QUAD4,
SOLID_MIX, TETRA4, PYRA5, WEDGE6, HEXA8); -1 when d is not 1, 2 or 3 or is
below the element dimension; -2 when the connectivity does not fit the type
or names a missing node.)");

  m.def("copy_mesh", &copy_mesh, py::arg("pos"), py::arg("connect0"), py::arg("T") = py::none(),
        py::arg("C") = py::none(), py::arg("R") = py::none(), py::arg("n") = py::none(),
        py::arg("connect") = py::none(),
        R"(copy_mesh(pos, connect0, T=None, C=None, R=None, n=None, connect=None) -> tuple[ndarray, ndarray]

Duplicates the nodes that the connectivity connect0 uses: the k-th distinct
node (in order of first appearance) becomes node n0 + k, n0 = len(pos).
Returns (pos, connect): the coordinates with the new nodes appended and the
connectivity of the copies.

Without T, C, R, n: one copy, connect0 renumbered onto the duplicates.
With them: n copies, copy k rotated about C by k R (the angle in radians in
  2-D, the rotation vector in 3-D) then translated by k T; their elements
  are appended to `connect` (None or a connectivity of connect0's row
  count), which is not changed itself.

Raises Error -2 when `connect` has another row count; -3 (one copy) or -7
(copies) when connect0 names a missing node.)");

  m.def("copy_sym_mesh", &copy_sym_mesh, py::arg("pos"), py::arg("connect0"), py::arg("P"), py::arg("N"),
        R"(copy_sym_mesh(pos, connect0, P, N) -> tuple[ndarray, ndarray]

One copy of the nodes that connect0 uses, mirrored across the line (2-D) or
plane (3-D) through P with normal N: x <- x - 2 ((x - P).N / N.N) N.
Returns (pos, connect): the coordinates with the mirrored nodes appended,
and connect0 renumbered onto them.

Raises Error -4 when N is zero (or so small that N.N underflows); -5 when
connect0 names a missing node.)");

  m.def("clip", &clip, py::arg("pos"), py::arg("connect"), py::arg("P"), py::arg("N"),
        R"(clip(pos, connect, P, N) -> ndarray

The elements on one side of a plane: the rows of connect whose nodes all lie
on the side of the plane through P towards which N points, or on it
((x - P).N >= 0 over the first min(d, 3) components; P, N of 2 or 3
components).  A row is read up to its first NO_INDEX; a NaN side rejects it.

Raises Error -2 when a node index is neither NO_INDEX nor below len(pos);
-4 when N is zero.)");
}

}  // namespace

const family geometry_family(30, bind_geometry);

}  // namespace plexa_py
