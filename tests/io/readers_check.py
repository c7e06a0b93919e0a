"""Reads files that other tools write with the library's readers (through
plexa_io_read) and compares them with what those tools hold; and reads the
library's MEDIT solutions with another tool.

  medit_from_meshio   meshio's MEDIT writer, 3-D and 2-D: points exactly,
                      every element with its kind, nodes and reference
  obj_from_meshio     meshio's OBJ writer: points exactly, the faces in order
  medit_from_gmsh     gmsh's MEDIT writer on a meshed box: the points, and
                      the edges, triangles and tetrahedra as the coordinates
                      of their nodes
  sol_read_by_freefem FreeFem++'s readsol (its medit plugin) on the keyword
                      solutions that plexa_io_samples writes: every value, as
                      printed ("%E")
  nastran_from_meshio meshio's NASTRAN writer, in each of its point formats
                      and its fixed cell formats, on a mesh of every kind
                      meshio writes under a NASTRAN card: node IDs and
                      coordinates, and every element in order with its
                      kind, its ID, its property and its nodes in order
  nastran_from_gmsh   gmsh's NASTRAN writer in its free, small and large
                      field formats, linear and quadratic meshes of a box:
                      node tags and coordinates, and the elements of each
                      kind as a multiset of node sets

Usage: readers_check.py <check> <plexa_io_read> <plexa_io_samples> <work directory>
Exit status 77 (skipped) when the other tool is not installed.
"""
import collections
import glob
import os
import random
import shutil
import subprocess
import sys

import samples

# Element types of the readers (zeb::plexa::element_type values).
NODE, EDGE2, FACE_MIX, TRIA3, QUAD4, TETRA4, PYRA5, WEDGE6, HEXA8 = 1, 3, 5, 6, 7, 12, 14, 17, 20
MESHIO_KIND = {"line": EDGE2, "triangle": TRIA3, "quad": QUAD4, "tetra": TETRA4, "pyramid": PYRA5,
               "wedge": WEDGE6, "hexahedron": HEXA8}


def read_back(program, path):
    """What plexa_io_read prints: (points, [(type, [(id, nodes)])])."""
    out = subprocess.run([program, path], check=True, capture_output=True, text=True).stdout.split("\n")
    dim, n = (int(x) for x in out[0].split()[1:])
    points = [[float(x) for x in line.split()] for line in out[1:1 + n]]
    blocks, k = [], 1 + n
    while k < len(out) and out[k]:
        etype, count = (int(x) for x in out[k].split()[1:])
        rows = [[int(x) for x in line.split()] for line in out[k + 1:k + 1 + count]]
        blocks.append((etype, [(r[0], tuple(r[1:])) for r in rows]))
        k += 1 + count
    return points, blocks


def import_meshio():
    try:
        import meshio
        return meshio
    except ImportError:
        samples.skip("the Python package meshio is not installed (Debian: python3-meshio)")


def medit_from_meshio(program, work):
    meshio = import_meshio()
    errors = []
    rng = random.Random(7)
    for dim, kinds in ((3, ["tetra", "hexahedron", "wedge", "pyramid", "triangle", "quad", "line"]),
                       (2, ["triangle", "quad", "line"])):
        n = 60
        points = [[rng.uniform(-1e3, 1e3) for _ in range(dim)] for _ in range(n)]
        cells, refs = [], []
        for kind in kinds:
            size = {"line": 2, "triangle": 3, "quad": 4, "tetra": 4, "pyramid": 5, "wedge": 6, "hexahedron": 8}[kind]
            cells.append((kind, [rng.sample(range(n), size) for _ in range(rng.randint(1, 9))]))
            refs.append([rng.randint(0, 50) for _ in cells[-1][1]])
        path = os.path.join(work, f"meshio{dim}.mesh")
        meshio.write(path, meshio.Mesh(points, cells, cell_data={"medit:ref": refs}))
        got_points, blocks = read_back(program, path)
        if got_points != points:
            errors.append(f"{path}: points differ")
        want = collections.Counter((MESHIO_KIND[kind], tuple(c), r) for (kind, cs), rs in zip(cells, refs)
                                   for c, r in zip(cs, rs))
        got = collections.Counter((t, nodes, i) for t, elements in blocks for i, nodes in elements)
        if got != want:
            errors.append(f"{path}: elements differ: {list((got - want).items())[:3]} / {list((want - got).items())[:3]}")
        print(f"{os.path.basename(path)}: {n} points, {sum(want.values())} elements")
    return errors


