#!/usr/bin/env python3
"""Lets everything fail that can fail, and sees what the program leaves behind.

usage: faults.py PROGRAM SHIM PART [EVERY]

  calls       each system call of a run fails, one run for each (with strace)
  memory      each allocation fails, alone and with all after it (with the shim)
  limits      files cut at every kind of length, standard output full or without a reader
  permission  a folder and files that an ordinary user may not write
  disk        a file system of every small size
  signals     SIGINT, SIGTERM, SIGHUP and SIGKILL at any moment, on a terminal

EVERY thins out the runs: with 5 every fifth one is made; for `signals` it is their number.  Without
SHIM ('') only what needs none is done: sanitizers want to be loaded first.
Whatever fails, there must be no crash; a result file must be the new or the old version, whole;
nothing else may be left behind; and what is not as it should be must have been said.
"""

import errno
import gzip
import io
import os
import pathlib
import pty
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import zipfile
import zlib

SKIPPED = 77
TIME_LIMIT = 60  # seconds
OLD = b"SIZE : 2\nDIST : 1 2 0.5\n"  # an older version of every result file
HERE = pathlib.Path(__file__).resolve().parent
CPU_TIME = re.compile(rb"CPU time = \d+\.\d\d seconds")

# Arguments, and the result files; run.log is none, as it is written line by line.
SCENARIOS = {
    "pairwise": (["-e", "helix.pdb", "-p", "long.pdb"], ["align.rsm"]),
    "compressed": (["-rmsd", "long.pdb.gz", "helix.pdb"], ["align.rsm"]),
    "entries": (
        ["-rmsd", "--chain=A", "--pair=sequence", "-e", "entry.cif.gz", "-p", "turned.pdb.gz"],
        ["align.rsm"],
    ),
    "structure": (
        ["-in", "-matrix", "-L", "5", "-e", "hinge.pdb", "-p", "helix.pdb"],
        ["align.rsm", "align.matrix.1.0", "align.matrix.1.1"],
    ),
    "list": (
        ["-e", "helix.pdb", "-l", "models.txt", "-super", "2", "-log", "run.log"],
        ["super.rsm"],
    ),
    "maxsub": (["-l", "models.txt", "-R", "full.txt", "-Rl", "lite.txt"], ["full.txt", "lite.txt"]),
    "rmsd": (
        ["-l", "models.txt", "-rmsd", "-R", "r.txt", "-Ru", "u.txt", "-exclude", "skip.txt"],
        ["r.txt", "u.txt"],
    ),
    "exports": (
        ["-l", "models.txt", "-C", "2", "--tsv=t.tsv", "--json=j.json", "--npy=m.npy", "--newick=t.nwk",
         "--jsonl=j.jsonl", "--ranking=r.tsv", "--linkage=l.npy"],
        ["t.tsv", "j.json", "m.npy", "m.npy.names", "t.nwk", "j.jsonl", "r.tsv", "l.npy"],
    ),  # fmt: skip
    "viewers": (
        ["-noalign", "-e", "helix.pdb", "-p", "moved.pdb.gz", "--superposed=.", "--pymol=scene.pml",
         "--molstar=scene.mvsx", "--report=page.html", "--chimerax=scene.cxc", "--rasmol=scene.rsm",
         "--residues=r.tsv"],
        ["moved.pdb", "scene.pml", "scene.mvsx", "page.html", "scene.cxc", "scene.rsm", "r.tsv"],
    ),  # fmt: skip
    "threads": (["-l", "models.txt", "-Rl", "lite.txt", "--threads=2"], ["lite.txt"]),
    "block": (
        ["-l", "models.txt", "-R", "r.txt", "--tsv=t.tsv", "--block=1/2", "--part=1.part", "--threads=2"],
        ["1.part"],
    ),
    "merge": (
        ["-l", "models.txt", "-R", "r.txt", "--tsv=t.tsv", "--merge=parts"],
        ["r.txt", "t.tsv"],
    ),
    "distances": (["-F", "distances.txt", "-C", "2"], []),
    "transformations": (["-M", "transformations.txt"], []),
}
# What fails how, where it is not an input/output error alone; or which signal comes just then.
ERRORS = {
    "openat": ["EIO", "EMFILE", "ENOSPC"],
    "read": ["EIO", "EINTR"],
    "write": ["EIO", "EINTR", "ENOSPC", "ENOSPC+"],
    "close": ["EIO", "EINTR", "SIGINT"],
    "linkat": ["EIO", "EEXIST", "SIGTERM"],
    # The last two come from file systems that rename nothing over what somebody has open.
    "rename": ["EIO", "EBUSY", "SIGHUP", "ETXTBSY", "EACCES"],
    "mmap": ["ENOMEM"],
}
# What never fails, and brk(), whose failure is no error number.  futex() waits for other threads:
# its number differs from run to run, and the C library ends a process that it fails for.
SPARED = {"exit_group", "munmap", "getpid", "rt_sigprocmask", "rt_sigaction", "umask", "brk", "futex"}


