// Element quality: shape qualities, the smallest quality, Jacobians.
#include "convert.hpp"
#include "errors.hpp"
#include "families.hpp"

namespace plexa_py {

namespace zp = zeb::plexa;

namespace {

py::array shape_qualities(py::handle pos, py::handle connect, py::handle type, py::handle metrics) {
  const mesh_args a = mesh_in(pos, connect, type);
  real_vector q;
  if (metrics.is_none()) {
    check(without_gil([&] { return zp::shape_qualities(a.pos, a.connect, a.type, q); }), "shape_qualities(pos, connect, type, qualities)");
  } else {
    const real_matrix m = matrix_in<double>(metrics, "metrics");
    check(without_gil([&] { return zp::shape_qualities(a.pos, a.connect, a.type, m, q); }),
          "shape_qualities(pos, connect, type, metrics, qualities)");
  }
  return array_out(q);
}

py::tuple min_quality(py::handle pos, py::handle connect, py::handle type) {
  const mesh_args a = mesh_in(pos, connect, type);
  double quality = 0;
  unsigned element = NO_INDEX;
  check(without_gil([&] { return zp::min_quality(a.pos, a.connect, a.type, quality, element); }),
        "min_quality(pos, connect, type, quality, element)");
  return py::make_tuple(quality, element == NO_INDEX ? py::object(py::none()) : py::object(py::int_(element)));
}

py::array jacobians(py::handle pos, py::handle connect, py::handle type) {
  const mesh_args a = mesh_in(pos, connect, type);
  real_matrix dets;
  check(without_gil([&] { return zp::jacobians(a.pos, a.connect, a.type, dets); }), "jacobians(pos, connect, type, dets)");
  return array_out(dets, 2);
}

void bind_quality(py::module_& m) {
  m.def("shape_qualities", &shape_qualities, py::arg("pos"), py::arg("connect"), py::arg("type"),
        py::arg("metrics") = py::none(), R"(shape_qualities(pos, connect, type, metrics=None) -> ndarray

The shape quality of every element: 1 for the regular element of its kind,
below 1 for any other shape, 0 for a degenerate one, negative for an
inverted one (never negative for faces in 3-D coordinates); NaN when a
coordinate is not finite.  It is the mean ratio of the element to the
regular one, measured on the vertices.

pos: (n, 2) for faces in the plane, (n, 3) for surfaces and solids.
connect, type: a connectivity of a face or solid type, linear, quadratic or
  mixed.
metrics: packed metrics, (n, 3) with 2-D coordinates, (n, 6) with 3-D: the
  elements are measured in the mean metric of their vertices, so that an
  element of the shape the metric prescribes scores 1.

Raises Error -3 for a type without a shape (NONE, NODE, edges); -1 for the
column count of pos; -2 when the connectivity does not fit the type or
names a missing node; -4 when metrics is not one valid metric per node.)");

  m.def("min_quality", &min_quality, py::arg("pos"), py::arg("connect"), py::arg("type"),
        R"(min_quality(pos, connect, type) -> tuple[float, int | None]

The smallest shape quality of a mesh and the first element that has it (NaN
counts as the smallest), without storing the others: (1.0, None) for no
element.  Raises as shape_qualities.)");

  m.def("jacobians", &jacobians, py::arg("pos"), py::arg("connect"), py::arg("type"),
        R"(jacobians(pos, connect, type) -> ndarray

The smallest and the largest determinant of the Jacobian of each element's
map from its reference element, sampled over the element: an (m, 2) array.
Their ratio is the scaled Jacobian of a positive element (1 for linear
simplices, parallelograms and parallelepipeds); a smallest determinant of 0
or below marks a degenerate, tangled or inverted element.  For TRIA6 and
TETRA10 the smallest value is a certified lower bound over the element.

Raises as shape_qualities.)");
}

}  // namespace

const family quality_family(80, bind_quality);

}  // namespace plexa_py
