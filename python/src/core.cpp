// Version, the element tables, and the inspection helpers of the tests.
#include "convert.hpp"
#include "families.hpp"

namespace plexa_py {

namespace zp = zeb::plexa;

namespace {

void bind_core(py::module_& m) {
  m.attr("NO_INDEX") = NO_INDEX;

  m.def("version", [] { return std::string(zp::version()); }, R"(version() -> str

The library's version, "5.3.0.0".)");

  m.def("nbr_nodes", [](py::handle type) { return zp::nbr_nodes(type_in(type, "type")); }, py::arg("type"),
        R"(nbr_nodes(type) -> int

Nodes per element of the type (the columns of its connectivity rows): 4 for
FACE_MIX, 8 for SOLID_MIX.  0 for NONE.)");
  m.def("nbr_base_nodes", [](py::handle type) { return zp::nbr_base_nodes(type_in(type, "type")); },
        py::arg("type"), R"(nbr_base_nodes(type) -> int

Vertex (corner) nodes per element of the type.)");
  m.def("nbr_boundaries", [](py::handle type) { return zp::nbr_boundaries(type_in(type, "type")); },
        py::arg("type"), R"(nbr_boundaries(type) -> int

Boundaries of one element: end points of an edge, sides of a face, faces of
a solid (the largest member for the mixed types).)");
  m.def("element_dim", [](py::handle type) { return zp::element_dim(type_in(type, "type")); }, py::arg("type"),
        R"(element_dim(type) -> int

Dimension of the element: 0 for NONE and NODE, 1 for edges, 2 for faces, 3
for solids.)");

  py::module_ t = m.def_submodule("_testing", "Inspection of the conversion layer, for the tests.");
  t.def("input_layout", &input_layout, py::arg("array"), py::arg("integer") = false,
        R"(input_layout(array, integer=False) -> tuple[int, int, int, int]

(address of the first entry, rows, cols, leading dimension) of the matrix
the library reads when `array` is given as coordinates (float64) or, with
`integer`, as a connectivity (uint32).)");
  t.def("storage_count", &storage_count, py::arg("array"), R"(storage_count(array) -> int

The reference count of the library storage block behind a result array (0
when its base is not such a block).)");
}

}  // namespace

const family core_family(10, bind_core);

}  // namespace plexa_py