def mmcif_text(records):
    """The C-alpha atoms of PDB records as mmCIF."""
    columns = {"type_symbol": (76, 78), "label_atom_id": (12, 16), "label_comp_id": (17, 20), "label_asym_id": (21, 22),
               "label_seq_id": (22, 26), "Cartn_x": (30, 38), "Cartn_y": (38, 46), "Cartn_z": (46, 54)}
    text = b"data_x\nloop_\n" + b"".join(f"_atom_site.{tag}\n".encode() for tag in columns)
    for record in records:
        if record.startswith(b"ATOM"):
            text += b" ".join(record[a:b].strip() for a, b in columns.values()) + b"\n"
    return text


class Workshop:
    """A folder with the inputs of all scenarios, and the program to run there."""

    def __init__(self, program, shim, folder):
        self.program, self.shim, self.folder = program, shim, pathlib.Path(folder)
        self.found = []
        self.checked = 0
        common = HERE.parent / "cli" / "common"
        for model in ("helix.pdb", "hinge.pdb", "tail.pdb", "turned.pdb"):
            shutil.copy(common / model, self.folder)
        # Two blocks long, also when compressed: half of the atoms are in the second.
        half = (common / "helix.pdb").read_bytes().splitlines(keepends=True)
        noise = random.Random(1).randbytes(35000).hex(" ", 30).encode().replace(b" ", b"\nREMARK ")
        text = b"".join(half[:10]) + b"REMARK " + noise + b"\n" + b"".join(half[10:])
        self.write("long.pdb", text)
        self.write("long.pdb.gz", gzip.compress(text, mtime=0))
        self.write("entry.cif.gz", gzip.compress(mmcif_text(half)))
        self.write("models.txt", b"helix.pdb\nlong.pdb\nhinge.pdb\nturned.pdb.gz\n")
        self.write("turned.pdb.gz", gzip.compress((common / "turned.pdb").read_bytes()))
        self.write("moved.pdb.gz", gzip.compress((common / "turned.pdb").read_bytes(), mtime=0))
        self.write("skip.txt", b"   3 \n")
        self.run(["-l", "models.txt", "-C", "0", "-R", "transformations.txt"])
        self.run(["-l", "models.txt", "-C", "0", "-rmsd", "-R", "distances.txt"])
        (self.folder / "parts").mkdir()
        for part in "12":
            self.run(
                ["-l", "models.txt", "-R", "r.txt", "--tsv=t.tsv", f"--block={part}/2",
                 f"--part=parts/{part}.part"]
            )
        self.inputs = set(os.listdir(self.folder))

    def write(self, name, text):
        (self.folder / name).write_bytes(text)

    def read(self, name):
        path = self.folder / name
        return path.read_bytes() if path.exists() else None

    def run(self, arguments, before=(), environment=None, **options):
        options = {"stdout": subprocess.PIPE, "cwd": self.folder} | options
        sanitizers = {"ASAN_OPTIONS": "detect_leaks=0:exitcode=99", "UBSAN_OPTIONS": "exitcode=99"}
        return subprocess.run(
            [*before, self.program, *arguments],
            stdin=subprocess.DEVNULL,
            stderr=subprocess.PIPE,
            timeout=TIME_LIMIT,
            env=os.environ | sanitizers | (environment or {}),
            **options,
        )

    def prepare(self, results, old):
        for name in set(os.listdir(self.folder)) - self.inputs:
            (self.folder / name).unlink()
        for name in results if old is not None else ():
            self.write(name, old)

    def reference(self, scenario):
        """What a run without faults prints and writes."""
        arguments, results = SCENARIOS[scenario]
        self.prepare(results, None)
        run = self.run(arguments)
        assert run.returncode == 0 and not run.stderr, (scenario, run)
        return CPU_TIME.sub(b"", run.stdout), {name: self.read(name) for name in results}

    def is_whole(self, text):
        """Whether a result of other inputs (some could not be read) was written to its end."""
        if text.startswith(b"#!"):
            return b"\nexit\nATOM" in text and text.endswith(b"\nTER\n")
        if text.startswith(b"\x93NUMPY"):
            return len(text) % 4 == 0
        if text.startswith(b"TVLPART"):
            return zlib.crc32(text[:-4]) == int.from_bytes(text[-4:], "little")
        if text.startswith(b"PK"):
            return zipfile.ZipFile(io.BytesIO(text)).testzip() is None
        if b"SIZE :" not in text:
            return text.endswith(b"\n")
        self.write("check.txt", text)
        option = "-M" if b"MaxSub File" in text else "-F"
        run = self.run([option, "check.txt", "-C", "0"])
        (self.folder / "check.txt").unlink()
        return run.returncode == 0 and not run.stderr

    def check(self, what, scenario, run, reference, old, hears=True, dies_of=0):
        """Notes what a run with a fault did wrong; `hears` tells whether messages arrive, and
        `dies_of` what signal it was sent."""
        self.checked += 1
        results = SCENARIOS[scenario][1]
        printed, expected = reference
        said = run.stderr + (self.read("run.log") or b"")
        problems = []
        if run.returncode not in (0, 1, -dies_of) or b"Sanitizer" in said or b"runtime error" in said:
            problems.append(f"ended with {run.returncode}")
        reported = b"ERROR : " in said or b"ABEND : " in said
        reported |= b"Failed to open alignment" in (run.stdout or b"")
        if run.returncode == 1 and hears and not reported:
            problems.append("failed without a message")
        same = run.stdout is None or CPU_TIME.sub(b"", run.stdout) == printed
        for name in results:
            text = self.read(name)
            same &= text == expected[name]
            if text not in (old, expected[name]) and not (reported and self.is_whole(text)):
                problems.append(f"{name} is neither the old nor the new version")
        if run.returncode == 0 and not same and not reported:
            problems.append("says nothing of what is missing")
        left = set(os.listdir(self.folder)) - self.inputs - set(results) - {"run.log"}
        if left:
            problems.append(f"left behind {sorted(left)}")
        if problems:
            self.found.append(f"{scenario}, {what}: " + "; ".join(problems))
            self.found.append("    " + said.decode(errors="replace").strip()[-300:])


