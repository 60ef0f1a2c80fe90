#!/usr/bin/env python3
"""The completions of bash and zsh know every option of the program, no other, and their values.

usage: completion_test.py bash|zsh PROGRAM COMPLETION

Ends with status 77 where there is no such shell.
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

from options import all_options

FILES = ["model.pdb", "packed.ent.gz", "models.txt"]
STRUCTURES, OTHERS = ["model.pdb", "packed.ent.gz"], ["models.txt"]
# What bash offers for the last word: all candidates, or the folder's files.
BASH_CASES = [
    (["-e", ""], STRUCTURES),
    (["--p", "mod"], ["model.pdb"]),
    (["-rmsd", ""], STRUCTURES),
    (["-l", ""], OTHERS),
    (["-l", "model.p"], ["model.pdb"]),  # nothing else fits
    (["-R", "mod"], OTHERS),
    (["-C", "3"], ["3"]),
    (["-d", ""], []),
    (["-nou"], ["-nourmsd"]),
    (["--ver"], ["--version"]),
    (["--help", "="], sorted(FILES)),
]
# Prints what completion offers for the words after the file, one a line.
BASH_SCRIPT = """
set -u
source "$1"
[[ $(complete -p tervolanda) == "complete -F _tervolanda tervolanda" ]] || exit 1
shift
COMP_WORDS=(tervolanda "$@")
COMP_CWORD=$#
_tervolanda
printf '%s\\n' "${COMPREPLY[@]}"
"""
# Prints the specifications that the completion hands to zsh's own function.
ZSH_SCRIPT = """
_arguments() { print -rl -- "$@" }
source "$1"
"""


def run_shell(shell, script, *words, folder=None):
    """The lines that a script prints; no shell start-up files are read."""
    bare = {"bash": ["bash", "--norc", "--noprofile"], "zsh": ["zsh", "-f"]}[shell]
    run = subprocess.run(
        [*bare, "-c", script, shell, *words], cwd=folder, capture_output=True, text=True, check=True
    )
    assert run.stderr == "", run.stderr
    return run.stdout.split("\n")[:-1]


def bash_options(completion):
    """The options that bash offers, after a look at the values it offers."""
    with tempfile.TemporaryDirectory() as folder:
        for name in FILES:
            (pathlib.Path(folder) / name).touch()
        for words, expected in BASH_CASES:
            offered = run_shell("bash", BASH_SCRIPT, completion, *words, folder=folder)
            assert sorted(offered) == (expected or [""]), f"{words}: {offered}"
    methods = run_shell("bash", BASH_SCRIPT, completion, "-C", "")
    assert [method[:3] for method in methods] == [f"{n} (" for n in range(6)], methods
    return [option[1:] for option in run_shell("bash", BASH_SCRIPT, completion, "-")]


def zsh_options(completion):
    """The options in the specifications that zsh gets: "(excluded)-name[text]:value:action"."""
    specifications = run_shell("zsh", ZSH_SCRIPT, completion)
    assert any("-C[" in line and "_describe" in line for line in specifications)
    names = (re.match(r"(?:\([^)]*\))?-(-?[\w-]+=?)\[", line) for line in specifications)
    return [match[1] for match in names if match]


def main():
    shell, program, completion = sys.argv[1:]
    if not shutil.which(shell):
        print(f"skipped: there is no {shell} here")
        return 77
    completion = str(pathlib.Path(completion).resolve())
    offered = {"bash": bash_options, "zsh": zsh_options}[shell](completion)
    expected = all_options(program)
    print("options not offered:", sorted(expected - set(offered)))
    print("offered, but no option:", sorted(set(offered) - expected))
    return 0 if sorted(offered) == sorted(expected) else 1


if __name__ == "__main__":
    sys.exit(main())
