#!/usr/bin/python3
"""Reads the files of a run with the programs that they are made for.

usage: clients_test.py PROGRAM SOURCE

Prints what is skipped for lack of a client, and fails when there is any difference.  Debian's Python is
asked for, as its packages are the clients.
"""

import csv
import importlib
import io
import json
import math
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import zlib

SKIPPED = 77
# What a shell, a page or a table could take for its own.
NAMES = ['a "b", c.pdb', "tab\there.pdb", "line\nend.pdb", "<script>.pdb", "it's.pdb", "aÅ-µ.pdb", "蛋白質 🧬.pdb",
         "back\\slash(1):2;.pdb", "x" * 240 + ".pdb", b"no\xff\xc3utf8.pdb"]
DEEP = "/".join(["d" * 199] * 19)  # names of 4,000 characters, as long as paths may be
skipped = []


def client(name):
    try:
        return importlib.import_module(name)
    except ImportError:
        skipped.append(name)
        return None


def run(program, folder, *arguments, status=0):
    finished = subprocess.run([program, *arguments], cwd=folder, capture_output=True, check=False)
    assert finished.returncode == status, finished
    return finished.stdout.decode("utf-8", "replace")


def table(path):
    with open(path, encoding="utf-8", newline="") as file:
        return list(csv.DictReader(file, delimiter="\t"))


def check_numbers(folder, output):
    """TSV, JSON and lines of JSON agree exactly, and with what was printed to the printed digit."""
    rows = table(folder / "pairs.tsv")
    document = json.loads((folder / "run.json").read_text("utf-8"))
    lines = [json.loads(line) for line in (folder / "pairs.jsonl").read_text("utf-8").splitlines()]
    assert len(rows) == len(lines) == len(document["pairs"]) == 8 * 7 / 2
    for row, line, pair in zip(rows, lines, document["pairs"]):
        assert line.pop("motion").endswith("p' = R (p - c2) + c1") and line == pair
        for key, text in row.items():
            assert text == "" if pair[key] is None else text == str(pair[key]) or float(text) == pair[key], key
    printed = {(int(b), int(a)): rest for a, b, rest in re.findall(
        r"Model +(\d+) \S+ +vs\. Model +(\d+) \S+ +(.*)", output)}
    assert len(printed) == len(rows)
    for row in rows:
        shown = f"Pairs={int(row['pairs']):4}, RMSD={float(row['rmsd']):6.3f}, MaxSub={float(row['tm2']):5.3f}"
        assert printed[int(row["id1"]), int(row["id2"])] == shown, (row, shown)
    return document


def check_finite(program, folder):
    """Where no residues belong together nothing is a number that is none."""
    (folder / "apart.txt").write_text("near_1.pdb\nrelative.pdb\nwrong_1.pdb\n")
    texts = ["x.tsv", "x.json", "x.jsonl", "x.nwk", "x.rank", "x.html"]
    numpy = client("numpy")
    for measure in ([], ["-rmsd"], ["-gdt"]):
        run(program, folder, "-l", "apart.txt", "-C", "2", *measure, "--tsv=x.tsv", "--json=x.json", "--jsonl=x.jsonl",
            "--newick=x.nwk", "--ranking=x.rank", "--report=x.html", "--npy=x.npy", "--linkage=l.npy")
        for name in texts:
            data = (folder / name).read_text("utf-8").split('id="data">')[-1].split("</script>")[0]
            assert data and not re.search(r"\b(nan|inf|infinity)\b", data, re.IGNORECASE), name
        for name in ("x.npy", "l.npy") if numpy else ():
            assert numpy.isfinite(numpy.load(folder / name)).all(), name


