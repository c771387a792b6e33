"""What people and tools read of the package: its help, its types, its edits."""

import ast
import inspect
import os
import subprocess
import sys
import unittest

import zelk


def signatures(body, prefix=""):
    """Parameter names of a stub's functions, by their dotted names."""
    found = {}
    for node in body:
        if isinstance(node, ast.ClassDef):
            found.update(signatures(node.body, node.name + "."))
        elif isinstance(node, ast.FunctionDef):
            args = node.args
            names = [arg.arg for arg in args.args + args.kwonlyargs]
            found[prefix + node.name] = names + ([args.kwarg.arg] if args.kwarg else [])
    return found


class Package(unittest.TestCase):
    def test_types_are_those_of_the_package(self):
        folder = os.path.dirname(zelk.__file__)
        self.assertTrue(os.path.exists(os.path.join(folder, "py.typed")))
        with open(os.path.join(folder, "__init__.pyi"), encoding="utf-8") as file:
            stub = signatures(ast.parse(file.read()).body)
        own = {}
        for name in zelk.__all__:
            value = getattr(zelk, name)
            if inspect.isfunction(value):
                own[name] = value
            elif name in ("Scene", "Track"):
                for member, method in vars(value).items():
                    method = getattr(method, "fget", getattr(method, "__func__", method))
                    if inspect.isfunction(method) and (member[0] != "_" or member[:2] == "__"):
                        own[f"{name}.{member}"] = method
        self.assertEqual({name: list(inspect.signature(method).parameters)
                          for name, method in own.items()}, stub)

    def test_help(self):
        page = subprocess.run([sys.executable, "-m", "pydoc", "zelk"], capture_output=True,
                              text=True, check=True).stdout
        for name in zelk.__all__:
            self.assertTrue(inspect.getdoc(getattr(zelk, name)), name)
        for word in ("corner_pin(image, to=None", "H x W x 1..4", "pixels", "degrees"):
            self.assertIn(word, page)
        self.assertNotIn("pybind11", page)
