"""Plexa: finite-element mesh tools on NumPy arrays.

A mesh is a coordinate array ``pos`` of shape (n, d), float64, one row per
node (d = 2 or 3), and connectivities of shape (m, k), uint32, one row per
element holding 0-based node indices, k = nbr_nodes(type) for its
ElementType.  NO_INDEX (2**32 - 1) means "no index" everywhere: the trailing
entries of a mixed element, no neighbour, a removed node.

Arrays in.  A float64 or uint32 array whose rows are contiguous (any
C-contiguous array, or a slice of the columns of one) is read in place, not
copied.  Other arrays and array-likes are converted once: real numbers to
float64, integers to uint32 with a range check; other dtypes raise
TypeError, other shapes ValueError.  Functions never change the arrays
given, except with ``inplace=True`` where they offer it.

Arrays out.  Results are NumPy arrays over the library's own storage, not
copies: their base is a capsule that keeps that storage alive.

Errors.  A call the library refuses raises Error, whose ``code`` is the
library's result code (-k names the k-th argument of the C++ function) and
whose message names the argument; memory that cannot be had raises
MemoryError.

Long calls release the GIL.  Files: read() and write() pick the format by
extension and work on a Mesh; to_meshio() and from_meshio() exchange meshes
with meshio (imported only when they are called).
"""

from __future__ import annotations

import dataclasses
import enum
import os
from typing import Callable, NamedTuple, Optional

import numpy as np

from . import _plexa
from ._plexa import *  # noqa: F401,F403  (the compiled functions and classes)
from ._plexa import NO_INDEX, Error


class ElementType(enum.IntEnum):
    """The element types; a connectivity of type t has nbr_nodes(t) columns."""

    NONE = 0
    NODE = 1
    EDGE_MIX = 2
    EDGE2 = 3
    EDGE3 = 4
    FACE_MIX = 5
    TRIA3 = 6
    QUAD4 = 7
    TRIA6 = 8
    QUAD8 = 9
    QUAD9 = 10
    SOLID_MIX = 11
    TETRA4 = 12
    TETRA10 = 13
    PYRA5 = 14
    PYRA13 = 15
    PYRA14 = 16
    WEDGE6 = 17
    WEDGE15 = 18
    WEDGE18 = 19
    HEXA8 = 20
    HEXA20 = 21
    HEXA27 = 22


# The members at module level too: plexa.TETRA4 is plexa.ElementType.TETRA4.
globals().update(ElementType.__members__)


class Block(NamedTuple):
    """One block of elements of a Mesh: its type, its connectivity (m, k)
    and optionally one integer label per element (the reference, colour or
    property number of the file formats that hold one)."""

    type: ElementType
    cells: np.ndarray
    ids: Optional[np.ndarray] = None


@dataclasses.dataclass(eq=False)
class Mesh:
    """Nodes and blocks of elements.

    points: coordinates (n, d), float64.
    blocks: a list of Block(type, cells, ids); (type, cells) pairs and
        (type, cells, ids) triples are converted.
    id_names: optionally, the name of each id (id_names[i] names the ids
        equal to i): the group names of OBJ files.
    """

    points: np.ndarray
    blocks: list = dataclasses.field(default_factory=list)
    id_names: Optional[list] = None

    def __post_init__(self):
        self.points = np.asarray(self.points, dtype=np.float64)
        self.blocks = [Block(ElementType(b[0]), np.asarray(b[1], dtype=np.uint32),
                             None if len(b) < 3 or b[2] is None else np.asarray(b[2]))
                       for b in self.blocks]
        if self.id_names is not None:
            self.id_names = [str(n) for n in self.id_names]

    def __repr__(self):
        kinds = ", ".join(f"{b.type.name} x {len(b.cells)}" for b in self.blocks)
        return f"Mesh({len(self.points)} points; {kinds or 'no element'})"

    @property
    def types(self) -> list:
        return [b.type for b in self.blocks]

    @property
    def cells(self) -> list:
        return [b.cells for b in self.blocks]


# ---------------------------------------------------------------------------
# Mixed blocks
# ---------------------------------------------------------------------------

