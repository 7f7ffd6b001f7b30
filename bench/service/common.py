"""The simulated machine of the benchmarks, based on that of the soak tests, and the output that all
benchmarks share."""
import os
import pathlib
import socket
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests" / "soak"))
import machine  # pylint: disable=wrong-import-position

DEVICE_ID = "0x1003"
MAX_COUNT = 250  # limit of `cardsim add --count`


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Machine(machine.Machine):
    """A machine with any number of identical cards."""

    def __init__(self, build, cards, poll_interval=15):
        super().__init__(build, cards)
        (self.directory / "config" / "Corvane.ini").write_text(f"PollInterval={poll_interval}\n",
                                                               encoding="ascii")
        self.port = free_port()

    def make_cards(self, count):
        self.cardsim("new")
        for first in range(0, count, MAX_COUNT):
            self.cardsim("add", DEVICE_ID, "--count", str(min(MAX_COUNT, count - first)))

    def command(self):
        return super().command() + ["--listen", f"127.0.0.1:{self.port}"]

    def run(self, *arguments):
        """Runs a console command through the service, and returns its standard output."""
        command = [self.programs / "corvane-host", *arguments, "--socket", self.client.path]
        return subprocess.run(command, env=self.environment, check=True, capture_output=True,
                              text=True).stdout


def print_machine():
    """Prints the processors and the load average. Call before the measurements."""
    model = "unknown"
    for line in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
        if line.startswith("model name"):
            model = line.split(":", 1)[1].strip()
            break
    load = ", ".join(f"{each:.1f}" for each in os.getloadavg())
    print(f"machine: {os.cpu_count()} cores, {model}; load average {load}", flush=True)


def print_table(headings, rows):
    """Prints columns, the first one left-aligned and the others right-aligned."""
    rows = [[str(cell) for cell in row] for row in [headings, *rows]]
    widths = [max(len(row[column]) for row in rows) for column in range(len(headings))]
    for row in rows:
        cells = [row[0].ljust(widths[0])]
        cells += [cell.rjust(width) for cell, width in zip(row[1:], widths[1:])]
        print("  ".join(cells).rstrip(), flush=True)
