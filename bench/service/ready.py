"""Measures the time until the service is ready, and the processor time of both processes, with
different numbers of cards. The times grow linearly if the last columns do not grow.

Usage: ready.py BUILD [CARDS...]    BUILD: directory of the built programs
  CARDS     numbers of simulated cards (default: 16 32 64 128 253)
"""
import sys
import time

from common import Machine, print_machine, print_table
from idle import processor_seconds

CARDS = (16, 32, 64, 128, 253)


def measure(build, cards):
    """Returns the time until the service is ready, and the processor time of both processes."""
    with Machine(build, cards) as machine:
        start = time.perf_counter()
        machine.start()
        duration = time.perf_counter() - start
        return [duration, processor_seconds(machine.service.pid),
                processor_seconds(machine.worker())]


def main(build, *numbers):
    print_machine()
    rows = []
    for cards in [int(number) for number in numbers] or CARDS:
        duration, service, plugin = measure(build, cards)
        rows.append([f"{cards} cards", f"{duration:.2f}", f"{service:.2f}", f"{plugin:.2f}",
                     f"{duration / cards * 1000:.0f}",
                     f"{(service + plugin) / cards * 1000:.1f}"])
    print_table(["seconds", "ready", "service", "plug-in process", "ready, ms/card",
                 "processor, ms/card"], rows)


if __name__ == "__main__":
    main(*sys.argv[1:])
