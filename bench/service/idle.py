"""Measures the memory and processor time of a service that has no clients, and its memory after
clients have read the cards.

Usage: idle.py BUILD [CARDS [SECONDS]]    BUILD: directory of the built programs
  CARDS     number of simulated cards (default: 64)
  SECONDS   duration of the measurement of processor time (default: 60)
"""
import contextlib
import pathlib
import sys
import threading
import time

from common import Machine, print_machine, print_table

SETTLE_SECONDS = 25  # two refreshes
PATHS = ("/metrics", "/v1/cards", "/v1/status", "/v1/known-cards")
CLIENTS = 8


def processor_seconds(pid):
    """Returns the processor time of all threads, including those that have exited."""
    return time.clock_gettime(~pid << 3 | 2)  # see clock_getcpuclockid(3)


def thread_switches(pid):
    """Returns how often the present threads were switched, which depends little on the load."""
    total = 0
    for status in pathlib.Path(f"/proc/{pid}/task").glob("*/status"):
        with contextlib.suppress(OSError):  # the thread has exited
            lines = status.read_text(encoding="ascii").splitlines()
            total += sum(int(line.split()[1]) for line in lines if "ctxt_switches" in line)
    return total


def kibibytes(pid):
    status = pathlib.Path(f"/proc/{pid}/status").read_text(encoding="ascii").splitlines()
    values = dict(line.split(":", 1) for line in status)
    return {name: int(values[name].split()[0]) for name in ("VmRSS", "RssAnon")}


def read_all(machine):
    for path in PATHS:
        machine.client.send("GET", path)


def mebibytes(value):
    return f"{value / 1024:.1f}"


def main(build, cards=64, seconds=60):
    print_machine()
    with Machine(build, int(cards)) as machine:
        machine.start()
        processes = {"service": machine.service.pid, "plug-in process": machine.worker()}
        time.sleep(SETTLE_SECONDS)
        idle = {name: kibibytes(pid) for name, pid in processes.items()}
        before = {name: processor_seconds(pid) for name, pid in processes.items()}
        switches = {name: -thread_switches(pid) for name, pid in processes.items()}
        time.sleep(float(seconds))
        spent = {name: processor_seconds(pid) - before[name] for name, pid in processes.items()}
        for name, pid in processes.items():
            switches[name] += thread_switches(pid)
        clients = [threading.Thread(target=read_all, args=(machine,)) for _ in range(CLIENTS)]
        for client in clients:
            client.start()
        for client in clients:
            client.join()
        time.sleep(SETTLE_SECONDS)
        used = {name: kibibytes(pid) for name, pid in processes.items()}
    rows = [[name, mebibytes(idle[name]["VmRSS"]), mebibytes(idle[name]["RssAnon"]),
             mebibytes(used[name]["VmRSS"]), f"{spent[name] / float(seconds):.3%}",
             f"{switches[name] / float(seconds):.0f}"]
            for name in processes]
    print_table([f"{cards} cards", "resident MiB", "private MiB", "after reads MiB",
                 "of one core", "switches/s"], rows)


if __name__ == "__main__":
    main(*sys.argv[1:])