def check_inputs(program, folder, document):
    for entry in document["inputs"]:
        assert int(entry["crc32"], 16) == zlib.crc32((folder / entry["file"]).read_bytes())
    assert [entry["file"] for entry in document["skipped"]] == ["gone.pdb"]
    assert document["status"] == "SUCCESS"
    # What can be read but once has no checksum.
    with open(folder / "near_1.pdb", "rb") as file:
        subprocess.run([program, "-e", "experiment.pdb", "-p", "/dev/stdin", "-noalign", "--json=piped.json"], cwd=folder,
                       stdin=subprocess.Popen(["cat"], stdin=file, stdout=subprocess.PIPE).stdout, check=True,
                       stdout=subprocess.DEVNULL)
    assert [one["crc32"] is None for one in json.loads((folder / "piped.json").read_text("utf-8"))["inputs"]] == [False, True]


def check_substitutions(source):
    """The matrix that sequences are aligned by is the published one."""
    matrices = client("Bio.Align.substitution_matrices")
    if not matrices:
        return
    code = (source / "src/compare/pairing/sequence_alignment.cpp").read_text("utf-8")
    letters = re.search(r'kLetters = "(\w+)"', code)[1]
    own = iter(re.findall(r"-?\d+", code.split("below the diagonal, in that order")[1].split("};")[0]))
    published = matrices.load("BLOSUM62")
    for i, a in enumerate(letters):
        for b in letters[: i + 1]:
            assert int(next(own)) == published[a, b], (a, b)
    assert next(own, None) is None and len(letters) == 20


def check_schema(source, documents, lines):
    jsonschema = client("jsonschema")
    if not jsonschema:
        return
    schema = json.loads((source / "docs/results.schema.json").read_text("utf-8"))
    validator = jsonschema.Draft202012Validator(schema)
    for document in documents:
        validator.validate(document)
    of_pair = jsonschema.Draft202012Validator({**schema, "$ref": "#/$defs/pair", "required": [],
                                               "properties": {}, "additionalProperties": True})
    for line in lines:
        of_pair.validate(line)


def check_jq(folder, document):
    if not shutil.which("jq"):
        skipped.append("jq")
        return
    best = subprocess.run(["jq", "-r", ".ranking[0].file", "run.json"], cwd=folder, capture_output=True,
                          text=True, check=True)
    assert best.stdout.strip() == document["ranking"][0]["file"]


def check_scipy(folder, document):
    numpy, hierarchy = client("numpy"), client("scipy.cluster.hierarchy")
    if not numpy or not hierarchy:
        return
    distance = importlib.import_module("scipy.spatial.distance")
    matrix = numpy.load(folder / "matrix.npy")
    linkage = numpy.load(folder / "linkage.npy")
    names = (folder / "matrix.npy.names").read_text("utf-8").splitlines()
    assert matrix.dtype == numpy.float32 and matrix.shape == (8, 8) and names[3] == "hinge_1.pdb"
    for row in table(folder / "pairs.tsv"):
        i, j = names.index(row["file1"]), names.index(row["file2"])
        assert matrix[i, j] == numpy.float32(1 - float(row["tm1"]))
        assert matrix[j, i] == numpy.float32(1 - float(row["tm2"]))
    assert hierarchy.is_valid_linkage(linkage)
    assert [[*sorted((n["first"], n["second"])), n["distance"], n["size"]] for n in document["tree"]] == linkage.tolist()
    flat = hierarchy.fcluster(linkage, document["threshold"], "distance")
    clusters = {frozenset(cluster["members"]) for cluster in document["clusters"]}
    assert clusters == {frozenset(numpy.flatnonzero(flat == c) + 1) for c in set(flat)}
    # Our tree is the one that SciPy makes of the matrix, where that is symmetric.
    matrix = numpy.load(folder / "rmsd.npy")
    own = hierarchy.linkage(distance.squareform(matrix), "average")
    assert numpy.allclose(own, numpy.load(folder / "rmsd-linkage.npy"), rtol=1e-6)


