#!/usr/bin/python3
"""Runs every command of corvane-host in every output format, with standard output on a full
device. Each command must fail and report the reason.

Commands and output formats are read from `corvane-host help -o json`.
"""

import concurrent.futures
import itertools
import os
import pathlib
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True
import commands  # noqa: E402

DIRECTORY = pathlib.Path(os.environ["BATS_TEST_TMPDIR"])
HOST = f"{os.environ['CORVANE_BUILD']}/bin/corvane-host"

# Arguments by command, if they differ from those that the synopsis requires.
OVERRIDES = {
    "attach": "a0 -y",
    "detach": "a0 -y",
    "online": "a0/d0 -y",
    "offline": "a0/d0 -y",
    "format": "a0/d0 --capacity 80 --dry-run",
    "set": "plugin poll_interval=30",
    "watch": "--for 1s",
    "wait": "a0 attached",
}

PRINTS_NOTHING = {"serve"}  # to standard output
# Commands that need a card that has been recorded; state.bats runs one of them.
NEED_RECORDED_CARD = {"history", "ack", "forget"}

FAILED, UNKNOWN = 1, 3
WRITE_ERROR = "corvane-host: cannot write the output: No space left on device\n"

counter = itertools.count()


def run(words):
    """Runs one command line. Returns how its exit code or message is wrong, or None."""
    # Separate files for each run, because some commands change the cards or the configuration.
    directory = DIRECTORY / str(next(counter))
    (directory / "config").mkdir(parents=True)
    cards = directory / "cards.json"
    shutil.copy(os.environ["CARDSIM_STATE"], cards)
    environment = dict(os.environ, CORVANE_CONFIG_DIR=str(directory / "config"))
    with open("/dev/full", "w") as full:
        process = subprocess.run(
            [HOST, f"--simulate={cards}", *words], stdin=subprocess.DEVNULL, stdout=full,
            stderr=subprocess.PIPE, text=True, env=environment, timeout=200,
        )
    expected = UNKNOWN if words[0] == "check" else FAILED
    if process.returncode != expected:
        return f"exit code {process.returncode}, expected {expected}: {process.stderr}"
    return None if process.stderr.endswith(WRITE_ERROR) else f"unexpected message: {process.stderr}"


def main():
    help_json = subprocess.run([HOST, "help", "-o", "json"], capture_output=True, check=True).stdout
    formats = commands.formats(help_json)
    rows = []
    for command, arguments in commands.arguments(help_json, OVERRIDES).items():
        if command in PRINTS_NOTHING | NEED_RECORDED_CARD:
            continue
        arguments = arguments.replace("OBJ", "a0").replace("DRIVE", "a0/d0")
        words = [command, *arguments.split()]
        rows += [[*words, "-o", format_name] for format_name in formats[command]]
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(max_workers=8) as pool:
        for row, problem in zip(rows, pool.map(run, rows)):
            if problem:
                failed += 1
                print(f"{' '.join(row)}: {problem}")
    print(f"{len(rows)} runs, {failed} failed")
    sys.exit(failed != 0)


main()
