"""The package's surface: type hints for everything public, docstrings, version."""

import ast
import inspect
from pathlib import Path

import tarvguitar
from tarvguitar import _core

STUB = Path(tarvguitar.__file__).with_name("_core.pyi")


def stub_names():
    tree = ast.parse(STUB.read_text(encoding="utf-8"))
    names = {}
    for node in tree.body:
        if isinstance(node, ast.ClassDef):
            names[node.name] = {
                item.name for item in node.body
                if isinstance(item, ast.FunctionDef) and not item.name.startswith("__")
            }
        elif isinstance(node, ast.FunctionDef):
            names[node.name] = None
    return names


def public(names):
    return {name for name in names if not name.startswith("_")}


def test_the_stub_names_every_public_class_function_and_member():
    stubbed = stub_names()
    module_names = public(vars(_core)) - {"library_version"}
    assert public(stubbed) == module_names
    for name in module_names:
        value = getattr(_core, name)
        if inspect.isclass(value):
            members = public(vars(value))
            assert public(stubbed[name]) == members, name


def test_everything_public_has_a_docstring():
    for name in public(vars(_core)) - {"library_version"}:
        value = getattr(_core, name)
        assert (value.__doc__ or "").strip(), name
        if inspect.isclass(value):
            for member in public(vars(value)):
                assert (getattr(value, member).__doc__ or "").strip(), f"{name}.{member}"


def test_package_exports_and_version():
    assert set(tarvguitar.__all__) == public(vars(_core)) - {"library_version"}
    assert tarvguitar.__version__.count(".") == 2
    assert (Path(tarvguitar.__file__).with_name("py.typed")).is_file()
