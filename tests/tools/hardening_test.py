#!/usr/bin/env python3
"""Looks into the program for the marks of a hardened build, with readelf, and for the libraries
that it needs at run time: zlib and those of C and C++, or none at all.

usage: hardening_test.py PROGRAM [static]
"""

import re
import shutil
import subprocess
import sys

MARKS = {
    "position-independent executable": lambda text: "(Position-Independent Executable" in text,
    "read-only relocations": lambda text: "GNU_RELRO" in text,
    "no lazy binding": lambda text: "BIND_NOW" in text or "Flags: NOW" in text,
    "no executable stack": lambda text: any(
        "GNU_STACK" in line and " RW " in line for line in text.splitlines()
    ),
}
DYNAMIC = {
    "stack protector": lambda text: "__stack_chk_fail" in text,
    "fortified library calls": lambda text: "_chk@" in text.replace("__stack_chk_fail@", ""),
    "no other libraries": lambda text: set(
        re.findall(r"\(NEEDED\).*\[(?:lib)?([a-z+_]+)", text)
    ) <= {"z", "stdc++", "gcc_s", "m", "c", "ld"},
}
# The C library's own copies of these functions are in any static program.
STATIC = {"no libraries": lambda text: "(NEEDED)" not in text and "INTERP" not in text}

if not shutil.which("readelf"):
    print("skipped: readelf is not there")
    sys.exit(77)
program, *form = sys.argv[1:]
text = subprocess.run(
    ["readelf", "-W", "-h", "-l", "-d", "--dyn-syms", program],
    stdout=subprocess.PIPE, text=True, check=True,
).stdout
marks = {**MARKS, **(STATIC if form == ["static"] else DYNAMIC)}
missing = [mark for mark, is_there in marks.items() if not is_there(text)]
print("missing: " + ", ".join(missing) if missing else "all there")
sys.exit(1 if missing else 0)
