"""The time the Python module adds to library calls on the benchmark meshes
(target: under 5% at a million elements): get_neighbors, merge, STL_input,
bound_metric_gradations.

Each call is timed through plexa and directly in C++ (plexa_bench_timer, in
the same process on the same data), alternately, in CPU time of the calling
thread (so that other processes on the machine do not lengthen either
side); the medians are compared, the fastest runs shown beside.
Run by `make bench` after the C++ benchmarks:

    PYTHONPATH=<build>/python:<build>/bench python3 bench/python_overhead.py [repeats]
"""

import os
import statistics
import sys
import tempfile
import time

import numpy as np

import plexa
import plexa_bench_timer as cpp

CUBE_TETS = np.array([[0, 1, 3, 7], [0, 3, 2, 7], [0, 2, 6, 7], [0, 6, 4, 7], [0, 4, 5, 7], [0, 5, 1, 7]])


def million_tetrahedra(n=55):
    """The n^3 cubes of six tetrahedra of the C++ benchmarks: 998,250."""
    m = n + 1
    k, j, i = (a.ravel() for a in np.meshgrid(np.arange(n), np.arange(n), np.arange(n), indexing="ij"))
    corners = np.stack([(i + (b & 1)) + m * ((j + ((b >> 1) & 1)) + m * (k + (b >> 2))) for b in range(8)], axis=1)
    return np.ascontiguousarray(corners[:, CUBE_TETS].reshape(-1, 4), dtype=np.uint32)


def jittered_nodes(n=55, seed=1):
    """The nodes of million_tetrahedra(n), jittered and scaled as the
    gradation benchmark's (edges 0.14 to 0.24 long)."""
    m = n + 1
    k, j, i = (a.ravel() for a in np.meshgrid(np.arange(m), np.arange(m), np.arange(m), indexing="ij"))
    pos = np.stack([i, j, k], axis=1) + np.random.default_rng(seed).uniform(-0.2, 0.2, (m**3, 3))
    return pos * 0.137


def points_with_copies(count=1_000_000, seed=1):
    """A million random points, 30% of them copies of earlier ones moved by
    less than 1e-7 (merged with tolerance 1e-6), as the search benchmark."""
    rng = np.random.default_rng(seed)
    pos = rng.uniform(size=(count, 3))
    copies = rng.choice(np.arange(1, count), size=int(0.3 * count), replace=False)
    pos[copies] = pos[rng.integers(0, copies)] + rng.uniform(-5e-8, 5e-8, size=(len(copies), 3))
    return pos


def torus(nu=1000, nv=500, seed=11):
    """A closed torus of nu x nv jittered nodes and 2 nu nv triangles in
    shuffled order, as the STL benchmark's: a million triangles."""
    rng = np.random.default_rng(seed)
    i, j = (a.ravel() for a in np.meshgrid(np.arange(nu), np.arange(nv), indexing="ij"))
    a = 2 * np.pi * (i + rng.uniform(-0.1, 0.1, i.size)) / nu
    b = 2 * np.pi * (j + rng.uniform(-0.1, 0.1, j.size)) / nv
    r = 100 + 30 * np.cos(b)
    pos = np.stack([r * np.cos(a), r * np.sin(a), 30 * np.sin(b)], axis=1)
    k, right, up, both = i * nv + j, (i + 1) % nu * nv + j, i * nv + (j + 1) % nv, (i + 1) % nu * nv + (j + 1) % nv
    tris = np.concatenate([np.stack([k, right, both], 1), np.stack([k, both, up], 1)])
    return pos, tris[rng.permutation(len(tris))].astype(np.uint32)


def compare(name, elements, python_call, cpp_call, repeats):
    python_call()  # warm-up: first-touch of the pages, the import of NumPy paths
    cpp_call(1)
    py_times, cpp_times = [], []
    for _ in range(repeats):
        start = time.thread_time()
        python_call()
        py_times.append(time.thread_time() - start)
        cpp_times.append(cpp_call(1)[0])
    py, c = statistics.median(py_times), statistics.median(cpp_times)
    overhead = (py - c) / c
    fastest = (min(py_times) - min(cpp_times)) / min(cpp_times)
    print(f"{name:<24} {elements:>9}  C++ {c * 1e3:8.2f} ms  Python {py * 1e3:8.2f} ms  "
          f"overhead {overhead * 100:+6.2f}% (fastest runs {fastest * 100:+6.2f}%)  "
          f"{'ok' if overhead < 0.05 else 'ABOVE 5%'}")
    return overhead


def fixed_cost(repeats=20000):
    """The module's own cost per call, on a mesh of six tetrahedra: what it
    adds to a call of any size (conversions, the result's capsule, the GIL)."""
    tets = million_tetrahedra(1)
    start = time.thread_time()
    for _ in range(repeats):
        plexa.get_neighbors(tets, plexa.TETRA4)
    py = (time.thread_time() - start) / repeats
    c = sum(cpp.time_neighbors(tets, int(plexa.TETRA4), repeats)) / repeats
    print(f"{'get_neighbors, 6 TETRA4':<24} {6:>9}  C++ {c * 1e6:8.2f} us  Python {py * 1e6:8.2f} us  "
          f"added per call {(py - c) * 1e6:.2f} us")


def main():
    repeats = int(sys.argv[1]) if len(sys.argv) > 1 else 15
    fixed_cost()
    tets = million_tetrahedra()
    compare("get_neighbors TETRA4", len(tets), lambda: plexa.get_neighbors(tets, plexa.TETRA4),
            lambda r: cpp.time_neighbors(tets, int(plexa.TETRA4), r), repeats)
    pos = points_with_copies()
    compare("merge(pos, tolerance)", len(pos), lambda: plexa.merge(pos, 1e-6),
            lambda r: cpp.time_merge(pos, 1e-6, r), repeats)
    pos, tris = torus()
    folder = "/dev/shm" if os.access("/dev/shm", os.W_OK) else tempfile.gettempdir()
    path = os.path.join(folder, f"plexa-python-bench-{os.getpid()}.stl")
    plexa.STL_output(path, pos, tris)  # binary: every corner a node of its own once read
    try:
        compare("STL_input (binary, weld)", len(tris), lambda: plexa.STL_input(path),
                lambda r: cpp.time_stl_input(path, r), repeats)
    finally:
        os.remove(path)
    # Random sizes in [0.1, 0.4] and five sharp sources, bounded to g = 0.2
    # with sizes only shrinking: nearly every edge is corrected.
    pos = jittered_nodes()
    rng = np.random.default_rng(7)
    sizes = rng.uniform(0.1, 0.4, len(pos))
    sizes[rng.integers(0, len(pos), 5)] = 0.001
    compare("bound_metric_gradations", len(tets),
            lambda: plexa.bound_metric_gradations(pos, tets, plexa.TETRA4, sizes, 0.2, -1),
            lambda r: cpp.time_gradations(pos, tets, int(plexa.TETRA4), sizes, 0.2, -1, r), max(3, repeats // 3))


if __name__ == "__main__":
    main()
