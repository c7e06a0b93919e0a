"""Every family of functions against the library called directly (the C++
oracle) on the same seeded inputs: the results must be identical."""

import numpy as np
import pytest

import plexa
from conftest import spd_metrics, tet_mesh


def test_indices(oracle):
    rng = np.random.default_rng(11)
    connect = rng.integers(0, 40, size=(30, 3)).astype(np.uint32)
    other = np.roll(connect[rng.permutation(30)], 1, axis=1)  # the same triangles, rotated
    other[::4] = rng.integers(0, 40, size=other[::4].shape)
    ids = rng.integers(0, 12, size=50).astype(np.uint32)
    ids[::7] = plexa.NO_INDEX
    excluded = np.array([3, 5], np.uint32)
    new_ids = rng.permutation(40).astype(np.uint32)
    cpp = oracle("indices", ids=ids, connect=connect, other=other, excluded=excluded, map=new_ids)

    np.testing.assert_array_equal(plexa.unique_indices(connect, excluded), cpp["unique"])
    assert plexa.count_unique_indices(connect) == cpp["count"][0]
    order, offsets = plexa.get_sorted_order(ids)
    np.testing.assert_array_equal(order, cpp["order"])
    np.testing.assert_array_equal(offsets, cpp["offsets"])
    pos1, pos2 = plexa.get_IDs(connect, other, strict=False)
    np.testing.assert_array_equal(pos1, cpp["pos1"])
    np.testing.assert_array_equal(pos2, cpp["pos2"])
    np.testing.assert_array_equal(plexa.shift_indices(connect, 7, plexa.NONE), cpp["shifted"])
    np.testing.assert_array_equal(plexa.change_indices(connect, new_ids), cpp["changed"])
    top = plexa.max_ID(connect)
    assert plexa.check_IDs(connect, top + 1) and not plexa.check_IDs(connect, top)
    assert plexa.check_IDs(connect, top + 1, plexa.TRIA3) and not plexa.check_IDs(connect, top + 1, plexa.QUAD4)