def obj_from_meshio(program, work):
    meshio = import_meshio()
    rng = random.Random(8)
    n = 50
    points = [[rng.uniform(-10, 10) for _ in range(3)] for _ in range(n)]
    triangles = [rng.sample(range(n), 3) for _ in range(20)]
    quads = [rng.sample(range(n), 4) for _ in range(15)]
    path = os.path.join(work, "meshio.obj")
    meshio.write(path, meshio.Mesh(points, [("triangle", triangles), ("quad", quads)]))
    got_points, blocks = read_back(program, path)
    errors = [] if got_points == points else ["points differ"]
    faces = [list(nodes) for t, elements in blocks for _, nodes in elements]
    if [t for t, _ in blocks] != [FACE_MIX] or faces != triangles + quads:
        errors.append(f"faces differ: {blocks[:1]}")
    print(f"meshio.obj: {n} points, {len(faces)} faces")
    return errors


def medit_from_gmsh(program, work):
    try:
        import gmsh
    except ImportError:
        samples.skip("the Python package gmsh is not installed (Debian: python3-gmsh)")
    path = os.path.join(work, "gmsh.mesh")
    gmsh.initialize()
    try:
        gmsh.option.setNumber("General.Terminal", 0)
        gmsh.model.add("box")
        gmsh.model.occ.addBox(0, 0, 0, 1, 2, 0.5)
        gmsh.model.occ.synchronize()
        gmsh.option.setNumber("Mesh.MeshSizeMax", 0.3)
        gmsh.model.mesh.generate(3)
        gmsh.write(path)
        tags, coords, _ = gmsh.model.mesh.getNodes()
        at = {int(t): tuple(coords[3 * k:3 * k + 3]) for k, t in enumerate(tags)}
        want = {}
        for gmsh_type, etype, size in ((1, EDGE2, 2), (2, TRIA3, 3), (4, TETRA4, 4)):
            _, nodes = gmsh.model.mesh.getElementsByType(gmsh_type)
            want[etype] = sorted(tuple(sorted(at[int(t)] for t in nodes[k:k + size]))
                                 for k in range(0, len(nodes), size))
    finally:
        gmsh.finalize()
    points, blocks = read_back(program, path)
    errors = []
    # gmsh prints about 14 significant digits: each point read is matched to the
    # closest of gmsh's own, which must lie within that precision.
    meshed = list(at.values())
    def closest(p):
        q = min(meshed, key=lambda q: sum((a - b) ** 2 for a, b in zip(p, q)))
        return q if all(abs(a - b) <= 1e-12 * max(1.0, abs(b)) for a, b in zip(p, q)) else None
    points = [closest(p) for p in points]
    if None in points or sorted(points) != sorted(meshed):
        errors.append("points differ")
        return errors
    got = collections.defaultdict(list)
    for etype, elements in blocks:
        got[etype] += [tuple(sorted(points[v] for v in nodes)) for _, nodes in elements]
    for etype, elements in want.items():
        if sorted(got[etype]) != elements:
            errors.append(f"type {etype}: {len(got[etype])} elements read, {len(elements)} meshed, or other nodes")
    print(f"gmsh.mesh: {len(points)} points, elements {{{', '.join(f'{t}: {len(e)}' for t, e in want.items())}}}")
    return errors


