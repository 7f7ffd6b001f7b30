#!/usr/bin/python3
"""Fails if a command prints a line that is wider than the terminal.

Usage: screen_fit.py COLUMNS CARDS -- COMMAND...

Runs the command on a terminal with COLUMNS columns and draws its output on that terminal and on one
that is much wider. A line that is wider than the terminal is wrapped on the former only. Then checks
that the screen shows all cards, a0 to a(CARDS-1), if the command is `list` or `tree`.
"""
import re
import sys

import pexpect
import pyte

ROWS = 500
WIDE = 400


def output_of(command, columns):
    child = pexpect.spawn(command[0], command[1:], dimensions=(50, columns), timeout=120)
    output = child.read()
    child.close()
    if child.exitstatus not in (0, None):
        sys.exit(f"{command}: exit code {child.exitstatus}: {output.decode(errors='replace')}")
    return output


def rows_of(output, columns):
    screen = pyte.Screen(columns, ROWS)
    pyte.ByteStream(screen).feed(output)
    return [line.rstrip() for line in screen.display]


def main():
    split = sys.argv.index("--")
    columns, cards = int(sys.argv[1]), int(sys.argv[2])
    command = sys.argv[split + 1:]
    output = output_of(command, columns)
    narrow, wide = rows_of(output, columns), rows_of(output, WIDE)
    for number, (one, other) in enumerate(zip(narrow, wide)):
        if one != other:
            sys.exit(f"{command} at {columns} columns: line {number + 1} is too long: {other!r}")
    text = "\n".join(wide).strip()
    if not text:
        sys.exit(f"{command} at {columns} columns: no output")
    if command[-1] in ("list", "tree"):
        shown = {int(number) for number in re.findall(r"\ba(\d+)(?![\d/])", text)}
        if shown != set(range(cards)):
            sys.exit(f"{command} at {columns} columns: shows {sorted(shown)}")


main()
