#!/usr/bin/env python3
"""What is promised about the module in words and types: docstrings, docs/python.md, stubs.

usage: documents_test.py EXAMPLES       with the module in PYTHONPATH

Needs pandas and, of Debian's packages, mdtraj and mypy; without one of them its tests are skipped.
"""

import ast
import contextlib
import doctest
import importlib.util
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import numpy as np
import tervolanda as tv

EXAMPLES = pathlib.Path(sys.argv.pop()).resolve()
DOCUMENT = EXAMPLES.parent / "docs" / "python.md"
PACKAGE = pathlib.Path(tv.__file__).parent


@contextlib.contextmanager
def scratch():
    """A working folder with a copy of the examples."""
    with tempfile.TemporaryDirectory() as folder:
        shutil.copytree(EXAMPLES, folder, dirs_exist_ok=True)
        os.chdir(folder)
        try:
            yield pathlib.Path(folder)
        finally:
            os.chdir("/")


def code_of(heading):
    """The code below a heading of the document, without empty lines."""
    section = DOCUMENT.read_text().split(f"\n## {heading}\n")[1].split("\n## ")[0]
    return "".join(line[4:] + "\n" for line in section.splitlines() if line.startswith("    "))


def needs(*modules):
    missing = [name for name in modules if not importlib.util.find_spec(name)]
    return unittest.skipIf(missing, f"no module {missing}")


class Docstrings(unittest.TestCase):
    def test_examples(self):
        tried = 0
        for name in tv.__all__:
            found = getattr(tv, name)
            self.assertTrue(found.__doc__, name)
            self.assertEqual(found.__module__.split(".")[0], "tervolanda")
            texts = [found.__doc__]
            if isinstance(found, type):
                texts += [member.__doc__ or "" for member in vars(found).values()]
            if name == "Structure":
                texts.append(found.from_arrays.__doc__)
            for text in texts:
                with scratch():
                    test = doctest.DocTestParser().get_doctest(text, {}, name, None, 0)
                    self.assertEqual(doctest.DocTestRunner().run(test).failed, 0)
                tried += len(test.examples)
        self.assertGreater(tried, 30)


class Names(unittest.TestCase):
    def test_document_has_all(self):
        """docs/python.md names every function, and every class with its attributes and no others."""
        text = DOCUMENT.read_text()
        for name in tv.__all__:
            found = getattr(tv, name)
            if not isinstance(found, type) or issubclass(found, Exception):
                self.assertRegex(text, rf"`{name}\b", name)
                continue
            row = re.search(rf"^\| `{name}`[^|]*\|(.*)\|$", text, re.M)
            self.assertIsNotNone(row, name)
            inherited = {*dir(dict), *dir(tuple)} if issubclass(found, (dict, tuple)) else set()
            fields = {*getattr(found, "__dataclass_fields__", ())} | {*getattr(found, "_fields", ())}
            names = {one for one in {*dir(found)} - inherited | fields if not one.startswith("_")}
            self.assertEqual({*re.findall(r"`(\w+)[`(]", row[1])}, names, name)


