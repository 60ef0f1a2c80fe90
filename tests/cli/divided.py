#!/usr/bin/env python3
"""Compares runs whose work is divided with those of one thread, byte for byte.

usage: divided.py PROGRAM threads

  threads     all kinds of list runs by 2, 3 and 8 threads

The models are made here: walks of different lengths that share much or little, one of which takes
longer than all others together, and everything a list may hold besides (files that are missing, out
of order, compressed, without an atom, or too long to say all that is wrong with them).
"""

import gzip
import math
import pathlib
import random
import subprocess
import sys
import tempfile

import run_case

THREADS = [2, 3, 8]
MODELS = 22
# Kinds of runs over "models.txt"; "-in" takes a list of its own, as it is slow.
ALL_AGAINST_ALL = [
    ["-av", "-L", "2", "-C", "2"],
    ["-L", "6"],
    ["-R", "full.txt", "-Rl", "lite.txt", "-rankMS", "-log", "run.log"],
    ["-i", "2", "-L", "4", "-R", "full.txt"],
    ["-gdt", "4", "-L", "3", "-R", "gdt.txt"],
    ["-rmsd", "-L", "2", "-R", "rmsd.txt", "-Ru", "urmsd.txt"],
    ["-rmsd", "-bb", "-L", "6"],
]
BY_STRUCTURE = [["-in", "-L", "6", "-R", "full.txt"], ["-in", "-matrix", "-L", "5"]]
ONE_AGAINST_ALL = [
    ["-super", "3", "-L", "5"],
    ["-gdt", "4", "-nosort"],
    ["-rmsd", "-contact", "-all", "-super", "2"],
    ["-in", "-L", "4"],
]


def walk(length, generator):
    """Places 3.8 A apart, turning slowly."""
    places, direction = [(0.0, 0.0, 0.0)], [1.0, 0.0, 0.0]
    for _ in range(length - 1):
        direction = [d + generator.gauss(0.0, 0.6) for d in direction]
        norm = math.sqrt(sum(d * d for d in direction))
        direction = [d / norm for d in direction]
        places.append(tuple(p + 3.8 * d for p, d in zip(places[-1], direction)))
    return places


def shaken(places, size, generator):
    return [tuple(p + generator.gauss(0.0, size) for p in place) for place in places]


def pdb_text(places, first=1, atoms=("CA",)):
    lines = []
    for number, place in enumerate(places, start=first):
        for shift, atom in enumerate(atoms):
            x, y, z = (p + 0.7 * shift for p in place)
            lines.append(
                f"ATOM  {len(lines) + 1:5d}  {atom:<3} ALA A{number:4d}    "
                f"{x:8.3f}{y:8.3f}{z:8.3f}{1:6.2f}{20:6.2f}\n"
            )
    return "".join(lines)


def write_models(folder):
    generator = random.Random(7)
    base = walk(60, generator)
    names = []
    for i in range(MODELS):
        name = f"model_{i}.pdb"
        places = shaken(base, 0.2 + 0.3 * i, generator)[i % 5 : 60 - i % 7]
        (folder / name).write_text(pdb_text(places, 1 + i % 5, ("N", "CA", "C", "O")))
        names.append(name)
    (folder / "long.pdb").write_text(pdb_text(walk(900, generator)))
    (folder / "longer.pdb").write_text(pdb_text(walk(800, generator)))
    (folder / "packed.pdb.gz").write_bytes(gzip.compress(pdb_text(base).encode(), mtime=0))
    (folder / "empty.pdb").write_text("END\n")
    (folder / "twice.pdb").write_text(pdb_text(base[:40]) * 30)
    (folder / "two.pdb").write_text(pdb_text(base[:2]))
    odd = ["long.pdb", "missing.pdb", "packed.pdb.gz", "empty.pdb", "twice.pdb", "two.pdb", "-"]
    (folder / "few.txt").write_text("".join(name + "\n" for name in names[:6] + odd[1:]))
    names[3:3] = odd
    (folder / "models.txt").write_text("".join(f"{name} # a model\n" for name in names))
    (folder / "long.txt").write_text("long.pdb\nlonger.pdb\n" + "two.pdb\n" * 40)


def command_lines():
    for options in ALL_AGAINST_ALL:
        yield ["-l", "models.txt"] + options
    for options in BY_STRUCTURE:
        yield ["-l", "few.txt"] + options
    yield ["-l", "long.txt", "-L", "3"]
    for options in ONE_AGAINST_ALL:
        yield ["-e", "model_1.pdb", "-l", "models.txt"] + options


def outcome(program, arguments, models):
    """All that a run leaves, by name."""
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        for path in models.iterdir():
            (folder / path.name).symlink_to(path)
        run = subprocess.run(
            [program] + arguments,
            cwd=folder,
            input=(models / "model_2.pdb").read_bytes(),
            capture_output=True,
            timeout=10 * run_case.TIME_LIMIT,
        )
        found = {
            path.name: run_case.masked(path.read_bytes())
            for path in folder.iterdir()
            if not path.is_symlink()
        }
    found["standard output"] = run_case.masked(run.stdout)
    found["standard error"] = run.stderr
    found["status"] = str(run.returncode).encode()
    return found


def differences(what, expected, found):
    return [
        f"{what}: {line}"
        for name in sorted(expected.keys() | found.keys())
        for line in run_case.describe_difference(
            name, expected.get(name, b""), found.get(name, b"")
        )
    ]


def threads(program, models):
    found = []
    for arguments in command_lines():
        expected = outcome(program, arguments, models)
        if b"Processed" not in expected["standard output"] + expected.get("run.log", b""):
            found.append(f"{arguments}: compares nothing")
        for number in THREADS:
            divided = outcome(program, arguments + [f"--threads={number}"], models)
            found += differences(f"{arguments}, {number} threads", expected, divided)
    return found


def main():
    program = str(pathlib.Path(sys.argv[1]).resolve())
    parts = {"threads": threads}
    with tempfile.TemporaryDirectory() as scratch:
        models = pathlib.Path(scratch)
        write_models(models)
        found = parts[sys.argv[2]](program, models)
    for line in found:
        print(line)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