def test_geometry(oracle):
    pos, tets = tet_mesh(3, seed=12)
    C, R = np.array([0.5, -1.0, 2.0]), np.array([0.3, -0.2, 0.9])
    cpp = oracle("geometry", pos=pos, tets=tets, C=C, R=R)

    np.testing.assert_array_equal(plexa.rotate(pos, C, R, tets[: len(tets) // 2]), cpp["rotated"])
    np.testing.assert_array_equal(plexa.centroids(pos, tets, plexa.TETRA4), cpp["centroids"])
    lo, hi = plexa.inc_bounding_box(pos, nodes=tets[:10])
    np.testing.assert_array_equal(lo, cpp["box"])
    np.testing.assert_array_equal(hi, cpp["box_max"])
    sym_pos, sym_connect = plexa.copy_sym_mesh(pos, tets, [0.5, 0, 0], [1, 1, 0])
    np.testing.assert_array_equal(sym_pos, cpp["sym_pos"])
    np.testing.assert_array_equal(sym_connect, cpp["sym_connect"])
    copies_pos, copies_connect = plexa.copy_mesh(pos, tets, T=[4, 0, 0], C=C, R=R, n=2)
    np.testing.assert_array_equal(copies_pos, cpp["copies_pos"])
    np.testing.assert_array_equal(copies_connect, cpp["copies_connect"])
    np.testing.assert_array_equal(plexa.clip(pos, tets, C, R), cpp["kept"])
    moved = plexa.zoom(plexa.translate(pos, R, tets[:5]), C, 1.5)
    np.testing.assert_array_equal(moved, cpp["moved"])


def test_search(oracle):
    rng = np.random.default_rng(13)
    pos = rng.uniform(size=(400, 3))
    pos[300:] = pos[:100] + rng.uniform(-1e-7, 1e-7, size=(100, 3))  # near copies
    connect = rng.integers(0, 400, size=(150, 3)).astype(np.uint32)
    points = rng.uniform(size=(60, 3))
    tolerance = np.array([1e-6])
    cpp = oracle("search", pos=pos, connect=connect, points=points, tolerance=tolerance)

    detector = plexa.NodeDetector(pos)
    np.testing.assert_array_equal(detector.find_closest(points), cpp["closest"])
    assert [detector.find_closest(p) for p in points[:5]] == list(cpp["closest"][:5])
    np.testing.assert_array_equal(detector.find_in_box([0.2, 0.2, 0.2], [0.6, 0.7, 0.8]), cpp["in_box"])
    merged_pos, new_ids = plexa.merge(pos, 1e-6)
    assert np.count_nonzero(new_ids != np.arange(400)) == cpp["merged"][0] == 100
    np.testing.assert_array_equal(merged_pos, cpp["merged_pos"])
    np.testing.assert_array_equal(new_ids, cpp["new_IDs"])
    merged_connect, _ = plexa.merge(pos, 1e-6, connect=connect)
    np.testing.assert_array_equal(merged_connect, cpp["merged_connect"])
    cleaned, removed = plexa.remove_degenerated(merged_connect)
    np.testing.assert_array_equal(cleaned, cpp["cleaned_connect"])
    np.testing.assert_array_equal(removed, cpp["removed_map"])


def test_topology(oracle):
    _, tets = tet_mesh(4, seed=14)
    rng = np.random.default_rng(14)
    mixed = np.full((40, 8), plexa.NO_INDEX, np.uint32)
    counts = rng.choice([4, 5, 6, 8], size=40)
    for row, count in zip(mixed, counts):
        row[:count] = rng.choice(100, size=count, replace=False)
    colors = (np.arange(len(tets)) // 50).astype(np.uint32)
    cpp = oracle("topology", tets=tets, mixed=mixed, colors=colors)

    nbr = plexa.get_neighbors(tets, plexa.TETRA4)
    np.testing.assert_array_equal(nbr, cpp["neighbors"])
    np.testing.assert_array_equal(plexa.get_mesh_boundaries(tets, nbr, plexa.TETRA4), cpp["boundaries"])
    offsets, nodes = plexa.get_node_graph(tets, plexa.TETRA4)
    np.testing.assert_array_equal(offsets, cpp["graph_offsets"])
    np.testing.assert_array_equal(nodes, cpp["graph_nodes"])
    elements, sub_offsets = plexa.get_subdomains(nbr)
    np.testing.assert_array_equal(elements, cpp["sub_elements"])
    np.testing.assert_array_equal(sub_offsets, cpp["sub_offsets"])
    np.testing.assert_array_equal(plexa.get_element_boundaries(tets, plexa.TETRA4), cpp["element_boundaries"])
    keys, nb = plexa.get_mesh_bounding_elements(tets, nbr, plexa.TETRA4)
    np.testing.assert_array_equal(keys, cpp["bounding_keys"])
    np.testing.assert_array_equal(plexa.get_colors_boundaries(tets, nbr, colors, plexa.TETRA4, both_sides=True),
                                  cpp["interfaces"])
    ancestors = plexa.get_ancestors(tets)
    np.testing.assert_array_equal(ancestors, cpp["ancestors"])
    boundaries = plexa.get_mesh_boundaries(tets, nbr, plexa.TETRA4)
    on_keys, nb_on = plexa.get_elements_on_boundaries(boundaries, tets, nbr, ancestors, plexa.TETRA4)
    np.testing.assert_array_equal(on_keys, cpp["on_keys"])
    # Every free boundary is found on the element it was taken from.
    assert nb == nb_on == 4 and np.array_equal(np.sort(on_keys), np.sort(keys))
    connected_offsets, connected = plexa.get_connected_elements(tets)
    np.testing.assert_array_equal(connected_offsets, cpp["connected_offsets"])
    np.testing.assert_array_equal(connected, cpp["connected"])
    sorted_mixed, node_counts, group_ends, new_index = plexa.sort_elfes(mixed)
    np.testing.assert_array_equal(sorted_mixed, cpp["sorted"])
    np.testing.assert_array_equal(group_ends, cpp["group_ends"])
    np.testing.assert_array_equal(new_index, cpp["new_index"])
    np.testing.assert_array_equal(node_counts, [8, 6, 5, 4])


def test_edges(oracle):
    pos, tets = tet_mesh(3, seed=15)
    rng = np.random.default_rng(15)
    sizes = rng.uniform(0.5, 2.0, size=len(pos))
    metrics = spd_metrics(len(pos), seed=15)
    excluded = plexa.copy_edges(tets, plexa.TETRA4)[::5][:, ::-1].copy()
    cpp = oracle("edges", pos=pos, tets=tets, sizes=sizes, metrics=metrics, excluded=excluded)

    edges = plexa.copy_edges(tets, plexa.TETRA4)
    np.testing.assert_array_equal(edges, cpp["edges"])
    histogram = plexa.Histogram()
    qualities, same = plexa.edge_qualities(pos, tets, plexa.TETRA4, sizes, histogram=histogram)
    assert same is histogram and histogram.count == len(qualities) == cpp["count"][0]
    np.testing.assert_array_equal(qualities, cpp["size_qualities"])
    np.testing.assert_array_equal(histogram.bins.sum(), len(qualities))
    assert histogram.min == qualities.min() and histogram.max == qualities.max()
    in_metrics, _ = plexa.edge_qualities(pos, tets, plexa.TETRA4, metrics, excluded=excluded)
    np.testing.assert_array_equal(in_metrics, cpp["metric_qualities"])
    # The same qualities, one by one, from the edge lengths and end sizes.
    length = np.linalg.norm(pos[edges[:, 1]] - pos[edges[:, 0]], axis=1)
    np.testing.assert_allclose(plexa.edge_quality(length, sizes[edges[:, 0]], sizes[edges[:, 1]]), qualities,
                               rtol=1e-14)


def test_metrics(oracle):
    metrics = spd_metrics(200, seed=16)
    sizes = np.random.default_rng(16).uniform(-0.5, 2.0, size=200)
    cpp = oracle("metrics", metrics=metrics, sizes=sizes)

    np.testing.assert_array_equal(plexa.eigen_values(metrics), cpp["eigen_values"])
    bounded, modified = plexa.bound_metrics(metrics, 0.5, 2.0)
    np.testing.assert_array_equal(bounded, cpp["bounded"])
    np.testing.assert_array_equal(modified, cpp["modified"])
    np.testing.assert_array_equal(plexa.metrics_iso_to_aniso3d(sizes), cpp["iso"])
    # The vectorised primitive gives the field's result item by item.
    clamped, ok = plexa.bound_metric(metrics, 0.5, 2.0)
    np.testing.assert_array_equal(np.flatnonzero(ok), modified)
    np.testing.assert_array_equal(clamped[ok], bounded[ok])


def test_gradation(oracle):
    pos, tets = tet_mesh(4, seed=20)
    rng = np.random.default_rng(20)
    sizes = rng.uniform(0.3, 3.0, size=len(pos))
    sizes[rng.integers(0, len(pos), 3)] = 0.01  # sharp sources
    metrics = plexa.metric_aniso(sizes, dim=3) + spd_metrics(len(pos), seed=20) * 0.01
    frozen = rng.choice(len(pos), 10, replace=False).astype(np.uint32)
    cpp = oracle("gradation", pos=pos, tets=tets, sizes=sizes, metrics=metrics, frozen=frozen)
    assert cpp["sizes_code"][0] > 0

    graded = plexa.bound_metric_gradations(pos, tets, plexa.TETRA4, sizes, 0.2, -1)
    np.testing.assert_array_equal(graded, cpp["graded_sizes"])
    np.testing.assert_array_equal(plexa.bound_metric_gradations(pos, tets, plexa.TETRA4, metrics, 0.3, -1, frozen),
                                  cpp["graded_metrics"])
    np.testing.assert_array_equal(plexa.bound_metric_variations(pos, tets, plexa.TETRA4, sizes, 1.0, 0, frozen,
                                                                frozen=False), cpp["varied_sizes"])
    np.testing.assert_array_equal(plexa.metrics_gen_iso(pos, tets, plexa.TETRA4, p=2.0), cpp["generated"])
    edges = plexa.copy_edges(tets, plexa.TETRA4)
    shock = plexa.H_shock(pos, edges, graded)
    np.testing.assert_array_equal(shock, cpp["shock"])
    # Shrinking only, the graded field keeps every edge within the bound.
    assert shock.max() <= (1 + 0.2) ** (1 / 0.999) - 1 + 1e-6
    assert (graded <= sizes).all() and not np.array_equal(graded, sizes)
    # In place, the caller's field is the one bounded.
    field = sizes.copy()
    assert plexa.bound_metric_gradations(pos, tets, plexa.TETRA4, field, 0.2, -1, inplace=True) is field
    np.testing.assert_array_equal(field, graded)


def test_quality(oracle):
    pos, tets = tet_mesh(3, seed=17)
    metrics = spd_metrics(len(pos), seed=17)
    cpp = oracle("quality", pos=pos, tets=tets, metrics=metrics)

    q = plexa.shape_qualities(pos, tets, plexa.TETRA4)
    np.testing.assert_array_equal(q, cpp["qualities"])
    np.testing.assert_array_equal(plexa.shape_qualities(pos, tets, plexa.TETRA4, metrics), cpp["metric_qualities"])
    np.testing.assert_array_equal(plexa.jacobians(pos, tets, plexa.TETRA4), cpp["jacobians"])
    assert plexa.min_quality(pos, tets, plexa.TETRA4) == (q.min(), int(np.argmin(q)))


def test_io(oracle):
    pos, tets = tet_mesh(2, seed=18)
    tris = plexa.get_mesh_boundaries(tets, plexa.get_neighbors(tets, plexa.TETRA4), plexa.TETRA4)
    values = np.random.default_rng(18).uniform(size=len(pos))
    types = np.array([plexa.TETRA4, plexa.TRIA3], np.int32)
    tensors = spd_metrics(len(pos), seed=18)
    cpp = oracle("io", pos=pos, tets=tets, tris=tris, types=types, values=values, tensors=tensors)
    folder = oracle.folder / "io"
    assert all(cpp[k][0] == 0 for k in ("medit", "vtk", "ensight", "nastran", "scalar", "vector", "tensor"))

    plexa.medit_output(folder / "py.mesh", pos, [tets, tris], types)
    plexa.vtk_output(str(folder / "py.vtk"), pos, [tets, tris], types)
    plexa.ensight_output(bytes(folder / "py.geo"), pos, [tets, tris], types)
    plexa.NASTRAN_output(folder / "py.nas", pos, [tets, tris], types)
    plexa.medit_scalar(folder / "py.sol", 3, values)
    plexa.medit_vector(folder / "py.bb", 3, pos)
    plexa.medit_tensor(folder / "py.tensor", tensors)
    for ext in ("mesh", "vtk", "geo", "nas", "sol", "bb", "tensor"):
        assert (folder / f"py.{ext}").read_bytes() == (folder / f"cpp.{ext}").read_bytes(), ext
    # The Mesh writers pick the same writers by extension.
    mesh = plexa.Mesh(pos, [(plexa.TETRA4, tets), (plexa.TRIA3, tris)])
    for ext in ("mesh", "vtk", "geo", "nas"):
        plexa.write(folder / f"mesh.{ext}", mesh)
        assert (folder / f"mesh.{ext}").read_bytes() == (folder / f"cpp.{ext}").read_bytes(), ext


def test_stl(oracle):
    pos, tets = tet_mesh(3, seed=19)
    tris = plexa.get_mesh_boundaries(tets, plexa.get_neighbors(tets, plexa.TETRA4), plexa.TETRA4)
    soup = pos[tris].reshape(-1, 3)  # every corner a node of its own
    folder = oracle.folder / "stl"
    folder.mkdir()
    plexa.STL_output(folder / "soup.stl", soup, np.arange(len(soup), dtype=np.uint32).reshape(-1, 3))
    cpp = oracle("stl", out_pos=pos, out_connect=tris)
    assert cpp["code"][0] == 0

    welded, triangles, report = plexa.STL_input(folder / "soup.stl", report=True)
    np.testing.assert_array_equal(welded, cpp["pos"])
    np.testing.assert_array_equal(triangles, cpp["connect"])
    assert [report.binary, report.triangles, report.tolerance, report.removed] == list(cpp["report"])
    assert report.binary and report.welded and report.triangles == len(tris) and len(welded) < len(soup)
    plexa.STL_output(folder / "py.stl", pos, tris, ascii=True)
    assert (folder / "py.stl").read_bytes() == (folder / "cpp.stl").read_bytes()
    # read() gives the same mesh.
    mesh = plexa.read(folder / "soup.stl")
    assert mesh.types == [plexa.TRIA3]
    np.testing.assert_array_equal(mesh.blocks[0].cells, triangles)


def test_readers(oracle):
    pos, tets = tet_mesh(2, seed=21)
    tris = plexa.get_mesh_boundaries(tets, plexa.get_neighbors(tets, plexa.TETRA4), plexa.TETRA4)
    rng = np.random.default_rng(21)
    folder = oracle.folder / "readers"
    folder.mkdir()
    mesh = plexa.Mesh(pos, [(plexa.TETRA4, tets, rng.integers(1, 5, len(tets))), (plexa.TRIA3, tris)])
    plexa.write(folder / "py.mesh", mesh)
    faces = np.full((len(tris) + 2, 4), plexa.NO_INDEX, np.uint32)
    faces[: len(tris), :3] = tris
    faces[len(tris):] = [[0, 1, 4, 3], [9, 10, 13, 12]]
    plexa.WavefrontOBJ_output(folder / "py.obj", pos, [faces, [[0, 1], [1, 2]], [[5]]],
                              [plexa.FACE_MIX, plexa.EDGE2, plexa.NODE], names=["skin", "wire one", "dot"])
    metrics = spd_metrics(len(pos), seed=21)
    plexa.medit_solution_output(folder / "py.sol", 3, metrics)
    cpp = oracle("readers")
    assert all(cpp[k][0] == 0 for k in ("medit", "obj", "sol", "medit_out", "obj_out", "sol_out"))

    read = plexa.medit_input(folder / "py.mesh")
    for got, key in zip(read, ("pos", "connect", "ranges", "types", "refs")):
        np.testing.assert_array_equal(got, cpp[f"mesh_{key}"])
    # One section per type in ascending order: the triangles (reference 1,
    # the block's position) come first.
    back = plexa.read(folder / "py.mesh")
    assert back.types == [plexa.TRIA3, plexa.TETRA4]
    np.testing.assert_array_equal(back.blocks[0].cells, tris)
    np.testing.assert_array_equal(back.blocks[0].ids, np.ones(len(tris)))
    np.testing.assert_array_equal(back.blocks[1].cells, tets)
    np.testing.assert_array_equal(back.blocks[1].ids, mesh.blocks[0].ids)
    np.testing.assert_allclose(back.points, pos, atol=1e-6)  # written with "%E"

    *arrays, names = plexa.WavefrontOBJ_input(folder / "py.obj")
    for got, key in zip(arrays, ("pos", "connect", "ranges", "types", "groups")):
        np.testing.assert_array_equal(got, cpp[f"obj_{key}"])
    assert names == (folder / "obj_names.txt").read_text().splitlines() == ["skin", "wire one", "dot"]
    obj = plexa.read(folder / "py.obj")
    assert obj.types == [plexa.FACE_MIX, plexa.EDGE2, plexa.NODE] and obj.id_names == names
    np.testing.assert_array_equal(obj.blocks[0].cells, faces)
    np.testing.assert_array_equal(obj.blocks[1].cells, [[0, 1], [1, 2]])
    np.testing.assert_array_equal(obj.blocks[2].ids, [2])

    dim, values = plexa.medit_solution_input(folder / "py.sol")
    assert dim == cpp["sol_dim"][0] == 3
    np.testing.assert_array_equal(values, cpp["sol_values"])
    np.testing.assert_allclose(values, metrics, rtol=1e-6)
    plexa.medit_solution_output(folder / "flat.sol", 2, metrics[::2, 0])  # scalars: (n,) is (n, 1)
    plexa.medit_solution_output(folder / "column.sol", 2, metrics[::2, :1])
    assert (folder / "flat.sol").read_bytes() == (folder / "column.sol").read_bytes()

    # Written back from what was read: the C++ writers' bytes.
    plexa.medit_output(folder / "back.mesh", read[0], read[1], read[3], ranges=read[2], refs=read[4])
    plexa.WavefrontOBJ_output(folder / "back.obj", *arrays[:2], arrays[3], ranges=arrays[2], ids=arrays[4],
                              names=names)
    plexa.medit_solution_output(folder / "back.sol", dim, values)
    for ext in ("mesh", "obj", "sol"):
        assert (folder / f"back.{ext}").read_bytes() == (folder / f"cpp.{ext}").read_bytes(), ext
    # And through Mesh: the same files again.
    plexa.write(folder / "mesh.mesh", back)
    plexa.write(folder / "mesh.obj", obj)
    for ext in ("mesh", "obj"):
        assert (folder / f"mesh.{ext}").read_bytes() == (folder / f"cpp.{ext}").read_bytes(), ext


def test_nastran_and_femap_readers(oracle):
    pos, tets = tet_mesh(2, seed=22)
    tris = plexa.get_mesh_boundaries(tets, plexa.get_neighbors(tets, plexa.TETRA4), plexa.TETRA4)
    pids = np.random.default_rng(22).integers(0, 7, len(tets) + len(tris)).astype(np.uint32)
    folder = oracle.folder / "nastran_femap"
    folder.mkdir()
    for ext in ("nas", "neu"):
        (folder / f"empty.{ext}").write_text("")
    # Planar nodes: read back in 3-D at z = 0.
    plexa.NASTRAN_output(folder / "py.nas", pos[:, :2], [tets, tris], [plexa.TETRA4, plexa.TRIA3], pids=pids)
    plexa.FEMAP_output(folder / "py.neu", pos[:, :2], [tets, tris], [plexa.TETRA4, plexa.TRIA3], ids=pids)
    cpp = oracle("nastran_femap")
    keys = ("pos", "connect", "ranges", "types", "ids", "node_ids", "element_ids")
    for ext, read, write in (("nas", plexa.NASTRAN_input, plexa.NASTRAN_output),
                             ("neu", plexa.FEMAP_input, plexa.FEMAP_output)):
        assert cpp[ext][0] == cpp[f"{ext}_out"][0] == 0, ext
        got = read(folder / f"py.{ext}")
        for array, key in zip(got, keys):
            np.testing.assert_array_equal(array, cpp[f"{ext}_{key}"], err_msg=f"{ext} {key}")
        np.testing.assert_array_equal(got[5], np.arange(1, len(pos) + 1))
        np.testing.assert_array_equal(got[6], np.arange(1, len(pids) + 1))
        np.testing.assert_allclose(got[0][:, :2], pos[:, :2], rtol=1e-6)
        assert not got[0][:, 2].any()
        # Written back from what was read: the C++ writer's bytes.
        write(folder / f"back.{ext}", got[0], got[1], got[3], ranges=got[2], **{"pids" if ext == "nas" else "ids": got[4]})
        assert (folder / f"back.{ext}").read_bytes() == (folder / f"cpp.{ext}").read_bytes(), ext
        # read(): one block per type, the property numbers as ids.
        mesh = plexa.read(folder / f"py.{ext}")
        assert mesh.types == [plexa.TETRA4, plexa.TRIA3], ext
        np.testing.assert_array_equal(mesh.blocks[0].cells, tets)
        np.testing.assert_array_equal(mesh.blocks[1].cells, tris)
        np.testing.assert_array_equal(np.concatenate([b.ids for b in mesh.blocks]), pids)
        plexa.write(folder / f"mesh.{ext}", mesh)
        assert (folder / f"mesh.{ext}").read_bytes() == (folder / f"cpp.{ext}").read_bytes(), ext
        # The library's refusal, as an Error of its code.
        with pytest.raises(plexa.Error) as caught:
            read(folder / f"empty.{ext}")
        assert caught.value.code == cpp[f"{ext}_empty"][0] == -2, ext
