"""Clients of a service that may be killed at any time."""
import contextlib
import http.client
import itertools
import json
import threading

from client import Connection

PATHS = ("/v1/cards", "/v1/status", "/metrics", "/v1/events?limit=20", "/v1/cards/S0",
         "/v1/known-cards", "/v1/jobs", "/readyz", "/healthz")
INTERVAL = 0.02  # seconds between two actions of a thread

# Errors that a client gets when the service is killed.
CONNECTION_ERRORS = (OSError, http.client.HTTPException)


class Clients:
    """Threads that read, follow events and run jobs until `stop`."""

    def __init__(self, machine, led_card="S2"):
        self.machine = machine
        self.led_card = led_card
        self.failures = []
        self.request_count = itertools.count()
        self.stream = Follower(machine.client.path, self.failures)
        self.stopping = threading.Event()
        self.threads = []
        for work in (self.read, self.read, self.run_jobs, self.set_interval, self.vary_temperature):
            self.threads.append(threading.Thread(target=self.repeat, args=(work,)))

    def start(self):
        for thread in (*self.threads, self.stream):
            thread.start()

    def stop(self):
        """Stops all threads except the stream's."""
        self.stopping.set()
        for thread in self.threads:
            thread.join()

    def repeat(self, work):
        for count in itertools.count():
            if self.stopping.wait(INTERVAL):
                return
            with contextlib.suppress(*CONNECTION_ERRORS):
                work(count)

    def send(self, accepted, method, path, body=None):
        response = self.machine.client.send(method, path, body)
        next(self.request_count)
        if response.status not in accepted:
            self.failures.append(f"{method} {path}: {response.status} {response.content[:200]}")
        return response

    def read(self, count):
        self.send((200, 503), "GET", PATHS[count % len(PATHS)])

    def run_jobs(self, count):
        """Switches the locate LED on or off, and waits for the job to end."""
        name = ("locate", "stop-locate")[count % 2]
        response = self.send((202, 409, 503), "POST",
                             f"/v1/cards/{self.led_card}/operations/{name}", "{}")
        job = json.loads(response.content).get("id") if response.status == 202 else None
        while job and not self.stopping.wait(INTERVAL):
            # After a restart, the service does not know a job that it could not store.
            response = self.send((200, 404), "GET", f"/v1/jobs/{job}")
            if response.status == 404 or json.loads(response.content)["state"] != "RUNNING":
                return

    def set_interval(self, _):
        """Sets the poll interval to its current value, 2 s. Each change restarts the wait for the
        next poll, a third of the interval, so more frequent changes would prevent polling."""
        self.send((200, 503, 504), "PATCH", "/v1/plugin", '{"poll_interval": 2}')
        self.stopping.wait(3)

    def vary_temperature(self, count):
        """Changes the temperature, which makes scans detect changes that do not cause events."""
        self.machine.set(1, "temp_internal_deg_c", 40 + count % 20 / 2)
        self.stopping.wait(0.5)


class Follower(threading.Thread):
    """Receives all events. Reconnects after a lost connection, and resumes with the next event."""

    def __init__(self, path, failures):
        super().__init__(daemon=True)
        self.path = path
        self.failures = failures
        self.last = 0  # number of the newest event received
        self.connections = 0
        self.stopping = threading.Event()

    def run(self):
        while not self.stopping.wait(INTERVAL):
            connection = Connection(self.path)
            with contextlib.suppress(*CONNECTION_ERRORS):
                self.follow(connection)
            connection.close()

    def follow(self, connection):
        connection.request("GET", "/v1/events/stream", headers={"Last-Event-ID": str(self.last)})
        response = connection.getresponse()
        if response.status != 200:
            return
        self.connections += 1
        fields = {}
        while not self.stopping.is_set():
            line = response.readline().decode()
            if not line:
                return
            name, _, value = line.rstrip("\n").partition(": ")
            if name:
                fields[name] = value
                continue
            self.handle(fields)
            fields = {}

    def handle(self, fields):
        if fields.get("event") == "gap":
            self.failures.append(f"a gap after event {self.last}: {fields}")
        if fields.get("event") != "event":
            return
        number = int(fields["id"])
        if number != self.last + 1:
            self.failures.append(f"event {number} after event {self.last} in the stream")
        self.last = number
