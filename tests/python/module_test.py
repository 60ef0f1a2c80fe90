#!/usr/bin/env python3
"""The module as a guest of an interpreter: hostile arguments, signals, threads, memory.

usage: module_test.py EXAMPLES       with the module in PYTHONPATH

What it computes is held against the program by same_digits_test.py.  Under sanitizers, which make
all slower, TERVOLANDA_TEST_SCALE divides the numbers of calls.
"""

import os
import pathlib
import pickle
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import warnings
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import tervolanda as tv

EXAMPLES = pathlib.Path(sys.argv.pop()).resolve()
SCALE = int(os.environ.get("TERVOLANDA_TEST_SCALE", "1"))


def walk(n, seed=0):
    """A chain of n steps of 3.8 Å in any direction."""
    steps = np.random.default_rng(seed).normal(size=(n, 3))
    return np.cumsum(3.8 * steps / np.linalg.norm(steps, axis=1)[:, None], axis=0)


def structure(n, seed=0, **arrays):
    return tv.Structure.from_arrays(walk(n, seed), **arrays)


class Results(unittest.TestCase):
    def test_a_moved_copy_comes_back(self):
        places = walk(80)
        angle = 0.7
        turn = np.array([[np.cos(angle), -np.sin(angle), 0], [np.sin(angle), np.cos(angle), 0], [0, 0, 1]])
        moved = places @ turn.T + [5.0, -30.0, 7.0]
        one, other = tv.Structure.from_arrays(places), tv.Structure.from_arrays(moved)
        for found in (tv.compare(one, other), tv.rmsd(one, other), tv.gdt(one, other)):
            np.testing.assert_allclose(found.superpose(moved), places, atol=1e-9)
            np.testing.assert_allclose(moved @ found.rotation.T + found.translation, places, atol=1e-9)
        found = tv.compare(one, other)
        self.assertEqual((found.tm, found.pairs), (1.0, 80))
        np.testing.assert_allclose(found.distances, 0.0, atol=1e-9)
        np.testing.assert_array_equal(found.matched, np.arange(80)[:, None].repeat(2, axis=1))

    def test_arrays_go_round(self):
        codes, numbers = ["A", "", "B"], [7, 8, 8]
        given = tv.Structure.from_arrays(
            walk(3), numbers, sequence=["G", "MSE", "X"], insertion_codes=codes, b_factors=[1, 2, 3]
        )
        np.testing.assert_array_equal(given.coordinates, walk(3))
        self.assertEqual(given.residue_numbers.tolist(), numbers)
        self.assertEqual(given.insertion_codes.tolist(), codes)
        self.assertEqual(given.residue_names.tolist(), ["GLY", "MSE", "UNK"])
        self.assertEqual(given.b_factors.tolist(), [1.0, 2.0, 3.0])
        atoms = tv.Structure.from_arrays(walk(4), [1, 1, 2, 2], atom_names=["N", "CA", "CA", "CB"])
        np.testing.assert_array_equal(atoms.coordinates, walk(4)[1:3])
        np.testing.assert_array_equal(atoms.atom_coordinates, walk(4))
        self.assertEqual(atoms.atom_names.tolist(), ["N", "CA", "CA", "CB"])
        # Whatever the layout and type of an array, the structure is the same.
        expected = tv.rmsd(structure(30), structure(30, 1)).rmsd
        places = walk(30)
        frozen = places.copy()
        frozen.flags.writeable = False
        for array in (np.asfortranarray(places), places.repeat(2, axis=0)[::2], frozen, places.tolist(),
                      places.astype(">f8"), places[:, ::-1][:, ::-1]):  # fmt: skip
            found = tv.rmsd(tv.Structure.from_arrays(array), structure(30, 1)).rmsd
            self.assertEqual(found, expected)

    def test_entries(self):
        entry = EXAMPLES / "entry.pdb"
        first, third = (tv.read(entry, chain="A", model=n) for n in (1, 3))
        self.assertEqual((len(first), first.chain, first.residue_names[0]), (61, "A", "MSE"))
        self.assertGreater(tv.rmsd(first, third).rmsd, 0.1)
        models = tv.read_models([entry], chain="A", model="all")
        whole = tv.read(entry, chain="all")
        found = tv.compare(whole, whole, map_chains=True)
        self.assertEqual((whole.chain, found.chain_pairs), ("A,B", [("A", "A"), ("B", "B")]))
        self.assertEqual((found.mapped, tv.rmsd(whole, whole, map_chains=True).rmsd), (len(whole), 0))
        alone = tv.read(EXAMPLES / "experiment.pdb", chain="all")
        self.assertEqual(tv.contacts(alone, alone)[:2], (51, 51))
        self.assertEqual("".join(sorted(set(whole.chain_names))), "AB")
        self.assertEqual(first.chain_names.tolist(), ["A"] * len(first))
        self.assertRaises(ValueError, lambda: tv.compare(whole, first, align="structure"))
        self.assertEqual([tv.rmsd(first, models[0]).rmsd, tv.rmsd(third, models[2]).rmsd], [0.0, 0.0])
        for choice in ({"chain": "Z"}, {"chain": "A", "model": 0}):
            with self.assertRaises(tv.StructureError):
                tv.read(entry, **choice)
        with tempfile.TemporaryDirectory() as scratch:
            broken = pathlib.Path(scratch) / "x.cif"
            broken.write_text("data_x\nloop_\n_atom_site.id\n_atom_site.Cartn_x\n1 2 3\n")
            with self.assertRaises(tv.StructureError) as caught:
                tv.read(broken)
            self.assertEqual((caught.exception.file, type(caught.exception.line)), (str(broken), int))
        for wrong in ({"altloc": "AB"}, {"format": "xyz"}, {"model": -1}, {"model": "all"}):
            self.assertRaises(ValueError, lambda: tv.read(entry, **wrong))

    def test_mapped_chains(self):
        """One chain cut in two: named one way, and the other."""
        lines = [line for line in (EXAMPLES / "experiment.pdb").read_text().splitlines() if line.startswith("ATOM")]
        halves = [[line for line in lines if (int(line[22:26]) > 30) == k] for k in (False, True)]
        found = []
        for names in ("AB", "BA"):
            with tempfile.NamedTemporaryFile("w", suffix=".pdb") as file:
                for name, half in zip(names, halves):
                    file.writelines(f"{line[:21]}{name}{line[22:]}\n" for line in half)
                file.flush()
                found.append(tv.read(file.name, chain="all"))
        for ask in (tv.compare, tv.gdt, tv.rmsd):
            self.assertEqual(ask(*found, map_chains=True).chain_pairs, [("A", "B"), ("B", "A")])
        self.assertEqual(tv.contacts(*found).matched, 0)
        mapped, alone = tv.contacts(*found, map_chains=True), tv.contacts(found[0], found[0])
        self.assertEqual((mapped, mapped.percentage), (alone, 100.0))
        for measure in ("tm", "rmsd", "lddt", "gdt_ts"):
            table = tv.against(found[0], [found[1]], measure, map_chains=True)
            best = 0.0 if measure == "rmsd" else 100.0 if measure == "gdt_ts" else 1.0
            self.assertAlmostEqual(table[measure][0], best, places=9)
            matrix = tv.all_pairs(found, measure, map_chains=True)
            self.assertAlmostEqual(float(matrix.values[0, 1]), best, places=5)

    def test_clusters_and_ranks(self):
        matrix = np.array([[0, 1, 6, 9], [1, 0, 5, 9], [6, 5, 0, -1], [9, 9, -1, 0]], dtype=float)
        found = tv.cluster(matrix, "single", 5.0)
        self.assertEqual(found.labels.tolist(), [0, 0, 0, 1])
        self.assertEqual(found.linkage.tolist(), [[0, 1, 1, 2], [2, 4, 5, 3], [3, 5, 9, 4]])
        self.assertEqual(found.medoids.tolist(), [1, 3])
        self.assertEqual(tv.cluster(matrix, "maximum", 5.0).linkage[-1, 2], np.finfo(float).max)
        found = tv.cluster(matrix, "neighbours", 5.0, size=9, minimum_size=2)
        self.assertEqual((found.labels.tolist(), found.linkage), ([0, 0, 0, -1], None))
        scores = 1 - matrix / 10
        ranking = tv.jury(scores, np.full((4, 4), 30), score=0.45)
        self.assertEqual(ranking["model"].tolist(), [1, 2, 0, 3])
        self.assertEqual(ranking["pairs"].tolist(), [90, 90, 60, 60])
        figures = tv.set_figures(matrix)
        self.assertEqual((figures.pairs, figures.mean, figures.medoid), (5, 6.0, 1))
        self.assertEqual(figures.quantiles.tolist(), [1, 5, 6, 9, 9])
        self.assertEqual((figures.mean_b_factors, figures.clusters_by_threshold), (None, None))
        nothing = tv.set_figures([[0, -1], [-1, 0]])
        self.assertEqual((nothing.pairs, np.isnan(nothing.mean), nothing.medoid), (0, True, None))

    def test_measures_on_demand(self):
        experiment, moved = (tv.read(EXAMPLES / f"{name}.pdb") for name in ("experiment", "near_1"))
        found = tv.compare(experiment, moved)
        places = [np.asarray(structure.coordinates) for structure in (experiment, moved)]
        apart = [np.linalg.norm(p[:, None] - p, axis=2) for p in places]
        near = (apart[0] <= 15.0) & ~np.eye(len(places[0]), dtype=bool)
        kept = sum(np.abs(apart[1] - apart[0]) <= limit for limit in (0.5, 1.0, 2.0, 4.0)) / 4.0
        self.assertAlmostEqual(found.lddt, kept[near].mean(), places=12)
        by_residue = (kept * near).sum(axis=1) / near.sum(axis=1)
        np.testing.assert_allclose(found.lddt_residues, by_residue, atol=1e-12)
        # Side chains: all have as many atoms, so that the sum of shares is near that of all atoms.
        self.assertEqual(found.lddt_all_residues.shape, (len(experiment),))
        self.assertAlmostEqual(found.lddt_all_residues.mean(), found.lddt_all, places=1)
        self.assertGreater(np.abs(found.lddt_all_residues - found.lddt_residues).max(), 1e-3)
        self.assertLess(found.lddt_all, 1.0)
        self.assertLess(found.gdt_ha, found.gdt_ts)
        self.assertGreaterEqual(found.gdt_ts, tv.gdt(experiment, moved).gdt)
        matrices = tv.all_pairs([experiment, moved], "gdt_ts")
        self.assertAlmostEqual(matrices.values[0, 1], tv.compare(moved, experiment).gdt_ts, places=4)
        self.assertAlmostEqual(tv.all_pairs([experiment, moved], "lddt").distances[0, 1],
                               1.0 - (found.lddt + tv.compare(moved, experiment).lddt) / 2.0, places=6)
        # Too few for a search.
        few = tv.compare(structure(4), structure(4))
        self.assertEqual((few.pairs, few.mapped, few.lddt, few.gdt_ts), (0, 4, 1.0, 100.0))

    def test_threads_share_nothing(self):
        pairs = [(structure(n, n), structure(n + 7, n)) for n in range(20, 60)]
        ask = lambda pair: tv.compare(*pair, domains=3).tm + tv.rmsd(*pair).rmsd + tv.gdt(*pair).gdt
        expected = [ask(pair) for pair in pairs]
        with ThreadPoolExecutor(8) as pool:
            for _ in range(3):
                self.assertEqual(list(pool.map(ask, pairs)), expected)
        models = [structure(50, seed) for seed in range(12)]
        for measure in ("tm", "gdt", "rmsd", "urmsd"):
            alone, shared = (tv.all_pairs(models, measure, threads=n).values for n in (1, 4))
            self.assertEqual(alone.tobytes(), shared.tobytes())


