// Gradation control, size generation and the shock of a field.
#include "convert.hpp"
#include "errors.hpp"
#include "families.hpp"

namespace plexa_py {

namespace zp = zeb::plexa;

namespace {

// bound_metric_gradations or bound_metric_variations on a size field (1-D)
// or a metric field (2-D), changed in a copy unless in place.
template <class Bound>
py::object bound_field(const char* name, Bound&& bound, py::handle pos, py::handle connect, py::handle type,
                       py::handle field, double g, int mode, py::handle nodes, bool frozen, bool inplace) {
  const mesh_args a = mesh_in(pos, connect, type);
  const index_vector listed = optional_vector_in<unsigned>(nodes, "nodes");
  const std::string parameters = "(pos, connect, type, nodes, frozen, mode, g, ";
  if (ndim_of(field) == 1) {
    real_vector h = vector_inout<double>(field, "H", inplace);
    check(without_gil([&] { return bound(a.pos, a.connect, a.type, listed, frozen, mode, g, h); }),
          (name + parameters + "H)").c_str());
    return inplace ? py::reinterpret_borrow<py::object>(field) : py::object(array_out(h));
  }
  real_matrix m = matrix_inout<double>(field, "M", inplace);
  check(without_gil([&] { return bound(a.pos, a.connect, a.type, listed, frozen, mode, g, m); }),
        (name + parameters + "M)").c_str());
  return inplace ? py::reinterpret_borrow<py::object>(field) : py::object(array_out(m));
}

py::object gradations(py::handle pos, py::handle connect, py::handle type, py::handle field, double g, int mode,
                      py::handle nodes, bool frozen, bool inplace) {
  return bound_field("bound_metric_gradations", [](auto&&... a) { return zp::bound_metric_gradations(a...); }, pos,
                     connect, type, field, g, mode, nodes, frozen, inplace);
}

py::object variations(py::handle pos, py::handle connect, py::handle type, py::handle field, double g, int mode,
                      py::handle nodes, bool frozen, bool inplace) {
  return bound_field("bound_metric_variations", [](auto&&... a) { return zp::bound_metric_variations(a...); }, pos,
                     connect, type, field, g, mode, nodes, frozen, inplace);
}

py::array gen_iso(py::handle pos, py::handle connect, py::handle type, double p, py::handle H) {
  const mesh_args a = mesh_in(pos, connect, type);
  real_vector h = H.is_none() ? real_vector() : vector_inout<double>(H, "H", false);
  check(without_gil([&] { return zp::metrics_gen_iso(a.pos, a.connect, a.type, h, p); }),
        "metrics_gen_iso(pos, connect, type, H, p)");
  return array_out(h);
}

py::array shock(py::handle pos, py::handle edges, py::handle field, py::handle S) {
  const real_matrix p = matrix_in<double>(pos, "pos");
  const index_matrix e = matrix_in<unsigned>(edges, "edges");
  real_vector s = S.is_none() ? real_vector() : vector_inout<double>(S, "S", false);
  if (ndim_of(field) == 1) {
    const real_vector h = vector_in<double>(field, "H");
    check(without_gil([&] { return zp::H_shock(p, e, h, s); }), "H_shock(pos, edges, H, S)");
  } else {
    const real_matrix m = matrix_in<double>(field, "M");
    check(without_gil([&] { return zp::H_shock(p, e, m, s); }), "H_shock(pos, edges, M, S)");
  }
  return array_out(s);
}

constexpr const char* bound_rules = R"(
Along the edges of the elements, the sizes of the field are brought within
the bound g by a worst-first propagation: each correction moves a node's
size along an edge to the value the bound allows from the other end.

field: sizes (1-D, one per node) or packed metrics, (n, 3) with 2-D
  coordinates, (n, 6) with 3-D; a value for every node of connect.
mode: 1 sizes only grow, -1 only shrink (both then leave every edge within
  the bound, up to a threshold of 0.001 on a correction), 0 a node grows or
  shrinks by its first change (no guarantee); other values change nothing.
nodes, frozen: with frozen (the default) the listed nodes never change;
  otherwise the listed nodes are the only ones that may.
connect, type: EDGE2, TRIA3, QUAD4, FACE_MIX, TETRA4, PYRA5, WEDGE6, HEXA8
  or SOLID_MIX elements.
inplace: change `field` itself (a writable float64 array) and return it;
  otherwise the bounded copy is returned.  A field within the bound comes
  back bit for bit.

Raises Error -1 when pos has neither 2 nor 3 columns; -2 when connect does
not fit the type or names a missing node; -3 for another type; -4 when
nodes names a missing node; -7 when g is negative or NaN; -8 when the field
has another column count or no value for some node.  MemoryError leaves an
in-place field partly corrected.)";

void bind_gradation(py::module_& m) {
  static const std::string gradation_doc =
      std::string(R"(bound_metric_gradations(pos, connect, type, field, g, mode, nodes=None, frozen=True, *, inplace=False) -> ndarray

Limits the gradation of a size field: along every edge, the growth factor of
the size per unit of length in the field, minus one, exp(ln(r)/L) - 1 (r the
ratio of the end sizes, L the edge's length in the field), stays at or below
g (the largest double: no bound).)") + bound_rules;
  m.def("bound_metric_gradations", &gradations, py::arg("pos"), py::arg("connect"), py::arg("type"),
        py::arg("field"), py::arg("g"), py::arg("mode"), py::arg("nodes") = py::none(), py::arg("frozen") = true,
        py::kw_only(), py::arg("inplace") = false, gradation_doc.c_str());

  static const std::string variation_doc =
      std::string(R"(bound_metric_variations(pos, connect, type, field, g, mode, nodes=None, frozen=True, *, inplace=False) -> ndarray

Limits the variation of a size field: along every edge, the slope of the
size |hi - hj| / d (d the edge's length) stays at or below g.)") + bound_rules;
  m.def("bound_metric_variations", &variations, py::arg("pos"), py::arg("connect"), py::arg("type"),
        py::arg("field"), py::arg("g"), py::arg("mode"), py::arg("nodes") = py::none(), py::arg("frozen") = true,
        py::kw_only(), py::arg("inplace") = false, variation_doc.c_str());

  m.def("metrics_gen_iso", &gen_iso, py::arg("pos"), py::arg("connect"), py::arg("type"), py::arg("p") = 1.0,
        py::arg("H") = py::none(), R"(metrics_gen_iso(pos, connect, type, p=1.0, H=None) -> ndarray

An isotropic size field from the lengths of the element edges at each node:
their power mean of exponent p (0 the shortest, 1 the arithmetic mean, 2
the quadratic mean, the largest double the longest); an edge counts once
for each element that has it.  Returns one size per node of pos: the mean
for the nodes an edge reaches, the entry of H (not changed itself) or 0 for
the others.

Raises Error -3 for a type without edges (NONE, NODE, EDGE_MIX, EDGE3, the
quadratic types); -1 when the element dimension is above the column count
of pos; -2 when connect does not fit the type or names a missing node; -5
when p is negative.)");

  m.def("H_shock", &shock, py::arg("pos"), py::arg("edges"), py::arg("field"), py::arg("S") = py::none(),
        R"(H_shock(pos, edges, field, S=None) -> ndarray

The shock of a field at each node: the largest gradation (as for
bound_metric_gradations) along the given edges (k, 2) that meet there, or
the entry of S (not changed itself; 0 without it) when that is larger.
field: sizes (1-D) or packed metrics, (n, 3) or (n, 6).

Raises Error -1 when pos has neither 2 nor 3 columns; -2 when edges does not
have 2 columns or names a missing node; -3 when the field has another
column count or no value for some node of the edges.)");
}

}  // namespace

const family gradation_family(75, bind_gradation);

}  // namespace plexa_py
