"""The plexa tool's --json output, parsed by the json module: one object
per run, its keys in the documented order, its figures those of the text
report; and the cell data that 'plexa convert --quality' adds to a VTK file,
read back by VTK's reader and compared with 'plexa quality --json'.

Usage: json_check.py PLEXA WORKDIR
"""
import json
import os
import re
import subprocess
import sys

PLEXA, WORK = sys.argv[1], sys.argv[2]
os.makedirs(WORK, exist_ok=True)
failures = []


def path(name):
    return os.path.join(WORK, name)


def write(name, text):
    with open(path(name), "w") as f:
        f.write(text)
    return path(name)


def plexa(*args, status=0):
    run = subprocess.run([PLEXA, *args], capture_output=True, text=True)
    if run.returncode != status:
        failures.append(f"{args}: status {run.returncode}, wanted {status}: {run.stderr}")
    if run.stderr:
        failures.append(f"{args}: stderr {run.stderr!r}")
    return run.stdout


def same(what, got, wanted):
    if got != wanted:
        failures.append(f"{what}: {got!r}, wanted {wanted!r}")


def parsed(*args, status=0):
    text = plexa(*args, "--json", status=status)
    same(f"{args}: lines", text.count("\n"), 1)
    return json.loads(text)


def figure(text, label):
    """The number after 'label' in a text report."""
    match = re.search(re.escape(label) + r" ?(-?[0-9.e+-]+)", text)
    return float(match.group(1)) if match else None


HISTOGRAM = ["count", "nan", "min", "max", "mean", "bins"]

defects = write("defects.mesh", "MeshVersionFormatted 1\nDimension 3\nVertices\n9\n"
                "0 0 0 0\n1 0 0 0\n0 1 0 0\n0 0 1 0\n0 0 -1 0\n0.3 0.3 0.5 0\n9 9 9 0\n0 0 0 0\n0 0 2 0\n"
                "Tetrahedra\n4\n1 2 3 4 1\n1 3 2 5 1\n1 2 3 6 1\n1 3 2 9 1\nEnd\n")
soup = write("soup.stl", "solid s\n" + "".join(
    f" facet normal 0 0 0\n  outer loop\n   vertex {a}\n   vertex {b}\n   vertex {c}\n  endloop\n endfacet\n"
    for a, b, c in [("0 0 0", "0 1 0", "1 0 0"), ("0 0 0", "1 0 0", "0 0 1"), ("0 0 0", "0 0 1", "0 1 0"),
                    ("1 0 0", "0 1 0", "0 0 1")]) + "endsolid s\n")

# info
j = parsed("info", "builtin")
same("info keys", list(j), ["file", "format", "dimension", "nodes", "elements", "kinds", "bounding_box", "blocks",
                            "names"])
same("info nodes", j["nodes"], figure(plexa("info", "builtin"), "nodes:"))
sol = path("sizes.sol")
plexa("sizemap", "-o", sol)
j = parsed("info", sol)
same("solution info keys", list(j), ["file", "format", "dimension", "nodes", "values_per_node", "kind", "ranges"])

# check: defects, and the exit status that says so
for mesh, status in (("builtin", 0), (defects, 3)):
    j = parsed("check", mesh, status=status)
    same("check keys", list(j), ["mesh", "nodes", "elements", "tolerance", "out_of_range", "complete",
                                 "unused_nodes", "close_nodes", "degenerate", "inverted", "boundary",
                                 "non_manifold", "free_boundaries", "parts", "subdomains", "defects"])
    text = plexa("check", mesh, status=status)
    same("check defects", j["defects"], figure(text, "defects found:") or 0)
    for key, label in (("unused_nodes", "unused nodes:"), ("close_nodes", "nodes closer than 0:"),
                       ("inverted", "inverted elements:"), ("non_manifold", "non-manifold faces:"),
                       ("free_boundaries", "free boundary faces:")):
        same(f"check {key}", j[key]["count"], figure(text, label))
    same("check sum", j["defects"], sum(j[k]["count"] for k in ("out_of_range", "unused_nodes", "close_nodes",
                                                                   "degenerate", "inverted", "non_manifold")))

# quality
j = parsed("quality", "--worst", "1000")
same("quality keys", list(j), ["mesh", "nodes", "elements", "measured", "unmeasured", "shape_quality",
                               "scaled_jacobian", "worst", "inverted", "degenerate"])
same("histogram keys", list(j["shape_quality"]), HISTOGRAM)
same("quality bins", sum(b["count"] for b in j["shape_quality"]["bins"]), j["shape_quality"]["count"])
worst = sorted(e["quality"] for e in j["worst"])
same("quality worst", len(worst), j["measured"])

# weld
j = parsed("weld", soup, path("welded.mesh"))
same("weld keys", list(j), ["input", "variant", "triangles_read", "tolerance", "nodes_read", "nodes",
                            "degenerate_removed", "triangles", "free_edges", "non_manifold_edges", "output",
                            "output_format"])
text = plexa("weld", soup, path("welded.mesh"))
same("weld nodes", j["nodes"], figure(text, "read,"))

# sizemap
j = parsed("sizemap", "-o", path("s.sol"), "--gradation", "0.2")
same("sizemap keys", list(j), ["mesh", "nodes", "elements", "field", "kind", "exponent", "generated_min",
                               "generated_max", "hmin", "hmax", "bounded", "bound", "limit", "freeze_boundary",
                               "frozen_nodes", "shock_before", "shock_after", "changed", "edge_lengths", "output"])
text = plexa("sizemap", "-o", path("s.sol"), "--gradation", "0.2")
same("sizemap changed", j["changed"], figure(text, "nodes changed:"))
same("sizemap shock", j["shock_after"] <= 0.2 + 1e-9, True)
same("sizemap lengths", list(j["edge_lengths"]), HISTOGRAM)

# The quality cell data of a VTK file, read by VTK.
try:
    from vtkmodules.vtkIOLegacy import vtkUnstructuredGridReader
except ImportError:
    print("python3-vtk9 is missing")
    sys.exit(77 if not failures else 1)
vtk_file = path("quality.vtk")
plexa("convert", "builtin", vtk_file, "--quality")
reader = vtkUnstructuredGridReader()
reader.SetFileName(vtk_file)
reader.ReadAllScalarsOn()
reader.Update()
grid = reader.GetOutput()
data = grid.GetCellData()
arrays = {}
for name in ("shape_quality", "scaled_jacobian"):
    array = data.GetArray(name)
    if array is None:
        failures.append(f"no cell array {name}")
        continue
    arrays[name] = [array.GetValue(k) for k in range(array.GetNumberOfTuples())]
    same(f"{name} cells", len(arrays[name]), grid.GetNumberOfCells())
if arrays:
    same("shape_quality values", sorted(arrays["shape_quality"]), worst)
    same("scaled_jacobian values", sorted(arrays["scaled_jacobian"]),
         sorted(e["scaled_jacobian"] for e in parsed("quality", "--worst", "1000")["worst"]))

for f in failures:
    print(f)
sys.exit(1 if failures else 0)
