"""Reads NASTRAN decks written by other tools with the library's reader
(through plexa_io_read) and compares what it returns with what was written.

  nastran_from_meshio  meshio's writer, in each of its point formats and
                       its fixed cell formats, on a mesh of every kind
                       meshio writes under a NASTRAN card: nodes (IDs and
                       coordinates), and every element in order with its
                       kind, its property and its nodes in order
  nastran_from_gmsh    gmsh's writer in its free, small and large field
                       formats, linear and quadratic meshes of a box: nodes
                       (tags and coordinates), and the elements of each kind
                       as a multiset of node sets

Usage: readers_check.py <check> <plexa_io_read> <work directory>
Exit status 77 (skipped) when the writing tool is not installed.
"""
import collections
import os
import subprocess
import sys

import samples

# element_type values.
EDGE2, TRIA3, QUAD4, TRIA6, QUAD8, TETRA4, TETRA10 = 3, 6, 7, 8, 9, 12, 13
PYRA5, PYRA13, WEDGE6, WEDGE15, HEXA8, HEXA20 = 14, 15, 17, 18, 20, 21


def read_back(program, kind, path):
    """Nodes {ID: (x, y, z)} and elements [(ID, type, property, (node IDs))]."""
    out = subprocess.run([program, kind, path], capture_output=True, text=True)
    if out.returncode != 0:
        return None, out.stderr.strip()
    lines = out.stdout.splitlines()
    n = int(lines[0].split()[1])
    nodes = {}
    for line in lines[1:1 + n]:
        f = line.split()
        nodes[int(f[0])] = tuple(float(x) for x in f[1:4])
    elements = []
    for line in lines[2 + n:]:
        f = [int(x) for x in line.split()]
        elements.append((f[0], f[1], f[2], tuple(f[3:])))
    return (nodes, elements), None


def compare_nodes(errors, name, got, want, tolerance):
    """want: {ID: coordinates}; equal up to tolerance * max(1, |x|)."""
    if sorted(got) != sorted(want):
        errors.append(f"{name}: node IDs {sorted(got)[:5]}... read, {sorted(want)[:5]}... expected")
        return
    for k, w in want.items():
        if any(abs(a - b) > tolerance * max(1.0, abs(b)) for a, b in zip(got[k], w)):
            errors.append(f"{name}: node {k} read as {got[k]}, expected {w}")
            return


# meshio cell type -> the element_type read and how meshio's node order maps
# to the rows the reader returns (row r holds meshio node order[r]).  The
# quadratic solids are left out: meshio writes them under card names of its
# own ("CTETRA_", "CHEXA_"), which no reader takes.
MESHIO_KINDS = {
    "line": (EDGE2, [0, 1]), "triangle": (TRIA3, [0, 1, 2]), "quad": (QUAD4, [0, 1, 2, 3]),
    "triangle6": (TRIA6, [0, 1, 2, 4, 5, 3]), "quad8": (QUAD8, list(range(8))),
    "tetra": (TETRA4, [0, 2, 1, 3]), "pyramid": (PYRA5, list(range(5))),
    "wedge": (WEDGE6, list(range(6))), "hexahedron": (HEXA8, list(range(8))),
}


def meshio_mesh(meshio):
    """Random nodes and a few cells of every kind on distinct nodes, in
    blocks of each kind.  The coordinates are positive: meshio's large-field
    formatter fails on negative numbers of 12 significant digits."""
    import random
    rng = random.Random(3)
    points = [[rng.uniform(0, 3), rng.uniform(0, 30), rng.uniform(0, 0.3)] for _ in range(60)]
    cells = []
    for name, (_, order) in MESHIO_KINDS.items():
        rows = [rng.sample(range(60), len(order)) for _ in range(4)]
        cells.append((name, rows))
    return meshio.Mesh(points, cells)


