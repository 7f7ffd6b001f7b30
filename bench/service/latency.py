"""Measures the time from the change of a simulated card's status bit to the arrival of its event in
the event stream.

Most of this time is spent in the plug-in: it polls the cards at intervals, and reports a bit only
after several equal readings. The time of an event is the time at which the plug-in reported the
bit, so the remaining time is that of the service.

Usage: latency.py BUILD [SAMPLES]    BUILD: directory of the built programs
  SAMPLES   number of events (default: 50)
"""
import json
import queue
import statistics
import sys
import threading
import time

from common import Machine, print_machine, print_table
from client import Connection

POLL_INTERVAL = 2  # seconds, the shortest
TEMPERATURE_INTERVAL = 0.2  # shorter than a third of the poll interval
BIT = "TEMPERATURE_ABOVE_WARN"
EVENTS = {"raise": 10967, "clear": 10980}  # by cardsim command


def follow(path, arrivals):
    """Puts the arrival time, the number and the event id of each message of the stream into the
    queue. The event id is None unless the message is an event."""
    connection = Connection(path, timeout=None)
    connection.request("GET", "/v1/events/stream")
    response = connection.getresponse()
    number = None
    for line in response:
        name, _, value = line.decode().rstrip("\n").partition(": ")
        if name == "id":
            number = int(value)
        elif name == "data":
            document = json.loads(value)
            if "result" in document:
                event = document["result"]["events"][0]
                arrivals.put((time.time(), number, event["event_id"]))
            else:
                arrivals.put((time.time(), number, None))


def vary_temperature(machine, stopping):
    """Changes the temperature between any two polls, because the plug-in counts a reading of the
    status bits only if the poll finds a difference."""
    count = 0
    while not stopping.wait(TEMPERATURE_INTERVAL):
        machine.set(0, "temp_internal_deg_c", 40 + count % 20 / 2)
        count += 1


def sample(machine, arrivals, action):
    """Changes the bit. Returns the seconds until the plug-in reported it, and from the report until
    the event arrived."""
    before = time.time()
    machine.cardsim(action, "card0", BIT)
    arrived, number, event = arrivals.get()
    while event != EVENTS[action]:
        arrived, number, event = arrivals.get()
    log = machine.client.get(f"/v1/session/events?after={number - 1}&limit=1")
    reported = log["events"][0]["time"] / 1000
    return reported - before, arrived - reported


def main(build, samples=50):
    print_machine()
    arrivals = queue.Queue()
    stopping = threading.Event()
    with Machine(build, 1, POLL_INTERVAL) as machine:
        machine.start()
        threading.Thread(target=follow, args=(machine.client.path, arrivals), daemon=True).start()
        arrivals.get()  # the snapshot, which is sent first
        varying = threading.Thread(target=vary_temperature, args=(machine, stopping))
        varying.start()
        try:
            results = [sample(machine, arrivals, ("raise", "clear")[index % 2])
                       for index in range(int(samples))]
        finally:
            stopping.set()
            varying.join()
    rows = [[name, *(f"{function(values) * 1000:.0f}" for function in (statistics.median, max))]
            for name, values in (("bit to the plug-in's event", [until_reported for until_reported, _ in results]),
                                 ("event to the stream", [after_report for _, after_report in results]),
                                 ("total", [sum(both) for both in results]))]
    print(f"poll interval {POLL_INTERVAL} s: the plug-in reads the bits every "
          f"{POLL_INTERVAL / 3 * 1000:.0f} ms, and reports one after three equal readings")
    print_table([f"{len(results)} samples", "median ms", "maximum ms"], rows)


if __name__ == "__main__":
    main(*sys.argv[1:])
