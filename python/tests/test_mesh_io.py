"""Mesh, read/write by extension, and the meshio interchange (node orders
checked against VTK's own reference elements)."""

import numpy as np
import pytest

import plexa
from plexa import ElementType as E
from conftest import tet_mesh

NO = plexa.NO_INDEX

# The higher-order nodes of each quadratic type in the library's local order
# (the list of core.hpp): the vertices each node is the centre of.
HIGHER_ORDER = {
    E.TRIA6: [(1, 2), (2, 0), (0, 1)],
    E.QUAD8: [(0, 1), (1, 2), (2, 3), (3, 0)],
    E.QUAD9: [(0, 1), (1, 2), (2, 3), (3, 0), (0, 1, 2, 3)],
    E.TETRA10: [(1, 2), (0, 2), (0, 1), (0, 3), (1, 3), (2, 3)],
    E.PYRA13: [(0, 1), (1, 2), (2, 3), (3, 0), (0, 4), (1, 4), (2, 4), (3, 4)],
    E.WEDGE15: [(0, 3), (1, 4), (2, 5), (1, 2), (2, 0), (0, 1), (4, 5), (5, 3), (3, 4)],
    E.HEXA20: [(0, 1), (1, 2), (2, 3), (3, 0), (4, 5), (5, 6), (6, 7), (7, 4), (0, 4), (1, 5), (2, 6), (3, 7)],
}
HIGHER_ORDER[E.WEDGE18] = HIGHER_ORDER[E.WEDGE15] + [(2, 1, 4, 5), (0, 2, 5, 3), (1, 0, 3, 4)]
HIGHER_ORDER[E.HEXA27] = HIGHER_ORDER[E.HEXA20] + [(0, 3, 7, 4), (1, 5, 6, 2), (0, 4, 5, 1), (3, 2, 6, 7),
                                                   (0, 1, 2, 3), (4, 7, 6, 5), tuple(range(8))]

VTK_CELLS = {
    E.TRIA6: "vtkQuadraticTriangle", E.QUAD8: "vtkQuadraticQuad", E.QUAD9: "vtkBiQuadraticQuad",
    E.TETRA10: "vtkQuadraticTetra", E.PYRA13: "vtkQuadraticPyramid", E.WEDGE15: "vtkQuadraticWedge",
    E.WEDGE18: "vtkBiQuadraticQuadraticWedge", E.HEXA20: "vtkQuadraticHexahedron",
    E.HEXA27: "vtkTriQuadraticHexahedron",
}


def vtk_node_vertices(cell, corners):
    """The vertices each node of a VTK cell is the centre of: edge nodes from
    the cell's edges, face and volume centres from its reference
    coordinates."""
    n = cell.GetNumberOfPoints()
    for i in range(n):
        cell.GetPointIds().SetId(i, i)
    nodes = {i: frozenset([i]) for i in range(corners)}
    for k in range(cell.GetNumberOfEdges()):
        ids = cell.GetEdge(k).GetPointIds()
        nodes.setdefault(ids.GetId(2), frozenset([ids.GetId(0), ids.GetId(1)]))
    reference = np.array(cell.GetParametricCoords()[: 3 * n]).reshape(n, 3)
    candidates = [frozenset(range(corners))]
    for k in range(cell.GetNumberOfFaces()):
        face = cell.GetFace(k).GetPointIds()
        candidates.append(frozenset(face.GetId(j) for j in range(face.GetNumberOfIds()) if face.GetId(j) < corners))
    for i in range(n):
        if i not in nodes:
            nodes[i] = next(c for c in candidates if np.allclose(reference[sorted(c)].mean(0), reference[i]))
    return [nodes[i] for i in range(n)]


@pytest.mark.parametrize("kind", list(VTK_CELLS), ids=[k.name for k in VTK_CELLS])
def test_meshio_node_order_is_vtk_order(kind):
    vtk = pytest.importorskip("vtk")
    cell = getattr(vtk, VTK_CELLS[kind])()
    n = plexa.nbr_nodes(kind)
    corners = plexa.nbr_base_nodes(kind)
    ours = [frozenset([j]) for j in range(corners)] + [frozenset(c) for c in HIGHER_ORDER[kind]]
    assert len(ours) == n == cell.GetNumberOfPoints()
    # meshio's node i is our node order[i] (the table to_meshio applies; some
    # meshio versions cannot build every quadratic cell block themselves).
    name, order = plexa._MESHIO_TYPES[kind]
    order = list(range(n)) if order is None else list(order)
    assert [ours[k] for k in order] == vtk_node_vertices(cell, corners)
    back = plexa._FROM_MESHIO[name][1]
    assert back is None or [order[k] for k in back] == list(range(n))


