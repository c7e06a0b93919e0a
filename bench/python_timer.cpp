// The C++ side of bench/python_overhead.py: times library calls on arrays
// handed over from Python, inside the same process and on the same memory
// (the containers view the arrays' memory, as the module's do, so that both
// sides read memory of the same history), so that the Python module's
// timings can be set against them.  Each function returns
// the seconds of each of `repeats` calls, measured as the CPU time of the
// calling thread (time.thread_time() in Python): other processes on the
// machine then lengthen neither side.
#include <time.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <zeb/plexa.hpp>

namespace py = pybind11;

namespace {

template <class T>
using c_array = py::array_t<T, py::array::c_style | py::array::forcecast>;

void keep(void*) noexcept {}  // the caller's array outlives the timing

// An (n, k) C-contiguous array as the k x n matrix over its memory.
template <class T>
zeb::dense2D<T> matrix_of(const c_array<T>& a) {
  zeb::Ptr<zeb::vector_num<T, 8>> block;
  block = zeb::vector_num<T, 8>::adopt(const_cast<T*>(a.data()), a.size(), keep, nullptr);
  if (!block) throw std::bad_alloc();
  return zeb::dense2D<T>(block, 0, unsigned(a.shape(1)), unsigned(a.shape(0)), unsigned(a.shape(1)));
}

double thread_seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

template <class F>
std::vector<double> timed(unsigned repeats, F&& call) {
  std::vector<double> seconds;
  py::gil_scoped_release released;
  for (unsigned r = 0; r < repeats; ++r) {
    const double start = thread_seconds();
    call();
    seconds.push_back(thread_seconds() - start);
  }
  return seconds;
}

std::vector<double> time_neighbors(const c_array<unsigned>& connect, int type, unsigned repeats) {
  const zeb::dense2D<unsigned> c = matrix_of(connect);
  return timed(repeats, [&] {
    zeb::dense2D<unsigned> nbr;
    if (zeb::plexa::get_neighbors(c, zeb::plexa::element_type(type), false, nbr) != 0) throw std::runtime_error("failed");
  });
}

// merge(pos, new_IDs, tolerance) on a view of the input: the library gives
// the view a copy of its own when it merges, as it does for the module.
std::vector<double> time_merge(const c_array<double>& pos, double tolerance, unsigned repeats) {
  const zeb::dense2D<double> input = matrix_of(pos);
  return timed(repeats, [&] {
    zeb::dense2D<double> p = input;
    zeb::dense1D<unsigned, 8> map;
    if (zeb::plexa::merge(p, map, tolerance) < 0) throw std::runtime_error("failed");
  });
}

// STL_input (read and weld) of the file `path`.
std::vector<double> time_stl_input(const std::string& path, unsigned repeats) {
  return timed(repeats, [&] {
    zeb::dense2D<double> pos;
    zeb::dense2D<unsigned> tris;
    if (zeb::plexa::STL_input(path.c_str(), pos, tris) != 0) throw std::runtime_error("failed");
  });
}

// bound_metric_gradations on a fresh copy of the sizes each time (the copy
// made off the clock).
std::vector<double> time_gradations(const c_array<double>& pos, const c_array<unsigned>& connect, int type,
                                    const c_array<double>& sizes, double g, int mode, unsigned repeats) {
  const zeb::dense2D<double> p = matrix_of(pos);
  const zeb::dense2D<unsigned> c = matrix_of(connect);
  const zeb::dense1D<unsigned, 8> none;
  std::vector<double> seconds;
  py::gil_scoped_release released;
  for (unsigned r = 0; r < repeats; ++r) {
    zeb::dense1D<double, 8> h(unsigned(sizes.size()));
    std::memcpy(h.data(), sizes.data(), sizes.size() * sizeof(double));
    const double start = thread_seconds();
    if (zeb::plexa::bound_metric_gradations(p, c, zeb::plexa::element_type(type), none, true, mode, g, h) < 0)
      throw std::runtime_error("failed");
    seconds.push_back(thread_seconds() - start);
  }
  return seconds;
}

}  // namespace

PYBIND11_MODULE(plexa_bench_timer, m) {
  m.def("time_neighbors", &time_neighbors, py::arg("connect"), py::arg("type"), py::arg("repeats"));
  m.def("time_merge", &time_merge, py::arg("pos"), py::arg("tolerance"), py::arg("repeats"));
  m.def("time_stl_input", &time_stl_input, py::arg("path"), py::arg("repeats"));
  m.def("time_gradations", &time_gradations, py::arg("pos"), py::arg("connect"), py::arg("type"), py::arg("sizes"),
        py::arg("g"), py::arg("mode"), py::arg("repeats"));
}
