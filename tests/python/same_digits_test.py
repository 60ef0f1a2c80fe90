#!/usr/bin/env python3
"""The module finds what the program prints: whole-run cases of tests/cli, computed again.

usage: same_digits_test.py CASES     with the module in PYTHONPATH

Of every case that compares or clusters and ends well, the lines with figures are made of what the
module returns, and have to stand in the expected output.  With the program in TERVOLANDA_PROGRAM
the pages of both (--report) are the same to the byte, and so are the matrices (--npy).
"""

import json
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

CASES = pathlib.Path(sys.argv.pop()).resolve()
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
    if "-opt" in options:
        asked["passes"] = int(options["-opt"])
    if "-in" in options:
        asked["align"] = "structure"
    return {**asked, **pairing(options)}


def pairing(options):
    """How residues are paired, if not by number, and chains, if not by name."""
    found = {"align": options["--pair"]} if "--pair" in options else {}
    return {**found, "map_chains": True} if "--map-chains" in options else found


def reading(options):
    """How structures are read."""
    return {"exclude": options.get("-exclude"), "chain": options.get("--chain")}


def measure_text(measure, value, pairs=None):
    name = {"lddt": "lDDT", "lddt_all": "lDDT-all", "gdt_ts": "GDT_TS", "gdt_ha": "GDT_HA"}[measure]
    width = 7 if measure.startswith("gdt") else 5
    return f"{name}={value:{width}.3f}" + (f" (Pairs={pairs:4d})" if pairs is not None else "")


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


def pair(options, plain):
    """What is found of one pair, and what its lines say."""
    experiment, prediction = (
        tv.read(path, **reading(options))
        for path in (options.get("-e") or plain[1], options.get("-p") or plain[0])
    )
    if "-gdt" in options:
        found = tv.gdt(experiment, prediction, **search(options, plain))
        return [found], [f"GDT={found.gdt:7.3f}"]
    if "-rmsd" in options or "-rms" in options:
        found = tv.rmsd(experiment, prediction, urmsd_rotation="-urmsd" in options, **pairing(options))
        yields = rmsd_text(found.rmsd, found.pairs, found.relative, found.standard_score,
                           found.urmsd, found.relative_urmsd)  # fmt: skip
        return [found], ["RMSD=" + yields, contact_text(experiment, prediction, options)]
    found = tv.compare(experiment, prediction, **search(options, plain))
    lines = found.alignment(int(options.get("-lws", 60))).splitlines()
    for number, domain in enumerate(found.domains[:1], start=1):
        lines.append(f"Iter {number}: Pairs={domain.pairs:4d}, RMSD={found.rmsd:6.3f}, "
                     f"MAXSUB={domain.score:5.3f}. Len={found.mapped:4d}. "
                     f"gRMSD={found.grmsd:6.3f}, TM={found.tm:5.3f}")  # fmt: skip
    for number, domain in enumerate(found.domains[1:], start=2):
        lines.append(f"MAXSUB={domain.score:5.3f}")
    return [found], lines


def measure_of(options):
    if "--measure" in options:
        return options["--measure"]
    if "-gdt" in options:
        return "gdt"
    if "-rmsd" in options:
        return "rmsd"
    return "maxsub" if "-i" in options or "-rankMS" in options else "tm"


def one_list(options, plain):
    """The table of a list, and what its lines say, without the ranks."""
    measure = measure_of(options)
    atoms = "all" if measure == "lddt_all" else "backbone" if "-contact" in options else "calpha"
    models = tv.read_models(options["-l"], atoms=atoms, **reading(options))
    experiment = tv.read(options["-e"], atoms=atoms, **reading(options))
    asked = search(options, plain) if measure in ("tm", "maxsub", "gdt") else pairing(options)
    table = tv.against(experiment, models, measure, threads=2, **asked)
    lines = []
    for i, model in enumerate(models):
        row = {name: column[i] for name, column in table.items()}
        name = row.pop("name")
        if measure == "gdt":
            lines.append(f"GDT={row['gdt']:7.3f}")
        elif "--measure" in options:
            lines.append(measure_text(measure, row[measure], row["pairs"]))
        elif measure == "rmsd":
            lines += [name, "RMSD=" + rmsd_text(*row.values()), contact_text(experiment, model, options)]
        else:
            lines.append(f"Pairs={row['pairs']:4d}, RMSD={row['rmsd']:6.3f}, MaxSub={row['maxsub']:5.3f}, "
                         f"TM={row['tm']:5.3f}, MSI={row['msi']:4.3f}")  # fmt: skip
    return [table], lines


