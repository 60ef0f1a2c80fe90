#!/usr/bin/env python3
"""Holds runs against others that have to find the same, on commands drawn at random.

usage: agreement.py PROGRAM

  files    each file that options of two dashes ask for, alone and beside all others
  rows     a pair of two structures, of a list, and of a list compared with itself
  blocks   merged blocks, made in any order with no more options than pairs depend on

The commands are the same in every run, and so are the structures: those of divided.py, pieces of
them too short to fit, and complexes whose chains stand in other orders.
"""

import json
import pathlib
import random
import re
import struct
import sys
import tempfile

import divided

ROUNDS = 16
FILES = set("tsv json jsonl residues ranking npy newick linkage report superposed pymol chimerax molstar rasmol".split())
OF_PAIRS = {"residues"}
OF_TREES = {"newick", "linkage"}
OF_ALL = {"npy"} | OF_TREES
KEPT_OF_PAIRS = {"tsv", "json", "jsonl"}  # what parts keep more for
MOTION = {"rotation", "centre1", "centre2", "translation", "motion", "matched"}


def write_models(folder):
    """Names of single chains, and of complexes."""
    divided.write_models(folder)
    generator = random.Random(11)
    base = divided.walk(60, generator)
    for length in (1, 2, 4):
        (folder / f"first_{length}.pdb").write_text(divided.pdb_text(base[:length]))
    chains = {name: divided.walk(20, generator) for name in "ABC"}
    for number, order in enumerate(("ABC", "CAB", "BA", "ACB")):
        places = {name: divided.shaken(chains[name], 0.3 * number, generator) for name in order}
        texts = [divided.pdb_text(places[name]).replace(" A ", f" {name} ") for name in order]
        (folder / f"complex_{number}.pdb").write_text("TER\n".join(texts))
    single = [f"model_{i}.pdb" for i in range(6)]
    odd = ["two.pdb", "first_1.pdb", "first_2.pdb", "first_4.pdb", "packed.pdb.gz", "missing.pdb"]
    return single + odd, [f"complex_{i}.pdb" for i in range(4)]


class Command:
    """What is compared (`search`), and what is made of it (`output`), of a run over all pairs."""

    def __init__(self, generator, models, complexes):
        draw = lambda share, *words: list(words) if generator.random() < share else []
        choose = lambda *words: [generator.choice(words)]
        self.search, self.experiment, names = [], "model_1.pdb", models
        if generator.random() < 0.3:
            self.search = ["--chain=all"] + draw(0.6, "--map-chains")
            self.experiment, names = "complex_1.pdb", complexes
        self.models = generator.sample(names, generator.randint(2, min(6, len(names))))
        self.by = generator.choice(["maxsub", "maxsub", "gdt", "rmsd", "measure"])
        if self.by == "rmsd":
            self.search += ["-rmsd"] + draw(0.3, "-bb") + draw(0.2, "-nourmsd")
        elif self.by == "measure":
            self.search += choose("--measure=lddt", "--measure=lddt_all", "--measure=gdt_ts")
        else:
            self.search += ["-gdt", "4"] if self.by == "gdt" else draw(0.3, "-rankMS")
            self.search += draw(0.3, "-i", "2") + draw(0.2, "-TM") + draw(0.2, "-noscore")
        self.search += draw(0.2, "--pair=sequence") + draw(0.2, "-exclude", "keys.txt")
        self.output = ["-C"] + choose("1", "2", "3", "5") + ["-is", "2"] + draw(0.3, "-av")
        self.output += draw(0.5, "--strict") if "missing.pdb" not in self.models else []
        self.results = draw(0.5, "-R", "full.txt")


def asked(forms):
    return [f"--{form}={form}.out" for form in sorted(forms)]