# The member kinds of the mixed types, by node count.
_MIXED_MEMBERS = {
    ElementType.EDGE_MIX: {2: ElementType.EDGE2},
    ElementType.FACE_MIX: {3: ElementType.TRIA3, 4: ElementType.QUAD4},
    ElementType.SOLID_MIX: {4: ElementType.TETRA4, 5: ElementType.PYRA5,
                            6: ElementType.WEDGE6, 8: ElementType.HEXA8},
}


def split_mixed(block: Block) -> list:
    """The elements of a mixed block (EDGE_MIX, FACE_MIX, SOLID_MIX) as one
    block per member kind, in the order of the kinds' node counts; a block
    of another type as it is.  An element's node count is the number of its
    entries before the first NO_INDEX (a SOLID_MIX element ends at column
    4, 5 or 6).  ValueError for an element that is no member kind."""
    members = _MIXED_MEMBERS.get(ElementType(block.type))
    if members is None:
        return [block]
    cells = np.asarray(block.cells, dtype=np.uint32)
    if cells.ndim != 2:
        raise ValueError("cells: expected a 2-D array")
    present = cells != NO_INDEX
    counts = np.where(present.all(axis=1), cells.shape[1], np.argmin(present, axis=1))
    out = []
    for count in np.unique(counts):
        kind = members.get(int(count))
        if kind is None:
            raise ValueError(f"cells: a {ElementType(block.type).name} element of {count} nodes")
        rows = counts == count
        ids = None if block.ids is None else np.asarray(block.ids)[rows]
        out.append(Block(kind, np.ascontiguousarray(cells[rows, :count]), ids))
    return out


# ---------------------------------------------------------------------------
# Files
# ---------------------------------------------------------------------------

class _Format(NamedTuple):
    name: str
    read: Optional[Callable]   # path -> Mesh
    write: Optional[Callable]  # (path, Mesh) -> None


def _ids_of(mesh, first):
    """One id per element over all blocks, in order (a block without ids
    takes first + its position), or None when no block has ids."""
    if all(b.ids is None for b in mesh.blocks):
        return None
    # Not cast here: the binding range-checks them as indices.
    return np.concatenate([np.full(len(b.cells), first + k, np.int64) if b.ids is None else np.asarray(b.ids)
                           for k, b in enumerate(mesh.blocks)])


def _from_ranged(pos, connect, ranges, types, ids, id_names=None):
    """A Mesh over what a reader returned: block k is the rows ranges[k] to
    ranges[k+1] - 1 of connect, through the columns its type uses (views,
    not copies)."""
    blocks = []
    for k, kind in enumerate(types):
        a, b = int(ranges[k]), int(ranges[k + 1])
        width = min(connect.shape[1], _plexa.nbr_nodes(int(kind)))
        blocks.append(Block(ElementType(int(kind)), connect[a:b, :width], ids[a:b]))
    return Mesh(pos, blocks, id_names)


def _read_medit(path):
    return _from_ranged(*_plexa.medit_input(path))


def _write_medit(path, mesh):
    _plexa.medit_output(path, mesh.points, mesh.cells, mesh.types, refs=_ids_of(mesh, 0))


def _read_obj(path):
    return _from_ranged(*_plexa.WavefrontOBJ_input(path))


def _write_obj(path, mesh):
    _plexa.WavefrontOBJ_output(path, mesh.points, mesh.cells, mesh.types, ids=_ids_of(mesh, 0),
                               names=mesh.id_names)


def _write_vtk(path, mesh):
    _plexa.vtk_output(path, mesh.points, mesh.cells, mesh.types)


def _write_nastran(path, mesh):
    _plexa.NASTRAN_output(path, mesh.points, mesh.cells, mesh.types, pids=_ids_of(mesh, 1))


def _read_nastran(path):
    return _from_ranged(*_plexa.NASTRAN_input(path)[:5])


def _read_femap(path):
    return _from_ranged(*_plexa.FEMAP_input(path)[:5])


def _write_femap(path, mesh):
    _plexa.FEMAP_output(path, mesh.points, mesh.cells, mesh.types, ids=_ids_of(mesh, 1))


def _write_ensight(path, mesh):
    # EnSight has no mixed parts: they are split by kind first.
    blocks = [part for b in mesh.blocks for part in split_mixed(b)]
    _plexa.ensight_output(path, mesh.points, [b.cells for b in blocks], [b.type for b in blocks])


