// STL files: the reader (with its report) and the writer, path forms.
#include "convert.hpp"
#include "errors.hpp"
#include "families.hpp"

namespace plexa_py {

namespace zp = zeb::plexa;

namespace {

py::tuple stl_input(py::handle path, bool with_report) {
  const std::string file = path_in(path);
  real_matrix pos;
  index_matrix connect;
  zp::STL_read_report report;
  check(without_gil([&] { return zp::STL_input(file.c_str(), pos, connect, report); }),
        "STL_input(path, pos, connect, report)");
  if (with_report) return py::make_tuple(array_out(pos, 3), array_out(connect, 3), report);
  return py::make_tuple(array_out(pos, 3), array_out(connect, 3));
}

void stl_output(py::handle path, py::handle pos, py::handle connect, bool ascii) {
  const std::string file = path_in(path);
  const real_matrix p = matrix_in<double>(pos, "pos");
  const index_matrix c = matrix_in<unsigned>(connect, "connect");
  check(without_gil([&] { return zp::STL_output(file.c_str(), p, c, ascii); }), "STL_output(path, pos, connect, ascii)");
}

void bind_stl(py::module_& m) {
  py::class_<zp::STL_read_report>(m, "STLReadReport", R"(STLReadReport

What an STL reading found and what its weld did (read-only).)")
      .def_readonly("binary", &zp::STL_read_report::binary, "Read by the binary layout (the ASCII grammar failed).")
      .def_readonly("triangles", &zp::STL_read_report::triangles, "Triangles in the file.")
      .def_readonly("welded", &zp::STL_read_report::welded, "Whether some triangle has a positive height.")
      .def_readonly("tolerance", &zp::STL_read_report::tolerance,
                    "The tolerance of the weld's second merge, 0.05 h (0 when not welded).")
      .def_readonly("removed", &zp::STL_read_report::removed,
                    "Triangles removed for want of three distinct nodes.")
      .def("__repr__", [](const zp::STL_read_report& r) {
        return "STLReadReport(binary=" + std::string(r.binary ? "True" : "False") +
               ", triangles=" + std::to_string(r.triangles) + ", welded=" + (r.welded ? "True" : "False") +
               ", tolerance=" + py::repr(py::float_(r.tolerance)).cast<std::string>() +
               ", removed=" + std::to_string(r.removed) + ")";
      });

  m.def("STL_input", &stl_input, py::arg("path"), py::kw_only(), py::arg("report") = false,
        R"(STL_input(path, *, report=False) -> tuple

Reads an STL file, ASCII or binary (the ASCII grammar is tried first), and
welds its triangle soup: with h the smallest positive triangle height,
coincident nodes are merged, then nodes within 0.05 h, then the triangles
without three distinct nodes and the nodes no triangle uses are removed.  A
file without a triangle of positive height is returned as read.

Returns (pos, connect): the nodes (n, 3) and the triangles (m, 3) in file
order; with report, (pos, connect, STLReadReport).

Raises Error -1 when the file cannot be opened; -2 when it is not an STL
file (no "solid" line, and too short for a binary header); -3 when it is
malformed or truncated.)");

  m.def("STL_output", &stl_output, py::arg("path"), py::arg("pos"), py::arg("connect"), py::arg("ascii") = false,
        R"(STL_output(path, pos, connect, ascii=False) -> None

Writes the triangles connect (m, 3) over the nodes pos (n, 3) as an STL
file, binary (coordinates and normals rounded to 32-bit floats) or ASCII
("%e"); each normal is the unit normal of the node order.

Raises Error -1 when the file cannot be opened or written; -2 when pos has
entries and not 3 columns; -3 when connect has not 3 columns or names a
missing node.)");
}

}  // namespace

const family stl_family(91, bind_stl);

}  // namespace plexa_py
