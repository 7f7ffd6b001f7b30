"""Puts load on a service: polling, events, jobs, and streams that are opened and closed. The
memory, descriptors, threads and database of the service must not grow.

Usage: flat.py BUILD MINUTES [SEED]    BUILD: directory of the built programs
  Memory and database size are not compared in sanitizer builds, nor in runs shorter than 5
  minutes.
"""
import contextlib
import os
import random
import statistics
import sys
import threading
import time

import changes
import seeded
from client import Connection
from load import CONNECTION_ERRORS, Clients
from machine import Machine

# Fraction of the run before the first sample. During this time, the service fills its caches and
# its list of a thousand jobs.
WARM_UP = 0.25
SAMPLES = 90

# Allowed growth of the median from the first third of the samples to the last. The log and the
# history grow by a few KiB per minute until they are full.
TOLERANCES = {"memory_kib": 2048, "descriptors": 3, "threads": 3, "database_kib": 512}
# The plug-in leaks a handle of the card library each time that it writes the row of a drive.
WORKER_KIB_PER_MINUTE = 600
SLOW = ("memory_kib", "database_kib")  # not compared in sanitizer builds and in short runs
WAL_KIB = 8192  # maximum size; SQLite reuses the write-ahead log after a checkpoint at 4 MiB


def open_streams(machine, rng, stopping):
    """Opens streams, reads from them, and closes them."""
    while not stopping.wait(0.2):
        streams = [Connection(machine.client.path) for _ in range(rng.randrange(1, 9))]
        for stream in streams:
            with contextlib.suppress(*CONNECTION_ERRORS):
                stream.exchange("GET", "/v1/events/stream")
        for stream in streams:
            stream.close()


def make_changes(machine, rng, stopping):
    source = changes.Changes(machine)
    while not stopping.wait(rng.uniform(1, 5)):
        source.make(0)  # detaches card0, or attaches it again


def size_kib(path):
    return os.path.getsize(path) // 1024 if os.path.exists(path) else 0


def sample(machine):
    values = {}
    for process, use in machine.usage().items():
        values.update({f"{process} {name}": value for name, value in use._asdict().items()})
    values["service database_kib"] = size_kib(machine.database)
    values["service wal_kib"] = size_kib(f"{machine.database}-wal")
    return values


def measure(machine, minutes):
    """Takes samples from the end of the warm-up to the end of the run."""
    seconds = minutes * 60
    time.sleep(seconds * WARM_UP)
    samples = []
    for _ in range(SAMPLES):
        time.sleep(seconds * (1 - WARM_UP) / SAMPLES)
        samples.append(sample(machine))
    return samples


def tolerance(process, kind, minutes):
    """Returns the allowed growth from the first third of the samples to the last. The
    midpoints of these thirds are half of `minutes` apart."""
    handles = WORKER_KIB_PER_MINUTE * minutes / 2
    return TOLERANCES[kind] + (handles if (process, kind) == ("worker", "memory_kib") else 0)


def compare(samples, minutes):
    """Prints the median usage in each third. Returns the names of the resources that have grown."""
    is_long = minutes >= 5 and not os.environ.get("CORVANE_SANITIZE")
    third = len(samples) // 3
    grown = []
    for name in samples[0]:
        values = [each[name] for each in samples]
        parts = [statistics.median(values[start:start + third]) for start in (0, third, 2 * third)]
        print(f"{name}: " + ", ".join(f"{part:g}" for part in parts) + f"; maximum {max(values)}")
        process, kind = name.split()
        if kind == "wal_kib":
            if max(values) > WAL_KIB:
                grown.append(name)
        elif is_long or kind not in SLOW:
            if parts[2] - parts[0] > tolerance(process, kind, minutes):
                grown.append(name)
    return grown


def main(build, minutes, seed):
    print(f"flat: {minutes:g} minutes, seed {seed}", flush=True)
    with Machine(build, changes.CARDS) as machine:
        machine.start()
        clients = Clients(machine)
        stopping = clients.stopping
        others = [threading.Thread(target=work, args=(machine, random.Random(seed), stopping))
                  for work in (open_streams, make_changes)]
        clients.start()
        for thread in others:
            thread.start()
        try:
            samples = measure(machine, minutes)
        finally:
            clients.stop()
            clients.stream.stopping.set()
            for thread in others:
                thread.join()
        grown = compare(samples, minutes)
        print(f"{next(clients.request_count)} requests, {clients.stream.last} events in the stream")
    for name in grown:
        print(f"{name} has grown", file=sys.stderr)
    for failure in clients.failures[:10]:
        print(failure, file=sys.stderr)
    return 1 if grown or clients.failures else 0


if __name__ == "__main__":
    seeded.run(main, float)
