"""Models made by bending a real structure, or an invented one: the same bytes every time."""

import gzip
import importlib.util
import itertools
import math
import os
import pathlib
import random

ROOT = pathlib.Path(__file__).resolve().parents[2]


def load_examples():
    """The chain builder of the examples."""
    spec = importlib.util.spec_from_file_location("make_examples",
                                                  ROOT / "examples" / "make_examples.py")
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def real_structures():
    named = os.environ.get("TERVOLANDA_TEST_DATA")
    folder = pathlib.Path(named) if named else ROOT.parent / "shared" / "data"
    return folder if folder.is_dir() else None


def read_trace(path, residues):
    """The first C-alpha places (A) of a PDB file."""
    opener = gzip.open if path.suffix == ".gz" else open
    with opener(path, "rt", encoding="latin-1") as file:
        lines = (line for line in file if line.startswith("ATOM") and line[12:16] == " CA ")
        return [tuple(float(line[k : k + 8]) for k in (30, 38, 46))
                for line in itertools.islice(lines, residues)]


def invented_trace(examples, residues):
    """The C-alpha places of a chain of helices, strands and loops."""
    engine = random.Random(residues)
    states = ""
    while len(states) < residues:
        states += "L" * engine.randint(2, 6) + engine.choice("HHE") * engine.randint(6, 18)
    torsions = [examples.TORSIONS.get(s) or examples.loop_torsions(engine)
                for s in states[:residues]]
    return [residue["CA"] for residue in examples.build(torsions)]


def measure_angle(a, b, c):
    """The angle a-b-c in degrees."""
    u = [a[k] - b[k] for k in range(3)]
    v = [c[k] - b[k] for k in range(3)]
    cosine = sum(x * y for x, y in zip(u, v)) / math.dist(a, b) / math.dist(b, c)
    return math.degrees(math.acos(max(-1.0, min(1.0, cosine))))


def measure_torsion(examples, a, b, c, d):
    """The torsion a-b-c-d in degrees, in the sense of make_examples.place."""
    along = examples.unit(examples.subtract(c, b))
    normal = examples.unit(examples.cross(examples.subtract(b, a), along))
    inward = examples.cross(normal, along)
    last = examples.subtract(d, c)
    return math.degrees(math.atan2(sum(x * y for x, y in zip(last, normal)),
                                   sum(x * y for x, y in zip(last, inward))))


def bent(examples, trace, engine, size):
    """The trace with every virtual torsion changed by noise of `size` degrees, and one to three of
    them by ten times that; its bond lengths and angles stay."""
    hinges = {engine.randrange(3, len(trace)) for _ in range(engine.randint(1, 3))}
    places = list(trace[:3])
    for i in range(3, len(trace)):
        a, b, c, d = trace[i - 3 : i + 1]
        change = examples.noise(engine, size * (10.0 if i in hinges else 1.0))
        torsion = measure_torsion(examples, a, b, c, d) + change
        angle = measure_angle(b, c, d)
        places.append(examples.place(*places[-3:], math.dist(c, d), angle, torsion))
    centre = [sum(place[k] for place in places) / len(places) for k in range(3)]
    return [tuple(place[k] - centre[k] for k in range(3)) for place in places]


def write_trace(path, places):
    write_chains(path, [places])


def write_chains(path, chains):
    """Chains A, B and so on, each numbered from 1."""
    lines = []
    for name, places in zip("ABCD", chains):
        lines += [f"ATOM  {i:5d}  CA  ALA {name}{i:4d}    {x:8.3f}{y:8.3f}{z:8.3f}  1.00  0.00"
                  for i, (x, y, z) in enumerate(places, start=1)]
        lines.append("TER")
    path.write_text("\n".join([*lines, "END", ""]), encoding="ascii")


class Models:
    """Folders of models, each made when first asked for: native.pdb, decoy_0001.pdb ..."""

    SMALLEST, LARGEST = 0.5, 30.0  # noise in degrees: from near-native to unrelated

    def __init__(self, folder):
        self.folder = folder
        self.examples = load_examples()
        self.real = real_structures()

    def trace(self, residues):
        if self.real:
            path = self.real / "large" / "AF-Q5S007-F1-model_v3.pdb.gz"
            if residues <= 127:
                path = self.real / "decoys-easy" / "native.pdb"
            if path.exists():
                return read_trace(path, residues)
        return invented_trace(self.examples, residues)

    def make(self, residues, count):
        """The folder with `count` models of a length, and their list as list.txt."""
        folder = self.folder / f"models-{residues}-{count}"
        if folder.is_dir():
            return folder
        folder.mkdir()
        trace = self.trace(residues)
        write_trace(folder / "native.pdb", trace)
        names = []
        for k in range(count):
            # Small and large changes in turns, so that the first few models are a fair sample.
            share = (k * 37 % count) / max(1, count - 1)
            size = self.SMALLEST * (self.LARGEST / self.SMALLEST) ** share
            size *= (127.0 / residues) ** 0.75
            names.append(f"decoy_{k + 1:04d}.pdb")
            engine = random.Random(1000 * residues + k)
            write_trace(folder / names[-1], bent(self.examples, trace, engine, size))
        (folder / "list.txt").write_text("\n".join(names) + "\n", encoding="ascii")
        return folder

    def complexes(self, residues, count):
        """The folder with `count` complexes of four copies of a model each, 40 A around an axis, and
        their list as list.txt; the same as one chain each in chains.txt."""
        folder = self.folder / f"complexes-{residues}-{count}"
        if folder.is_dir():
            return folder
        folder.mkdir()
        source = self.make(residues, count)
        names = (source / "list.txt").read_text(encoding="ascii").split()
        for name in names:
            places = [(x + 40.0, y, z) for x, y, z in read_trace(source / name, residues)]
            copies = []
            for _ in range(4):
                copies.append(places)
                places = [(-y, x, z) for x, y, z in places]
            write_chains(folder / name, copies)
            write_trace(folder / f"chain_{name}", sum(copies, []))
        (folder / "list.txt").write_text("\n".join(names) + "\n", encoding="ascii")
        (folder / "chains.txt").write_text("".join(f"chain_{n}\n" for n in names), encoding="ascii")
        return folder

    def shortened(self, folder, count):
        """The name of a list of the first `count` models of a folder."""
        names = (folder / "list.txt").read_text(encoding="ascii").split()[:count]
        (folder / f"list-{count}.txt").write_text("\n".join(names) + "\n", encoding="ascii")
        return f"list-{count}.txt"
