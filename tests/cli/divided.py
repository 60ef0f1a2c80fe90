#!/usr/bin/env python3
"""Compares runs whose work is divided with those of one thread, byte for byte.

usage: divided.py PROGRAM PART

  threads     all kinds of list runs by 2, 3 and 8 threads
  blocks      runs over all pairs in blocks, from one to more than there are pairs, and merged
  faults      blocks that are killed, and parts that are damaged or of another run
  kills       a block that is killed 200 times (by hand; part of the faults, too, but fewer times)

The models are made here: walks of different lengths that share much or little, one of which takes
longer than all others together, and everything a list may hold besides (files that are missing, out
of order, compressed, without an atom, or too long to say all that is wrong with them).
"""

import gzip
import math
import os
import pathlib
import random
import signal
import subprocess
import sys
import tempfile
import time

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
    ["--measure=lddt", "-av", "-L", "2", "-C", "2", "-R", "lddt.txt"],
    ["-C", "2", "--jsonl=p.jsonl", "--superposed=moved", "--pymol=scene.pml", "--report=page.html"],
]
BY_STRUCTURE = [["-in", "-L", "6", "-R", "full.txt"], ["-in", "-matrix", "-L", "5"]]
ONE_AGAINST_ALL = [
    ["-super", "3", "-L", "5"],
    ["-gdt", "4", "-nosort"],
    ["-rmsd", "-contact", "-all", "-super", "2"],
    ["-in", "-L", "4"],
    ["--measure=gdt_ts", "--scores=lddt,lddt_all", "-super", "2"],
    ["--scores=gdt_ha,lddt", "--residues=residues.tsv"],
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
        lines = pdb_text(places, 1 + i % 5, ("N", "CA", "C", "O")).splitlines(keepends=True)
        # One has a gap, so that residues which follow each other in it do not in others.
        lost = range(20, 23) if i == 1 else ()
        (folder / name).write_text("".join(line for line in lines if int(line[22:26]) not in lost))
        names.append(name)
    (folder / "long.pdb").write_text(pdb_text(walk(900, generator)))
    (folder / "longer.pdb").write_text(pdb_text(walk(800, generator)))
    (folder / "packed.pdb.gz").write_bytes(gzip.compress(pdb_text(base).encode(), mtime=0))
    (folder / "empty.pdb").write_text("END\n")
    (folder / "twice.pdb").write_text(pdb_text(base[:40]) * 30)
    (folder / "two.pdb").write_text(pdb_text(base[:2]))
    (folder / "keys.txt").write_text("   7 \n  12 \n")
    odd = ["long.pdb", "missing.pdb", "packed.pdb.gz", "empty.pdb", "twice.pdb", "two.pdb", "-"]
    (folder / "sound.txt").write_text("".join(name + "\n" for name in names[:4] + ["two.pdb"]))
    odd_few = names[:3] + ["missing.pdb", "two.pdb", "packed.pdb.gz", "-"]
    (folder / "seven.txt").write_text("".join(name + "\n" for name in odd_few))
    (folder / "pair.txt").write_text("model_0.pdb\nmodel_1.pdb\n")
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
            str(path.relative_to(folder)): run_case.masked(path.read_bytes())
            for path in folder.rglob("*")
            if not path.is_symlink() and path.is_file()
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


# Kinds of runs whose pairs blocks can compute: of a list of seven lines in as many blocks as there
# are pairs of lines, and in more, too.
IN_BLOCKS = [
    ["-av", "-L", "2", "-C", "2"],
    ["-R", "full.txt", "-Rl", "lite.txt", "-rankMS"],
    ["-i", "2", "-L", "2", "-R", "full.txt"],
    ["-gdt", "4", "-L", "2", "-R", "gdt.txt"],
    ["-rmsd", "-L", "2", "-Rl", "r.txt", "-Ru", "u.txt"],
    ["-rmsd", "-bb", "-L", "2", "-Ru", "u.txt"],
    ["-in", "-R", "full.txt", "-C", "3", "-exclude", "keys.txt"],
    ["-i", "3", "-C", "2", "-R", "full.txt", "--tsv=p.tsv", "--json=r.json", "--superposed=moved",
     "--scores=lddt,gdt_ha"],
    ["-gdt", "4", "--jsonl=p.jsonl", "--scores=lddt_all,gdt_ts"],
    ["-rmsd", "-C", "1", "--tsv=p.tsv", "--chimerax=s.cxc", "--scores=lddt"],
]
COUNTS = [1, 2, 3, 7, 21, 23]
# With more models blocks have several rows, or parts of one.
MANY_IN_BLOCKS = [
    (["-R", "full.txt", "-Rl", "lite.txt"], [3, 29]),
    (["-gdt", "4", "-L", "2"], [2]),
    (["-rmsd", "-L", "2", "-R", "r.txt", "-Ru", "u.txt"], [7, 29]),
]
# Where some pairs have no fit, which a strict run says at the end.
STRICT_IN_BLOCKS = [["--strict"], ["--strict", "-gdt", "4"], ["--strict", "-rmsd", "-L", "2"], ["--strict", "--tsv=p"],
                    ["--strict", "--measure=lddt"]]


def divisions():
    """Arguments of runs, and the numbers of blocks to divide them into."""
    for options in IN_BLOCKS:
        yield ["-l", "seven.txt"] + options, COUNTS
    for options, counts in MANY_IN_BLOCKS:
        yield ["-l", "models.txt"] + options, counts
    for options in STRICT_IN_BLOCKS:
        yield ["-l", "sound.txt"] + options, [2]


def block(program, arguments, models, number, count, parts, *more):
    own = [f"--block={number}/{count}", f"--part={parts}/{number:04d}.part", *more]
    return outcome(program, arguments + own, models)


def compute(program, arguments, models, count, parts):
    """All blocks, in any order."""
    for number in random.Random(count).sample(range(1, count + 1), count):
        threads = f"--threads={number % 2 + 1}"
        found = block(program, arguments, models, number, count, parts, threads)
        assert found["status"] == b"0", found
        assert len(found) == 3, found  # no file but the part


def rename_anyhow(parts):
    """Neither the names of parts nor their order in the folder say which block they are."""
    for path in sorted(pathlib.Path(parts).iterdir()):
        path.rename(path.with_name(f"{random.Random(path.name).random()}.part"))


def plans(program, models):
    """Few models are one block, two are enough, and memory is what the run itself had, 8 MB more
    for its thread."""
    found = []
    for name in ("pair.txt", "seven.txt"):
        with open(models / "model_2.pdb", "rb") as standard_input:
            run = subprocess.Popen([program, "-l", name, "--plan=1"], cwd=models,
                                   stdin=standard_input, stdout=subprocess.PIPE)
        with run.stdout as lines:
            figures = {key: float(value) for key, value in (line.split(b"=") for line in lines)}
        memory = math.ceil(os.wait4(run.pid, 0)[2].ru_maxrss / 1024 + 8)
        if figures.get(b"blocks") != 1 or not 0 <= memory - figures[b"megabytes"] <= 1:
            found.append(f"plan of {name}: {figures}, {memory} MB")
    return found


def blocks(program, models):
    found = plans(program, models)
    for arguments, counts in divisions():
        expected = outcome(program, arguments, models)
        if "--strict" in arguments and expected["status"] != b"4":
            found.append(f"{arguments}: ends with {expected['status']}")
        for count in counts:
            with tempfile.TemporaryDirectory() as parts:
                compute(program, arguments, models, count, parts)
                rename_anyhow(parts)
                merged = outcome(program, arguments + [f"--merge={parts}"], models)
                found += differences(f"{arguments} in {count} blocks", expected, merged)
                missing = outcome(program, arguments + [f"--missing={parts}"], models)
                if missing["standard output"]:
                    found.append(f"{arguments}: missing: {missing['standard output']}")
    return found


class Faults:
    """Five blocks of a small run, of which one is spoilt at a time."""

    ARGUMENTS = ["-l", "few.txt", "-R", "full.txt"]
    COUNT = 5

    def __init__(self, program, models):
        self.program, self.models, self.found = program, models, []
        self.expected = outcome(program, self.ARGUMENTS, models)

    def run(self, *own):
        return outcome(self.program, self.ARGUMENTS + list(own), self.models)

    def expect(self, condition, *what):
        if not condition:
            self.found.append(" ".join(str(w) for w in what))

    def spoil(self, name, change, fault, missing="3"):
        """Changes the parts, sees that no run takes them, and lets --resume mend them."""
        with tempfile.TemporaryDirectory() as scratch:
            parts = pathlib.Path(scratch)
            compute(self.program, self.ARGUMENTS, self.models, self.COUNT, parts)
            change(parts)
            merged = self.run(f"--merge={parts}")
            self.expect(merged["status"] == b"1", name, "was merged")
            self.expect("full.txt" not in merged, name, "left a result")
            self.expect(fault in merged["standard error"].decode(), name, merged["standard error"])
            # Whether or not lines go to a log file.
            asked = self.run(f"--missing={parts}", "-log", "run.log")
            listed = asked["standard output"].decode().strip()
            self.expect(listed == missing, name, "is listed as", listed)
            for path in parts.glob("extra*.part"):
                path.unlink()
            for number in range(1, self.COUNT + 1):
                path = parts / f"{number:04d}.part"
                before = path.stat().st_mtime_ns if path.exists() else 0
                block(self.program, self.ARGUMENTS, self.models, number, self.COUNT, parts,
                      "--resume")
                was_kept = before == path.stat().st_mtime_ns
                self.expect(was_kept == (str(number) not in missing), name, number, "kept:", was_kept)
            self.found += differences(name, self.expected, self.run(f"--merge={parts}"))

    def rewrite(self, change):
        def spoil(parts):
            path = parts / "0003.part"
            path.write_bytes(change(path.read_bytes()))

        return spoil

    def bits(self):
        """No bit of a part may change unnoticed."""
        generator = random.Random(5)
        with tempfile.TemporaryDirectory() as scratch:
            parts = pathlib.Path(scratch)
            compute(self.program, self.ARGUMENTS, self.models, self.COUNT, parts)
            whole = (parts / "0003.part").read_bytes()
            places = list(range(100)) + generator.sample(range(len(whole)), 60)
            for place in places:
                bytes_ = bytearray(whole)
                bytes_[place] ^= 1 << generator.randrange(8)
                (parts / "0003.part").write_bytes(bytes_)
                merged = self.run(f"--merge={parts}")
                self.expect(merged["status"] == b"1" and "full.txt" not in merged, "bit of", place)
            for length in list(range(0, 100, 7)) + generator.sample(range(len(whole)), 20):
                (parts / "0003.part").write_bytes(whole[:length])
                merged = self.run(f"--merge={parts}")
                self.expect(merged["status"] == b"1", "cut at", length)

    def start(self, *own):
        return subprocess.Popen(
            [self.program, *self.ARGUMENTS, *own],
            cwd=self.models, stdin=open(self.models / "model_2.pdb", "rb"),
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
        )

    def killed(self, times):
        """A block that is killed at any moment, half of the time near its end, leaves the older
        version of its part or the new one, and another run completes it."""
        generator = random.Random(6)
        with tempfile.TemporaryDirectory() as scratch:
            parts = pathlib.Path(scratch)
            part = parts / "2.part"
            own = ["--block=2/2", f"--part={part}", "--resume"]
            began = time.monotonic()
            self.expect(self.start(*own).wait() == 0, "a block failed")
            duration = time.monotonic() - began
            whole = part.read_bytes()
            kills = 0
            while kills < times:
                old = generator.choice([None, whole[: len(whole) // 2]])
                part.unlink() if old is None else part.write_bytes(old)
                process = self.start(*own)
                time.sleep(duration * generator.choice([generator.random(), generator.uniform(0.8, 1.1)]))
                process.kill()
                kills += process.wait() == -signal.SIGKILL
                found = part.read_bytes() if part.exists() else None
                self.expect(found in (old, whole), "a killed block left", found and len(found), "bytes")
                if found is None:
                    part.touch()
            twins = [self.start(f"--block={k}/2", f"--part={parts}/{k}.part", "--resume") for k in (1, 2, 1, 2)]
            for twin in twins:
                self.expect(twin.wait() == 0, "one of two at once failed")
            self.found += differences("killed", self.expected, self.run(f"--merge={parts}"))

    def disk_full(self):
        limited = subprocess.run(
            ["prlimit", "--fsize=2000", self.program, *self.ARGUMENTS, "--block=1/2",
             "--part=full.part"],
            cwd=self.models, input=(self.models / "model_2.pdb").read_bytes(), capture_output=True,
        )
        self.expect(limited.returncode == 1, "a part that did not fit")
        self.expect(b"Failed to write file 'full.part'" in limited.stderr, limited.stderr)
        self.expect(not (self.models / "full.part").exists(), "a part that did not fit was left")


def faults(program, models):
    runs = Faults(program, models)

    def other(*arguments):
        def make(parts):
            command = runs.ARGUMENTS[:2] + list(arguments)
            outcome(program, command + ["--block=3/5", f"--part={parts}/0003.part"], models)

        return make

    def change_model(parts):
        text = (models / "model_0.pdb").read_text()
        (models / "model_0.pdb").write_text(text.replace("ALA", "GLY", 4))
        compute_one = block(program, runs.ARGUMENTS, models, 3, 5, parts)
        (models / "model_0.pdb").write_text(text)
        assert compute_one["status"] == b"0"

    def of_other_blocks(parts):
        own = ["--block=1/2", f"--part={parts}/extra.part"]
        outcome(program, runs.ARGUMENTS + own, models)

    runs.spoil("a part that is not there", lambda p: (p / "0003.part").unlink(),
               "Of 5 blocks these are missing")
    runs.spoil("an empty part", runs.rewrite(lambda text: b""), "is cut short")
    runs.spoil("half a part", runs.rewrite(lambda text: text[: len(text) // 2]), "is cut short")
    runs.spoil("a part with more", runs.rewrite(lambda text: text + b"x"), "longer than it says")
    runs.spoil("a part of another format", runs.rewrite(lambda t: t[:8] + b"\2" + t[9:]),
               "is of format version 2")
    runs.spoil("no part", runs.rewrite(lambda text: b"SIZE : 2\n" * 100), "is no part file")
    runs.spoil("a part without superpositions", other(), "was made with 'kind MaxSub'")
    runs.spoil("a part by another cut-off", other("-R", "full.txt", "-d", "3"),
               "was made with '-d 3', not '-d 0'")
    runs.spoil("a part of another model", change_model, "another model in line 1")
    runs.spoil("one block twice",
               lambda p: (p / "extra.part").write_bytes((p / "0003.part").read_bytes()),
               "is block 3, as", missing="")
    runs.spoil("a part of other blocks", of_other_blocks, "is one of 2 blocks", missing="")
    runs.bits()
    runs.killed(30)
    runs.disk_full()
    return runs.found


def kills(program, models):
    runs = Faults(program, models)
    runs.killed(200)
    return runs.found


def main():
    program = str(pathlib.Path(sys.argv[1]).resolve())
    parts = {"threads": threads, "blocks": blocks, "faults": faults, "kills": kills}
    with tempfile.TemporaryDirectory() as scratch:
        models = pathlib.Path(scratch)
        write_models(models)
        found = parts[sys.argv[2]](program, models)
    for line in found:
        print(line)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
