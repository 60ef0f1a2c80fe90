"""Running programs, and what they used."""

import os
import shutil
import subprocess

ONE_THREAD = {"OMP_NUM_THREADS": "1", "OPENBLAS_NUM_THREADS": "1", "MKL_NUM_THREADS": "1"}


class NotRun(Exception):
    """A row that cannot be measured here; the text says why."""


class Usage:
    """What a finished process used: CPU seconds (user and system, children included), peak MB."""

    def __init__(self, rusage):
        self.seconds = rusage.ru_utime + rusage.ru_stime
        self.megabytes = rusage.ru_maxrss / 1024.0


def run(command, folder, extra=None):
    """Runs a command in a folder, its output thrown away."""
    environment = {**os.environ, **ONE_THREAD, **(extra or {})}
    need(command[0])
    with subprocess.Popen([str(word) for word in command], cwd=folder, env=environment,
                          stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL) as process:
        _, status, rusage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise NotRun(f"{' '.join(map(str, command[:3]))} ... ended with {process.returncode}")
    return Usage(rusage)


def output(command, folder, extra=None):
    """The standard output and standard error of a command, as two texts."""
    environment = {**os.environ, **ONE_THREAD, **(extra or {})}
    done = subprocess.run([str(word) for word in command], cwd=folder, env=environment, text=True,
                          stdin=subprocess.DEVNULL, capture_output=True, check=False)
    if done.returncode != 0:
        raise NotRun(f"{command[0]}: {done.stderr.strip().splitlines()[-1:]}")
    return done.stdout, done.stderr


def need(name):
    if not shutil.which(name):
        raise NotRun(f"{name} is not installed")
    return name
