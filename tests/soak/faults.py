"""Injects machine faults while a service is running. During a fault, reads from the snapshot
succeed, and other reads succeed or return a documented problem. After the fault, the service works
again, and each change to a card has been logged as one event.

Usage: faults.py BUILD SECONDS [FAULT...]    BUILD: directory of the built programs
  SECONDS   duration of each fault; default FAULT: all
"""
import contextlib
import datetime
import fcntl
import json
import os
import pathlib
import resource
import signal
import socket
import sqlite3
import subprocess
import sys
import time

import api_document
import changes
import client
from machine import Failure, Machine, eventually
from seeded import repeat_command

# Served from memory, so they cannot fail.
FROM_SNAPSHOT = ("/healthz", "/v1/cards", "/v1/cards/S0", "/v1/cards/S1/drives/0", "/v1/plugin",
                 "/v1/jobs", "/v1/openapi.json")
OTHERS = ("/readyz", "/metrics", "/v1/status", "/v1/events", "/v1/known-cards",
          "/v1/acknowledgments", "/v1/session/events", "/v1/session/event-counts",
          "/v1/cards/S0/history?field=temperature_celsius")
LED_TIMEOUT = 60  # seconds for an LED to be switched on again after the service has recovered
NO_MORE = 3  # descriptor limit at which no file can be opened; open descriptors remain usable
# Faults that restart the service, which switches off the locate LEDs.
RESTARTING = ("locked_at_start",)
DETACH = 0  # a position in changes.ALTERNATIONS


class FaultRun:
    """A machine for one fault. After `start`, its service is running and has stored the cards."""

    def __init__(self, machine, seconds):
        self.machine = machine
        self.seconds = seconds
        self.changes = changes.Changes(machine)
        self.changes.prepare()
        self.document = None
        self.reads = 0
        self.led_is_on = False  # of card0, switched on before the fault

    def start(self, keeps_leds):
        self.machine.start()
        self.changes.await_start()
        self.document = api_document.Document(self.machine.client)
        if keeps_leds:
            self.led_is_on = run_job(self, "S0", "locate") == "SUCCEEDED"
            eventually("the locate LED is on", lambda: led(self, 0) == "true")

    def read_all(self, exchange=None, accepted=()):
        """Reads all resources and checks the responses. Reads from the snapshot may return only the
        accepted problems."""
        exchange = exchange or self.machine.client.send
        for path in FROM_SNAPSHOT + OTHERS:
            response = exchange("GET", path)
            self.reads += 1
            if response.status == 200:
                continue
            self.check_problem(path, response, accepted)

    def check_problem(self, path, response, accepted):
        text = f"GET {path}: {response.status} {response.content[:300]}"
        if response.media_type != client.PROBLEM:
            raise Failure(text)
        _, operation = self.document.operation("GET", path)
        try:
            problem = self.document.check_problem(operation, response)
        except ValueError as error:
            raise Failure(f"{text}: {error}") from error
        if problem == "UNEXPECTED" or (path in FROM_SNAPSHOT and problem not in accepted):
            raise Failure(text)

    def keep_reading(self, exchange=None, accepted=(), share=1):
        """Reads for `share` of the fault's duration, at least twice."""
        end = time.monotonic() + self.seconds * share
        self.read_all(exchange, accepted)
        while time.monotonic() < end:
            time.sleep(0.1)
            self.read_all(exchange, accepted)
        self.read_all(exchange, accepted)

    def recover(self):
        """Checks that jobs end and all resources can be read after the fault, that the log contains
        both the changes made during the fault and a new one, and that the reported locate LEDs
        match the simulator's."""
        self.machine.await_ready()
        eventually("no job is running", lambda: not self.machine.client.running_jobs())
        if self.changes.expected:
            self.changes.await_log()
        self.changes.make(DETACH)
        self.changes.await_log()
        self.read_all()
        for path in OTHERS:
            eventually(path, lambda path=path: self.machine.client.send("GET", path).status == 200)
        self.check_leds()

    def check_leds(self):
        """Compares the locate LEDs that the service reports with those of the simulator. An LED
        that was on before the fault must be on again."""
        if self.led_is_on:
            eventually("the locate LED is on again", lambda: led(self, 0) == "true", LED_TIMEOUT)
        for card in range(changes.CARDS):
            path = f"/v1/cards/S{card}/operations/locate"
            document = json.loads(self.machine.client.send("POST", path, '{"dry_run": true}').content)
            reported = eventually("the dry run has ended", lambda job=document["id"]: (
                it := self.machine.client.get(f"/v1/jobs/{job}"))["state"] != "RUNNING" and it)
            actual = {"true": "ON", "false": "OFF"}[led(self, card)]
            if reported["result"]["result"]["before"]["locate_led"] != actual:
                raise Failure(f"card{card}: the locate LED is {actual}, reported: {reported}")


