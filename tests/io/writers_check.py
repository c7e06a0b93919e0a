"""Reads the VTK, NASTRAN and EnSight files that plexa_io_samples writes with
independent readers and compares them with the inputs they were written
from.

  vtk_read_by_vtk         VTK's legacy reader: point and cell counts, the
                          cells in order (type and nodes, poly-vertices of
                          higher-order elements included)
  vtk_read_by_meshio      meshio, on the samples of linear elements (meshio
                          has no poly-vertex cell): points and cells in order
  nastran_read_by_meshio  meshio's NASTRAN reader: points, and every element
                          in order with its kind, node order, id and property
  ensight_read_by_vtk     VTK's EnSight reader, through a case file written
                          here: one block per part written, element counts
                          by kind, nodes of each element (the sample has no
                          6-node triangles, whose double listing no reader
                          takes)

Usage: writers_check.py <check> <plexa_io_samples> <work directory>
Exit status 77 (skipped) when the reader is not installed.
"""
import collections
import os
import sys

import samples

# Element type -> (VTK cell type, base nodes k).
VTK_CELLS = {3: (3, 2), 4: (3, 2), 6: (5, 3), 8: (5, 3), 7: (9, 4), 9: (9, 4), 10: (9, 4),
             12: (10, 4), 13: (10, 4), 14: (14, 5), 16: (14, 5), 17: (13, 6), 19: (13, 6),
             20: (12, 8), 21: (12, 8), 22: (12, 8)}
POLY_VERTEX, TETRA = 2, 10


def vtk_cells(sample):
    """The cells in file order: (VTK type, nodes)."""
    cells = []
    for etype, columns in sample.blocks:
        for kind, column in samples.split_mixed(etype, columns):
            vtk_type, k = VTK_CELLS[kind]
            nodes = column[:k]
            if vtk_type == TETRA:
                nodes[2], nodes[3] = nodes[3], nodes[2]
            cells.append((vtk_type, tuple(nodes)))
            if len(column) > k:
                cells.append((POLY_VERTEX, tuple(column[k:])))
    return cells


def compare_cells(errors, name, got, want):
    if len(got) != len(want):
        errors.append(f"{name}: {len(got)} cells read, {len(want)} expected")
    for i, (g, w) in enumerate(zip(got, want)):
        if g != w:
            errors.append(f"{name}: cell {i} is {g}, expected {w}")
            break
    counts = collections.Counter(t for t, *_ in want)
    print(f"{name}: {len(want)} cells, by kind {dict(sorted(counts.items()))}")


def vtk_read_by_vtk(work):
    try:
        from vtkmodules.vtkIOLegacy import vtkUnstructuredGridReader
    except ImportError:
        samples.skip("VTK's Python modules are not installed (Debian: python3-vtk9; scripts/setup.sh installs them)")
    errors = []
    for stem in ("vtk3", "vtk2"):
        sample = samples.Sample(os.path.join(work, stem + ".txt"))
        reader = vtkUnstructuredGridReader()
        reader.SetFileName(os.path.join(work, stem + ".vtk"))
        reader.Update()
        grid = reader.GetOutput()
        points = [grid.GetPoint(j) for j in range(grid.GetNumberOfPoints())]
        samples.compare_points(errors, points, sample.points, 1e-15, 5.000001e-7)
        got = []
        for i in range(grid.GetNumberOfCells()):
            ids = grid.GetCell(i).GetPointIds()
            got.append((grid.GetCellType(i), tuple(ids.GetId(k) for k in range(ids.GetNumberOfIds()))))
        compare_cells(errors, stem, got, vtk_cells(sample))
    return errors


# VTK cell type -> meshio's name; meshio stores wedges in another node order.
MESHIO_NAMES = {3: "line", 5: "triangle", 9: "quad", 10: "tetra", 12: "hexahedron", 13: "wedge", 14: "pyramid"}
MESHIO_WEDGE = [0, 2, 1, 3, 5, 4]