def calls_of(trace, spared):
    """The system calls of main(): (name, its how-manieth from the beginning of the process on)."""
    lines = [line for line in trace.splitlines() if re.match(r"\w+\(", line)]
    start = next(i for i, line in enumerate(lines) if line.startswith("fcntl(0"))  # in main()
    seen = {}
    for i, line in enumerate(lines):
        name = line.split("(")[0]
        seen[name] = seen.get(name, 0) + 1
        if i > start and name not in spared:
            yield name, seen[name]


def fail_calls(shop, every):
    if not shutil.which("strace") or shop.run([], ["strace", "-o", "/dev/null"]).returncode > 1:
        return "strace is not there, or may not trace"
    runs = 0
    # Sanitizers end the run for lack of memory, and have taken more than the limit allows.
    spared = SPARED if shop.shim else SPARED | {"mmap", "prlimit64"}
    for scenario, (arguments, results) in SCENARIOS.items():
        reference = shop.reference(scenario)
        shop.prepare(results, OLD)
        shop.run(arguments, ["strace", "-o", "trace"])
        for name, number in calls_of(shop.read("trace").decode(), spared):
            for error in ERRORS.get(name, ["EIO"]):
                runs += 1
                if runs % every:
                    continue
                old = OLD if runs // every % 2 else None
                shop.prepare(results, old)
                goes_on = error.endswith("+")
                kind = "signal" if error.startswith("SIG") else "error"
                when = f"{name}:{kind}={error.strip('+')}:when={number}{'+' * goes_on}"
                run = shop.run(arguments, ["strace", "-o", "/dev/null", "-e", f"inject={when}"])
                # A failed write may be that of the message.
                hears = name != "write" and not goes_on
                dies_of = signal.Signals[error] if kind == "signal" else 0
                shop.check(when, scenario, run, reference, old, hears, dies_of)


