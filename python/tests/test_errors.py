"""Result codes as exceptions: plexa.Error with the library's code and words
naming the argument, MemoryError for -199."""

import pickle

import numpy as np
import pytest

import plexa

TRIS = np.array([[0, 1, 2], [1, 3, 2]], np.uint32)
POS2 = np.array([[0, 0], [1, 0], [0, 1], [1, 1]], float)
POS3 = np.array([[0, 0, 0], [1, 0, 0], [0, 1, 0], [0, 0, 1]], float)
TET = np.array([[0, 1, 2, 3]], np.uint32)
TRI6 = np.array([[0, 1, 2, 3, 1, 2]], np.uint32)

# (call, code, function, words of the message)
CASES = [
    (lambda: plexa.get_IDs(TRIS, TET), -2, "get_IDs", "argument 2 (connect2): the two connectivities have different"),
    (lambda: plexa.inc_bounding_box(POS3, [0, 0], [1, 1]), -1, "inc_bounding_box", "argument 1 (pos): its row count"),
    (lambda: plexa.inc_bounding_box(POS3, nodes=[0, 9]), -2, "inc_bounding_box",
     "argument 2 (nodes): a node index is not below the node count"),
    (lambda: plexa.centroids(POS3, [[0, 1, 2, 7]], plexa.TETRA4), -2, "centroids", "argument 2 (connect)"),
    (lambda: plexa.centroids(POS3, TRI6, plexa.TRIA6), -4, "centroids", "argument 4 (type)"),
    (lambda: plexa.copy_sym_mesh(POS3, TET, [0, 0, 0], [0, 0, 0]), -4, "copy_sym_mesh", "the normal is zero"),
    (lambda: plexa.NodeDetector(np.zeros((3, 4))), -1, "reinit", "argument 1 (pos): its row count is not 2 or 3"),
    (lambda: plexa.merge(POS3, -1.0), -3, "merge", "argument 3 (tolerance): negative or not a number"),
    (lambda: plexa.merge(POS3, float("nan"), nodes1=[0, 1], nodes2=[2]), -4, "merge",
     "argument 4 (tolerance): negative or not a number"),
    (lambda: plexa.merge(POS3, 0.1, nodes1=[0], nodes2=[8]), -3, "merge", "argument 3 (nodes2): a node index"),
    (lambda: plexa.merge(POS3, 0.1, connect=TET, mode=3), -6, "merge", "argument 6 (mode): mode greater than 2"),
    (lambda: plexa.merge(POS3, -0.1, connect=[TET]), -5, "merge", "argument 5 (tolerance): negative"),
    (lambda: plexa.merge(POS3, 0.1, connect=[[0, 1, 4]]), -2, "merge", "argument 2 (connect): a node index"),
    (lambda: plexa.simplify(POS3, [[0, 1, 9]]), -2, "simplify", "argument 2 (connect): a node index"),
    (lambda: plexa.get_neighbors(TRI6, plexa.TRIA6), -2, "get_neighbors", "argument 2 (type): element type not"),
    (lambda: plexa.get_neighbors(TRIS, plexa.TETRA4), -1, "get_neighbors", "argument 1 (connectivity)"),
    (lambda: plexa.get_mesh_boundaries(TRIS, [[0, 0, 0]], plexa.TRIA3), -2, "get_mesh_boundaries",
     "argument 2 (neighbors): not the neighbour matrix"),
    (lambda: plexa.get_colors_boundaries(TRIS, plexa.get_neighbors(TRIS, plexa.TRIA3), [1], plexa.TRIA3), -3,
     "get_colors_boundaries", "argument 3 (colors): not one value per element"),
    (lambda: plexa.get_node_graph(TRI6, plexa.TRIA6), -5, "get_node_graph", "(type)"),
    (lambda: plexa.get_subdomains([[0, 1]], TRIS), -2, "get_subdomains", "argument 2 (neighbors)"),
    (lambda: plexa.sort_elfes(TRIS, [[0, 1, 2]]), -1, "sort_elfes", "(neighbors): its column count differs"),
    (lambda: plexa.copy_edges([TRIS, TRIS], [plexa.TRIA3]), -3, "copy_edges", "argument 3 (types)"),
    (lambda: plexa.edge_quality(1.0, 0.0, 1.0), -2, "edge_quality", "argument 2 (h1): not positive"),
    (lambda: plexa.edge_quality([1.0, 1.0], 1.0, [1.0, -1.0]), -3, "edge_quality", "argument 3 (h2)"),
    (lambda: plexa.edge_qualities(POS3, TET, plexa.TETRA4, [1.0, 1.0, 1.0, 0.0]), -4, "edge_qualities",
     "argument 4 (sizes): an edge has a node without a positive size"),
    (lambda: plexa.edge_qualities(POS3, [TET], [plexa.TETRA4], np.ones(4), excluded=[[0, 9]]), -7,
     "edge_qualities", "argument 7 (excluded)"),
    (lambda: plexa.bound_metric([1.0, 0.0, 1.0], float("inf"), 2.0), -2, "bound_metric", "argument 2 (hmin)"),
    (lambda: plexa.bound_metrics(np.ones((3, 4)), 0.5, 2.0), -1, "bound_metrics", "argument 1 (M): its row count"),
    (lambda: plexa.overwrite_invalid_metrics(np.ones(3), -1.0), -2, "overwrite_invalid_metrics",
     "argument 2 (h): not positive"),
    (lambda: plexa.metrics_aniso3d_to_aniso2d(np.ones((2, 6)), np.ones((3, 6))), -2, "metrics_aniso3d_to_aniso2d",
     "argument 2 (T)"),
    (lambda: plexa.shape_qualities(POS2, TET, plexa.TETRA4), -1, "shape_qualities", "argument 1 (pos)"),
    (lambda: plexa.shape_qualities(POS3, TET, plexa.TETRA4, np.ones((4, 6))), -4, "shape_qualities",
     "argument 4 (metrics)"),
    (lambda: plexa.jacobians(POS3, TET, plexa.EDGE2), -3, "jacobians", "argument 3 (type)"),
    (lambda: plexa.medit_output("/nonexistent/folder/x.mesh", POS3, TET, plexa.TETRA4), -1, "medit_output",
     "argument 1 (path): the file cannot be opened or written"),
    (lambda: plexa.vtk_output("/tmp/plexa-never.vtk", POS3, [TET, TRIS], [plexa.TETRA4]), -5, "vtk_output",
     "argument 5 (types)"),
    (lambda: plexa.NASTRAN_output("/tmp/plexa-never.nas", POS3, TET, plexa.TETRA4, pids=[1, 2]), -6,
     "NASTRAN_output", "argument 6 (pids)"),
    (lambda: plexa.vtk_convert(TRIS, plexa.PYRA13), -1, "vtk_convert", "argument 1 (connect)"),
    (lambda: plexa.bound_metric_gradations(POS3, TET, plexa.TETRA4, np.ones(4), -0.5, -1), -7,
     "bound_metric_gradations", "argument 7 (g): negative or not a number"),
    (lambda: plexa.bound_metric_variations(POS3, TET, plexa.TETRA4, np.ones((3, 6)), 0.5, 1), -8,
     "bound_metric_variations", "argument 8 (M)"),
    (lambda: plexa.metrics_gen_iso(POS3, TET, plexa.TETRA4, p=-1.0), -5, "metrics_gen_iso", "argument 5 (p): negative"),
    (lambda: plexa.H_shock(POS3, [[0, 7]], np.ones(4)), -2, "H_shock", "argument 2 (edges)"),
    (lambda: plexa.STL_input("/nonexistent/x.stl"), -1, "STL_input", "argument 1 (path): the file cannot be opened"),
    (lambda: plexa.STL_input(__file__), -3, "STL_input", "malformed or truncated STL file"),
    (lambda: plexa.STL_output("/tmp/plexa-never.stl", POS3, TET), -3, "STL_output", "argument 3 (connect)"),
    (lambda: plexa.medit_input(__file__), -2, "medit_input", "not a MEDIT mesh file"),
    (lambda: plexa.medit_output("/tmp/plexa-never.mesh", POS3, [TET, TRIS], [plexa.TETRA4, plexa.TRIA3],
                                refs=[1, 2]), -6, "medit_output", "argument 6 (refs)"),
    (lambda: plexa.medit_solution_input(__file__), -2, "medit_solution_input", "not a MEDIT solution file"),
    (lambda: plexa.medit_solution_output("/tmp/plexa-never.sol", 3, np.ones((4, 4))), -3, "medit_solution_output",
     "argument 3 (values)"),
    (lambda: plexa.WavefrontOBJ_input(__file__), -3, "WavefrontOBJ_input", "the file is truncated or malformed"),
    (lambda: plexa.WavefrontOBJ_output("/tmp/plexa-never.obj", POS3, TRIS, plexa.TRIA3, names=["a  b"]), -7,
     "WavefrontOBJ_output", "argument 7 (names)"),
]