class Document(unittest.TestCase):
    """The examples of docs/python.md, on inputs of which the answer is known."""

    def states(self, residues=40):
        """Five structures near one course of a chain and three near another."""
        rng = np.random.default_rng(5)
        courses = []
        for _ in range(2):
            steps = rng.normal(size=(residues, 3))
            courses.append(np.cumsum(3.8 * steps / np.linalg.norm(steps, axis=1)[:, None], axis=0))
        return [courses[k // 5] + rng.normal(scale=0.4, size=(residues, 3)) for k in range(8)]

    def run_example(self, heading):
        code = code_of(heading)
        self.assertLess(len(code.splitlines()), 10)
        names = {}
        exec(compile(code, heading, "exec"), names)
        labels = names["clusters"].labels
        self.assertEqual(labels.tolist(), [0] * 5 + [1] * 3)
        self.assertIn("<title>", pathlib.Path("report.html").read_text())
        return names

    @needs("mdtraj")
    def test_trajectory(self):
        import mdtraj

        with scratch():
            topology = mdtraj.Topology()
            chain = topology.add_chain()
            for _ in range(40):
                residue = topology.add_residue("ALA", chain)
                for name, element in (("N", "N"), ("CA", "C")):
                    topology.add_atom(name, mdtraj.element.get_by_symbol(element), residue)
            frames = [(state.repeat(2, axis=0) + [[1, 1, 0], [0, 0, 0]] * 40) / 10 for state in self.states()]
            trajectory = mdtraj.Trajectory(np.array(frames), topology)
            trajectory[0].save_pdb("topology.pdb")
            trajectory.save_dcd("trajectory.dcd")
            names = self.run_example("A trajectory of MDTraj")
            self.assertLess(names["best"], 5)
            np.testing.assert_allclose(names["frames"][7].coordinates, self.states()[7], atol=1e-4)

    @needs("pandas")
    def test_folder_of_predictions(self):
        columns = ("group_PDB id type_symbol label_atom_id label_alt_id label_comp_id label_asym_id label_entity_id "
                   "label_seq_id pdbx_PDB_ins_code Cartn_x Cartn_y Cartn_z occupancy B_iso_or_equiv "
                   "pdbx_formal_charge auth_seq_id auth_comp_id auth_asym_id auth_atom_id pdbx_PDB_model_num").split()  # fmt: skip
        with scratch() as folder:
            (folder / "predictions").mkdir()
            for k, state in enumerate(self.states()):
                lines = [f"data_{k}", "loop_"] + [f"_atom_site.{column}" for column in columns]
                for i, (x, y, z) in enumerate(state, start=1):
                    lines.append(f"ATOM {i} C CA . GLY A 1 {i} ? {x:.3f} {y:.3f} {z:.3f} 1.00 {90 - k} ? "
                                 f"{i} GLY A CA 1")  # fmt: skip
                (folder / f"predictions/fold_{k}.cif").write_text("\n".join(lines) + "\n#\n")
            names = self.run_example("A folder of predictions")
            self.assertIn(names["consensus"], [f"predictions/fold_{k}.cif" for k in range(5)])
            self.assertEqual(names["table"]["plddt"].tolist(), [90.0 - k for k in range(8)])


@needs("mypy")
class Types(unittest.TestCase):
    def mypy(self, module, *arguments):
        command = [sys.executable, "-B", "-m", module, *arguments]
        environment = {**os.environ, "MYPYPATH": str(PACKAGE.parent), "MYPY_CACHE_DIR": os.devnull}
        # A compiled mypy cannot be told about a library that has to be there before it.
        environment.pop("LD_PRELOAD", None)
        ended = subprocess.run(command, env=environment, capture_output=True, text=True)
        self.assertEqual(ended.returncode, 0, ended.stdout + ended.stderr)

    def test_package_and_document(self):
        with scratch() as folder:
            headings = re.findall("^## (A .*)$", DOCUMENT.read_text(), re.M)
            self.assertEqual(len(headings), 2)
            for k, heading in enumerate(headings):
                (folder / f"example_{k}.py").write_text(code_of(heading))
            self.mypy("mypy", "--ignore-missing-imports", "-m", "example_0", "-m", "example_1", "-p", "tervolanda")

    def test_stubs_have_what_the_module_has(self):
        with scratch() as folder:
            # Of classes of pybind11 metaclass and constructor are its own.
            (folder / "allowed").write_text(r"tervolanda\._core\.[A-Z]\w+(\.__init__)?")
            self.mypy("mypy.stubtest", "tervolanda._core", "--allowlist", "allowed", "--ignore-unused-allowlist")

    def test_stubs_have_the_arguments_of_functions(self):
        """Those of compiled functions stand in their docstrings, where stubtest does not look."""
        from tervolanda import _core

        checked = 0
        tree = ast.parse((PACKAGE / "_core.pyi").read_text())
        classes = [(getattr(_core, node.name, None), node) for node in tree.body if isinstance(node, ast.ClassDef)]
        for owner, node in [(_core, tree), *classes]:
            for function in (one for one in node.body if isinstance(one, ast.FunctionDef)):
                document = getattr(owner, function.name).__doc__ if hasattr(owner, function.name) else ""
                shown = re.match(rf"{function.name}\((.*)\) -> ", document or "")
                if not shown or "*args" in shown[1]:
                    continue
                arguments = re.findall(r"(\w+): ([\w.]+)", re.sub(r"\[[^\]]*\]", "", shown[1]))
                stubs = function.args.posonlyargs + function.args.args
                self.assertEqual(len(arguments), len(stubs), function.name)
                for (name, kind), stub in zip(arguments, stubs):
                    if not re.match(r"arg\d", name):
                        self.assertEqual(name, stub.arg, function.name)
                    if kind in ("bool", "int", "float"):
                        self.assertEqual(kind, ast.unparse(stub.annotation), (function.name, stub.arg))
                checked += 1
        self.assertGreater(checked, 20)


if __name__ == "__main__":
    unittest.main()
