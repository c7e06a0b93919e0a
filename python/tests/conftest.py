"""Shared pieces of the Python tests: seeded meshes and the C++ oracle."""

import os
import pathlib
import subprocess

import numpy as np
import pytest

# The six tetrahedra of a cube around its diagonal 0-7 (corner bits x, y, z),
# all positively oriented.
CUBE_TETS = np.array([[0, 1, 3, 7], [0, 3, 2, 7], [0, 2, 6, 7], [0, 6, 4, 7], [0, 4, 5, 7], [0, 5, 1, 7]])


def tet_mesh(n, seed=1, jitter=0.2):
    """An n^3 block of cubes, six tetrahedra each, nodes jittered by a seeded
    generator: ((n+1)^3, 3) float64 and (6 n^3, 4) uint32."""
    m = n + 1
    k, j, i = np.meshgrid(np.arange(m), np.arange(m), np.arange(m), indexing="ij")
    pos = np.stack([i.ravel(), j.ravel(), k.ravel()], axis=1).astype(np.float64)
    pos += np.random.default_rng(seed).uniform(-jitter, jitter, pos.shape)
    k, j, i = (a.ravel() for a in np.meshgrid(np.arange(n), np.arange(n), np.arange(n), indexing="ij"))
    corners = np.stack([(i + (b & 1)) + m * ((j + ((b >> 1) & 1)) + m * (k + (b >> 2))) for b in range(8)], axis=1)
    tets = corners[:, CUBE_TETS].reshape(-1, 4)
    return pos, np.ascontiguousarray(tets, dtype=np.uint32)


def tri_mesh(n, seed=1):
    """An n x n square of 2 n^2 triangles in the plane, jittered nodes."""
    m = n + 1
    j, i = np.meshgrid(np.arange(m), np.arange(m), indexing="ij")
    pos = np.stack([i.ravel(), j.ravel()], axis=1).astype(np.float64)
    pos += np.random.default_rng(seed).uniform(-0.2, 0.2, pos.shape)
    a = (np.arange(n)[None, :] + m * np.arange(n)[:, None]).ravel()
    tris = np.concatenate([np.stack([a, a + 1, a + m + 1], 1), np.stack([a, a + m + 1, a + m], 1)])
    return pos, tris.astype(np.uint32)


def spd_metrics(count, seed=1):
    """Random symmetric positive definite 3-D metrics, packed (count, 6)."""
    rng = np.random.default_rng(seed)
    a = rng.normal(size=(count, 3, 3))
    m = a @ a.transpose(0, 2, 1) + 0.5 * np.eye(3)
    return np.stack([m[:, 0, 0], m[:, 0, 1], m[:, 1, 1], m[:, 0, 2], m[:, 1, 2], m[:, 2, 2]], axis=1)


class Oracle:
    """Runs plexa_py_oracle on arrays: writes them as .npy files, returns
    the results it writes (and the folder, for files)."""

    def __init__(self, program, folder):
        self.program = program
        self.folder = folder

    def __call__(self, case, **inputs):
        folder = self.folder / case
        folder.mkdir(exist_ok=True)
        for name, value in inputs.items():
            np.save(folder / f"{name}.npy", value)
        subprocess.run([self.program, case, str(folder)], check=True)
        return {p.stem: np.load(p) for p in folder.glob("*.npy") if p.stem not in inputs}


@pytest.fixture
def oracle(tmp_path):
    program = os.environ.get("PLEXA_ORACLE")
    if not program:
        pytest.skip("PLEXA_ORACLE is not set (run the tests through ctest)")
    return Oracle(program, tmp_path)