def matrix(options, plain):
    """Matrix and clusters of a list, and what averages, ranks and clusters are listed."""
    measure = measure_of(options)
    atoms = "all" if measure == "lddt_all" else "backbone" if "-bb" in options else "calpha"
    models = tv.read_models(options["-l"], atoms=atoms, **reading(options))
    listed = re.sub("#.*", "", pathlib.Path(options["-l"]).read_text()).split()
    ids = [listed.index(model.name) + 1 for model in models]  # those of unreadable models are missing
    asked = search(options, plain) if measure in ("tm", "maxsub", "gdt") else pairing(options)
    if measure == "rmsd" and "-bb" in options:
        asked["atoms"] = "backbone"
    matrices = tv.all_pairs(models, measure, threads=2, **asked)
    values = [float(matrices.values[i, j]) for i in range(len(models)) for j in range(i)]
    lines = []
    if "-av" in options and len(set(map(len, models))) == 1:
        width = 5 if measure in ("tm", "lddt", "lddt_all") else 7 if matrices.are_percentages else 6
        lines.append(f"= {sum(values) / len(values):{width}.3f} (count = {len(values)})")
    if matrices.pairs is not None and measure in ("tm", "maxsub"):
        ranking = tv.jury(matrices, minimum_pairs=int(options.get("-P", 20)))
        for rank, (model, pairs) in enumerate(zip(ranking["model"], ranking["pairs"]), start=1):
            lines.append(f"{rank:5d} : {ids[model]:8d} {pairs:8d}")
    if options.get("-C") == "0":
        return [matrices, None], lines
    clusters, more = clustered(matrices, measure == "rmsd", ids, options)
    return [matrices, clusters], lines + more


def clustered(matrix, distances, ids, options):
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
    lines = []
    for number, (medoid, size, spread) in enumerate(
        zip(found.medoids, found.sizes, found.spreads), start=1
    ):
        lines.append(f"{number:5d} : {ids[medoid]:8d} {size:8d}     {spread:8.3f}")
    if found.linkage is not None:
        lines.append(f"{len(found.medoids)} Clusters @ Threshold {found.threshold:6.3f}")
        for model, label in zip(ids, found.labels):
            lines.append(f"{model:5d} : {label + 1:8d}")
    return found, lines


def distance_file(options, plain):
    """Clusters of a distance file."""
    records = [line.split() for line in pathlib.Path(options["-F"]).read_text().splitlines()]
    pairs = [(int(r[2]), int(r[3]), float(r[4])) for r in records if r and r[0] == "DIST"]
    ids = sorted({i for i, _, _ in pairs} | {j for _, j, _ in pairs})
    values = [[0.0] * len(ids) for _ in ids]
    for i, j, value in pairs:
        values[ids.index(i)][ids.index(j)] = values[ids.index(j)][ids.index(i)] = value
    return [], clustered(values, True, ids, options)[1]


def mode_of(options, plain):
    """What a run of the program is in the module; None for what it does not have."""
    if "-F" in options:
        return distance_file
    if "-M" in options or "--scores" in options:
        return None
    if "-l" in options:
        return one_list if "-e" in options else matrix
    return pair if len(plain) >= 2 or "-p" in options else None


def comparable(page):
    """A page without the command line, and without the files of a list that could not be read, of
    which the module warns."""
    page = re.sub(r'\["Command","[^"]*"\]', "", page)
    page = re.sub(r', \d+ skipped"\]', '"]', page)
    return re.sub(r',\{"title":"Skipped files".*?\]\]\}', "", page)


