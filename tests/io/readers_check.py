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


if __name__ == "__main__":
    check, program, samples_program, work = sys.argv[1:5]
    os.makedirs(work, exist_ok=True)
    if check == "sol_read_by_freefem":
        samples.finish(sol_read_by_freefem(program, samples_program, work))
    samples.finish(globals()[check](program, work))