class HostileArguments(unittest.TestCase):
    def test_arrays(self):
        nan, places = np.full((5, 3), np.nan), walk(5)
        one_bad = places.copy()
        one_bad[3, 1] = np.inf
        make = tv.Structure.from_arrays
        for error, call in [
            (ValueError, lambda: make(nan)),
            (ValueError, lambda: make(one_bad)),
            (ValueError, lambda: make(places * 1e9)),
            (ValueError, lambda: make(np.empty((0, 3)))),
            (ValueError, lambda: make(np.empty((4, 2)))),
            (ValueError, lambda: make(np.empty(9))),
            (ValueError, lambda: make(np.zeros((2, 3, 3)))),
            (TypeError, lambda: make(places.astype(complex))),
            (TypeError, lambda: make(places.astype(str))),
            (TypeError, lambda: make(places > 0)),
            (TypeError, lambda: make(None)),
            (TypeError, lambda: make([[object()] * 3])),
            (ValueError, lambda: make([[1, 2, 3], [4, 5]])),
            (ValueError, lambda: make(np.zeros((1_000_000, 3)))),  # numbers have 16 bits
            (ValueError, lambda: make(places, [1, 2, 3, 4, 40_000])),
            (ValueError, lambda: make(places, [1, 2, 3, 4, 2**63 - 1])),
            (ValueError, lambda: make(places, [1, 2, 3, 4])),
            (ValueError, lambda: make(places, [1, 2, 3, 4, 4])),
            (ValueError, lambda: make(places, [1, 2, 1, 3, 4], atom_names=["N", "CA", "CA", "CA", "CA"])),
            (TypeError, lambda: make(places, [1.0, 2.0, 3.0, 4.0, 5.0])),
            (ValueError, lambda: make(places, atom_names=["N"] * 5)),
            (ValueError, lambda: make(places, atom_names=["LONG1"] * 5)),
            (ValueError, lambda: make(places, sequence="AC")),
            (ValueError, lambda: make(places, b_factors=[0, 0, 0, 0, np.nan])),
            (ValueError, lambda: tv.compare(structure(9), structure(9)).superpose(nan)),
            (ValueError, lambda: tv.compare(structure(9), structure(9)).superpose(np.zeros(3))),
            (ValueError, lambda: tv.rmsd(structure(2), structure(2)).superpose(places)),
            (ValueError, lambda: tv.cluster(np.zeros((3, 4)))),
            (ValueError, lambda: tv.cluster(np.zeros(4))),
            (ValueError, lambda: tv.cluster(nan[:3])),
            (ValueError, lambda: tv.cluster([[0, np.inf], [1, 0]])),
            (ValueError, lambda: tv.cluster([[0, 1], [1, 0]], "ward")),
            (ValueError, lambda: tv.cluster([[0, 1], [1, 0]], threshold=np.nan)),
            (TypeError, lambda: tv.cluster([[0, 1], [1, 0]], size=-1)),
            (ValueError, lambda: tv.set_figures(np.zeros((3, 4)))),
            (ValueError, lambda: tv.set_figures(np.zeros((3, 3)), tv.cluster(np.zeros((2, 2))))),
            (TypeError, lambda: tv.set_figures(np.zeros((2, 2)), pickle.loads(pickle.dumps(tv.cluster(np.zeros((2, 2))))))),
            (ValueError, lambda: tv.jury(np.zeros((3, 3)))),
            (ValueError, lambda: tv.jury(np.zeros((3, 3)), np.zeros((2, 2), int))),
            (ValueError, lambda: tv.jury(np.zeros((2, 2)), [[1, -1], [1, 1]])),
        ]:
            with self.assertRaises(error):
                call()
        self.assertEqual(tv.cluster(np.empty((0, 0))).labels.tolist(), [])
        # Empty answers are answers.
        nothing = tv.compare(structure(20), structure(20, residue_numbers=np.arange(100, 120)))
        self.assertEqual((nothing.pairs, nothing.tm, nothing.rotation), (0, 0.0, None))
        self.assertTrue(np.isnan(nothing.distances).all() and np.isnan(tv.rmsd(structure(2), structure(2)).rmsd))

    def test_other_arguments(self):
        one = structure(20)
        for error, call in [
            (TypeError, lambda: tv.compare(one, None)),
            (TypeError, lambda: tv.compare(one, walk(20))),
            (TypeError, lambda: tv.compare(one, one, domains=1.5)),
            (ValueError, lambda: tv.compare(one, one, domains=0)),
            (ValueError, lambda: tv.compare(one, one, cutoff=-1)),
            (ValueError, lambda: tv.compare(one, one, cutoff=float("nan"))),
            (ValueError, lambda: tv.compare(one, one, align="guess")),
            (ValueError, lambda: tv.compare(one, one, scale=0)),
            (ValueError, lambda: tv.compare(one, one).alignment(0)),
            (ValueError, lambda: tv.rmsd(one, one, atoms="some")),
            (ValueError, lambda: tv.gdt(one, one, distance=0)),
            (ValueError, lambda: tv.contacts(one, one, distance=float("nan"))),
            (ValueError, lambda: tv.all_pairs([one])),
            (ValueError, lambda: tv.all_pairs([one, one], "best")),
            (ValueError, lambda: tv.all_pairs([one, one], threads=0)),
            (ValueError, lambda: tv.all_pairs([one, one], threads=10**6)),
            (TypeError, lambda: tv.all_pairs([one, one], "rmsd", cutoff=3)),
            (TypeError, lambda: tv.all_pairs([one, one], "lddt", cutoff=3)),
            (ValueError, lambda: tv.against(one, [one], "lddt", atoms="backbone")),
            (ValueError, lambda: tv.against(one, [one], "gdt_ts", align="structure")),
            (ValueError, lambda: tv.against(one, [one], "urmsd")),
            (ValueError, lambda: tv.read_models([])),
            (TypeError, lambda: tv.all_pairs([one, None])),
            (ValueError, lambda: tv.against(one, [])),
            (TypeError, lambda: tv.read(3.5)),
            (ValueError, lambda: tv.read("a\0b")),
            (ValueError, lambda: tv.read("x", atoms="some")),
        ]:
            with self.assertRaises(error):
                call()

    def test_files(self):
        silent = "import os, sys; os.close(1); os.close(2)\n"  # a print would raise or be lost
        with tempfile.TemporaryDirectory() as scratch:
            os.chdir(scratch)
            pathlib.Path("two.pdb").write_text(
                "".join(f"ATOM  {i:5}  CA  GLY {'AB'[i % 2]}{i:4}    {i * 3.8:8.3f}   1.000   2.000\n"
                        for i in range(1, 9)))  # fmt: skip
            shutil.copy(EXAMPLES / "near_1.pdb", "near.pdb")
            for path, message in [("gone.pdb", "Can't open input file 'gone.pdb' - No such file"),
                                  ("-", "No such file"), (".", "Is a directory"),
                                  ("near.pdb/x", "Not a directory"), ("two.pdb", "Multiple chains")]:  # fmt: skip
                with self.assertRaisesRegex(tv.StructureError, message) as caught:
                    tv.read(path)
                self.assertEqual(pathlib.Path(caught.exception.file), pathlib.Path(path))
                self.assertEqual(pickle.loads(pickle.dumps(caught.exception)).file, caught.exception.file)
            with self.assertRaisesRegex(tv.StructureError, "No such file") as caught:
                tv.read("near.pdb", exclude="left out")
            self.assertEqual(caught.exception.file, "left out")
            with self.assertWarnsRegex(tv.TervolandaWarning, "gone.pdb' - No such file") as caught:
                models = tv.read_models(["near.pdb", "gone.pdb"])
            self.assertEqual((len(models), caught.filename), (1, __file__))
            for none in (["gone.pdb"], "gone.txt", "gone/*.pdb"):
                self.assertRaisesRegex(tv.StructureError, "gone", lambda: tv.read_models(none))
            with warnings.catch_warnings(), self.assertRaises(tv.TervolandaWarning):
                warnings.simplefilter("error")
                tv.read_models(["near.pdb", "gone.pdb"])
            script = ("import tervolanda as tv, warnings\nwarnings.simplefilter('ignore')\n"
                      "m = tv.read_models(['near.pdb', 'gone.pdb', 'near.pdb'])\ntv.all_pairs(m)\n"
                      "print(len(m))")  # fmt: skip
            out = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True)
            self.assertEqual((out.stdout, out.stderr, out.returncode), ("2\n", "", 0))
            os.chdir("/")