def fail_memory(shop, every):
    runs = 0
    for scenario, (arguments, results) in SCENARIOS.items():
        reference = shop.reference(scenario)
        preload = {"LD_PRELOAD": shop.shim}
        shop.run(arguments, environment=preload | {"FAULT_TALLY": "tally"})
        for number in range(1, int(shop.read("tally")) + 1):
            for which in (f"{number}", f"{number}+"):
                runs += 1
                if runs % every:
                    continue
                old = OLD if runs // every % 2 else None
                shop.prepare(results, old)
                run = shop.run(arguments, environment=preload | {"FAULT_ALLOCATION": which})
                shop.check(f"allocation {which}", scenario, run, reference, old)


def fail_limits(shop, _):
    for scenario, (arguments, results) in SCENARIOS.items():
        reference = shop.reference(scenario)
        sizes = sorted(len(text) for text in reference[1].values())
        limits = {size * k // 8 for size in sizes for k in range(8)} | {s - 1 for s in sizes}
        for limit in sorted(limits):
            for no_tmpfile in ({}, {"LD_PRELOAD": shop.shim, "FAULT_NO_TMPFILE": "1"}):
                if no_tmpfile and not shop.shim:
                    continue
                shop.prepare(results, OLD)
                run = shop.run(
                    arguments,
                    environment=no_tmpfile,
                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)),
                )
                shop.check(f"files of {limit} bytes", scenario, run, reference, OLD)
        ends = os.pipe()
        os.close(ends[0])
        with open("/dev/full", "wb") as full:
            for what, output in ("/dev/full", full), ("no reader", ends[1]):
                shop.prepare(results, OLD)
                run = shop.run(arguments, stdout=output)
                shop.check(what, scenario, run, reference, OLD)
                if run.returncode != 1 and reference[0]:
                    shop.found.append(f"{scenario}, {what}: ended with {run.returncode}")
        os.close(ends[1])


def fail_permission(shop, _):
    user = {"user": 65534, "group": 65534, "extra_groups": []} if os.geteuid() == 0 else {}
    shop.folder.chmod(0o755)
    try:
        shop.run(["-version"], **user)
    except PermissionError:
        return "an ordinary user cannot reach the program"
    for scenario, (arguments, results) in SCENARIOS.items():
        reference = shop.reference(scenario)
        for what, old, mode in ("closed folder", None, 0o555), ("closed files", OLD, 0o777):
            shop.prepare(results, old)
            for name in results if old else ():
                (shop.folder / name).chmod(0o444)
            shop.folder.chmod(mode)
            run = shop.run(arguments, **user)
            shop.folder.chmod(0o755)
            shop.check(what, scenario, run, reference, old)
            unchanged = all(shop.read(name) == old for name in results)
            fatal = what == "closed folder" and scenario == "list"  # no log file
            fatal |= scenario in ("exports", "viewers", "block", "merge")  # the run goes on, but all that was asked for is not there
            if not unchanged or run.returncode != (1 if fatal else 0):
                shop.found.append(f"{scenario}, {what}: {run.returncode}, written: {not unchanged}")


