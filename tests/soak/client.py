"""A client of the service on its Unix socket."""
import collections
import http.client
import json
import socket

PROBLEM = "application/problem+json"
TIMEOUT = 120  # per request, in seconds

# The headers are a dictionary with names in lower case.
Response = collections.namedtuple("Response", "status media_type content headers", defaults=[None])


class Connection(http.client.HTTPConnection):
    """A connection that can be reused for several requests."""

    def __init__(self, path, timeout=TIMEOUT):
        super().__init__("service", timeout=timeout)
        self.path = path

    def connect(self):
        self.sock = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.sock.settimeout(self.timeout)
        self.sock.connect(self.path)

    def exchange(self, method, path, body=None, headers=None):
        """Sends a request and returns its response. For a stream, returns only the first line."""
        headers = dict(headers or {})
        if body is not None:
            headers.setdefault("Content-Type", "application/json")
        try:
            self.request(method, path, body, headers)
        except BrokenPipeError:
            pass  # rejected before the complete request was sent
        response = self.getresponse()
        media_type = (response.getheader("Content-Type") or "").split(";")[0]
        is_stream = media_type == "text/event-stream"
        content = response.readline() if is_stream else response.read()
        received = {name.lower(): value for name, value in response.getheaders()}
        return Response(response.status, media_type, content.decode(), received)


class Client:
    """Sends each request on a separate connection. Thread-safe."""

    def __init__(self, path):
        self.path = str(path)

    def send(self, method, path, body=None, headers=None):
        connection = Connection(self.path)
        try:
            return connection.exchange(method, path, body, headers)
        finally:
            connection.close()

    def get(self, path):
        """Returns the document at that path. Raises ValueError unless the status is 200."""
        response = self.send("GET", path)
        if response.status != 200:
            raise ValueError(f"GET {path}: {response.status}: {response.content[:200]}")
        return json.loads(response.content)

    def running_jobs(self):
        return [job for job in self.get("/v1/jobs")["jobs"] if job["state"] == "RUNNING"]