def hung_library(run):
    """Each call to the card library waits for a lock that the test holds."""
    with open(f"{run.machine.card_file}.lock", "r+b") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        run.keep_reading(share=0.5)
        state = run_job(run, "S2", "locate")
        if state not in ("FAILED", "PLUGIN_DOWN"):
            raise Failure(f"the job of a hung card library has ended with {state}")
        run.keep_reading(share=0.5)


REFRESH_INTERVAL = 10  # of the service, in seconds
MARK = "CARD_NOT_RESPONDING"
BROKEN = "S1"  # the card with the fault, card1


def ages(document):
    """Returns the age of each card's last reading in a document, in seconds, by serial number. Cards
    that have not been read are omitted."""
    now = datetime.datetime.now(datetime.timezone.utc)
    return {card["serial_number"]:
                (now - datetime.datetime.fromisoformat(card["last_read_at"])).total_seconds()
            for card in document["result"]["objects"]
            if card["type"] == "adapter" and card["last_read_at"] is not None}


def has_mark(document):
    """Whether the document reports that exactly one card, a1, does not respond."""
    marks = [message["text"] for message in document["messages"] if message["id"] == MARK]
    return len(marks) == 1 and marks[0].startswith("a1: ")


def check_age(run):
    """Checks once that the readings of the other cards are recent. Returns the age of the broken
    card's reading, or None if the card is not marked yet."""
    document = run.machine.client.get("/v1/cards")
    found = ages(document)
    broken = found.pop(BROKEN)
    if len(found) < changes.CARDS - 1 or max(found.values()) > 2 * REFRESH_INTERVAL:
        raise Failure(f"the other cards became old: {found}")
    return broken if has_mark(document) else None


def run_job(run, serial, operation):
    """Runs a job. Returns its state when it has ended, or the problem id if it was refused."""
    client_ = run.machine.client
    response = client_.send("POST", f"/v1/cards/{serial}/operations/{operation}", "{}")
    document = json.loads(response.content)
    if response.status != 202:
        return document["id"]
    return eventually("the job has ended", lambda: (
        it := client_.get(f"/v1/jobs/{document['id']}"))["state"] != "RUNNING" and it["state"])


def led(run, card):
    return run.machine.cardsim("get", f"card{card}", "beacon_state")


def age_one_card(run):
    """While card1 has a fault, checks that only its readings become old, and that changes of other
    cards are detected and carried out."""
    eventually("the card is marked", lambda: check_age(run) is not None)
    run.changes.make(DETACH)
    run.changes.await_log()
    if run_job(run, "S2", "locate") != "SUCCEEDED" or led(run, 2) != "true":
        raise Failure("the locate LED of another card cannot be turned on")
    wanted = max(run.seconds, 2.5 * REFRESH_INTERVAL)
    eventually("the reading is old", lambda: (check_age(run) or 0) > wanted and not time.sleep(0.5))
    run.read_all()


def await_fresh(run):
    """Waits until no card is marked and all readings are new."""
    def is_fresh():
        document = run.machine.client.get("/v1/cards?fresh=1")
        return (not any(each["id"] == MARK for each in document["messages"])
                and max(ages(document).values()) < REFRESH_INTERVAL)
    eventually("all readings are new", is_fresh)


def hung_card(run):
    """The calls that open one card, and those that switch its locate LED, do not return."""
    worker = run.machine.worker()
    for function in ("vsl_open", "vsl_set_beacon_state"):
        run.machine.cardsim("hang", function, "card1")
    age_one_card(run)
    if run_job(run, BROKEN, "locate") != "FAILED":
        raise Failure("the job of a hung card has not failed")
    for function in ("vsl_open", "vsl_set_beacon_state"):
        run.machine.cardsim("clear-failure", function, "card1")
    await_fresh(run)
    if run.machine.worker() != worker:
        raise Failure("the plug-in process was replaced")


def hung_attribute(run):
    """Reading the temperature of one card does not return."""
    run.machine.cardsim("hang", "vsl_temp_internal_deg_c", "card1")
    age_one_card(run)
    run.machine.cardsim("clear-failure", "vsl_temp_internal_deg_c", "card1")
    await_fresh(run)


def failing_card(run):
    """One card cannot be opened."""
    run.machine.cardsim("fail", "vsl_open", "card1", "--code", "12", "--text", "device busy")
    age_one_card(run)
    run.machine.cardsim("clear-failure", "vsl_open", "card1")
    await_fresh(run)