class Interruptions(unittest.TestCase):
    LIMIT = 0.1 if SCALE == 1 else 5.0

    def setUp(self):
        # What a shell starts in the background ignores Ctrl-C, and so would this interpreter.
        self.addCleanup(signal.signal, signal.SIGINT, signal.signal(signal.SIGINT, signal.default_int_handler))

    def interrupt(self, call, after):
        """Ends a call by Ctrl-C, and says how long that takes where no other process is in the way:
        while a computation goes on it uses up a processor, so this is the processor time of all
        threads, from the signal on.  That nobody sleeps is seen by the clock."""
        sent = []

        def send():
            sent.extend([time.process_time(), time.perf_counter()])
            os.kill(os.getpid(), signal.SIGINT)

        timer = threading.Timer(after, send)
        timer.start()
        try:
            with self.assertRaises(KeyboardInterrupt):
                while True:  # on a quick machine a call may end before the signal comes
                    call()
            self.assertLess(time.perf_counter() - sent[1], 50 * self.LIMIT)
            return time.process_time() - sent[0]
        finally:
            timer.join()

    def test_ctrl_c(self):
        large = structure(10_000), structure(10_000, 1)
        models = [structure(200, seed) for seed in range(400)]
        matrix = np.random.default_rng(0).random((4_000, 4_000), dtype=np.float32)
        long = [structure(2_000, seed) for seed in range(100 // SCALE + 2)]
        found = tv.compare(*large, seed_levels=0)
        matrices = tv.Matrices("rmsd", matrix, ("",) * len(matrix))
        for name, call in {
            "search": lambda: tv.compare(*large, cutoff=100.0),
            "structure": lambda: tv.compare(*large, align="structure"),
            "measure on demand": lambda: found.gdt_ts,
            "all pairs": lambda: tv.all_pairs(models, threads=1),
            "all pairs by threads": lambda: tv.all_pairs(models, threads=3),
            "long models": lambda: tv.all_pairs(long, align="structure", threads=2),
            "list": lambda: tv.against(models[0], models * 100),
            "clusters": lambda: [tv.cluster(matrix, how) for how in ("average", "single", "neighbours") * 20],
            "page": lambda: tv.report(os.devnull, matrices),
        }.items():
            with self.subTest(name):
                for after in (0.1, 0.2, 0.3):
                    self.assertLess(self.interrupt(call, after), self.LIMIT)

    def test_progress(self):
        models = [structure(60, seed) for seed in range(40)]
        told = []
        tv.all_pairs(models, progress=lambda done, count: told.append((done, count)))
        self.assertEqual(told, sorted(told))
        self.assertEqual({count for _, count in told}, {780})
        with self.assertRaises(ZeroDivisionError):
            tv.all_pairs(models, progress=lambda done, count: 1 / 0)
        # Other threads run meanwhile: the lock is not held.
        counter = threading.Event()
        threading.Timer(0.0, counter.set).start()
        tv.all_pairs(models, threads=1)
        self.assertTrue(counter.is_set())


class Memory(unittest.TestCase):
    def test_no_leak(self):
        one, other = structure(30), structure(30, 1)

        def calls(n):
            for _ in range(n):
                found = tv.compare(one, other)
                found.matched, found.distances, found.rotation, found.domains, found.alignment()
                tv.rmsd(one, tv.Structure.from_arrays(other.coordinates)).superpose(one.coordinates)
                tv.cluster([[0, 1], [1, 0]], "single", 1.0)
                tv.all_pairs([one, other], "rmsd") if _ % 50 == 0 else None
                try:
                    tv.Structure.from_arrays([[np.nan] * 3])
                except ValueError:
                    pass

        calls(3_000 // SCALE)
        before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
        calls(100_000 // SCALE)
        grown = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before
        self.assertLess(grown, 2_000 if SCALE == 1 else 100_000)  # KiB: 20 bytes a call


if __name__ == "__main__":
    unittest.main()