def fail_disk(shop, _):
    mount = ["unshare", "-rm", "sh", "-c"]
    mounts = 'mount -t tmpfs -o size="$0" none small'
    (shop.folder / "small").mkdir()
    trial = mount + [f"{mounts} && exit 9", "16k"]
    if not shutil.which("unshare") or shop.run([], trial).returncode != 9:
        return "no small file system can be mounted"
    # The inputs are read where they are; the results go to the small disk, and from there back.
    script = mounts + (
        ' && cd small; for f in ../*; do [ "$f" = ../small ] || ln -s "$f" .; done;'
        ' for r in $RESULTS; do rm -f "$r"; cat ../old >"$r"; done;'
        ' for r in $MOUNTED; do cat ../old >"at.$r"; mount --bind "at.$r" "$r"; done;'
        ' [ -z "$READ_ONLY" ] || { : >run.log; mount --bind run.log run.log; mount -o remount,bind,ro .; };'
        ' "$@"; status=$?;'
        ' for r in $RESULTS run.log; do rm -f ../"$r"; cp "$r" .. 2>/dev/null; done; exit $status'
    )
    shop.write("old", OLD)
    shop.inputs |= {"small", "old"}
    for scenario, (arguments, results) in SCENARIOS.items():
        reference = shop.reference(scenario)
        names = " ".join(results)
        for mounted in ("", names) if results else ():  # as a container mounts single files
            least = (2 if mounted else 1) * len(results) + 1
            # Old and new versions of one page each, and what the new ones take beyond it; one that is
            # mounted is for a moment there twice.
            beyond = [len(text) // 4096 for text in reference[1].values()]
            most = least + sum(beyond) + max(beyond, default=0) + 9
            for pages in range(least, most + 1):
                for read_only in ("", "1") if mounted and pages == most else ("",):
                    shop.prepare(results, OLD)
                    environment = {"RESULTS": names, "MOUNTED": mounted, "READ_ONLY": read_only}
                    run = shop.run(arguments, mount + [script, f"{4 * pages}k"], environment)
                    what = f"disk of {pages} pages, {mounted=}, {read_only=}"
                    shop.check(what, scenario, run, reference, OLD)
                    new = {name: shop.read(name) for name in results} == reference[1]
                    if pages == most and not new:
                        shop.found.append(f"{scenario}, {what}: not written though there is room")


def fail_signals(shop, count):
    try:
        for descriptor in pty.openpty():
            os.close(descriptor)
    except OSError:
        return "no terminal can be made"
    shop.write("many.txt", b"helix.pdb\nturned.pdb\n" * 150)
    shop.inputs.add("many.txt")
    results = ["r.txt", "t.tsv", "j.json", "page.html"]
    arguments = ["-l", "many.txt", "-rmsd", "-C", "0", "-R", "r.txt"]
    arguments += ["--tsv=t.tsv", "--json=j.json", "--report=page.html"]
    began = time.monotonic()
    shop.run(arguments)
    duration = time.monotonic() - began
    expected = {name: shop.read(name) for name in results}
    chance = random.Random(9)
    moments = {"old": 0, "new": 0}
    for number in range(count):
        which = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGKILL)[number % 4]
        shop.prepare(results, OLD)
        ours, its = pty.openpty()
        shown = []

        def drain():
            try:
                while block := os.read(ours, 65536):
                    shown.append(block)
            except OSError as error:  # the other side is closed
                assert error.errno == errno.EIO

        shim = {"LD_PRELOAD": shop.shim, "FAULT_NO_TMPFILE": "1"} if number % 8 >= 4 else {}
        process = subprocess.Popen(
            [shop.program, *arguments],
            cwd=shop.folder,
            stdout=its,
            env=os.environ | (shim if shop.shim else {}),
        )
        os.close(its)
        reader = threading.Thread(target=drain)
        reader.start()
        time.sleep(chance.uniform(0, 1.2 * duration))
        process.send_signal(which)
        status = process.wait(TIME_LIMIT)
        reader.join()
        os.close(ours)
        texts = {name: shop.read(name) for name in results}
        left = set(os.listdir(shop.folder)) - shop.inputs - set(results)
        screen = b"".join(shown)
        for name, text in texts.items():
            moments["new" if text == expected[name] else "old"] += 1
            if text not in (OLD, expected[name]) or (status == 0 and text != expected[name]):
                shop.found.append(f"{which.name}: {name} is broken")
        if status not in (0, -which):
            shop.found.append(f"{which.name}: ended with {status}")
        if which != signal.SIGKILL and (left or (screen and not screen.endswith(b"\n"))):
            shop.found.append(f"{which.name}: left {left} and on the screen {screen[-60:]}")
    print(f"{count} signals; the result files were {moments}")
    return None


PARTS = {
    "calls": fail_calls,
    "memory": fail_memory,
    "limits": fail_limits,
    "permission": fail_permission,
    "disk": fail_disk,
    "signals": fail_signals,
}


def main():
    program, shim, part = sys.argv[1:4]
    every = int(sys.argv[4]) if len(sys.argv) > 4 else 50 if part == "signals" else 1
    with tempfile.TemporaryDirectory() as folder:
        shop = Workshop(os.path.abspath(program), shim and os.path.abspath(shim), folder)
        skipped = PARTS[part](shop, every)
        if shop.checked:
            print(f"{shop.checked} runs with a fault")
        if skipped:
            print(f"skipped: {skipped}")
            return SKIPPED
    print("\n".join(shop.found[:40]))
    return 1 if shop.found else 0


if __name__ == "__main__":
    sys.exit(main())
