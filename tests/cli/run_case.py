#!/usr/bin/env python3
"""Runs the program as one case describes it and compares all that comes out, byte for byte.

usage: run_case.py PROGRAM CASE [OPTION...]

A case is a folder:
  arguments   one a line
  stdin       what the program reads from standard input (nothing without it)
  input/      files of this case, beside those of common/ that every case gets
  stdout      expected standard output (nothing without it)
  stderr      expected standard error (nothing without it)
  status      expected exit status (0 without it)
  output/     files that must be there afterwards; any other new or changed file is a failure
  device      a file to send standard output to instead of comparing it, as /dev/full; "closed"
              starts the program without a standard output
  limit       the largest file the program may write, bytes (no limit without it)

With options, they are given to the program before the arguments of the case, and the program has to
behave as without them; CASE may then be "all".  Status 77 where the option is not for this processor.
The program runs in a scratch folder that holds copies of the inputs.  What differs from run to run
is masked on both sides: the seconds of the CPU time line, and the build date of the version text.
"""

import os
import pathlib
import re
import resource
import shutil
import subprocess
import sys
import tempfile

MASKS = [
    (re.compile(rb"CPU time = \d+\.\d\d seconds"), b"CPU time = (masked) seconds"),
    (
        re.compile(rb"Built on [A-Z][a-z]{2} [ \d]\d \d{4} at \d\d:\d\d:\d\d\."),
        b"Built on (masked).",
    ),
]
TIME_LIMIT = 60  # seconds


def masked(text):
    for pattern, replacement in MASKS:
        text = pattern.sub(replacement, text)
    return text


def contents(path):
    return path.read_bytes() if path.is_file() else b""


def files_below(folder):
    """The files of a folder by their relative names."""
    if not folder.is_dir():
        return {}
    return {
        str(path.relative_to(folder)): path.read_bytes()
        for path in sorted(folder.rglob("*"))
        if path.is_file()
    }


def describe_difference(what, expected, found):
    """The first line that differs, or nothing."""
    if expected == found:
        return []
    expected_lines = expected.splitlines(keepends=True)
    found_lines = found.splitlines(keepends=True)
    for number, line in enumerate(expected_lines):
        if number >= len(found_lines) or found_lines[number] != line:
            break
    else:
        number = len(expected_lines)
    pick = lambda lines: repr(lines[number]) if number < len(lines) else "nothing"
    return [
        f"{what}, line {number + 1}:",
        f"  expected {pick(expected_lines)}",
        f"  found    {pick(found_lines)}",
    ]


def run(command, case, scratch):
    """`command` is a list: the program, or another that runs it and then the program."""
    for inputs in (case.parent / "common", case / "input"):
        if inputs.is_dir():
            shutil.copytree(inputs, scratch, dirs_exist_ok=True)
    before = files_below(scratch)
    device = contents(case / "device").decode().strip()
    limit = int(contents(case / "limit") or b"-1")
    closed = device == "closed"

    def prepare():
        if limit >= 0:
            resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
        if closed:
            os.close(1)

    with open("/dev/null" if closed else device or "/dev/null", "wb") as other:
        result = subprocess.run(
            command + (case / "arguments").read_text().splitlines(),
            cwd=scratch,
            input=contents(case / "stdin"),
            stdout=other if device else subprocess.PIPE,
            stderr=subprocess.PIPE,
            timeout=TIME_LIMIT,
            preexec_fn=prepare,
        )
    after = files_below(scratch)
    written = {name: text for name, text in after.items() if before.get(name) != text}
    written.update({name: b"(removed)" for name in before if name not in after})
    return result, written


def differences(case, result, written):
    found = describe_difference(
        "standard output", masked(contents(case / "stdout")), masked(result.stdout or b"")
    )
    found += describe_difference("standard error", contents(case / "stderr"), result.stderr)
    status = int(contents(case / "status") or b"0")
    if result.returncode != status:
        found.append(f"exit status: expected {status}, found {result.returncode}")
    expected_files = files_below(case / "output")
    for name in sorted(expected_files.keys() | written.keys()):
        if name not in written:
            found.append(f"file {name} was not written")
        elif name not in expected_files:
            found.append(f"file {name} was written, changed or removed unasked")
        else:
            found += describe_difference(f"file {name}", expected_files[name], written[name])
    return found


def check(command, case):
    """What is not as expected, in lines."""
    with tempfile.TemporaryDirectory() as scratch:
        result, written = run(command, case, pathlib.Path(scratch))
    return differences(case, result, written)


def main():
    command = [str(pathlib.Path(sys.argv[1]).resolve())] + sys.argv[3:]
    probe = subprocess.run(command + ["-l", "/dev/null"], capture_output=True)
    if b"is not for this processor" in probe.stderr + probe.stdout:
        print(f"skipped: {sys.argv[3]} is not for this processor or build")
        return 77
    if sys.argv[2] == "all":
        here = pathlib.Path(__file__).resolve().parent
        cases = sorted(path.parent for path in here.glob("*/arguments"))
    else:
        cases = [pathlib.Path(sys.argv[2]).resolve()]
    status = 0
    for case in cases:
        for line in check(command, case):
            print(f"{case.name}: {line}")
            status = 1
    print(f"{len(cases)} cases")
    return status


if __name__ == "__main__":
    sys.exit(main())
