#!/usr/bin/env python3
"""Runs the program on one entry in its forms (PDB and mmCIF, plain and gzip): whatever is asked for, the
bytes are the same.  And on what cannot be asked for.

usage: entries_test.py PROGRAM EXAMPLES
"""

import gzip
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

# Each is run where `entry` is the entry.
RUNS = [
    "-e experiment.pdb -p entry --input=auto",
    "-e experiment.pdb -p entry --chain=A -O 2",
    "entry entry --chain-e=A --chain-p=B --model=3 -rmsd",
    "-e experiment.pdb -p entry --chain=A --model=2 --altloc=first -contact -rmsd",
    "-e experiment.pdb -p - --chain=A --altloc=B",
    "-e entry --chain-e=A --chain-p=B --models=list.txt --model=all -super 2",
    "-l list.txt --chain=A --model=all -C 0",
    "--models=[e]ntry --chain=A --model=all -C 0 --threads=2",
    "--models=[e]ntry --chain=Q --model=4",
]
REFUSED = {
    "-e experiment.pdb -p near_1.pdb --model=all": "Option '--model=all' needs a list: -l or --models",
    "-e experiment.pdb -p near_1.pdb --model=x": "Option '--model' takes a number from 0 to 2147483647, not 'x'",
    "-e experiment.pdb -p near_1.pdb --altloc=AB": "Option '--altloc' takes best, first or one letter, not 'AB'",
    "-e experiment.pdb -p near_1.pdb --input=pdb": "Option '--input' has no value 'pdb', but: auto",
    "-e experiment.pdb -p near_1.pdb --kernels=avx": "Option '--kernels' has no value 'avx', but: portable, neon, avx2, avx512",
    "-l models.txt --models=.": "Option '--models' takes the place of -l",
    "--models=none": "Failed to read PDB list file",
}


def outcome(program, words, folder):
    """Status, both streams and the scripts of a run."""
    with open(folder / "entry", "rb") as entry:
        done = subprocess.run([program, *words.split()], cwd=folder, stdin=entry,
                              capture_output=True, check=False)
    scripts = [path.read_bytes() for path in sorted(folder.glob("*.rsm"))]
    for path in folder.glob("*.rsm"):
        path.unlink()
    output = re.sub(rb"CPU time = [\d.]+", b"CPU time =", done.stdout)
    return done.returncode, output, done.stderr, scripts


def main():
    program = pathlib.Path(sys.argv[1]).resolve()
    examples = pathlib.Path(sys.argv[2])
    forms = [examples.joinpath(f"entry.{suffix}").read_bytes() for suffix in ("pdb", "cif")]
    forms += [gzip.compress(form) for form in forms]
    failures = []
    with tempfile.TemporaryDirectory() as scratch:
        folders = [pathlib.Path(scratch, str(i)) for i in range(len(forms))]
        for folder, form in zip(folders, forms):
            shutil.copytree(examples, folder, ignore=shutil.ignore_patterns("library", "decoys"))
            (folder / "entry").write_bytes(form)
            (folder / "list.txt").write_text("entry\n", encoding="ascii")
        for run in RUNS:
            outcomes = [outcome(program, run, folder) for folder in folders]
            succeeds = outcomes[0][0] == 0
            if succeeds != ("auto" not in run and "Q" not in run) or outcomes[1:] != outcomes[:-1]:
                failures.append(f"{run}: {outcomes}")
        for run, message in REFUSED.items():
            status, _, said, _ = outcome(program, run, folders[0])
            if status != 1 or not said.decode().endswith(f"ABEND : {message}\n"):
                failures.append(f"{run}: {said}")
    print("\n".join(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
