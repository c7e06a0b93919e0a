"""The conversion layer: arrays read in place, results over the library's
storage, conversions and refusals, in-place arguments, the GIL."""

import gc
import sys
import threading
import time

import numpy as np
import pytest

import plexa
from plexa._plexa import _testing
from conftest import tet_mesh


class TestInputsInPlace:
    def test_contiguous_arrays_of_the_right_dtype_are_not_copied(self):
        pos = np.zeros((7, 3))
        tets = np.zeros((5, 4), np.uint32)
        assert _testing.input_layout(pos) == (pos.ctypes.data, 3, 7, 3)
        assert _testing.input_layout(tets, True) == (tets.ctypes.data, 4, 5, 4)

    def test_a_slice_of_columns_is_read_through_its_row_stride(self):
        wide = np.arange(24.0).reshape(6, 4)
        view = wide[1:5, :3]
        assert _testing.input_layout(view) == (view.ctypes.data, 3, 4, 4)
        # The library reads exactly the viewed entries.
        g = plexa.centroids(view, [[0, 1], [2, 3]], plexa.EDGE2)
        np.testing.assert_array_equal(g, [view[0:2].mean(0), view[2:4].mean(0)])

    @pytest.mark.parametrize("make", [
        lambda a: a.T.copy().T,                  # Fortran order
        lambda a: a[::-1],                       # negative stride
        lambda a: a[:, ::2],                     # strided along a row
        lambda a: a.astype(np.float32),          # another real dtype
        lambda a: a.astype(">f8"),               # another byte order
        lambda a: a.tolist(),                    # nested lists
    ])
    def test_other_layouts_and_dtypes_are_converted_once(self, make):
        base = np.random.default_rng(3).integers(-50, 50, size=(6, 4)) / 8.0
        given = make(base)
        expected = np.asarray(given, dtype=np.float64)
        assert _testing.input_layout(given)[1:] == (expected.shape[1], expected.shape[0], expected.shape[1])
        moved = plexa.translate(given, [1.0, 2.0])
        expected[:, :2] += [1.0, 2.0]
        np.testing.assert_array_equal(moved, expected)

    def test_integer_inputs_are_range_checked(self):
        assert plexa.max_ID(np.array([[1, 2], [3, 2**32 - 2]], np.int64)) == 2**32 - 2
        assert plexa.max_ID([[0, plexa.NO_INDEX]]) == 0
        for bad in ([[0, -1]], [[0, 2**32]]):
            with pytest.raises(ValueError, match="connect: expected non-negative integers"):
                plexa.max_ID(bad)
        # An empty list is an empty index list, whatever dtype NumPy gives it.
        assert plexa.unique_indices([[0, 1]], excluded=[]).tolist() == [0, 1]

    @pytest.mark.parametrize("bad, message", [
        (np.zeros((2, 3), np.float64), "connectivity: expected an array of non-negative integers"),
        (np.zeros((2, 3), bool), "connectivity: expected an array of non-negative integers"),
        ([["a", "b", "c"]], "connectivity: expected an array of non-negative integers"),
        ([[0, None, 1]], "connectivity: expected an array"),
    ])
    def test_arrays_that_no_conversion_fits_raise_type_error(self, bad, message):
        with pytest.raises(TypeError, match=message):
            plexa.get_neighbors(bad, plexa.TRIA3)

    def test_type_and_name_lists_refuse_other_objects(self, tmp_path):
        pos, tris = np.zeros((3, 3)), [[0, 1, 2]]
        for bad in (None, "TRIA3", 2.5):
            with pytest.raises(TypeError, match="types: an element type or a sequence"):
                plexa.vtk_output(tmp_path / "a.vtk", pos, [tris], bad)
        for bad in ("group", 5):
            with pytest.raises(TypeError, match="names: a list of str"):
                plexa.WavefrontOBJ_output(tmp_path / "a.obj", pos, tris, plexa.TRIA3, names=bad)

    def test_coordinates_refuse_complex_and_text(self):
        for bad in (np.zeros((3, 2), complex), np.array([["1", "2"]])):
            with pytest.raises(TypeError, match="pos: expected an array of real numbers"):
                plexa.centroids(bad, [[0, 0]], plexa.EDGE2)

    def test_shapes_are_checked(self):
        with pytest.raises(ValueError, match="connectivity: expected a 2-D array"):
            plexa.get_neighbors([0, 1, 2], plexa.TRIA3)
        with pytest.raises(ValueError, match="T: expected 2 or 3 components"):
            plexa.translate(np.zeros((2, 3)), [1, 2, 3, 4])
        with pytest.raises(ValueError, match="type: 23 is not an element type"):
            plexa.get_neighbors([[0, 1, 2]], 23)
        with pytest.raises(TypeError, match="type: expected an element type"):
            plexa.get_neighbors([[0, 1, 2]], "TRIA3")

    def test_empty_arrays_keep_their_row_length(self):
        nbr = plexa.get_neighbors(np.zeros((0, 3), np.uint32), plexa.TRIA3)
        assert nbr.shape[0] == 0 and nbr.dtype == np.uint32
        assert plexa.get_mesh_boundaries(np.zeros((0, 4), np.uint32), np.zeros((0, 4), np.uint32),
                                         plexa.TETRA4).shape == (0, 3)


