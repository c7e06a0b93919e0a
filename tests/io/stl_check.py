"""STL files across independent programs: the files the library writes read
by admesh and by meshio, and files written by meshio and by numpy-stl read
by the library.

  stl_read_by_admesh        admesh's statistics of stl_ascii.stl and
                            stl_binary.stl: facet count, bounding box,
                            volume, one part, no disconnected, degenerate or
                            backwards facet, no normal to fix
  stl_read_by_meshio        meshio's points and triangles (it merges equal
                            points): the torus, triangle by triangle
  stl_written_by_meshio     the torus written by meshio (ASCII and binary),
  stl_written_by_numpy_stl  or by numpy-stl, read by the library: every
                            triangle holds the vertices the file holds, and
                            equal vertices are one node

Usage: stl_check.py <check> <plexa_io_samples> <work directory>
Exit status 77 (skipped) when the other program is not installed.
"""
import os
import re
import shutil
import struct
import subprocess
import sys

import samples


def torus(work):
    sample = samples.Sample(os.path.join(work, "stl.txt"))
    etype, columns = sample.blocks[0]
    return sample.points, columns


def as_float32(x):
    return struct.unpack("<f", struct.pack("<f", x))[0]


def written_triangles(points, columns, binary):
    """The triangles as the library wrote them: "%e" text, or 32-bit floats."""
    value = as_float32 if binary else (lambda x: float("%e" % x))
    return [[tuple(value(c) for c in points[n]) for n in column] for column in columns]


def signed_volume(triangles):
    volume = 0.0
    for a, b, c in triangles:
        volume += (a[0] * (b[1] * c[2] - b[2] * c[1]) - a[1] * (b[0] * c[2] - b[2] * c[0]) +
                   a[2] * (b[0] * c[1] - b[1] * c[0])) / 6
    return volume


def stl_read_by_admesh(work):
    admesh = shutil.which("admesh")
    if not admesh:
        samples.skip("admesh is not installed (Debian: admesh; scripts/setup.sh installs it)")
    errors = []
    points, columns = torus(work)
    for name, binary in (("stl_ascii.stl", False), ("stl_binary.stl", True)):
        out = subprocess.run([admesh, os.path.join(work, name)], capture_output=True, text=True, check=True).stdout
        stats = {}
        for key in ("Number of facets", "Number of parts", "Total disconnected facets", "Degenerate facets",
                    "Backwards edges", "Normals fixed", "Facets reversed"):
            match = re.search(re.escape(key) + r"\s*:\s*(\d+)", out)
            stats[key] = int(match.group(1)) if match else None
        expected = {"Number of facets": len(columns), "Number of parts": 1, "Total disconnected facets": 0,
                    "Degenerate facets": 0, "Backwards edges": 0, "Normals fixed": 0, "Facets reversed": 0}
        for key, want in expected.items():
            if stats[key] != want:
                errors.append(f"{name}: {key} {stats[key]}, expected {want}")
        triangles = written_triangles(points, columns, binary)
        for axis, letter in enumerate("XYZ"):
            # admesh holds 32-bit floats and prints them with six decimals.
            values = [as_float32(v[axis]) for t in triangles for v in t]
            match = re.search(rf"Min {letter} =\s*(\S+), Max {letter} =\s*(\S+)", out)
            if not match or abs(float(match.group(1)) - min(values)) > 5.1e-7 or \
                    abs(float(match.group(2)) - max(values)) > 5.1e-7:
                errors.append(f"{name}: {letter} range {match.groups() if match else None}, "
                              f"expected {min(values)} {max(values)}")
        match = re.search(r"Volume\s*:\s*(\S+)", out)
        volume = signed_volume(triangles)
        if not match or abs(float(match.group(1)) - volume) > 1e-5 * abs(volume):
            errors.append(f"{name}: volume {match.group(1) if match else None}, expected {volume}")
        print(f"{name}: {stats['Number of facets']} facets, volume {volume:.6f}")
    return errors


def import_meshio():
    try:
        import meshio
        return meshio
    except ImportError:
        samples.skip("the Python package meshio is not installed (Debian: python3-meshio; scripts/setup.sh installs it)")