def suspended_worker(run):
    worker = run.machine.worker()
    os.kill(worker, signal.SIGSTOP)
    run.changes.make(DETACH)
    run.keep_reading()
    with contextlib.suppress(ProcessLookupError):
        os.kill(worker, signal.SIGCONT)


def killed_worker(run):
    """Kills the plug-in process while it runs a job of a card."""
    worker = run.machine.worker()
    run.machine.set(2, "detach_ms", 60000)
    response = run.machine.client.send("POST", "/v1/cards/S2/operations/detach",
                                       '{"confirm": true}')
    if response.status != 202:
        raise Failure(f"detach: {response.status} {response.content}")
    eventually("the job is running", lambda: run.machine.cardsim("get", "card2", "iom_state") == "3")
    os.kill(worker, signal.SIGKILL)
    run.changes.make(DETACH)
    run.keep_reading()
    job = json.loads(response.content)["id"]
    eventually("the job has failed",
               lambda: run.machine.client.get(f"/v1/jobs/{job}")["state"] == "FAILED")
    if run.machine.cardsim("get", "card2", "iom_state") != "2":
        raise Failure("the detach of card2 has continued without its process")


def omit_one_card(run, function, *fault):
    """Gives card1 a fault while the plug-in process starts. The card is omitted until it can be
    read, and is neither logged as removed nor forgotten."""
    run.machine.cardsim(*fault)
    os.kill(run.machine.worker(), signal.SIGKILL)
    eventually("the plug-in process is replaced", lambda: run.machine.worker() is not None)
    run.keep_reading(accepted=("NO_SUCH_OBJECT",))
    eventually("the other cards are read", lambda: BROKEN not in (
        found := ages(run.machine.client.get("/v1/cards"))) and len(found) == changes.CARDS)
    response = run.machine.client.send("DELETE", f"/v1/cards/{BROKEN}")
    if (response.status, json.loads(response.content)["id"]) != (409, "CARD_PRESENT"):
        raise Failure(f"a card that cannot be read: {response.status} {response.content}")
    run.machine.cardsim("clear-failure", function, "card1")
    eventually("the card is shown again",
               lambda: BROKEN in ages(run.machine.client.get("/v1/cards")))
    await_fresh(run)


def hung_at_start(run):
    """Calls for one card hang while the plug-in process starts."""
    for function in ("vsl_iom_create_by_name", "vsl_open", "vsl_temp_internal_deg_c"):
        omit_one_card(run, function, "hang", function, "card1")


def failing_at_start(run):
    """One card cannot be opened while the plug-in process starts."""
    omit_one_card(run, "vsl_open", "fail", "vsl_open", "card1", "--code", "12",
                  "--text", "device busy")


def hung_list(run):
    """Listing the cards hangs at the second card, so that the other cards are known only from the
    previous process."""
    omit_one_card(run, "vsl_has_device_path", "hang", "vsl_has_device_path", "card1")


def locked_database(run):
    other = sqlite3.connect(run.machine.database, isolation_level=None, timeout=60)
    with contextlib.closing(other):
        other.execute("BEGIN IMMEDIATE")
        run.changes.make(DETACH)
        run.keep_reading()
        other.execute("ROLLBACK")


def locked_at_start(run):
    """Locks the database while the service starts, so that it cannot compare the cards with the
    log. Releases the lock shortly after the service has failed to log a change."""
    machine = run.machine
    machine.stop()
    other = sqlite3.connect(machine.database, isolation_level=None, timeout=60)
    with contextlib.closing(other):
        other.execute("BEGIN IMMEDIATE")
        machine.start()
        run.keep_reading()
        run.changes.make(DETACH)
        eventually("the change is announced",
                   lambda: " was detached" in machine.log.read_text(encoding="utf-8"))
        time.sleep(0.2)  # not critical: the event must be logged once, however late the release
        other.execute("ROLLBACK")


def files_of(database):
    return [path for suffix in ("", "-wal", "-shm")
            if (path := pathlib.Path(f"{database}{suffix}")).exists()]


def damaged_database(run):
    """Overwrites the database, then deletes it. The service starts a new log in a new file."""
    with open(run.machine.database, "r+b") as file:
        size = file.seek(0, os.SEEK_END)
        file.seek(100)
        file.write(b"\x5a" * (size - 100))
    run.keep_reading()
    for path in files_of(run.machine.database):
        path.unlink()
    run.changes.make(DETACH)


def deleted_database(run):
    """Deletes the database. The service starts a new log in a new file."""
    for path in files_of(run.machine.database):
        path.unlink()
    run.changes.make(DETACH)
    run.keep_reading()