def _read_stl(path):
    pos, triangles = _plexa.STL_input(path)
    return Mesh(pos, [(ElementType.TRIA3, triangles)])


def _stl_triangles(block):
    """The faces of a face block, or the free boundary of a solid block, as
    triangles: a quadrilateral cut along its 0-2 diagonal (the two triangles
    in a row), the corners of a six-node triangle; nothing for the others."""
    kind, cells = ElementType(block.type), np.asarray(block.cells, dtype=np.uint32)
    dim = _plexa.element_dim(kind)
    if dim == 3:
        cells = _plexa.get_mesh_boundaries(cells, _plexa.get_neighbors(cells, kind), kind)
        quads = True
    elif dim == 2:
        quads = kind in (ElementType.FACE_MIX, ElementType.QUAD4, ElementType.QUAD8, ElementType.QUAD9)
    else:
        return np.zeros((0, 3), np.uint32)
    if not quads or cells.shape[1] < 4:
        return cells[:, :3]
    pairs = np.stack([cells[:, [0, 1, 2]], cells[:, [0, 2, 3]]], axis=1)
    keep = np.stack([np.ones(len(cells), bool), cells[:, 3] != NO_INDEX], axis=1)
    return pairs[keep]


def _write_stl(path, mesh):
    points = np.zeros((len(mesh.points), 3))
    points[:, : min(3, mesh.points.shape[1])] = mesh.points[:, :3]
    triangles = [_stl_triangles(b) for b in mesh.blocks]
    _plexa.STL_output(path, points, np.concatenate(triangles) if triangles else np.zeros((0, 3), np.uint32))


# Extension -> format.  A reader or writer that lands in the library is one
# more entry here.
_FORMATS = {
    ".mesh": _Format("MEDIT", _read_medit, _write_medit),
    ".obj": _Format("OBJ", _read_obj, _write_obj),
    ".vtk": _Format("VTK", None, _write_vtk),
    ".nas": _Format("NASTRAN", _read_nastran, _write_nastran),
    ".bdf": _Format("NASTRAN", _read_nastran, _write_nastran),
    ".neu": _Format("FEMAP", _read_femap, _write_femap),
    ".geo": _Format("EnSight", None, _write_ensight),
    ".stl": _Format("STL", _read_stl, _write_stl),
}


def _format_of(path, action):
    extension = os.path.splitext(os.fsdecode(os.fspath(path)))[1].lower()
    fmt = _FORMATS.get(extension)
    if fmt is None or getattr(fmt, action) is None:
        known = ", ".join(e for e, f in _FORMATS.items() if getattr(f, action)) or "none yet"
        role = {"read": "reader", "write": "writer"}[action]
        raise ValueError(f"{os.fspath(path)!r}: no {role} for the extension {extension!r} (known: {known})")
    return fmt


def read(path) -> Mesh:
    """Reads the mesh file `path` in the format of its extension: .mesh
    (MEDIT; one block wherever the element type changes, the references as
    ids), .obj (OBJ; FACE_MIX, EDGE2 and NODE blocks, the groups as ids and
    their names as id_names), .nas or .bdf (NASTRAN; one block wherever the
    element type changes, the property numbers as ids, the nodes in 3-D in
    ascending id order), .neu (FEMAP neutral; the same, the property ids as
    ids), .stl (the welded nodes and one TRIA3 block).  The blocks of .mesh,
    .obj, .nas, .bdf and .neu files are views of one array, in file order.
    Raises Error as the format's reader does."""
    return _format_of(path, "read").read(path)


def write(path, mesh: Mesh) -> None:
    """Writes `mesh` to the file `path` in the format of its extension:
    .mesh (MEDIT; the ids as references, by default the block's position),
    .obj (OBJ; face, edge and node blocks, the ids as groups named by
    id_names or by their number), .vtk (legacy
    VTK), .nas or .bdf (NASTRAN; the ids as property numbers, by default the
    block's position + 1), .neu (FEMAP neutral; the ids as property ids, by
    default the block's position + 1), .geo (EnSight; mixed blocks split by kind,
    pyramids not written), .stl (binary; the faces of the face blocks and the
    free boundary of the solid blocks as triangles, quadrilaterals cut along
    their 0-2 diagonal, planar nodes at z = 0).  Raises Error as the format's
    writer does."""
    _format_of(path, "write").write(path, mesh)


