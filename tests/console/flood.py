"""Opens 10,000 connections to a service at the same time, from one address.

Usage: flood.py tcp|unix SOCKET PORT PID

Prints a JSON object: `served`, the number of responses for each batch of connections; `other`, "ok"
if another client on the Unix socket got a response during the flood, or what failed (tcp only);
`files` and `threads`, the numbers of each in the service before the flood and at the peak; and
`batch`, the number of connections that were open at the same time.
"""
import json
import os
import pathlib
import resource
import select
import socket
import sys
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "soak"))
import client

COUNT = 10000
SPARE = 100  # files that this program needs for other purposes
TIMEOUT = 300  # seconds; much longer than any step takes
REQUEST = b"GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n"


class Service:
    """Reads the resources of the service from /proc."""

    def __init__(self, pid):
        self.directory = pathlib.Path("/proc") / pid
        self.files_before, self.threads_before = self.files(), self.threads()
        self.most_files, self.most_threads = self.files_before, self.threads_before

    def files(self):
        return len(os.listdir(self.directory / "fd"))

    def threads(self):
        return len(os.listdir(self.directory / "task"))

    def sample(self):
        self.most_files = max(self.most_files, self.files())
        self.most_threads = max(self.most_threads, self.threads())


def raise_limit():
    """Returns how many connections can be open at the same time."""
    _, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    wanted = COUNT + SPARE
    limit = wanted if hard == resource.RLIM_INFINITY else min(hard, wanted)
    resource.setrlimit(resource.RLIMIT_NOFILE, (limit, hard))
    return limit - SPARE


def connect(kind, path, port):
    """Returns a connected socket. Waits while the service's queue is full."""
    end = time.monotonic() + TIMEOUT
    while True:
        family = socket.AF_INET if kind == "tcp" else socket.AF_UNIX
        connection = socket.socket(family, socket.SOCK_STREAM)
        connection.settimeout(TIMEOUT)
        try:
            connection.connect(("127.0.0.1", port) if kind == "tcp" else path)
            return connection
        except (BlockingIOError, ConnectionResetError):
            connection.close()
            if time.monotonic() > end:
                raise


def responses(connections, service):
    """Sends a request on each connection, and returns the number of responses."""
    waiting = {}
    for connection in connections:
        try:
            connection.send(REQUEST)
            waiting[connection.fileno()] = connection
        except OSError:
            pass  # closed by the service
    poll = select.epoll()
    for number in waiting:
        poll.register(number, select.EPOLLIN)
    count = 0
    end = time.monotonic() + TIMEOUT
    while waiting:
        if time.monotonic() > end:
            raise TimeoutError(f"{len(waiting)} connections neither answered nor closed")
        for number, _ in poll.poll(1):
            try:
                count += waiting[number].recv(4096).startswith(b"HTTP/1.1 200")
            except OSError:
                pass
            poll.unregister(number)
            del waiting[number]
        service.sample()
    return count


class Reader(threading.Thread):
    """Reads the cards over the Unix socket until it is stopped."""

    def __init__(self, path):
        super().__init__(daemon=True)
        self.client = client.Client(path)
        self.count = 0
        self.failure = None
        self.stopped = threading.Event()

    def run(self):
        try:
            while not self.stopped.is_set():
                self.client.get("/v1/cards")
                self.count += 1
        except (OSError, ValueError) as error:
            self.failure = repr(error)

    def finish(self):
        """Waits for a response to a request sent after this call, and stops the thread.

        Returns "ok", or what failed.
        """
        target = self.count + 2  # the next response may be to a request sent before this call
        end = time.monotonic() + TIMEOUT
        while self.count < target and not self.failure and time.monotonic() < end:
            time.sleep(0.01)
        enough = self.count >= target
        self.stopped.set()
        self.join(TIMEOUT)
        return self.failure or ("ok" if enough else "no response during the flood")


def main(kind, path, port, pid):
    batch = raise_limit()
    service = Service(pid)
    reader = Reader(path) if kind == "tcp" else None
    if reader:
        reader.start()
    served, left = [], COUNT
    while left > 0:
        connections = []
        for _ in range(min(batch, left)):
            connections.append(connect(kind, path, int(port)))
            if len(connections) % 100 == 0:
                service.sample()
        left -= len(connections)
        served.append(responses(connections, service))
        other = reader.finish() if reader and left == 0 else None
        for connection in connections:
            connection.close()
    json.dump({"served": served, "other": other, "batch": min(batch, COUNT),
               "files": [service.files_before, service.most_files],
               "threads": [service.threads_before, service.most_threads]}, sys.stdout)


main(*sys.argv[1:])
