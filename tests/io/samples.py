"""The inputs that plexa_io_samples writes beside each sample file, and the
steps every interoperability check shares."""
import os
import subprocess
import sys

NO = 4294967295
# Mixed type (faces 5, solids 11) -> member type by node count.
MIXED_MEMBER = {5: {3: 6, 4: 7}, 11: {4: 12, 5: 14, 6: 17, 8: 20}}


class Sample:
    """Node coordinates (one list per node) and the blocks, each an element
    type and its columns."""

    def __init__(self, path):
        with open(path) as f:
            lines = [line.split() for line in f]
        self.dim, nodes = int(lines[0][1]), int(lines[0][2])
        self.points = [[float(x) for x in line] for line in lines[1:1 + nodes]]
        self.blocks = []
        k = 1 + nodes
        while k < len(lines):
            etype, cols = int(lines[k][1]), int(lines[k][3])
            self.blocks.append((etype, [[int(x) for x in c] for c in lines[k + 1:k + 1 + cols]]))
            k += 1 + cols


def node_count(column):
    return column.index(NO) if NO in column else len(column)


def member(etype, column):
    """The element type of a column: its block's, or the member of a mixed block."""
    return MIXED_MEMBER[etype][node_count(column)] if etype in MIXED_MEMBER else etype


def split_mixed(etype, columns):
    """A mixed block as the writers split it: its columns grouped by kind,
    the larger elements first, each group in column order; each column as
    (member type, its nodes).  Other blocks as they are."""
    if etype not in MIXED_MEMBER:
        return [(etype, c) for c in columns]
    ordered = sorted(columns, key=lambda c: -node_count(c))
    return [(member(etype, c), c[:node_count(c)]) for c in ordered]


def compare_points(errors, got, want, relative, absolute=0.0):
    """Coordinates read back (padded with zeros to 3) against the inputs."""
    if len(got) != len(want):
        errors.append(f"points: {len(got)} read, {len(want)} expected")
        return
    for j, (g, w) in enumerate(zip(got, want)):
        w = list(w) + [0.0] * (len(g) - len(w))
        if any(abs(a - b) > relative * abs(b) + absolute for a, b in zip(g, w)):
            errors.append(f"node {j}: {list(g)} != {w}")
            return


def run_samples(program, work):
    os.makedirs(work, exist_ok=True)
    subprocess.run([program, work], check=True)


def skip(message):
    print("SKIPPED: " + message)
    sys.exit(77)


def finish(errors):
    for e in errors:
        print("MISMATCH:", e)
    print("OK" if not errors else "FAILED")
    sys.exit(1 if errors else 0)
