"""Reads MEDIT meshes written by the library with meshio, an independent
reader, and compares them with the inputs they were written from: node
coordinates (to the 7 significant digits of the format), the elements of
each kind with their nodes (pyramids and wedges as degenerate hexahedra,
higher-order elements by their vertices) and their references.

Usage: medit_meshio_check.py <plexa_medit_sample> <work directory>
Exit status 77 (skipped) when meshio is not installed.
"""
import collections
import os
import subprocess
import sys

try:
    import meshio
except ImportError:
    print("SKIPPED: the Python package meshio is not installed "
          "(Debian: python3-meshio; scripts/setup.sh installs it)")
    sys.exit(77)

NO = 4294967295

# Element type -> (meshio cell type, rows written); None: not written.
VERTICES = {
    3: ("line", [0, 1]), 4: ("line", [0, 1]),
    6: ("triangle", [0, 1, 2]), 8: ("triangle", [0, 1, 2]),
    7: ("quad", [0, 1, 2, 3]), 9: ("quad", [0, 1, 2, 3]), 10: ("quad", [0, 1, 2, 3]),
    12: ("tetra", [0, 1, 2, 3]), 13: ("tetra", [0, 1, 2, 3]),
    14: ("hexahedron", [0, 1, 2, 3, 4, 4, 4, 4]), 16: ("hexahedron", [0, 1, 2, 3, 4, 4, 4, 4]),
    17: ("hexahedron", [0, 1, 2, 2, 3, 4, 5, 5]), 19: ("hexahedron", [0, 1, 2, 2, 3, 4, 5, 5]),
    20: ("hexahedron", list(range(8))), 21: ("hexahedron", list(range(8))),
    22: ("hexahedron", list(range(8))),
}
FACE_MIX, SOLID_MIX = 5, 11
MIXED_MEMBER = {FACE_MIX: {3: 6, 4: 7}, SOLID_MIX: {4: 12, 5: 14, 6: 17, 8: 20}}


def read_inputs(path):
    with open(path) as f:
        lines = [line.split() for line in f]
    _, dim, nodes = lines[0]
    dim, nodes = int(dim), int(nodes)
    points = [[float(x) for x in line] for line in lines[1:1 + nodes]]
    expected = collections.defaultdict(collections.Counter)
    k = 1 + nodes
    reference = 0
    while k < len(lines):
        _, etype, _, cols = lines[k]
        etype, cols = int(etype), int(cols)
        for column in lines[k + 1:k + 1 + cols]:
            column = [int(x) for x in column]
            kind = etype
            if etype in MIXED_MEMBER:
                count = next((i for i, n in enumerate(column) if n == NO), len(column))
                kind = MIXED_MEMBER[etype][count]
            if kind in VERTICES:
                name, rows = VERTICES[kind]
                expected[name][tuple(column[r] for r in rows) + (reference,)] += 1
        k += 1 + cols
        reference += 1
    return dim, points, expected


def check(stem):
    dim, points, expected = read_inputs(stem + ".txt")
    mesh = meshio.read(stem + ".mesh")
    errors = []
    if mesh.points.shape != (len(points), dim):
        errors.append(f"points: shape {mesh.points.shape}, expected {(len(points), dim)}")
    else:
        for j, (got, want) in enumerate(zip(mesh.points.tolist(), points)):
            for g, w in zip(got, want):
                if abs(g - w) > 5.000001e-7 * abs(w):
                    errors.append(f"node {j}: {got} != {want}")
                    break
    if any(int(r) != 0 for r in mesh.point_data.get("medit:ref", [])):
        errors.append("a vertex reference is not 0")

    found = collections.defaultdict(collections.Counter)
    for block, refs in zip(mesh.cells, mesh.cell_data["medit:ref"]):
        for nodes, ref in zip(block.data.tolist(), refs.tolist()):
            found[block.type][tuple(nodes) + (int(ref),)] += 1
    for name in sorted(set(found) | set(expected)):
        got, want = found[name], expected[name]
        if got != want:
            errors.append(f"{name}: {sum(got.values())} elements read, {sum(want.values())} expected; "
                          f"differences: {list((got - want).items())[:3]} / {list((want - got).items())[:3]}")
    counts = {name: sum(c.values()) for name, c in sorted(expected.items())}
    print(f"{os.path.basename(stem)}: {len(points)} nodes, elements {counts}")
    return errors


def main():
    sample, work = sys.argv[1], sys.argv[2]
    os.makedirs(work, exist_ok=True)
    subprocess.run([sample, work], check=True)
    errors = check(os.path.join(work, "mesh3")) + check(os.path.join(work, "mesh2"))
    for e in errors:
        print("MISMATCH:", e)
    print("OK" if not errors else "FAILED")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