def test_linear_solids_keep_a_positive_jacobian_in_vtk():
    vtk = pytest.importorskip("vtk")
    for kind, name in [(E.TETRA4, "vtkTetra"), (E.PYRA5, "vtkPyramid"), (E.WEDGE6, "vtkWedge"),
                       (E.HEXA8, "vtkHexahedron")]:
        cell = getattr(vtk, name)()
        n = cell.GetNumberOfPoints()
        pcoords = np.array(cell.GetParametricCoords()[: 3 * n]).reshape(n, 3)
        assert plexa.shape_qualities(pcoords, [np.arange(n)], kind)[0] > 0, kind.name


def mixed_mesh():
    pos, tets = tet_mesh(2, seed=31)
    tris = plexa.get_mesh_boundaries(tets, plexa.get_neighbors(tets, E.TETRA4), E.TETRA4)
    solids = np.full((4, 8), NO, np.uint32)
    solids[0, :4] = [0, 1, 3, 9]
    solids[1, :5] = [0, 1, 4, 3, 9]
    solids[2, :6] = [0, 1, 3, 9, 10, 12]
    solids[3] = [0, 1, 4, 3, 9, 10, 13, 12]
    tet10 = np.hstack([tets[:3], np.arange(18, 36, dtype=np.uint32).reshape(3, 6)])
    return plexa.Mesh(pos, [(E.TETRA4, tets, np.arange(len(tets)) % 3 + 1), (E.TRIA3, tris),
                            (E.SOLID_MIX, solids, [7, 8, 9, 10]), (E.TETRA10, tet10)])


def test_split_mixed_groups_elements_by_kind():
    blocks = plexa.split_mixed(mixed_mesh().blocks[2])
    assert [b.type for b in blocks] == [E.TETRA4, E.PYRA5, E.WEDGE6, E.HEXA8]
    assert [b.cells.shape for b in blocks] == [(1, 4), (1, 5), (1, 6), (1, 8)]
    assert [int(b.ids[0]) for b in blocks] == [7, 8, 9, 10]
    faces = plexa.split_mixed(plexa.Block(E.FACE_MIX, [[0, 1, 2, NO], [0, 1, 2, 3], [4, 5, 6, NO]]))
    assert [(b.type, len(b.cells)) for b in faces] == [(E.TRIA3, 2), (E.QUAD4, 1)]
    with pytest.raises(ValueError, match="element of 2 nodes"):
        plexa.split_mixed(plexa.Block(E.FACE_MIX, [[0, 1, NO, NO]]))


def test_meshio_round_trip_through_a_file(tmp_path):
    meshio = pytest.importorskip("meshio")
    mesh = mixed_mesh()
    m = plexa.to_meshio(mesh)
    assert [c.type for c in m.cells] == ["tetra", "triangle", "tetra", "pyramid", "wedge", "hexahedron", "tetra10"]
    meshio.write(tmp_path / "mesh.vtu", m)
    back = plexa.from_meshio(meshio.read(tmp_path / "mesh.vtu"))
    expected = [part for b in mesh.blocks for part in plexa.split_mixed(b)]
    np.testing.assert_array_equal(back.points, mesh.points)
    assert [b.type for b in back.blocks] == [b.type for b in expected]
    for got, want in zip(back.blocks, expected):
        np.testing.assert_array_equal(got.cells, want.cells)
        np.testing.assert_array_equal(got.ids, np.zeros(len(want.cells)) if want.ids is None else want.ids)
    # The elements are the same solids: same qualities on either side.
    for got, want in zip(back.blocks[:1], expected[:1]):
        np.testing.assert_array_equal(plexa.shape_qualities(back.points, got.cells, got.type),
                                      plexa.shape_qualities(mesh.points, want.cells, want.type))


def test_from_meshio_refuses_cells_without_element_type():
    meshio = pytest.importorskip("meshio")
    m = meshio.Mesh(np.zeros((5, 3)), [("polygon", np.array([[0, 1, 2, 3, 4]]))])
    with pytest.raises(ValueError, match="polygon"):
        plexa.from_meshio(m)