def import_meshio():
    try:
        import meshio
        return meshio
    except ImportError:
        samples.skip("the Python package meshio is not installed (Debian: python3-meshio; scripts/setup.sh installs it)")


def vtk_read_by_meshio(work):
    meshio = import_meshio()
    errors = []
    for stem in ("linear3", "linear2"):
        sample = samples.Sample(os.path.join(work, stem + ".txt"))
        mesh = meshio.read(os.path.join(work, stem + ".vtk"))
        samples.compare_points(errors, mesh.points.tolist(), sample.points, 1e-15, 5.000001e-7)
        want = []
        for vtk_type, nodes in vtk_cells(sample):
            if vtk_type == 13:
                nodes = tuple(nodes[i] for i in MESHIO_WEDGE)
            want.append((MESHIO_NAMES[vtk_type], nodes))
        got = [(block.type, tuple(row)) for block in mesh.cells for row in block.data.tolist()]
        compare_cells(errors, stem, got, want)
    return errors


# Element type -> (meshio's name of the card read, rows written by the writer).
PENTA15 = [0, 1, 2, 3, 4, 5, 11, 9, 10, 6, 7, 8, 14, 12, 13]
HEXA20 = list(range(12)) + [16, 17, 18, 19, 12, 13, 14, 15]
NASTRAN_CARDS = {3: ("line", [0, 1]), 4: ("line", [0, 1]), 6: ("triangle", [0, 1, 2]), 7: ("quad", [0, 1, 2, 3]),
                 8: ("triangle6", [0, 1, 2, 5, 3, 4]), 9: ("quad8", list(range(8))), 10: ("quad8", list(range(8))),
                 12: ("tetra", [0, 2, 1, 3]), 13: ("tetra10", [0, 2, 1, 3, 5, 4, 6, 7, 9, 8]),
                 14: ("pyramid", list(range(5))), 15: ("pyramid13", list(range(13))),
                 16: ("pyramid13", list(range(13))), 17: ("wedge", list(range(6))), 18: ("wedge15", PENTA15),
                 19: ("wedge15", PENTA15), 20: ("hexahedron", list(range(8))), 21: ("hexahedron20", HEXA20),
                 22: ("hexahedron20", HEXA20)}
# The reordering meshio applies to the nodes of its 15- and 20-node solids.
MESHIO_ORDER = {"wedge15": [0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 13, 14, 9, 10, 11], "hexahedron20": HEXA20}


def nastran_read_by_meshio(work):
    meshio = import_meshio()
    errors = []
    for stem in ("nastran3", "nastran2", "nastran_mixed"):
        sample = samples.Sample(os.path.join(work, stem + ".txt"))
        mesh = meshio.read(os.path.join(work, stem + ".nas"))
        samples.compare_points(errors, mesh.points.tolist(), sample.points, 5.000001e-7)
        want, column_id = [], 0
        for block, (etype, columns) in enumerate(sample.blocks):
            for column in columns:
                column_id += 1
                kind = samples.member(etype, column)
                if kind not in NASTRAN_CARDS:
                    continue
                name, rows = NASTRAN_CARDS[kind]
                nodes = [column[r] for r in rows]
                if name in MESHIO_ORDER:
                    nodes = [nodes[i] for i in MESHIO_ORDER[name]]
                want.append((name, tuple(nodes), column_id, block + 1))
        pids = mesh.cell_data.get("nastran:ref", [[None] * len(b.data) for b in mesh.cells])
        got = [(block.type, tuple(row), int(cid), int(pid))
               for block, ids, refs in zip(mesh.cells, mesh.cells_id, pids)
               for row, cid, pid in zip(block.data.tolist(), ids.tolist(), list(refs))]
        compare_cells(errors, stem, got, want)
    return errors


