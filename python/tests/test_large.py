"""A mesh of a million tetrahedra: the neighbours computed through Python
equal the library's, and the call adds no copy of the mesh or of the result
(the time it adds is measured in bench/python_overhead.py)."""

import tracemalloc

import numpy as np

import plexa
from plexa._plexa import _testing
from conftest import tet_mesh


def test_million_tetrahedra_neighbors_equal_the_library_without_copies(oracle):
    _, tets = tet_mesh(55, seed=5)
    assert len(tets) == 998_250
    assert _testing.input_layout(tets, True)[0] == tets.ctypes.data  # read in place

    tracemalloc.start()
    nbr = plexa.get_neighbors(tets, plexa.TETRA4)
    _, peak = tracemalloc.get_traced_memory()
    tracemalloc.stop()
    # NumPy reports its allocations to tracemalloc: none the size of the mesh
    # (16 MB) or of the result was made.
    assert peak < 1 << 20
    assert type(nbr.base).__name__ == "PyCapsule" and _testing.storage_count(nbr) == 1

    cpp = oracle("neighbors", tets=tets, type=np.array([plexa.TETRA4], np.int32))
    assert cpp["code"][0] == 0
    np.testing.assert_array_equal(nbr, cpp["neighbors"])
    assert np.count_nonzero(nbr == plexa.NO_INDEX) == 6 * 2 * 55 * 55
