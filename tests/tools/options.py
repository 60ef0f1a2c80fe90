"""The options of the program, as its help names them."""

import re
import subprocess

# Options that the help does not list, on purpose.
NOT_IN_HELP = {"V", "rms", "exclude"}


def all_options(program):
    """The names of all options, without their dash; those of two dashes have one left, and "=" where
    they take a value."""
    run = subprocess.run([program, "-help"], capture_output=True, text=True, check=True)
    in_help = set(re.findall(r"^ {3,4}-(\w+)", run.stdout, re.MULTILINE))
    assert len(in_help) > 40, "the help is not what it was"
    run = subprocess.run([program, "--help=more"], capture_output=True, text=True, check=True)
    own = set(re.findall(r"^    -(-[\w-]+=?)", run.stdout, re.MULTILINE))
    return in_help | NOT_IN_HELP | own
