// The exception of a result code (see errors.hpp).
#include "errors.hpp"

#include <string>
#include <vector>

#include <pybind11/eval.h>

#include <zeb/plexa/messages.hpp>

namespace plexa_py {

namespace py = pybind11;

namespace {

// The class, kept for raise_code; owned by the module as well.
PyObject* error_type = nullptr;

constexpr const char* error_class = R"(
class Error(Exception):
    """A call of the library refused its arguments or failed.

    code: the library's result code (negative); -k names the k-th argument
        of the C++ function, in the order of its declaration.
    function: the name of the function that returned it.
    The message gives the library's reason, naming the argument.
    """

    def __init__(self, message, code, function=None):
        super().__init__(message)
        self.code = code
        self.function = function

    def __reduce__(self):
        return (type(self), (self.args[0], self.code, self.function))
)";

}  // namespace

void define_error(py::module_& m) {
  py::dict scope;
  scope["__name__"] = "plexa";
  py::exec(error_class, scope);
  py::object cls = scope["Error"];
  m.attr("Error") = cls;
  error_type = cls.inc_ref().ptr();  // lives as long as the interpreter
}

void raise_code(int code, const char* signature) {
  if (code == -199) {
    PyErr_SetString(PyExc_MemoryError, "out of memory");
    throw py::error_already_set();
  }
  std::vector<char> text(zeb::plexa::result_message(signature, code, nullptr, 0) + 1);
  zeb::plexa::result_message(signature, code, text.data(), unsigned(text.size()));
  const std::string whole(signature);
  const std::string name = whole.substr(0, whole.find('('));
  py::object error = py::reinterpret_borrow<py::object>(error_type)(text.data(), code, name);
  PyErr_SetObject(error_type, error.ptr());
  throw py::error_already_set();
}

}  // namespace plexa_py
