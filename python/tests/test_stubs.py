"""The type stubs and the docstrings describe the module as it is: every
public name is stubbed, and every stub has the parameters that the first
line of the docstring (the signature help() shows) gives."""

import ast
import pathlib

import pytest

import plexa
from plexa import _plexa

STUB = ast.parse((pathlib.Path(_plexa.__file__).parent / "_plexa.pyi").read_text())


def parameters(function):
    """(names, defaults given, keyword-only names) of a def."""
    a = function.args
    names = [p.arg for p in a.posonlyargs + a.args if p.arg != "self"]
    return names, len(a.defaults), [p.arg for p in a.kwonlyargs]


def stubbed():
    """Name -> stub node, and for classes their methods."""
    top = {}
    for node in STUB.body:
        if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
            top[node.name] = node
        elif isinstance(node, ast.AnnAssign):
            top[node.target.id] = node
    return top


def documented_signature(doc):
    """The parameters of the signature on the first line of a docstring."""
    first = doc.splitlines()[0]
    return parameters(ast.parse(f"def {first.split(' -> ')[0]}: pass").body[0])


PUBLIC = sorted(n for n in dir(_plexa) if not n.startswith("_"))


def test_every_public_name_is_stubbed_and_every_stub_exists():
    stubs = {n for n in stubbed() if n not in ("Path", "Real", "Index", "Connectivity", "Blocks", "Types", "Ranged")}
    assert stubs == set(PUBLIC)


@pytest.mark.parametrize("name", [n for n in PUBLIC if callable(getattr(_plexa, n))
                                  and not isinstance(getattr(_plexa, n), type)])
def test_function_stub_matches_its_docstring(name):
    doc = getattr(_plexa, name).__doc__
    assert doc.startswith(name + "(") and len(doc.splitlines()) > 2, "a signature line and a description"
    assert parameters(stubbed()[name]) == documented_signature(doc)


@pytest.mark.parametrize("cls", ["NodeDetector", "Histogram"])
def test_class_stubs_match_their_docstrings(cls):
    stub = stubbed()[cls]
    methods = {n.name: n for n in stub.body if isinstance(n, ast.FunctionDef)}
    real = getattr(_plexa, cls)
    assert real.__doc__.startswith(cls + "(")
    assert parameters(methods["__init__"]) == documented_signature(real.__doc__)
    for name, node in methods.items():
        if name.startswith("__"):
            continue
        assert hasattr(real, name), name
        member = getattr(real, name)
        if isinstance(member, property):
            assert member.__doc__, name
        else:
            assert parameters(node) == documented_signature(member.__doc__), name
    public = {n for n in dir(real) if not n.startswith("_")}
    assert public == {n for n in methods if not n.startswith("__")}


def test_help_shows_the_signature_and_the_codes():
    text = plexa.merge.__doc__
    assert text.startswith("merge(pos, tolerance, *, nodes=None")
    assert "Raises Error -1" in text
    assert plexa.__doc__ and "NO_INDEX" in plexa.__doc__
