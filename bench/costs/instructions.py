#!/usr/bin/env python3
"""Counts the instructions of one operation of each row, and compares them with a table.

Usage: instructions.py PROGRAM TABLE            compares; exits with 1 if a row differs by over 5 %
       instructions.py PROGRAM TABLE --update   writes the table

Unlike times, the counts do not depend on the machine's load or speed. They do depend on the
compiler and on the libraries, so update the table after these have changed. Exits with 77 if
valgrind is missing.
"""

import re
import shutil
import subprocess
import sys

LIMIT = 0.05
# Row, size, and number of operations to count. Rows with several threads vary and are left out.
ROWS = [
    ("pass", 16, 4),
    ("topology", 16, 20),
    ("property-cached", 256, 500),
    ("property-live", 16, 500),
    ("insert-text", 149, 200),
    ("update-text", 149, 200),
    ("insert-row", 1, 50),
    ("update-row", 1, 50),
    ("read-row", 1, 50),
    ("rows-of-pass", 16, 10),
    ("trace-line", 1, 500),
    ("event-already-set", 1, 500),
]


def count(program, row, size, operations):
    """Returns the instructions of a run with that number of operations."""
    run = subprocess.run(
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", program, "--run", row,
         str(size), str(operations)],
        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=True)
    return int(re.search(r"Collected : (\d+)", run.stderr).group(1))


def per_operation(program, row, size, operations):
    """Returns the instructions of one operation: startup cancels out between N and 2N."""
    once = count(program, row, size, operations)
    twice = count(program, row, size, 2 * operations)
    return round((twice - once) / operations)


def read_table(path):
    with open(path, encoding="ascii") as file:
        lines = [line.split() for line in file if not line.startswith("#")]
    return {(row, int(size)): int(instructions) for row, size, instructions in lines}


def write_table(path, counts):
    with open(path, "w", encoding="ascii") as file:
        file.write("# row, size, instructions per operation; written by instructions.py --update\n")
        for (row, size), instructions in counts.items():
            file.write(f"{row} {size} {instructions}\n")


def differing_rows(expected, counts):
    """Prints each row, and returns those that differ from the table or are missing in it."""
    differing = []
    for key, instructions in counts.items():
        known = expected.get(key)
        ratio = instructions / known if known else float("inf")
        print(f"{key[0]:20} {key[1]:5} {instructions:12,} {known or 0:12,} {ratio:7.3f}")
        if abs(ratio - 1) > LIMIT:
            differing.append(key)
    return differing


def main(program, table, *options):
    if shutil.which("valgrind") is None:
        print("instructions: valgrind is not installed", file=sys.stderr)
        return 77
    counts = {(row, size): per_operation(program, row, size, n) for row, size, n in ROWS}
    if options == ("--update",):
        write_table(table, counts)
        return 0
    print(f"{'row':20} {'size':>5} {'instructions':>12} {'table':>12} {'ratio':>7}")
    differing = differing_rows(read_table(table), counts)
    for row, size in differing:
        print(f"instructions: {row} {size} differs from the table by more than 5 %",
              file=sys.stderr)
    return 1 if differing else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