class TestResults:
    def test_a_result_views_the_library_block_and_outlives_its_producer(self):
        _, tets = tet_mesh(2)
        nbr = plexa.get_neighbors(tets, plexa.TETRA4)
        assert type(nbr.base).__name__ == "PyCapsule"
        assert _testing.storage_count(nbr) == 1  # the capsule holds the only count
        expected = nbr.copy()
        view = nbr[3:]
        del nbr
        gc.collect()
        np.testing.assert_array_equal(view, expected[3:])
        assert _testing.storage_count(view.base) == 1

    def test_results_sharing_an_input_keep_it_alive_and_its_read_only_flag(self):
        pos = np.random.default_rng(1).uniform(size=(50, 3))
        merged, ids = plexa.merge(pos, 0.0)  # nothing merges: pos comes back as it was
        assert np.shares_memory(merged, pos)
        np.testing.assert_array_equal(ids, np.arange(50))
        frozen = pos.copy()
        frozen.setflags(write=False)
        back, _ = plexa.merge(frozen, 0.0)
        assert np.shares_memory(back, frozen) and not back.flags.writeable
        del frozen
        gc.collect()
        np.testing.assert_array_equal(back, pos)

    def test_the_adopted_array_is_released_with_the_last_view(self):
        pos = np.random.default_rng(2).uniform(size=(20, 3))
        before = sys.getrefcount(pos)
        detector = plexa.NodeDetector(pos)
        assert sys.getrefcount(pos) == before + 1  # the storage block holds one reference
        del detector
        gc.collect()
        assert sys.getrefcount(pos) == before


class TestInPlaceArguments:
    def test_inputs_are_left_alone_by_default(self):
        pos = np.random.default_rng(4).uniform(size=(10, 3))
        before = pos.copy()
        moved = plexa.translate(pos, [1, 2, 3])
        np.testing.assert_array_equal(pos, before)
        np.testing.assert_array_equal(moved, before + [1, 2, 3])

    def test_inplace_writes_the_array_given(self):
        pos = np.random.default_rng(4).uniform(size=(10, 3))
        before = pos.copy()
        assert plexa.zoom(pos, [0, 0, 0], 2.0, [1, 3], inplace=True) is pos
        expected = before.copy()
        expected[[1, 3]] *= 2
        np.testing.assert_array_equal(pos, expected)
        wide = np.zeros((4, 5))
        plexa.translate(wide[:, 1:4], [1, 2, 3], inplace=True)
        np.testing.assert_array_equal(wide[0], [0, 1, 2, 3, 0])

    def test_inplace_needs_a_writable_array_of_the_exact_dtype_and_room(self):
        with pytest.raises(TypeError, match="changed in place"):
            plexa.translate([[0.0, 0.0, 0.0]], [1, 1, 1], inplace=True)
        with pytest.raises(TypeError, match="changed in place"):
            plexa.translate(np.zeros((2, 3), np.float32), [1, 1, 1], inplace=True)
        frozen = np.zeros((2, 3))
        frozen.setflags(write=False)
        with pytest.raises(ValueError, match="read-only"):
            plexa.translate(frozen, [1, 1, 1], inplace=True)
        with pytest.raises(ValueError, match="needs 3"):
            plexa.translate(np.zeros((2, 2)), [1, 1, 1], inplace=True)

    def test_merge_in_place_writes_the_merged_coordinates_back(self):
        pos = np.array([[0, 0, 0], [1, 0, 0], [1e-9, 0, 0]], float)
        out, ids = plexa.merge(pos, 1e-6, inplace=True)
        assert out is pos
        np.testing.assert_array_equal(ids, [0, 1, 0])
        np.testing.assert_array_equal(pos[2], [0, 0, 0])


@pytest.fixture(scope="module")
def big_mesh(tmp_path_factory):
    pos, tets = tet_mesh(40)
    path = tmp_path_factory.mktemp("gil") / "big.mesh"
    plexa.medit_output(path, pos, tets, plexa.TETRA4)
    return pos, tets, path


LONG_CALLS = {
    "get_neighbors": lambda pos, tets, path: plexa.get_neighbors(tets, plexa.TETRA4),
    "merge": lambda pos, tets, path: plexa.merge(np.random.default_rng(3).uniform(size=(300_000, 3)), 1e-3),
    "bound_metric_gradations": lambda pos, tets, path: plexa.bound_metric_gradations(
        pos, tets, plexa.TETRA4, np.where(np.arange(len(pos)) % 97 == 0, 0.01, 1.0), 0.1, -1),
    "medit_input": lambda pos, tets, path: plexa.medit_input(path),
    "medit_output": lambda pos, tets, path: plexa.medit_output(path.with_suffix(".out.mesh"), pos, tets, plexa.TETRA4),
}


def ticks_during(call, tries=1):
    """How far a thread that counts only while it holds the GIL gets during
    call(): the thread gives the GIL up at every count, and the interpreter
    does not take it from the calling thread for seconds, so it counts only
    while the call has released it.  Up to `tries` calls, until one shows
    counts (a busy machine may not wake the thread during a short call)."""
    ticks = [0]
    running = threading.Event()
    stop = threading.Event()

    def count():
        running.set()
        while not stop.is_set():
            ticks[0] += 1
            time.sleep(0)

    interval = sys.getswitchinterval()
    sys.setswitchinterval(10.0)
    worker = threading.Thread(target=count)
    worker.start()
    try:
        running.wait()
        during = 0
        for _ in range(tries):
            start = ticks[0]
            call()
            during = ticks[0] - start
            if during:
                break
    finally:
        stop.set()
        worker.join()
        sys.setswitchinterval(interval)
    return during


@pytest.mark.parametrize("call", LONG_CALLS.values(), ids=LONG_CALLS.keys())
def test_long_calls_release_the_gil(call, big_mesh):
    assert ticks_during(lambda: call(*big_mesh), tries=10) > 0


def test_a_call_that_keeps_the_gil_shows_no_counts():
    assert ticks_during(lambda: sum(range(10**7))) == 0
