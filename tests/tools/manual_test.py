#!/usr/bin/env python3
"""Every option that the program's help names is described in the manual page, and the other way.

usage: manual_test.py PROGRAM MANUAL
"""

import re
import sys

from options import all_options


def main():
    program, manual = sys.argv[1:]
    with open(manual, encoding="utf-8") as file:
        tags = [line for line in file if line.startswith(".It Fl")]
    flags = [flag for line in tags for flag in re.findall(r"\bFl (-?[\w-]+)( Ns =)?", line)]
    in_manual = {name + ("=" if has_value else "") for name, has_value in flags}
    expected = all_options(program)
    print("options not in the manual page:", sorted(expected - in_manual))
    print("options only in the manual page:", sorted(in_manual - expected))
    return 0 if in_manual == expected else 1


if __name__ == "__main__":
    sys.exit(main())