def fill(directory):
    """Fills the file system, in successively smaller pieces."""
    path = directory / "filler"
    with open(path, "wb", buffering=0) as file:
        for piece in (65536, 4096, 1):
            with contextlib.suppress(OSError):
                while file.write(b"x" * piece):
                    pass
    return path


def full_disk(run):
    filler = fill(run.machine.database.parent)
    run.changes.make(DETACH)
    run.keep_reading()
    filler.unlink()


def limited_file_size(run):
    """Limits the size of files, which resembles a full disk but needs no separate file system."""
    machine = run.machine
    limits = [machine.limit(pid, resource.RLIMIT_FSIZE, 4096)
              for pid in (machine.service.pid, machine.worker())]
    run.changes.make(DETACH)
    run.keep_reading()
    for restore in limits:
        restore()


def few_descriptors(run):
    """Limits the descriptors of the service. An open connection still works; new ones wait or are
    refused."""
    machine = run.machine
    kept = client.Connection(machine.client.path)
    kept.exchange("GET", "/healthz")
    restore = machine.limit(machine.service.pid, resource.RLIMIT_NOFILE, NO_MORE)
    others = [socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) for _ in range(8)]
    for other in others:
        other.settimeout(60)
        other.connect(machine.client.path)
        other.sendall(b"GET /healthz HTTP/1.1\r\nHost: service\r\n\r\n")
    run.changes.make(DETACH)
    run.keep_reading(kept.exchange)
    restore()
    kept.close()
    for other in others:
        other.close()


def few_worker_descriptors(run):
    """Limits the descriptors of the plug-in process. No card is reported as removed."""
    machine = run.machine
    worker = machine.worker()
    in_use = len(os.listdir(f"/proc/{worker}/fd"))
    for limit in (NO_MORE, in_use, in_use + 1, in_use + 2):
        restore = machine.limit(worker, resource.RLIMIT_NOFILE, limit)
        run.keep_reading(share=0.25)
        restore()


def shifted_clock(run):
    """Sets the clock forward by a day, then back by two."""
    clock = pathlib.Path(run.machine.environment["CORVANE_SOAK_CLOCK"])
    for shift in ("86400", "-86400"):
        clock.write_text(shift, encoding="ascii")
        run.changes.make(DETACH)
        run.keep_reading()
        run.changes.await_log()
    clock.write_text("0", encoding="ascii")


FAULTS = {function.__name__: function for function in (
    hung_library, hung_card, hung_attribute, failing_card, hung_at_start, failing_at_start,
    hung_list,
    suspended_worker, killed_worker, locked_database, locked_at_start, damaged_database,
    deleted_database, full_disk, limited_file_size, few_descriptors, few_worker_descriptors,
    shifted_clock)}


@contextlib.contextmanager
def small_disk(directory):
    """A file system of a few megabytes in the directory. Yields False if none can be mounted."""
    mount = ["mount", "-t", "tmpfs", "-o", "size=4m", "none", str(directory)]
    if os.geteuid() != 0 or subprocess.run(mount, capture_output=True, check=False).returncode != 0:
        yield False
        return
    try:
        yield True
    finally:
        subprocess.run(["umount", "-l", str(directory)], check=True)


def shift_clock(machine, build):
    """Preloads the library that shifts the clock, which then reads the shift from a file."""
    library = pathlib.Path(build).resolve() / "lib" / "libshifted_clock.so"
    if not library.exists():
        raise Failure(f"{library} is missing")
    clock = machine.directory / "clock"
    clock.write_text("0", encoding="ascii")
    asan = machine.environment.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"
    machine.environment.update(LD_PRELOAD=str(library), CORVANE_SOAK_CLOCK=str(clock),
                               ASAN_OPTIONS=asan)


def run_fault(name, build, seconds):
    """Runs one fault. Returns a summary. Raises Failure."""
    with Machine(build, changes.CARDS) as machine, contextlib.ExitStack() as stack:
        if name == "full_disk" and not stack.enter_context(small_disk(machine.database.parent)):
            return "skipped: cannot mount a file system"
        stack.callback(machine.stop)  # before the file system is unmounted
        if name == "shifted_clock":
            shift_clock(machine, build)
        run = FaultRun(machine, seconds)
        run.start(name not in RESTARTING)
        FAULTS[name](run)
        run.recover()
        return f"{run.reads} reads, {len(run.changes.expected)} events"


def main(build, seconds, names):
    failed = 0
    for name in names or FAULTS:
        try:
            print(f"{name}: {run_fault(name, build, seconds)}", flush=True)
        except (Failure, OSError) as failure:
            failed += 1
            print(f"{name}: {failure}\n{repeat_command(f'{seconds:g}', name)}",
                  file=sys.stderr, flush=True)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], float(sys.argv[2]), sys.argv[3:]))