# EnSight element (by element type) -> its name, the rows written, the VTK
# cell its reader (VTK 9) makes of it and which of the written nodes that
# cell holds: higher-order elements become linear cells; the reader takes the
# ends of a bar3 as its first and last nodes, and turns wedges around.
LINEAR = None
ENSIGHT_ELEMENTS = {
    3: ("bar2", [0, 1], 3, LINEAR), 4: ("bar3", [0, 1, 2], 3, [0, 2]),
    6: ("tria3", [0, 1, 2], 5, LINEAR), 7: ("quad4", [0, 1, 2, 3], 9, LINEAR),
    9: ("quad8", list(range(8)), 9, LINEAR), 10: ("quad8", list(range(8)), 9, LINEAR),
    12: ("tetra4", [0, 2, 1, 3], 10, LINEAR), 13: ("tetra10", [0, 2, 1, 3, 5, 4, 6, 7, 9, 8], 10, LINEAR),
    17: ("penta6", list(range(6)), 13, [0, 2, 1, 3, 5, 4]), 19: ("penta6", list(range(6)), 13, [0, 2, 1, 3, 5, 4]),
    20: ("hexa8", list(range(8)), 12, LINEAR), 21: ("hexa20", list(range(20)), 12, LINEAR),
    22: ("hexa20", list(range(20)), 12, LINEAR)}
VTK_NODE_COUNT = {3: 2, 5: 3, 9: 4, 10: 4, 12: 8, 13: 6}


def ensight_read_by_vtk(work):
    try:
        from vtkmodules.vtkIOEnSight import vtkGenericEnSightReader
    except ImportError:
        samples.skip("VTK's Python modules are not installed (Debian: python3-vtk9; scripts/setup.sh installs them)")
    errors = []
    sample = samples.Sample(os.path.join(work, "ensight3.txt"))
    case = os.path.join(work, "ensight3.case")
    with open(case, "w") as f:
        f.write("FORMAT\ntype: ensight\n\nGEOMETRY\nmodel: ensight3.geo\n")
    reader = vtkGenericEnSightReader()
    reader.SetCaseFileName(case)
    reader.Update()
    output = reader.GetOutput()
    parts = [(etype, columns) for etype, columns in sample.blocks if columns and etype in ENSIGHT_ELEMENTS]
    if output.GetNumberOfBlocks() != len(parts):
        errors.append(f"{output.GetNumberOfBlocks()} parts read, {len(parts)} expected")
    for b, (etype, columns) in enumerate(parts[:output.GetNumberOfBlocks()]):
        grid = output.GetBlock(b)
        name, rows, vtk_type, cell_nodes = ENSIGHT_ELEMENTS[etype]
        if b == 0:
            samples.compare_points(errors, [grid.GetPoint(j) for j in range(grid.GetNumberOfPoints())],
                                   sample.points, 5.000001e-6)
        if grid.GetNumberOfCells() != len(columns):
            errors.append(f"part {b}: {grid.GetNumberOfCells()} {name} read, {len(columns)} expected")
            continue
        for i, column in enumerate(columns):
            ids = grid.GetCell(i).GetPointIds()
            got = [ids.GetId(k) for k in range(ids.GetNumberOfIds())]
            written = [column[r] for r in rows]
            nodes = [written[k] for k in (cell_nodes or range(VTK_NODE_COUNT[vtk_type]))]
            if grid.GetCellType(i) != vtk_type or got != nodes:
                errors.append(f"part {b} ({name}): element {i} read as {grid.GetCellType(i)} {got}, "
                              f"expected {vtk_type} {nodes}")
                break
    counts = collections.Counter()
    for etype, columns in parts:
        counts[ENSIGHT_ELEMENTS[etype][0]] += len(columns)
    print(f"ensight3: {len(parts)} parts, elements by kind {dict(sorted(counts.items()))}")
    return errors


CHECKS = {f.__name__: f for f in (vtk_read_by_vtk, vtk_read_by_meshio, nastran_read_by_meshio, ensight_read_by_vtk)}

if __name__ == "__main__":
    check, program, work = sys.argv[1], sys.argv[2], sys.argv[3]
    samples.run_samples(program, work)
    samples.finish(CHECKS[check](work))
