"""A machine with simulated cards and a service, in a temporary directory."""
import collections
import contextlib
import os
import pathlib
import resource
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time

import client

# Timeout in seconds for what normally happens within seconds; long enough for a slow machine.
WAIT_TIMEOUT = 600
STOP_TIMEOUT = 45  # seconds, as in the service's systemd unit

KINDS = ("0x2001", "0x3001", "0x2001", "0x2001")  # device ids of the cards


class Failure(Exception):
    """The reason for a failed test, in one or more lines."""


def eventually(what, condition, timeout=WAIT_TIMEOUT):
    """Waits until the condition is true, and returns its value. A failure contains `what`."""
    end = time.monotonic() + timeout
    while not (value := condition()):
        if time.monotonic() > end:
            raise Failure(f"not within {timeout} s: {what}")
        time.sleep(0.02)
    return value


def has_exited(pid):
    """Whether a process has exited."""
    try:
        stat = pathlib.Path(f"/proc/{pid}/stat").read_text(encoding="utf-8")
    except (FileNotFoundError, ProcessLookupError):
        return True
    return stat.rsplit(")", 1)[1].split()[0] == "Z"


Usage = collections.namedtuple("Usage", "memory_kib descriptors threads")


def usage(pid):
    """Returns the resident memory, descriptors and threads of a process."""
    status = pathlib.Path(f"/proc/{pid}/status").read_text(encoding="utf-8")
    values = dict(line.split(":\t", 1) for line in status.splitlines() if ":\t" in line)
    return Usage(int(values["VmRSS"].split()[0]), len(os.listdir(f"/proc/{pid}/fd")),
                 int(values["Threads"]))


class Machine:
    """The cards are card0, card1, ... with the serial numbers S0, S1, ...; the plug-in polls them
    every 2 seconds, and jobs are short. Use as a context manager, which stops the service and
    removes the directory."""

    def __init__(self, build, cards=len(KINDS)):
        self.programs = pathlib.Path(build).resolve() / "bin"
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="corvane-soak."))
        self.card_file = self.directory / "cards.json"
        self.database = self.directory / "state" / "corvane.db"
        self.log = self.directory / "serve.err"
        self.client = client.Client(self.directory / "run" / "s")
        self.service = None  # the main process, not the plug-in process
        self.environment = self.make_environment()
        self.make_cards(cards)

    def make_environment(self):
        config = self.directory / "config"
        for each in (config, self.database.parent, self.directory / "tmp",
                     self.directory / "sys/bus/pci/devices"):
            each.mkdir(parents=True)
        (config / "Corvane.ini").write_text("PollInterval=2\n", encoding="utf-8")
        kept = {name: value for name, value in os.environ.items()
                if name in ("PATH", "LD_LIBRARY_PATH") or name.endswith("SAN_OPTIONS")}
        return {**kept, "HOME": str(self.directory), "LC_ALL": "C.UTF-8",
                "TMPDIR": str(self.directory / "tmp"), "CORVANE_CONFIG_DIR": str(config),
                "CORVANE_DATABASE": str(self.database), "CARDSIM_STATE": str(self.card_file),
                "CORVANE_SYSFS": str(self.directory / "sys")}

    def make_cards(self, count):
        self.cardsim("new")
        for number in range(count):
            self.cardsim("add", KINDS[number % len(KINDS)])
            self.set(number, "serial_number", f"S{number}")
            for job in ("attach_ms", "detach_ms", "format_ms"):
                self.set(number, job, "200")

    def __enter__(self):
        return self

    def __exit__(self, kind, error, trace):
        with contextlib.suppress(OSError):
            if error is not None:
                print(f"the service's log: {self.log_tail()}", file=sys.stderr)
        self.stop()
        shutil.rmtree(self.directory, ignore_errors=True)

    def log_tail(self):
        return self.log.read_text(encoding="utf-8", errors="replace")[-2000:]

    # The cards

    def cardsim(self, *arguments):
        """Runs cardsim. Raises Failure if it fails."""
        done = subprocess.run([self.programs / "cardsim", *arguments], env=self.environment,
                              capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise Failure(f"cardsim {' '.join(arguments)}: {done.stderr}")
        return done.stdout.strip()

    def set(self, card, attribute, value):
        self.cardsim("set", f"card{card}", attribute, str(value))

    # The service

    def command(self):
        """Returns the command that runs the service."""
        return [self.programs / "corvane-host", "serve", "--simulate", "--socket",
                self.client.path]

    def launch(self):
        """Starts the service without waiting for it."""
        with open(self.log, "ab") as log:
            self.service = subprocess.Popen(self.command(), env=self.environment,
                                            stdin=subprocess.DEVNULL, stdout=log, stderr=log)

    def start(self):
        """Starts the service and waits until its plug-in is running."""
        self.launch()
        self.await_ready()

    def is_ready(self):
        if self.service.poll() is not None:
            raise Failure(f"the service has exited with code {self.service.returncode}: "
                          f"{self.log_tail()}")
        try:
            return self.client.send("GET", "/readyz").status == 200
        except OSError:
            return False

    def await_ready(self):
        eventually("the plug-in is running", self.is_ready)

    def worker(self):
        """Returns the process id of the plug-in process, or None if it is not running."""
        found = subprocess.run(["pgrep", "-P", str(self.service.pid), "-f", "plugin-process"],
                               capture_output=True, text=True, check=False).stdout.split()
        return int(found[0]) if found else None

    def usage(self):
        """Returns the usage of both processes by name."""
        return {"service": usage(self.service.pid), "worker": usage(self.worker())}

    def steady_usage(self):
        """Returns the usage of both processes once two measurements, a second apart, are equal."""
        last = None
        end = time.monotonic() + WAIT_TIMEOUT
        while (now := self.usage()) != last:
            if time.monotonic() > end:
                raise Failure(f"the resource usage is not stable: {now}")
            last = now
            time.sleep(1)
        return now

    def reap(self, worker):
        """Waits until both processes have exited. Like the service manager, kills the plug-in
        process after `STOP_TIMEOUT`."""
        self.service.wait()
        end = time.monotonic() + STOP_TIMEOUT
        while worker is not None and not has_exited(worker):
            if time.monotonic() > end:
                os.kill(worker, signal.SIGKILL)
            time.sleep(0.01)

    def stop(self):
        """Stops the service if it is running."""
        if self.service is None or self.service.poll() is not None:
            return
        self.service.terminate()
        try:
            self.service.wait(WAIT_TIMEOUT)
        except subprocess.TimeoutExpired:
            self.service.kill()
            self.service.wait()

    def open_database(self):
        """Opens the database read-only; the caller must close it. Raises
        sqlite3.OperationalError if the file is missing."""
        return sqlite3.connect(f"file:{self.database}?mode=ro", uri=True, timeout=60)

    def limit(self, pid, kind, soft):
        """Changes a limit of a running process. Returns a function that restores it."""
        before = resource.prlimit(pid, kind)
        resource.prlimit(pid, kind, (soft, before[1]))
        return lambda: resource.prlimit(pid, kind, before)
