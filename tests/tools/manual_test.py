#!/usr/bin/env python3
"""Every option that the program's help names is described in the manual page, and the other way.

usage: manual_test.py PROGRAM MANUAL
"""

import re
import subprocess
import sys

# Options that the help does not list, on purpose.
NOT_IN_HELP = {"V", "rms", "exclude"}


def main():
    program, manual = sys.argv[1:]
    run = subprocess.run([program, "-help"], capture_output=True, text=True, check=True)
    in_help = set(re.findall(r"^ {3,4}-(\w+)", run.stdout, re.MULTILINE))
    with open(manual, encoding="utf-8") as file:
        tags = [line for line in file if line.startswith(".It Fl")]
    in_manual = {name for line in tags for name in re.findall(r"\bFl (\w+)", line)}
    expected = in_help | NOT_IN_HELP
    print("options not in the manual page:", sorted(expected - in_manual))
    print("options only in the manual page:", sorted(in_manual - expected))
    return 0 if len(in_help) > 40 and in_manual == expected else 1


if __name__ == "__main__":
    sys.exit(main())
