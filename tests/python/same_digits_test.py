#!/usr/bin/env python3
"""The module finds what the program prints: whole-run cases of tests/cli, computed again.

usage: same_digits_test.py CASES     with the module in PYTHONPATH

Of every case that compares or clusters and ends well, the lines with figures are made of what the
module returns, and have to stand in the expected output.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import warnings

import numpy as np
import tervolanda as tv

CASES = pathlib.Path(sys.argv.pop())
VALUED = set("-e -p -F -M -l -R -Rl -Ru -log -exclude -T -Tm -a -s -TSF -dist -L -is -ms -O -C -P -gap "
             "-super -i -mP -mS -d -opt -open -aff -N -seed -lws".split())  # fmt: skip


def parse(arguments):
    """Options with their values, and the plain arguments; a flag has the value True."""
    options, plain = {}, []
    words = iter(arguments)
    for word in words:
        word = re.sub("^--(?=[a-z]+$)", "-", word)
        if word in VALUED:
            options[word] = next(words, "")
        elif re.match("--[a-z]+=", word):
            name, _, value = word.partition("=")
            options[name] = value
        elif word.startswith("-"):
            options[word] = True
        else:
            plain.append(word)
    return options, plain


def search(options, plain):
    """The arguments of a search."""
    asked = {}
    cutoff = plain[2] if len(plain) > 2 else options.get("-d")
    if cutoff:
        asked["cutoff"] = float(cutoff)
    if "-i" in options:
        asked["domains"] = int(options["-i"])
    if "-in" in options:
        asked["align"] = "structure"
    return {**asked, **pairing(options)}


def pairing(options):
    """How residues are paired, if not by number."""
    return {"align": options["--pair"]} if "--pair" in options else {}


def rmsd_text(value, pairs, relative, score, urmsd, relative_urmsd):
    if value != value:
        value = -1.0
    return (f"{value:6.3f} (Pairs={pairs:4d}, rRMSD={relative:5.3f} ({score:6.2f})), "
            f"URMSD={urmsd:6.3f} (rURMSD={relative_urmsd:5.3f})")  # fmt: skip


def contact_text(experiment, prediction, options):
    if "-contact" not in options:
        return ""
    found = tv.contacts(experiment, prediction, gap=int(options.get("-gap", 5)), **pairing(options))
    return f"NC={found.percentage:6.2f}% ({found.matched}/{found.native})"


def pair_lines(options, plain):
    """What the line of one pair says."""
    exclude = options.get("-exclude")
    experiment, prediction = (
        tv.read(path, exclude=exclude)
        for path in (options.get("-e") or plain[1], options.get("-p") or plain[0])
    )
    if "-gdt" in options:
        found = tv.gdt(experiment, prediction, **search(options, plain))
        return [f"GDT={found.gdt:7.3f}"]
    if "-rmsd" in options or "-rms" in options:
        found = tv.rmsd(experiment, prediction, **pairing(options))
        yields = rmsd_text(found.rmsd, found.pairs, found.relative, found.standard_score,
                           found.urmsd, found.relative_urmsd)  # fmt: skip
        return ["RMSD=" + yields, contact_text(experiment, prediction, options)]
    found = tv.compare(experiment, prediction, **search(options, plain))
    lines = found.alignment(int(options.get("-lws", 60))).splitlines()
    for number, domain in enumerate(found.domains[:1], start=1):
        lines.append(f"Iter {number}: Pairs={domain.pairs:4d}, RMSD={found.rmsd:6.3f}, "
                     f"MAXSUB={domain.score:5.3f}. Len={found.mapped:4d}. "
                     f"gRMSD={found.grmsd:6.3f}, TM={found.tm:5.3f}")  # fmt: skip
    for number, domain in enumerate(found.domains[1:], start=2):
        lines.append(f"MAXSUB={domain.score:5.3f}")
    return lines


def list_lines(options, plain):
    """What the lines of a list say, without the ranks."""
    exclude = options.get("-exclude")
    atoms = "backbone" if "-contact" in options else "calpha"
    models = tv.read_models(options["-l"], exclude=exclude, atoms=atoms)
    experiment = tv.read(options["-e"], exclude=exclude, atoms=atoms)
    measure = "gdt" if "-gdt" in options else "rmsd" if "-rmsd" in options else "tm"
    asked = search(options, plain) if measure != "rmsd" else pairing(options)
    table = tv.against(experiment, models, measure, threads=2, **asked)
    for i, model in enumerate(models):
        row = {name: column[i] for name, column in table.items()}
        if measure == "gdt":
            yield f"GDT={row['gdt']:7.3f}"
        elif measure == "tm":
            yield (f"Pairs={row['pairs']:4d}, RMSD={row['rmsd']:6.3f}, MaxSub={row['maxsub']:5.3f}, "
                   f"TM={row['tm']:5.3f}, MSI={row['msi']:4.3f}")  # fmt: skip
        else:
            name = row.pop("name")
            yield f"{name}"
            yield "RMSD=" + rmsd_text(*row.values())
            yield contact_text(experiment, model, options)


def matrix_lines(options, plain):
    """Averages, ranks and clusters of a list."""
    models = tv.read_models(options["-l"], exclude=options.get("-exclude"))
    listed = pathlib.Path(options["-l"]).read_text().split()
    ids = [listed.index(model.name) + 1 for model in models]  # those of unreadable models are missing
    measure = "gdt" if "-gdt" in options else "rmsd" if "-rmsd" in options else "tm"
    if "-i" in options:
        measure = "maxsub"
    asked = search(options, plain) if measure != "rmsd" else pairing(options)
    matrices = tv.all_pairs(models, measure, threads=2, **asked)
    values = [float(matrices.values[i, j]) for i in range(len(models)) for j in range(i)]
    if "-av" in options and len(set(map(len, models))) == 1:
        width = 5 if measure == "tm" else 7 if measure == "gdt" else 6
        yield f"= {sum(values) / len(values):{width}.3f} (count = {len(values)})"
    if measure == "tm":
        ranking = tv.jury(matrices, minimum_pairs=int(options.get("-P", 20)))
        for rank, (model, pairs) in enumerate(zip(ranking["model"], ranking["pairs"]), start=1):
            yield f"{rank:5d} : {ids[model]:8d} {pairs:8d}"
    if options.get("-C") != "0":
        yield from cluster_lines(matrices, False, ids, options)


def cluster_lines(matrix, distances, ids, options):
    method = {1: "single", 2: "average", 3: "maximum", 4: "neighbours-minimum", 5: "neighbours"}[
        int(options.get("-C", 5))
    ]
    first, last, step = (4.0, 8.0, 0.2) if distances else (0.5, 0.8, 0.05)
    found = tv.cluster(
        matrix,
        method,
        float(options.get("-T", first)),
        max_threshold=float(options.get("-Tm", last)),
        step=float(options.get("-a", step)),
        size=max(0, int(options.get("-is", 50))),
        minimum_size=max(0, int(options.get("-ms", 5))),
    )
    for number, (medoid, size, spread) in enumerate(
        zip(found.medoids, found.sizes, found.spreads), start=1
    ):
        yield f"{number:5d} : {ids[medoid]:8d} {size:8d}     {spread:8.3f}"
    if found.linkage is not None:
        yield f"{len(found.medoids)} Clusters @ Threshold {found.threshold:6.3f}"
        for model, label in zip(ids, found.labels):
            yield f"{model:5d} : {label + 1:8d}"


def distance_file_lines(options, plain):
    """Clusters of a distance file."""
    records = [line.split() for line in pathlib.Path(options["-F"]).read_text().splitlines()]
    pairs = [(int(r[2]), int(r[3]), float(r[4])) for r in records if r and r[0] == "DIST"]
    ids = sorted({i for i, _, _ in pairs} | {j for _, j, _ in pairs})
    matrix = [[0.0] * len(ids) for _ in ids]
    for i, j, value in pairs:
        matrix[ids.index(i)][ids.index(j)] = matrix[ids.index(j)][ids.index(i)] = value
    yield from cluster_lines(matrix, True, ids, options)


class SameDigits(unittest.TestCase):
    def check(self, case):
        options, plain = parse((case / "arguments").read_text().splitlines())
        if "-F" in options:
            lines = distance_file_lines
        elif "-l" in options:
            lines = list_lines if "-e" in options else matrix_lines
        elif len(plain) >= 2 or "-p" in options:
            lines = pair_lines
        else:
            return 0
        expected = (case / "stdout").read_text()
        with tempfile.TemporaryDirectory() as scratch:
            for inputs in (CASES / "common", case / "input"):
                if inputs.is_dir():
                    shutil.copytree(inputs, scratch, dirs_exist_ok=True)
            os.chdir(scratch)
            with warnings.catch_warnings():
                warnings.simplefilter("ignore", tv.TervolandaWarning)
                found = [line for line in lines(options, plain) if line.strip()]
            os.chdir("/")
        for line in found:
            self.assertIn(line.rstrip(), expected)
        return len(found)

    @unittest.skipUnless("TERVOLANDA_PROGRAM" in os.environ, "no TERVOLANDA_PROGRAM")
    def test_matrix_files(self):
        examples = CASES.parent.parent / "examples"
        for measure, flags in {"tm": [], "gdt": ["-gdt"], "rmsd": ["-rmsd"], "maxsub": ["-rankMS"]}.items():
            with tempfile.TemporaryDirectory() as scratch:
                shutil.copytree(examples, scratch, dirs_exist_ok=True)
                os.chdir(scratch)
                command = [os.environ["TERVOLANDA_PROGRAM"], "-l", "models.txt", *flags]
                subprocess.run([*command, "--npy=program.npy"], check=True, capture_output=True)
                np.save("module.npy", tv.all_pairs(tv.read_models("models.txt"), measure).distances)
                written = [pathlib.Path(f"{name}.npy").read_bytes() for name in ("program", "module")]
                os.chdir("/")
            self.assertEqual(*written, measure)

    def test_cases(self):
        compared = 0
        for arguments in sorted(CASES.glob("*/arguments")):
            case = arguments.parent
            ends_well = (case / "stdout").exists() and not (case / "status").exists()
            other = (case / "device").exists() or (case / "stdin").exists() or "help" in case.name
            if not ends_well or other or "large-ids" in case.name:
                continue
            with self.subTest(case=case.name):
                compared += self.check(case) > 0
        self.assertGreater(compared, 25)


if __name__ == "__main__":
    unittest.main()