class TestFiles:
    def test_write_picks_the_writer_by_extension_and_writes_ids(self, tmp_path):
        pos, tets = tet_mesh(2, seed=32)
        ids = np.arange(len(tets), dtype=np.uint32) % 4
        # MEDIT: the ids as references, in element order (blocks without ids
        # take their position); read back as they were.
        mesh = plexa.Mesh(pos, [(E.TETRA4, tets, ids), (E.TETRA4, tets[:2])])
        plexa.write(tmp_path / "a.mesh", mesh)
        plexa.medit_output(tmp_path / "b.mesh", pos, [tets, tets[:2]], [E.TETRA4, E.TETRA4], refs=[*ids, 1, 1])
        assert (tmp_path / "a.mesh").read_bytes() == (tmp_path / "b.mesh").read_bytes()
        back = plexa.read(tmp_path / "a.mesh")
        np.testing.assert_array_equal(back.blocks[0].cells, np.vstack([tets, tets[:2]]))
        np.testing.assert_array_equal(back.blocks[0].ids, [*ids, 1, 1])
        plexa.write(tmp_path / "a.BDF", plexa.Mesh(pos, [(E.TETRA4, tets, ids + 5), (E.TETRA4, tets[:2])]))
        plexa.NASTRAN_output(tmp_path / "b.bdf", pos, [tets, tets[:2]], [E.TETRA4, E.TETRA4],
                             pids=np.concatenate([ids + 5, [2, 2]]))
        assert (tmp_path / "a.BDF").read_bytes() == (tmp_path / "b.bdf").read_bytes()

    def test_ensight_files_get_mixed_blocks_split(self, tmp_path):
        mesh = mixed_mesh()
        plexa.write(tmp_path / "a.geo", plexa.Mesh(mesh.points, mesh.blocks[2:3]))
        parts = [b for b in plexa.split_mixed(mesh.blocks[2])]
        plexa.ensight_output(tmp_path / "b.geo", mesh.points, [b.cells for b in parts], [b.type for b in parts])
        assert (tmp_path / "a.geo").read_bytes() == (tmp_path / "b.geo").read_bytes()

    def test_stl_files_hold_the_faces_of_a_mesh(self, tmp_path):
        mesh = mixed_mesh()
        plexa.write(tmp_path / "a.stl", plexa.Mesh(mesh.points, mesh.blocks[:1]))
        back = plexa.read(tmp_path / "a.stl")
        # The free faces of the tetrahedra, welded back onto the nodes they use.
        faces = plexa.get_mesh_boundaries(mesh.blocks[0].cells, plexa.get_neighbors(mesh.blocks[0].cells, E.TETRA4),
                                          E.TETRA4)
        np.testing.assert_allclose(back.points[back.blocks[0].cells], mesh.points[faces], rtol=1e-6)
        quads = plexa.Mesh([[0, 0], [1, 0], [1, 1], [0, 1]], [(E.QUAD4, [[0, 1, 2, 3]])])
        plexa.write(tmp_path / "q.stl", quads)
        _, triangles = plexa.STL_input(tmp_path / "q.stl")
        np.testing.assert_array_equal(triangles, [[0, 1, 2], [0, 2, 3]])

    def test_unknown_formats_and_refused_meshes(self, tmp_path):
        with pytest.raises(ValueError, match=r"no writer for the extension '\.stp' \(known: \.mesh, \.obj, \.vtk"):
            plexa.write(tmp_path / "a.stp", mixed_mesh())
        with pytest.raises(ValueError, match=r"no reader for the extension '\.vtk' \(known: \.mesh, \.obj, \.nas, \.bdf, \.neu, \.stl\)"):
            plexa.read(tmp_path / "a.vtk")
        with pytest.raises(plexa.Error) as caught:
            plexa.write(tmp_path / "a.obj", mixed_mesh())  # solids
        assert caught.value.code == -3
        with pytest.raises(plexa.Error) as caught:
            plexa.write(tmp_path / "missing" / "a.vtk", plexa.Mesh(np.zeros((3, 3)), [(E.TRIA3, [[0, 1, 2]])]))
        assert caught.value.code == -1

    def test_mesh_converts_its_arrays(self):
        mesh = plexa.Mesh([[0, 0], [1, 0], [0, 1]], [(6, [[0, 1, 2]])])
        assert mesh.points.dtype == np.float64 and mesh.blocks[0].cells.dtype == np.uint32
        assert mesh.blocks[0].type is E.TRIA3 and mesh.types == [E.TRIA3]
        assert repr(mesh) == "Mesh(3 points; TRIA3 x 1)"


def test_meshio_is_imported_only_by_the_interchange():
    import subprocess
    import sys
    code = "import sys, plexa; print('meshio' in sys.modules)"
    assert subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=True).stdout == "False\n"