def nastran_from_meshio(program, work):
    try:
        import meshio
    except ImportError:
        samples.skip("the Python package meshio is not installed (Debian: python3-meshio; scripts/setup.sh installs it)")
    import meshio.nastran._nastran as writer
    errors = []
    mesh = meshio_mesh(meshio)
    # meshio writes coordinates with 12 significant digits in large field
    # and free field, with 8 characters of "%f" in small field (its free
    # cell format fails on cells of more than six nodes: not used).
    for points, cells, tolerance in (("fixed-large", "fixed-small", 1e-11), ("free", "fixed-large", 1e-11),
                                     ("fixed-small", "fixed-small", 1e-5)):
        name = f"meshio {points} points, {cells} cells"
        path = os.path.join(work, f"meshio-{points}-{cells}.nas")
        writer.write(path, mesh, point_format=points, cell_format=cells)
        result, failure = read_back(program, "nastran", path)
        if failure:
            errors.append(f"{name}: {failure}")
            continue
        nodes, elements = result
        compare_nodes(errors, name, nodes, {j + 1: tuple(p) for j, p in enumerate(mesh.points.tolist())}, tolerance)
        want, eid = [], 0
        for block in mesh.cells:
            kind, order = MESHIO_KINDS[block.type]
            for row in block.data.tolist():
                eid += 1
                # The PID is blank: the reader gives the EID.
                want.append((eid, kind, eid, tuple(row[i] + 1 for i in order)))
        if elements != want:
            bad = next((i for i, (g, w) in enumerate(zip(elements, want)) if g != w), min(len(elements), len(want)))
            errors.append(f"{name}: element {bad} read as {elements[bad] if bad < len(elements) else None}, "
                          f"expected {want[bad] if bad < len(want) else None}")
        print(f"{name}: {len(nodes)} nodes, {len(elements)} elements")
    return errors


# gmsh element type -> the element_type read.  Second-order lines are
# written as CBAR with the middle node where the orientation goes: read as
# two-node bars.
GMSH_KINDS = {1: EDGE2, 2: TRIA3, 4: TETRA4, 8: EDGE2, 9: TRIA6, 11: TETRA10}
GMSH_VERTICES = {8: 2}


def nastran_from_gmsh(program, work):
    try:
        import gmsh
    except ImportError:
        samples.skip("gmsh's Python module is not installed (Debian: python3-gmsh; scripts/setup.sh installs it)")
    errors = []
    gmsh.initialize(["gmsh", "-nt", "1"])
    gmsh.option.setNumber("General.Terminal", 0)
    try:
        for order in (1, 2):
            gmsh.clear()
            gmsh.model.add("box")
            gmsh.model.occ.addBox(0, 0, 0, 1, 2, 3)
            gmsh.model.occ.synchronize()
            gmsh.option.setNumber("Mesh.MeshSizeMax", 0.6)
            gmsh.model.mesh.generate(3)
            gmsh.model.mesh.setOrder(order)
            tags, coords, _ = gmsh.model.mesh.getNodes()
            want_nodes = {int(t): tuple(coords[3 * k:3 * k + 3]) for k, t in enumerate(tags)}
            want = collections.Counter()
            for etype, etags, enodes in zip(*gmsh.model.mesh.getElements()):
                if etype not in GMSH_KINDS:
                    continue
                count = len(enodes) // len(etags)
                keep = GMSH_VERTICES.get(etype, count)
                for k in range(0, len(enodes), count):
                    want[(GMSH_KINDS[etype], tuple(sorted(int(x) for x in enodes[k:k + keep])))] += 1
            for field_format, name in ((0, "free"), (1, "small"), (2, "large")):
                label = f"gmsh order {order}, {name} field"
                path = os.path.join(work, f"gmsh-{order}-{name}.bdf")
                gmsh.option.setNumber("Mesh.SaveAll", 1)
                gmsh.option.setNumber("Mesh.BdfFieldFormat", field_format)
                gmsh.write(path)
                result, failure = read_back(program, "nastran", path)
                if failure:
                    errors.append(f"{label}: {failure}")
                    continue
                nodes, elements = result
                # gmsh writes 6 decimals in free and small field, 9 significant
                # digits in large field.
                compare_nodes(errors, label, nodes, want_nodes, 1e-6 if field_format < 2 else 1e-8)
                got = collections.Counter((kind, tuple(sorted(n))) for _, kind, _, n in elements)
                if got != want:
                    errors.append(f"{label}: elements by kind {sorted(collections.Counter(k for k, _ in got.elements()).items())}"
                                  f" read, {sorted(collections.Counter(k for k, _ in want.elements()).items())} expected")
                print(f"{label}: {len(nodes)} nodes, {len(elements)} elements")
    finally:
        gmsh.finalize()
    return errors


def main():
    check, program, work = sys.argv[1:4]
    os.makedirs(work, exist_ok=True)
    samples.finish(globals()[check](program, work))


if __name__ == "__main__":
    main()
