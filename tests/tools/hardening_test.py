#!/usr/bin/env python3
"""Looks into the program for the marks of a hardened build, with readelf, and for the libraries
that it needs at run time: zlib, and those of C and C++.

usage: hardening_test.py PROGRAM
"""

import re
import shutil
import subprocess
import sys

MARKS = {
    "position-independent executable": lambda text: "(Position-Independent Executable" in text,
    "read-only relocations": lambda text: "GNU_RELRO" in text,
    "no lazy binding": lambda text: "BIND_NOW" in text or "Flags: NOW" in text,
    "stack protector": lambda text: "__stack_chk_fail" in text,
    "fortified library calls": lambda text: "_chk@" in text.replace("__stack_chk_fail@", ""),
    "no executable stack": lambda text: any(
        "GNU_STACK" in line and " RW " in line for line in text.splitlines()
    ),
    "no other libraries than these": lambda text: set(
        re.findall(r"\(NEEDED\).*\[(?:lib)?([a-z+_-]+)", text)
    ) <= {"z", "stdc++", "gcc_s", "m", "c", "ld-linux-x"},
}

if not shutil.which("readelf"):
    print("skipped: readelf is not there")
    sys.exit(77)
text = subprocess.run(
    ["readelf", "-W", "-h", "-l", "-d", "--dyn-syms", sys.argv[1]],
    stdout=subprocess.PIPE, text=True, check=True,
).stdout
missing = [mark for mark, is_there in MARKS.items() if not is_there(text)]
print("missing: " + ", ".join(missing) if missing else "all there")
sys.exit(1 if missing else 0)