def check_newick(folder, document):
    phylo = client("Bio.Phylo")
    if not phylo:
        return
    tree = phylo.read(folder / "tree.nwk", "newick")
    names = [entry["file"] for entry in document["inputs"]]
    leaves = {i: [name] for i, name in enumerate(names)}
    for node in document["tree"]:
        for a in leaves[node["first"]]:
            for b in leaves[node["second"]]:
                assert math.isclose(tree.distance(a, b), node["distance"], abs_tol=1e-9)
        leaves[node["node"]] = leaves[node["first"]] + leaves[node["second"]]
    assert sorted(leaf.name for leaf in tree.get_terminals()) == sorted(names)


def check_residues(program, folder):
    """Distances, and the superposition of the JSON, reproduce the RMSD of the subset."""
    run(program, folder, "-e", "experiment.pdb", "-p", "near_1.pdb", "-noalign", "--residues=residues.tsv",
        "--json=pair.json", "--tsv=pair.tsv", "--pair=sequence")
    pair = json.loads((folder / "pair.json").read_text("utf-8"))["pairs"][0]
    places = [{int(line[22:26]): [float(line[k:k + 8]) for k in (30, 38, 46)]
               for line in (folder / name).read_text().splitlines() if line[:4] == "ATOM" and line[12:16] == " CA "}
              for name in ("experiment.pdb", "near_1.pdb")]
    squares = []
    for row in table(folder / "residues.tsv"):
        e, p = places[0][int(row["residue1"])], places[1][int(row["residue2"])]
        moved = [sum(r * (x - c) for r, x, c in zip(line, p, pair["centre2"])) + c1
                 for line, c1 in zip(pair["rotation"], pair["centre1"])]
        other = [sum(r * x for r, x in zip(line, p)) + t for line, t in zip(pair["rotation"], pair["translation"])]
        assert math.isclose(math.dist(moved, e), float(row["distance"]), abs_tol=1e-9)
        assert math.dist(moved, other) < 1e-9
        if row["subset"] == "1":
            squares.append(float(row["distance"]) ** 2)
    assert len(squares) == pair["pairs"]
    assert math.isclose(math.sqrt(sum(squares) / len(squares)), pair["rmsd"], abs_tol=1e-9)
    counted = sum(last - first + 1 for first, last, *_ in pair["matched"])
    assert counted == pair["pairs"]
    assert [pair["identity"], pair["coverage1"], pair["coverage2"]] == [100, 100, 100]
    return pair


def unescaped(field):
    """A name of a table, as bytes."""
    parts = re.split(rb"(\\x..|\\.)", field.encode("utf-8"))
    short = {b"\\t": b"\t", b"\\n": b"\n", b"\\r": b"\r", b"\\\\": b"\\"}
    return b"".join(short.get(part, bytes([int(part[2:], 16)]) if part[:2] == b"\\x" else part) for part in parts)


def alike(name):
    """Decoders differ in how many replacement characters a run of bytes gets."""
    return re.sub("\ufffd+", "\ufffd", name)


def check_names(program, folder, place, names):
    """Every form gives every name back, as far as it can hold it."""
    wanted = [os.path.join(os.fsencode(place), os.fsencode(name)) for name in names]
    os.chdir(folder)  # from where names may be longer than from elsewhere
    os.makedirs(place)
    for path in wanted:
        shutil.copy("near_1.pdb", path)
    models = "--models=" + place
    run(program, folder, models, "-rmsd", "-C", "1", "--tsv=n.tsv", "--json=n.json", "--jsonl=n.jsonl",
        "--newick=n.nwk", "--npy=n.npy", "--ranking=n.rank")
    run(program, folder, "-e", "experiment.pdb", models, "--residues=n.res")
    assert {unescaped(row[key]) for row in table("n.tsv") for key in ("file1", "file2")} == set(wanted)
    assert {unescaped(row["file"]) for row in table("n.rank")} == set(wanted)
    assert {unescaped(row["file2"]) for row in table("n.res")} == set(wanted)
    with open("n.npy.names", encoding="utf-8", newline="") as lines:
        assert {unescaped(line) for line in lines.read().split("\n")[:-1]} == set(wanted)
    decoded = {alike(path.decode("utf-8", "replace")) for path in wanted}
    document = json.loads(pathlib.Path("n.json").read_text("utf-8"))
    lines = [json.loads(line) for line in pathlib.Path("n.jsonl").read_text("utf-8").split("\n")[:-1]]
    assert {alike(entry["file"]) for entry in document["inputs"]} == decoded
    assert {alike(line[key]) for line in lines for key in ("file1", "file2")} == decoded
    phylo = client("Bio.Phylo")
    if phylo:  # it takes apostrophes for no part of a name, and a backslash for a mark
        tree = pathlib.Path("n.nwk").read_text("utf-8").replace("it''s", "its")
        leaves = {alike(leaf.name) for leaf in phylo.read(io.StringIO(tree), "newick").get_terminals()}
        shown = {re.sub("[\t\n]", "?", name).replace("'", "") for name in decoded if "\\" not in name}
        assert shown <= leaves, shown - leaves