def compare_triangles(errors, name, got, want):
    if len(got) != len(want):
        errors.append(f"{name}: {len(got)} triangles, {len(want)} expected")
    for i, (g, w) in enumerate(zip(got, want)):
        if [tuple(v) for v in g] != [tuple(v) for v in w]:
            errors.append(f"{name}: triangle {i} is {g}, expected {w}")
            break


def stl_read_by_meshio(work):
    meshio = import_meshio()
    errors = []
    points, columns = torus(work)
    for name, binary in (("stl_ascii.stl", False), ("stl_binary.stl", True)):
        mesh = meshio.read(os.path.join(work, name))
        got_points = mesh.points.tolist()
        got = [[got_points[n] for n in row] for block in mesh.cells for row in block.data.tolist()]
        if len(got_points) != len(points):
            errors.append(f"{name}: {len(got_points)} points, {len(points)} expected")
        compare_triangles(errors, name, got, written_triangles(points, columns, binary))
        print(f"{name}: {len(got_points)} points, {len(got)} triangles")
    return errors


def file_triangles(path):
    """The vertices of every triangle of an STL file, as the file holds them."""
    with open(path, "rb") as f:
        data = f.read()
    if data.lstrip().startswith(b"solid") and b"facet" in data[:300]:
        values = [float(v) for v in re.findall(rb"vertex\s+(\S+)\s+(\S+)\s+(\S+)", data) for v in v]
    else:
        count = struct.unpack_from("<I", data, 80)[0]
        values = [v for t in range(count) for v in struct.unpack_from("<9f", data, 84 + 50 * t + 12)]
    vertices = [tuple(values[k:k + 3]) for k in range(0, len(values), 3)]
    return [vertices[k:k + 3] for k in range(0, len(vertices), 3)]


def read_by_library(errors, program, path):
    out = subprocess.run([program, "--read-stl", path], capture_output=True, text=True, check=True).stdout
    lines = [line.split() for line in out.splitlines()]
    nodes = int(lines[0][2])
    points = [tuple(float(x) for x in line) for line in lines[1:1 + nodes]]
    triangles = [[points[int(n)] for n in line] for line in lines[2 + nodes:]]
    want = file_triangles(path)
    compare_triangles(errors, os.path.basename(path), triangles, want)
    distinct = len({v for t in want for v in t})
    if nodes != distinct:
        errors.append(f"{os.path.basename(path)}: {nodes} nodes, {distinct} distinct vertices in the file")
    print(f"{os.path.basename(path)}: {nodes} nodes, {len(triangles)} triangles")


def stl_written_by_meshio(work, program):
    meshio = import_meshio()
    import numpy
    errors = []
    points, columns = torus(work)
    mesh = meshio.Mesh(numpy.array(points), [("triangle", numpy.array(columns))])
    for name, binary in (("meshio_ascii.stl", False), ("meshio_binary.stl", True)):
        path = os.path.join(work, name)
        meshio.write(path, mesh, file_format="stl", binary=binary)
        read_by_library(errors, program, path)
    return errors


def stl_written_by_numpy_stl(work, program):
    try:
        import numpy
        from stl import mesh as stl_mesh, Mode
    except ImportError:
        samples.skip("the Python package numpy-stl is not installed (Debian: python3-stl; scripts/setup.sh installs it)")
    errors = []
    points, columns = torus(work)
    surface = stl_mesh.Mesh(numpy.zeros(len(columns), dtype=stl_mesh.Mesh.dtype))
    for i, column in enumerate(columns):
        surface.vectors[i] = numpy.array([points[n] for n in column])
    for name, mode in (("numpy_stl_ascii.stl", Mode.ASCII), ("numpy_stl_binary.stl", Mode.BINARY)):
        path = os.path.join(work, name)
        surface.save(path, mode=mode)
        read_by_library(errors, program, path)
    return errors


CHECKS = {"stl_read_by_admesh": lambda work, program: stl_read_by_admesh(work),
          "stl_read_by_meshio": lambda work, program: stl_read_by_meshio(work),
          "stl_written_by_meshio": stl_written_by_meshio, "stl_written_by_numpy_stl": stl_written_by_numpy_stl}

if __name__ == "__main__":
    check, program, work = sys.argv[1], sys.argv[2], sys.argv[3]
    samples.run_samples(program, work)
    samples.finish(CHECKS[check](work, program))