@pytest.mark.parametrize("call, code, function, words", CASES, ids=[f"{c[2]}{c[1]}" for c in CASES])
def test_a_negative_code_raises_error_naming_the_argument(call, code, function, words):
    with pytest.raises(plexa.Error) as caught:
        call()
    assert caught.value.code == code
    assert caught.value.function == function
    assert words in str(caught.value)


def test_out_of_memory_raises_memory_error():
    # Offsets for a key near 2**32 do not fit the containers' 32-bit counts.
    with pytest.raises(MemoryError, match="out of memory"):
        plexa.get_sorted_order([2**32 - 2])


def test_error_is_an_exception_that_survives_pickling():
    error = plexa.Error("argument 1 (pos): bad", -1, "merge")
    assert isinstance(error, Exception) and error.code == -1
    copy = pickle.loads(pickle.dumps(error))
    assert (str(copy), copy.code, copy.function) == ("argument 1 (pos): bad", -1, "merge")


def test_failed_calls_leave_their_inputs_alone(tmp_path):
    pos = POS3.copy()
    with pytest.raises(plexa.Error):
        plexa.merge(pos, -1.0, inplace=True)
    np.testing.assert_array_equal(pos, POS3)
    detector = plexa.NodeDetector(POS3)
    with pytest.raises(plexa.Error):
        detector.reinit(POS3, [0, 17])
    assert len(detector) == 4 and detector.find_closest([0.9, 0, 0]) == 1