class SameDigits(unittest.TestCase):
    def check_set(self, run, matrices, clusters):
        """The figures of a set beside those of the program."""
        found = tv.set_figures(matrices, clusters)
        told, ids = run["set"], [model["id"] for model in run["inputs"]]
        if told is None:
            self.assertEqual((found.pairs, found.medoid), (0, None))
            return
        cuts = [] if found.clusters_by_threshold is None else found.clusters_by_threshold.tolist()
        self.assertEqual(
            [told["pairs"], told["mean"], told["quantiles"], told["medoid"], told["clusters_by_threshold"]],
            [found.pairs, found.mean, found.quantiles.tolist(), ids[found.medoid], cuts],
        )
        factors = [model["mean_bfactor"] for model in run["inputs"]]
        self.assertEqual(factors, found.mean_b_factors.tolist())

    def check_table(self, text, table):
        """The columns of a list that the program's table has, to the last bit, where they are filled in."""
        names, *rows = (line.split("\t") for line in text.splitlines())
        for name, column in {**table, "tm1": table.get("tm")}.items():
            if name in names and column is not None:
                told = {k: float(row[names.index(name)]) for k, row in enumerate(rows) if row[names.index(name)]}
                self.assertEqual(told, {k: column[k] for k in told}, name)

    def check_files(self, arguments, options, found):
        """The page, and the matrix of all pairs, beside those of the program; what that printed."""
        others = [word for word in arguments if not re.match("--(report|npy|json|tsv|linkage)=", word)]
        command = [os.environ["TERVOLANDA_PROGRAM"], *others, "--report=program.html", "--tsv=program.tsv"]
        if isinstance(found[0], tv.Matrices):
            command += ["--npy=program.npy", "--json=program.json"]
            np.save("module.npy", found[0].distances)
            if found[1] is not None and found[1].linkage is not None:
                command += ["--linkage=program.tree"]
        ended = subprocess.run(command, capture_output=True, text=True)
        self.assertEqual(ended.returncode, 0, ended.stdout + ended.stderr)
        tv.report("module.html", *found, minimum_pairs=int(options.get("-P", 20)))
        pages = [comparable(pathlib.Path(f"{who}.html").read_text()) for who in ("program", "module")]
        self.assertEqual(*pages)
        if isinstance(found[0], tv.Matrices):
            self.assertEqual(*(pathlib.Path(f"{who}.npy").read_bytes() for who in ("program", "module")))
            if "--linkage=program.tree" in command:
                np.testing.assert_array_equal(np.load("program.tree"), found[1].linkage)
            self.check_set(json.loads(pathlib.Path("program.json").read_text()), *found)
        if isinstance(found[0], tv.Table):
            self.check_table(pathlib.Path("program.tsv").read_text(), found[0])
        return ended.stdout

    def check(self, folders, arguments, expected=None):
        """Holds a run against its expected output, or what the program prints, and its files; the
        number of lines compared."""
        options, plain = parse(arguments)
        with tempfile.TemporaryDirectory() as scratch:
            for inputs in folders:
                if inputs.is_dir():
                    shutil.copytree(inputs, scratch, dirs_exist_ok=True)
            os.chdir(scratch)
            with warnings.catch_warnings():
                warnings.simplefilter("ignore", tv.TervolandaWarning)
                found, lines = mode_of(options, plain)(options, plain)
            # The module's page has no contacts, and its lists are always sorted.
            if found and "TERVOLANDA_PROGRAM" in os.environ and not {"-contact", "-nosort"} & {*options}:
                printed = self.check_files(arguments, options, found)
                expected = expected or printed
            os.chdir("/")
        for line in lines:
            self.assertIn(line.rstrip(), expected)
        return len(lines)

    def test_cases(self):
        compared = 0
        for path in sorted(CASES.glob("*/arguments")):
            case = path.parent
            arguments = path.read_text().splitlines()
            ends_well = (case / "stdout").exists() and not (case / "status").exists()
            # IDs beyond 2^31 are the program's alone.
            other = (case / "stdin").exists() or "large-ids" in case.name
            if not ends_well or other or mode_of(*parse(arguments)) is None:
                continue
            with self.subTest(case=case.name):
                folders, expected = (CASES / "common", case / "input"), (case / "stdout").read_text()
                compared += self.check(folders, arguments, expected) > 0
        self.assertGreater(compared, 40)

    @unittest.skipUnless("TERVOLANDA_PROGRAM" in os.environ, "no TERVOLANDA_PROGRAM")
    def test_files_of_examples(self):
        examples = [CASES.parent.parent / "examples"]
        measures = [[f"--measure={name}"] for name in ("lddt", "lddt_all", "gdt_ts", "gdt_ha")]
        for flags in ([], ["-gdt", "4"], ["-rmsd"], ["-rankMS"], *measures):
            for run in (["-e", "experiment.pdb"], ["-C", "5"], ["-C", "2", "-T", "0.3"]):
                with self.subTest(flags + run):
                    self.check(examples, ["-l", "models.txt", *flags, *run])


if __name__ == "__main__":
    unittest.main()
