"""Checks that a failed run of each program with a seed prints a command that repeats it. The runs
fail at once, because there is nothing in the build directory.

Usage: repeats.py
"""
import os
import pathlib
import shlex
import subprocess
import sys
import tempfile

PROGRAMS = ("random_requests", "kills", "flat")
PREFIX = "repeat with: "


def repeated(words):
    """Runs a command that fails, and returns the command that it prints."""
    with tempfile.TemporaryDirectory() as scratch:
        done = subprocess.run(words, capture_output=True, text=True, check=False,
                              env=dict(os.environ, TMPDIR=scratch))
    last = done.stderr.rstrip().rsplit("\n", 1)[-1]
    if done.returncode != 1 or not last.startswith(PREFIX):
        sys.exit(f"{shlex.join(words)}: exit code {done.returncode}: {done.stderr}")
    return shlex.split(last.removeprefix(PREFIX))


def main():
    with tempfile.TemporaryDirectory() as build:
        for name in PROGRAMS:
            program = [sys.executable, str(pathlib.Path(__file__).parent / f"{name}.py")]
            first = repeated([*program, build, "2"])
            if first[:4] != [*program, build, "2"] or len(first) != 5:
                sys.exit(f"{name}: {shlex.join(first)}")
            if repeated(first) != first:
                sys.exit(f"{name}: {shlex.join(first)} has another seed")
            if repeated([*program, build, "3", "7"]) != [*program, build, "3", "7"]:
                sys.exit(f"{name}: the seed 7 is not repeated")


main()