def check_failures(program, folder):
    run(program, folder, "-e", "gone.pdb", "-p", "near_1.pdb", "--json=f.json", "--tsv=f.tsv", status=1)
    failed = json.loads((folder / "f.json").read_text("utf-8"))
    assert failed["status"] == "Failed to read PDB file 'gone.pdb'" and not (folder / "f.tsv").exists()
    run(program, folder, "-e", "experiment.pdb", "-p", "near_1.pdb", "--tsv=none/f.tsv", "-noalign", status=1)
    for options in (["--ranking=f"], ["--npy=f"], ["--newick=f"]):
        run(program, folder, "-e", "experiment.pdb", "-p", "near_1.pdb", *options, status=1)
    run(program, folder, "-l", "models.txt", "--residues=f", status=1)
    run(program, folder, "-l", "models.txt", "-C", "0", "--superposed=f", status=1)
    assert not (folder / "f").exists() and not (folder / "align.rsm").exists()
    return failed


def main():
    program, source = str(pathlib.Path(sys.argv[1]).resolve()), pathlib.Path(sys.argv[2])
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        shutil.copytree(source / "examples", folder, dirs_exist_ok=True)
        with open(folder / "models.txt", "a", encoding="utf-8") as models:
            models.write("gone.pdb\n")
        files = ["--tsv=pairs.tsv", "--json=run.json", "--jsonl=pairs.jsonl", "--npy=matrix.npy",
                 "--linkage=linkage.npy", "--newick=tree.nwk", "--ranking=ranking.tsv", "--report=page.html"]
        output = run(program, folder, "-l", "models.txt", "-C", "2", "-L", "2", *files)
        quiet = subprocess.run([program, "-l", "models.txt", "--progress=lines"], cwd=folder, capture_output=True,
                               text=True, check=True)
        assert "\b" not in quiet.stdout and quiet.stderr.count(" a second, ") == 10, quiet
        first = {path.name: path.read_bytes() for path in folder.iterdir() if path.is_file()}
        run(program, folder, "-l", "models.txt", "-C", "2", "-L", "2", *files, "--threads=3", "--progress=none")
        assert first == {path.name: path.read_bytes() for path in folder.iterdir() if path.is_file()}
        run(program, folder, "-l", "models.txt", "-C", "2", "-rmsd", "--npy=rmsd.npy", "--linkage=rmsd-linkage.npy")
        document = check_numbers(folder, output)
        check_finite(program, folder)
        check_inputs(program, folder, document)
        check_substitutions(source)
        pair = check_residues(program, folder)
        failed = check_failures(program, folder)
        check_schema(source, [document, failed], [*document["pairs"], pair])
        check_jq(folder, document)
        check_scipy(folder, document)
        check_newick(folder, document)
        check_names(program, folder, "odd", NAMES)
        check_names(program, folder, DEEP, ["n" * 190 + ".pdb", "m.pdb"])
        os.chdir("/")
    if skipped:
        print("skipped: not installed, and so not checked:", *sorted(set(skipped)))
    return SKIPPED if skipped else 0


if __name__ == "__main__":
    sys.exit(main())
