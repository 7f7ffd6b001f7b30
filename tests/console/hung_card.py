#!/usr/bin/python3
"""Runs every command for a healthy card while another card hangs or cannot be opened.

hung_card.py OPTION            each command works: it exits with the code that it has without a fault
hung_card.py OPTION timed-out  each command that reads the cards exits with the code for a timeout,
                               because its --timeout is shorter than the plug-in's start;
                               in the commands that wait for a card, it limits only that wait
  OPTION   selects the cards: --simulate=FILE or --socket=PATH

The list of commands is read from `corvane-host help`.
"""
import concurrent.futures
import os
import subprocess
import sys

sys.dont_write_bytecode = True
import commands  # noqa: E402

HOST = f"{os.environ['CORVANE_BUILD']}/bin/corvane-host"
SECONDS = 200  # enough for a slow machine; without a time limit, a command would never exit

# Arguments of commands for which the synopsis alone is not sufficient.
OVERRIDES = {
    "events": "--for 1s",
    "watch": "--for 1s",
    "set": "plugin poll_interval=30",
    "attach": "OBJ -y",
    "online": "DRIVE -y",
    "offline": "DRIVE -y --dry-run",
    "detach": "OBJ -y --dry-run",
    "format": "DRIVE --capacity 80 --dry-run",
    "ack": "OBJ NEAR_WEARING_OUT",
    "unack": "OBJ NEAR_WEARING_OUT",
    "locate": "OBJ on",
}

# Exit codes other than 0.
EXPECTED = {
    "forget": (4,),  # the card is present
    "check": (0, 1, 2),  # any state but UNKNOWN
    "ack": (0, 3),  # 3: without a service, the card is not in the database
}

# Commands that do not use the cards, or that do not exit.
NOT_RUN = {"serve", "explain", "completion", "help", "version"}

WAITING = {"attach", "detach", "op", "wait"}

TIMED_OUT, UNKNOWN = 7, 3


def command_lines():
    help_json = subprocess.run([HOST, "help", "-o", "json"], capture_output=True, check=True).stdout
    for name, words in sorted(commands.arguments(help_json, OVERRIDES).items()):
        if name not in NOT_RUN:
            yield [name, *words.replace("OBJ", "S100").replace("DRIVE", "a0/d0").split()]


def run(words, expected):
    """Runs a command. Returns how its exit code is wrong, or None."""
    try:
        done = subprocess.run([HOST, *words], stdin=subprocess.DEVNULL, capture_output=True,
                              text=True, timeout=SECONDS, check=False)
    except subprocess.TimeoutExpired:
        return "did not exit"
    if done.returncode in expected:
        return None
    return f"exit code {done.returncode}, expected {expected}: {done.stdout}{done.stderr}"


def rows(option, times_out):
    for words in command_lines():
        if not times_out:
            yield [option, *words], EXPECTED.get(words[0], (0,))
            continue
        expected = (UNKNOWN,) if words[0] == "check" else (TIMED_OUT,)
        if words[0] in WAITING:
            expected = (0,)
        yield [option, *words, "--timeout", "1s"], expected


def main(option, times_out=""):
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(max_workers=8) as pool:
        running = [(row, pool.submit(run, *row)) for row in rows(option, bool(times_out))]
        for (words, _), future in running:
            if problem := future.result():
                failed += 1
                print(f"{' '.join(words)}: {problem}")
    print(f"{len(running)} commands, {failed} failed")
    sys.exit(failed != 0)


if __name__ == "__main__":
    main(*sys.argv[1:])
