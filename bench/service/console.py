"""Measures how long the console's commands take, with and without a service, and compares them with
similar programs. All commands run in turn, so that the load of the machine affects them equally.

Usage: console.py BUILD [RUNS]    BUILD: directory of the built programs
  RUNS    runs of each command (default: 10)
"""
import os
import shutil
import statistics
import subprocess
import sys
import time

from common import Machine, print_machine, print_table

CARDS = (1, 3, 64, 253)
COMMANDS = {
    "list": ["list"],
    "status": ["status"],
    "get": ["get", "a0", "temperature_celsius"],
    "check": ["check"],
    "metrics": ["metrics"],
    "list -o json": ["list", "-o", "json"],
}
OTHERS = {
    "smartctl --version": ["smartctl", "--version"],
    "nvme list": ["nvme", "list"],
}
# A check that finds a problem exits with 1 or 2; nvme fails without its device class.
EXIT_CODES = {"check": (0, 1, 2), "nvme list": range(256)}


def run_ms(name, command, environment):
    """Runs a command without output, and returns how long it took, in milliseconds."""
    start = time.perf_counter()
    done = subprocess.run(command, env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
    duration = time.perf_counter() - start
    if done.returncode not in EXIT_CODES.get(name, (0,)):
        sys.exit(f"{' '.join(map(str, command))}: exit code {done.returncode}")
    return duration * 1000


def medians(rows, runs, environment):
    """Runs the commands in turn and returns the median of each, in milliseconds."""
    times = {row: [] for row in rows}
    for _ in range(runs):
        for row, (name, command) in rows.items():
            times[row].append(run_ms(name, command, environment))
    return {row: statistics.median(values) for row, values in times.items()}


def console_rows(machine, cards):
    """Returns the console's commands through the service, for a number of cards."""
    host = str(machine.programs / "corvane-host")
    return {(name, "service", cards): (name, [host, *words, "--socket", str(machine.client.path)])
            for name, words in COMMANDS.items()}


def direct_rows(machine, cards):
    """Returns the console's commands without a service. Each loads the plug-in."""
    host = str(machine.programs / "corvane-host")
    return {(name, "direct", cards): (name, [host, "--simulate", "--database", ":memory:", *words])
            for name, words in COMMANDS.items()}


def measure(build, cards, runs):
    with Machine(build, cards) as machine:
        machine.start()
        found = medians(console_rows(machine, cards), runs, machine.environment)
        environment = {**machine.environment, "CORVANE_SOCKET": str(machine.directory / "none")}
        return {**found, **medians(direct_rows(machine, cards), runs, environment)}


def main(build, runs=10):
    runs = int(runs)
    print_machine()
    found = {}
    for cards in CARDS:
        found.update(measure(build, cards, runs))
    rows = [[name, how, *(f"{found[name, how, cards]:.0f}" for cards in CARDS)]
            for how in ("service", "direct") for name in COMMANDS]
    print_table([f"median of {runs}, ms", "", *(f"{cards} cards" for cards in CARDS)], rows)
    path = f"{os.environ['PATH']}:build/tools:/usr/sbin"
    present = {}
    for name, (program, *words) in OTHERS.items():
        if found_program := shutil.which(program, path=path):
            present[name] = (name, [found_program, *words])
    for name in OTHERS.keys() - present.keys():
        print(f"not installed: {name}")
    others = medians(present, runs, dict(os.environ))
    print_table([f"median of {runs}, ms", ""], [[name, f"{each:.0f}"] for name, each in others.items()])


if __name__ == "__main__":
    main(*sys.argv[1:])
