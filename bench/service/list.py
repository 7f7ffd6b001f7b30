"""Compares the time of `corvane-host list` through the service with that of curl, which receives a
reply of the same size from a minimal libmicrohttpd server. The two programs run in turn. Their runs
with --version show how much of the time is spent on loading them.

Usage: list.py BUILD [RUNS]    BUILD: directory of the built programs
  RUNS    runs of each program (default: 50)
"""
import contextlib
import os
import statistics
import subprocess
import sys
import time

from common import Machine, print_machine, print_table

CARDS = 3
SILENT = [(os.POSIX_SPAWN_OPEN, 1, "/dev/null", os.O_WRONLY, 0)]


@contextlib.contextmanager
def bare_server(machine, size):
    """Runs a server whose replies have a body of `size` bytes. Yields the path of its socket."""
    socket = str(machine.directory / "bare")
    with subprocess.Popen([machine.programs / "bench_reply", socket, str(size)],
                          stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
        process.stdout.readline()  # ready
        try:
            yield socket
        finally:
            process.stdin.close()


def run_ms(command, environment):
    """Runs the command and returns how long it took, in milliseconds."""
    start = time.perf_counter()
    pid = os.posix_spawnp(command[0], command, environment, file_actions=SILENT)
    code = os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1])
    duration = time.perf_counter() - start
    if code != 0:
        sys.exit(f"{' '.join(command)}: exit code {code}")
    return duration * 1000


def main(build, runs=50):
    print_machine()
    with Machine(build, CARDS) as machine:
        machine.start()
        host = str(machine.programs / "corvane-host")
        size = len(machine.client.send("GET", "/v1/cards").content)
        with bare_server(machine, size) as socket:
            programs = {
                "curl, bare reply": ["curl", "-s", "--unix-socket", socket, "http://service/"],
                "list, service": [host, "list", "--socket", str(machine.client.path)],
                "curl --version": ["curl", "--version"],
                "corvane-host --version": [host, "--version"],
            }
            times = {name: [] for name in programs}
            for _ in range(int(runs)):
                for name, command in programs.items():
                    times[name].append(run_ms(command, machine.environment))
    medians = {name: statistics.median(values) for name, values in times.items()}
    print_table([f"{runs} runs", "median ms", "minimum ms"],
                [[name, f"{medians[name]:.1f}", f"{min(times[name]):.1f}"] for name in programs])
    print(f"list / curl: {medians['list, service'] / medians['curl, bare reply']:.1f}")


if __name__ == "__main__":
    main(*sys.argv[1:])
