"""Sends events to many clients of the event stream. Each client must receive each event once and in
order. Prints the duration and the memory of the server.

The service itself allows 64 streams per kind of socket, so this uses bench_streams, a server with
the same stream and a higher limit.

Usage: streams.py BUILD [STREAMS [EVENTS]]    BUILD: directory of the built programs
  STREAMS   number of clients (default: 500)
  EVENTS    number of events (default: 1000)
"""
import os
import pathlib
import selectors
import socket
import subprocess
import sys
import tempfile
import time

from common import print_machine, print_table

BATCH = 100  # events that are logged at a time
REQUEST = b"GET / HTTP/1.0\r\nHost: service\r\n\r\n"
STALL_TIMEOUT = 300  # seconds without any data


class Stream:
    """A client that counts the events that it receives."""

    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.connect(path)
        self.socket.sendall(REQUEST)
        self.text = b""
        self.is_open = False  # the first snapshot has arrived
        self.received = 0
        self.failure = None

    def read(self):
        """Reads the available data. Returns False at the end of the stream."""
        data = self.socket.recv(1 << 16)
        *parts, self.text = (self.text + data).split(b"\n\n")
        for part in parts:
            fields = dict(line.split(b": ", 1) for line in part.splitlines() if b": " in line)
            if fields.get(b"event") == b"snapshot":
                self.is_open = True
            elif fields.get(b"event") == b"event":
                self.count_event(int(fields[b"id"]))
        return bool(data)

    def count_event(self, number):
        if number != self.received + 1 and self.failure is None:
            self.failure = f"event {number} after event {self.received}"
        self.received = number


def read_until(streams, is_done):
    """Reads from all streams until the condition is true for each."""
    waiting = {stream for stream in streams if not is_done(stream)}
    with selectors.DefaultSelector() as selector:
        for stream in waiting:
            selector.register(stream.socket, selectors.EVENT_READ, stream)
        while waiting:
            ready = selector.select(STALL_TIMEOUT)
            if not ready:
                sys.exit(f"{len(waiting)} streams have stalled")
            for key, _ in ready:
                stream = key.data
                if not stream.read() and not is_done(stream):
                    sys.exit(f"a stream ended after event {stream.received}")
                if is_done(stream):
                    waiting.discard(stream)
                    selector.unregister(stream.socket)


def memory(pid):
    """Returns the resident memory now and its maximum, in MiB."""
    status = pathlib.Path(f"/proc/{pid}/status").read_text(encoding="ascii").splitlines()
    values = dict(line.split(":", 1) for line in status)
    return [f"{int(values[name].split()[0]) / 1024:.1f}" for name in ("VmRSS", "VmHWM")]


def measure(process, path, count, events):
    """Returns the duration, and rows with the memory of the server."""
    rows = [["before", *memory(process.pid)]]
    streams = [Stream(path) for _ in range(count)]
    read_until(streams, lambda stream: stream.is_open)
    rows.append([f"{count} streams", *memory(process.pid)])
    start = time.perf_counter()
    for first in range(0, events, BATCH):
        process.stdin.write(f"{min(BATCH, events - first)}\n".encode())
    process.stdin.flush()
    read_until(streams, lambda stream: stream.received >= events)
    duration = time.perf_counter() - start
    rows.append([f"{events} events", *memory(process.pid)])
    failures = [stream.failure for stream in streams if stream.failure]
    if failures:
        sys.exit(f"{len(failures)} streams are incomplete: {failures[0]}")
    return duration, rows


def main(build, count=500, events=1000):
    print_machine()
    program = pathlib.Path(build).resolve() / "bin" / "bench_streams"
    with tempfile.TemporaryDirectory(prefix="corvane-bench.") as directory:
        path = f"{directory}/s"
        environment = {**os.environ, "CORVANE_DATABASE": f"{directory}/corvane.db"}
        with subprocess.Popen([program, path, str(count)], env=environment,
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
            process.stdout.readline()  # ready
            try:
                duration, rows = measure(process, path, int(count), int(events))
            finally:
                process.stdin.close()
    print_table(["server", "resident MiB", "maximum MiB"], rows)
    print(f"all {count} streams received all {events} events in {duration:.1f} s")


if __name__ == "__main__":
    main(*sys.argv[1:])