def sol_read_by_freefem(program, samples_program, work):
    freefem = shutil.which("FreeFem++-nw")
    plugins = [os.path.dirname(p) for p in glob.glob("/usr/lib/freefem++/medit.so") + glob.glob("/usr/lib/ff++/*/lib/medit.so")]
    if not freefem or not plugins:
        samples.skip("FreeFem++ or its medit plugin is not installed (Debian: freefem++, libfreefem++)")
    samples.run_samples(samples_program, work)
    errors = []
    for stem in ("scalar3", "vector3", "tensor3", "tensor2"):
        with open(os.path.join(work, stem + ".txt")) as f:
            lines = f.read().split("\n")
        values = [float(x) for line in lines[1:] for x in line.split()]
        script = os.path.join(work, stem + ".edp")
        with open(script, "w") as f:
            f.write(f'load "medit"\nreal[int] u = readsol("{stem}.sol");\ncout.precision(17);\n'
                    'cout << "count " << u.n << endl;\nfor (int i = 0; i < u.n; i++) cout << u[i] << endl;\n')
        run = subprocess.run([freefem, "-v", "0", "-nw", script], cwd=work, capture_output=True, text=True,
                             env=dict(os.environ, FF_LOADPATH=plugins[0]), timeout=120)
        out = run.stdout.split()
        if "count" not in out:
            errors.append(f"{stem}: FreeFem++ did not read it: {run.stdout[-300:]} {run.stderr[-300:]}")
            continue
        read = [float(x) for x in out[out.index("count") + 2:]]
        printed = [float(f"{v:E}") for v in values]
        if read != printed:
            errors.append(f"{stem}: {len(read)} values read, {len(printed)} written, or other values")
        print(f"{stem}.sol: {len(read)} values read by FreeFem++")
    return errors


TRIA6, QUAD8, TETRA10 = 8, 9, 13


def read_with_ids(program, path):
    """A NASTRAN deck as plexa_io_read prints it: nodes {ID: (x, y, z)} and
    elements [(ID, type, property, (node IDs))], or None and the failure."""
    out = subprocess.run([program, path], capture_output=True, text=True)
    if out.returncode != 0:
        return None, out.stderr.strip()
    lines = out.stdout.split("\n")
    n = int(lines[0].split()[2])
    points = [tuple(float(x) for x in line.split()) for line in lines[1:1 + n]]
    blocks, k = [], 1 + n
    while not lines[k].startswith("node_ids"):
        etype, count = (int(x) for x in lines[k].split()[1:])
        blocks += [(etype, [int(x) for x in line.split()]) for line in lines[k + 1:k + 1 + count]]
        k += 1 + count
    node_ids = [int(x) for x in lines[k + 1:k + 1 + n]]
    k += 1 + n
    m = int(lines[k].split()[1])
    element_ids = [int(x) for x in lines[k + 1:k + 1 + m]]
    nodes = dict(zip(node_ids, points))
    elements = [(eid, etype, row[0], tuple(node_ids[v] for v in row[1:]))
                for eid, (etype, row) in zip(element_ids, blocks)]
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
    rng = random.Random(3)
    points = [[rng.uniform(0, 3), rng.uniform(0, 30), rng.uniform(0, 0.3)] for _ in range(60)]
    cells = []
    for name, (_, order) in MESHIO_KINDS.items():
        rows = [rng.sample(range(60), len(order)) for _ in range(4)]
        cells.append((name, rows))
    return meshio.Mesh(points, cells)


def nastran_from_meshio(program, work):
    meshio = import_meshio()
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
        result, failure = read_with_ids(program, path)
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
                result, failure = read_with_ids(program, path)
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


if __name__ == "__main__":
    check, program, samples_program, work = sys.argv[1:5]
    os.makedirs(work, exist_ok=True)
    if check == "sol_read_by_freefem":
        samples.finish(sol_read_by_freefem(program, samples_program, work))
    samples.finish(globals()[check](program, work))
