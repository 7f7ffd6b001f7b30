#!/usr/bin/python3
"""Runs a program on a terminal, presses keys, and prints what a user sees.

Usage: screen.py ROWSxCOLS STEP... -- COMMAND...

Steps, in order:
  see TEXT         wait until the screen shows the text
  gone TEXT        wait until the screen no longer shows the text
  press KEYS       type the text, or press Enter, Up, Down, Left, Escape, Backspace, Ctrl-C, Ctrl-D
  size ROWSxCOLS   change the terminal's size
  run COMMAND      run a shell command outside the terminal
  colored TEXT     fail unless the text is on the screen in color
  uncolored TEXT   fail unless the text is on the screen without color
  print            write the screen to standard output
  ends CODE        wait until the program exits; fail if its exit code is not CODE (`any` matches
                   every code) or the terminal modes are not restored
  raw TEXT         fail unless the program has sent these bytes; \\e stands for escape
  never TEXT       fail if the program has sent these bytes
Exits with 0 if every step succeeded within its timeout.
"""
import codecs
import os
import signal
import subprocess
import sys
import termios
import time

import pexpect
import pyte

# Timeout of each step that waits.
TIMEOUT_SECONDS = 120
KEYS = {"Enter": "\r", "Up": "\x1bOA", "Down": "\x1bOB", "Left": "\x1b[D", "Escape": "\x1b",
        "Backspace": "\x7f", "Ctrl-C": "\x03", "Ctrl-D": "\x04"}


class Screen(pyte.Screen):
    """Adds the scroll sequences of xterm, which the base class lacks."""

    def scroll(self, count, bottom_first, step):
        top, bottom = self.margins or (0, self.lines - 1)
        row = self.cursor.y
        self.cursor.y = bottom if bottom_first else top
        for _ in range(count or 1):
            step()
        self.cursor.y = row

    def scroll_up(self, count=1):
        self.scroll(count, True, self.index)

    def scroll_down(self, count=1):
        self.scroll(count, False, self.reverse_index)


class Stream(pyte.ByteStream):
    csi = dict(pyte.ByteStream.csi, S="scroll_up", T="scroll_down")
    events = pyte.ByteStream.events | {"scroll_up", "scroll_down"}


class Terminal:
    def __init__(self, size, command):
        rows, columns = size
        self.screen = Screen(columns, rows)
        self.stream = Stream(self.screen)
        self.sent = b""
        self.child = pexpect.spawn(command[0], command[1:], dimensions=size)
        self.child.delaybeforesend = None

    def resize(self, size):
        self.child.setwinsize(*size)
        self.screen.resize(*size)

    def modes(self):
        return termios.tcgetattr(self.child.child_fd)

    def receive(self, seconds):
        try:
            data = self.child.read_nonblocking(65536, seconds)
        except pexpect.TIMEOUT:
            return
        except pexpect.EOF:
            time.sleep(seconds)
            return
        self.sent += data
        self.stream.feed(data)

    def wait_until(self, what, condition):
        end = time.monotonic() + TIMEOUT_SECONDS
        while not condition():
            if time.monotonic() > end:
                self.fail(what)
            self.receive(0.05)

    def text(self):
        return "\n".join(line.rstrip() for line in self.screen.display)

    def is_colored(self, text):
        for row, line in enumerate(self.screen.display):
            if text in line:
                return self.screen.buffer[row][line.index(text)].fg != "default"
        self.fail(f"not on the screen: {text}")

    def has_exited(self):
        return not self.child.isalive()

    def exit_code(self):
        if self.child.signalstatus is not None:
            return -self.child.signalstatus
        return self.child.exitstatus

    def fail(self, what):
        sys.stderr.write(f"failed: {what}\nscreen contents:\n{self.text()}\n")
        self.child.kill(signal.SIGKILL)
        sys.exit(1)


def parse_size(text):
    rows, columns = text.split("x")
    return int(rows), int(columns)


def default_modes():
    """Returns the modes of a new terminal, because the program may have changed its own already."""
    pair = os.openpty()
    try:
        return termios.tcgetattr(pair[0])
    finally:
        for end in pair:
            os.close(end)


def play(terminal, steps):
    modes = default_modes()
    while steps:
        verb = steps.pop(0)
        if verb == "print":
            print(terminal.text())
            continue
        argument = steps.pop(0)
        message = f"{verb} {argument}"
        if verb == "see":
            terminal.wait_until(message, lambda: argument in terminal.text())
        elif verb == "gone":
            terminal.wait_until(message, lambda: argument not in terminal.text())
        elif verb in ("colored", "uncolored"):
            if terminal.is_colored(argument) != (verb == "colored"):
                terminal.fail(message)
        elif verb == "press":
            terminal.child.send(KEYS.get(argument, argument))
        elif verb == "size":
            terminal.resize(parse_size(argument))
        elif verb == "run":
            subprocess.run(argument, shell=True, check=True, stdout=subprocess.DEVNULL)
        elif verb == "ends":
            terminal.wait_until(message, terminal.has_exited)
            terminal.receive(0.2)
            if argument not in ("any", str(terminal.exit_code())):
                terminal.fail(f"{message}: the program exited with {terminal.exit_code()}")
            if terminal.modes() != modes:
                terminal.fail("the terminal modes were not restored")
        elif verb in ("raw", "never"):
            bytes_wanted = codecs.escape_decode(argument.replace("\\e", "\\x1b"))[0]
            if (bytes_wanted in terminal.sent) != (verb == "raw"):
                terminal.fail(message)
        else:
            terminal.fail(f"unknown step: {message}")


def main():
    split = sys.argv.index("--")
    terminal = Terminal(parse_size(sys.argv[1]), sys.argv[split + 1:])
    play(terminal, sys.argv[2:split])


main()