# ---------------------------------------------------------------------------
# meshio interchange
# ---------------------------------------------------------------------------

# ElementType -> (meshio cell type, node order): meshio's node i is the
# element's node order[i] (None: the same order).  meshio numbers nodes as
# VTK does; the 18-node wedge takes the quadrangle centres of VTK's
# bi-quadratic wedge, the 14-node pyramid the base centre last.
_MESHIO_TYPES = {
    ElementType.NODE: ("vertex", None),
    ElementType.EDGE2: ("line", None),
    ElementType.EDGE3: ("line3", None),
    ElementType.TRIA3: ("triangle", None),
    ElementType.TRIA6: ("triangle6", (0, 1, 2, 5, 3, 4)),
    ElementType.QUAD4: ("quad", None),
    ElementType.QUAD8: ("quad8", None),
    ElementType.QUAD9: ("quad9", None),
    ElementType.TETRA4: ("tetra", None),
    ElementType.TETRA10: ("tetra10", (0, 1, 2, 3, 6, 4, 5, 7, 8, 9)),
    ElementType.PYRA5: ("pyramid", None),
    ElementType.PYRA13: ("pyramid13", None),
    ElementType.PYRA14: ("pyramid14", None),
    ElementType.WEDGE6: ("wedge", None),
    ElementType.WEDGE15: ("wedge15", (0, 1, 2, 3, 4, 5, 11, 9, 10, 14, 12, 13, 6, 7, 8)),
    ElementType.WEDGE18: ("wedge18", (0, 1, 2, 3, 4, 5, 11, 9, 10, 14, 12, 13, 6, 7, 8, 17, 15, 16)),
    ElementType.HEXA8: ("hexahedron", None),
    ElementType.HEXA20: ("hexahedron20", None),
    ElementType.HEXA27: ("hexahedron27", None),
}
_FROM_MESHIO = {name: (kind, None if order is None else tuple(np.argsort(order)))
                for kind, (name, order) in _MESHIO_TYPES.items()}

IDS_KEY = "plexa:ids"


def to_meshio(mesh: Mesh):
    """The mesh as a meshio.Mesh: one cell block per block (mixed blocks
    split by kind), nodes reordered to meshio's numbering; the ids, when a
    block has them, as the cell data "plexa:ids" (0 for blocks without).
    ValueError for a block of type NONE."""
    import meshio

    blocks = [part for b in mesh.blocks for part in split_mixed(b)]
    cells, ids = [], []
    for b in blocks:
        if b.type not in _MESHIO_TYPES:
            raise ValueError(f"{ElementType(b.type).name}: no meshio cell type")
        name, order = _MESHIO_TYPES[b.type]
        data = np.asarray(b.cells)
        cells.append((name, data if order is None else data[:, order]))
        ids.append(np.zeros(len(data), np.int64) if b.ids is None else np.asarray(b.ids))
    cell_data = {IDS_KEY: ids} if any(b.ids is not None for b in blocks) else {}
    return meshio.Mesh(np.asarray(mesh.points), cells, cell_data=cell_data)


def from_meshio(m, ids: str = IDS_KEY) -> Mesh:
    """The meshio.Mesh `m` as a Mesh: one block per cell block, nodes
    reordered to the library's local numbering; the cell data named `ids`,
    when present, as the blocks' ids.  ValueError for a cell type the
    library has no element for (polygons, higher orders, ...)."""
    labels = m.cell_data.get(ids) if ids else None
    blocks = []
    for k, block in enumerate(m.cells):
        name, data = block.type, np.asarray(block.data)
        if name not in _FROM_MESHIO:
            raise ValueError(f"{name}: a meshio cell type without element type")
        kind, order = _FROM_MESHIO[name]
        cells = np.ascontiguousarray(data if order is None else data[:, order], dtype=np.uint32)
        blocks.append(Block(kind, cells, None if labels is None else np.asarray(labels[k])))
    return Mesh(np.asarray(m.points, dtype=np.float64), blocks)


__all__ = sorted({name for name in dir(_plexa) if not name.startswith("_")}
                 | set(ElementType.__members__)
                 | {"ElementType", "Block", "Mesh", "split_mixed", "read", "write", "to_meshio",
                    "from_meshio", "IDS_KEY"})
