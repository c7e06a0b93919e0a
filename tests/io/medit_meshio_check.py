"""Reads MEDIT meshes written by the library with meshio, an independent
reader, and compares them with the inputs they were written from: node
coordinates (to the 7 significant digits of the format), the elements of
each kind with their nodes (pyramids and wedges as degenerate hexahedra,
higher-order elements by their vertices) and their references.

Usage: medit_meshio_check.py <plexa_io_samples> <work directory>
Exit status 77 (skipped) when meshio is not installed.
"""
import collections
import os
import sys

import samples

try:
    import meshio
except ImportError:
    samples.skip("the Python package meshio is not installed (Debian: python3-meshio; scripts/setup.sh installs it)")

PYRAMID, WEDGE, HEXA = [0, 1, 2, 3, 4, 4, 4, 4], [0, 1, 2, 2, 3, 4, 5, 5], list(range(8))
# Element type -> (meshio cell type, rows written); types left out are absent.
VERTICES = {
    3: ("line", [0, 1]), 4: ("line", [0, 1]),
    6: ("triangle", [0, 1, 2]), 8: ("triangle", [0, 1, 2]),
    7: ("quad", [0, 1, 2, 3]), 9: ("quad", [0, 1, 2, 3]), 10: ("quad", [0, 1, 2, 3]),
    12: ("tetra", [0, 1, 2, 3]), 13: ("tetra", [0, 1, 2, 3]),
    14: ("hexahedron", PYRAMID), 16: ("hexahedron", PYRAMID),
    17: ("hexahedron", WEDGE), 19: ("hexahedron", WEDGE),
    20: ("hexahedron", HEXA), 21: ("hexahedron", HEXA), 22: ("hexahedron", HEXA),
}


def expected_elements(sample):
    """The expected elements (nodes + reference) by meshio cell type."""
    expected = collections.defaultdict(collections.Counter)
    for reference, (etype, columns) in enumerate(sample.blocks):
        for column in columns:
            kind = samples.member(etype, column)
            if kind in VERTICES:
                name, rows = VERTICES[kind]
                expected[name][tuple(column[r] for r in rows) + (reference,)] += 1
    return expected


def check(stem):
    sample = samples.Sample(stem + ".txt")
    points, expected = sample.points, expected_elements(sample)
    mesh = meshio.read(stem + ".mesh")
    errors = []
    if mesh.points.shape != (len(points), len(points[0])):
        errors.append(f"points: shape {mesh.points.shape}, expected {(len(points), len(points[0]))}")
    else:
        errors += [f"node {j}: {got} != {want}" for j, (got, want) in enumerate(zip(mesh.points.tolist(), points))
                   if any(abs(g - w) > 5.000001e-7 * abs(w) for g, w in zip(got, want))]
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


if __name__ == "__main__":
    program, work = sys.argv[1], sys.argv[2]
    samples.run_samples(program, work)
    samples.finish(check(os.path.join(work, "mesh3")) + check(os.path.join(work, "mesh2")))