class Agreement:
    def __init__(self, program, models, generator, names):
        self.program, self.models, self.generator = program, models, generator
        self.command, self.found, self.statuses = Command(generator, *names), [], []
        (models / "drawn.txt").write_text("".join(f"{name}\n" for name in self.command.models))

    def run(self, *parts):
        """An outcome, less what says how the run was called."""
        found = divided.outcome(self.program, [word for part in parts for word in part], self.models)
        self.statuses.append(found["status"])
        return {name: re.sub(rb'"[Cc]ommand"[:,] ?(\[.*?\]|".*?"\])', b"", text) for name, text in found.items()}

    def __str__(self):
        return f"{' '.join(self.command.search + self.command.output)} of {self.command.models}"

    def compare(self, what, expected, found):
        self.found += divided.differences(f"{self}: {what}", expected, found)

    def files(self):
        is_list = self.generator.random() < 0.5
        forms = FILES - (OF_ALL if is_list else OF_PAIRS)
        if "5" in self.command.output:
            forms -= OF_TREES
        compared = ["-l", "drawn.txt"] + (["-e", self.command.experiment] if is_list else [])
        compared += self.command.search + self.command.output
        whole = self.run(compared, asked(forms))
        for alone in [None, *sorted(forms)]:
            others = tuple(f"{form}.out" for form in forms - {alone})
            expected = {name: text for name, text in whole.items() if not name.startswith(others)}
            self.compare(f"{alone} alone", expected, self.run(compared, asked(forms & {alone})))

    def pairs(self, *compared):
        """The pairs of a run by their IDs, which they are without then."""
        found = self.run(compared, self.command.search, ["-noalign", "--jsonl=jsonl.out"])
        pairs = [json.loads(line) for line in found.get("jsonl.out", b"").splitlines()]
        return {(pair.pop("id1"), pair.pop("id2")): pair for pair in pairs}

    def rows(self):
        """Matrices hold numbers in single precision, and a run over all pairs by RMSD no motions."""
        names = self.command.models
        of_all = self.pairs("-l", "drawn.txt", "-C", "0")
        for k, name in enumerate(names[1:], start=2):
            of_list = self.pairs("-e", name, "-l", "drawn.txt")
            for other in range(1, k):
                one = self.pairs("-e", name, "-p", names[other - 1]).get((None, None))
                pair, third = of_list.get((None, other)), of_all.get((k, other))
                if not one == pair or (third is None) != (one is None):
                    self.found.append(f"{self}: {k} and {other}: {one}, of a list {pair}, of all {third}")
                elif third:
                    self.compare(f"{k} and {other}, of all", *map(self.figures, (pair, third)))

    def figures(self, pair):
        unlike = MOTION if self.command.by in ("rmsd", "measure") else set()
        unlike = unlike | ({"lddt", "lddt_all"} if self.command.by == "measure" else set())
        single = lambda value: struct.unpack("f", struct.pack("f", value))[0]
        return {
            name: repr(single(value) if isinstance(value, float) else value).encode()
            for name, value in pair.items()
            if name not in unlike
        }

    def blocks(self):
        results = self.command.results
        forms = set(self.generator.sample(sorted(FILES - OF_PAIRS - OF_TREES), 4))
        if self.command.by == "measure":
            forms -= KEPT_OF_PAIRS
        compared = ["-l", "drawn.txt"] + self.command.search + results
        last = self.command.output + asked(forms)
        expected = self.run(compared, last)
        count = self.generator.choice([1, 2, 5, 16])
        with tempfile.TemporaryDirectory() as parts:
            for block in self.generator.sample(range(1, count + 1), count):
                own = [f"--block={block}/{count}", f"--part={parts}/{self.generator.random()}.part"]
                self.run(compared, asked(forms & KEPT_OF_PAIRS), own)
            self.compare(f"{count} blocks", expected, self.run(compared, last, [f"--merge={parts}"]))


def main():
    program = str(pathlib.Path(sys.argv[1]).resolve())
    found, statuses = [], []
    with tempfile.TemporaryDirectory() as scratch:
        models = pathlib.Path(scratch)
        names = write_models(models)
        for seed in range(ROUNDS):
            for way in (Agreement.files, Agreement.rows, Agreement.blocks):
                drawn = Agreement(program, models, random.Random(f"{seed} {way.__name__}"), names)
                way(drawn)
                found += drawn.found
                statuses += drawn.statuses
    if statuses.count(b"0") < 0.7 * len(statuses) or b"4" not in statuses:
        found.append("most runs say nothing")
    for line in found:
        print(line)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
