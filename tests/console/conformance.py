"""Checks requests and responses against the OpenAPI document. Also fails if no request covers an
operation, response or problem of the document.

Usage: conformance.py SOCKET
"""
import http.client
import json
import socket
import sys
import time
import urllib.parse

import jsonschema

PROBLEM = "application/problem+json"


class Connection(http.client.HTTPConnection):
    def connect(self):
        self.sock = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.sock.settimeout(60)
        self.sock.connect(sys.argv[1])


def send(method, path, body=None, headers=None):
    """Sends a request. Returns the status, the media type and the body of the response."""
    connection = Connection("service")
    headers = dict(headers or {})
    if body is not None:
        headers.setdefault("Content-Type", "application/json")
    try:
        connection.request(method, path, body, headers)
    except BrokenPipeError:
        pass  # the service refused the request before it was sent completely
    response = connection.getresponse()
    is_stream = (response.getheader("Content-Type") or "").startswith("text/event-stream")
    content = (response.readline() if is_stream else response.read()).decode()
    connection.close()
    return response.status, (response.getheader("Content-Type") or "").split(";")[0], content


# method, path, body, headers, status, id of the problem
ROWS = [
    ("GET", "/healthz", None, {}, 200, None),
    ("GET", "/readyz", None, {}, 200, None),
    ("GET", "/metrics", None, {}, 200, None),
    ("GET", "/v1/openapi.json", None, {}, 200, None),
    ("GET", "/v1/cards", None, {}, 200, None),
    ("GET", "/v1/cards?fresh=1", None, {}, 200, None),
    ("GET", "/v1/cards?fresh=2", None, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/cards/S100", None, {}, 200, None),
    ("GET", "/v1/cards/S101", None, {}, 404, "NO_SUCH_OBJECT"),
    ("GET", "/v1/cards/S100?fresh=yes", None, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/cards/S100/drives/0", None, {}, 200, None),
    ("GET", "/v1/cards/S100/drives/9", None, {}, 404, "NO_SUCH_OBJECT"),
    ("GET", "/v1/cards/S100/drives/0?fresh=", None, {}, 400, "QUERY_INVALID"),
    ("POST", "/v1/cards/S100/operations/locate", {}, {"Idempotency-Key": "k"}, 202, None),
    ("POST", "/v1/cards/S100/operations/locate", {"dry_run": True}, {"Idempotency-Key": "k"}, 422,
     "IDEMPOTENCY_KEY_REUSED"),
    ("POST", "/v1/cards/S100/operations/detach", {}, {}, 409, "NOT_CONFIRMED"),
    ("POST", "/v1/cards/S100/operations/detach", {"x": 1}, {}, 400, "BODY_INVALID"),
    ("POST", "/v1/cards/S101/operations/locate", {}, {}, 404, "NO_SUCH_OBJECT"),
    ("POST", "/v1/cards/S100/operations/x", {}, {}, 404, "NO_SUCH_OPERATION"),
    ("POST", "/v1/cards/S200/drives/0/operations/online", {"dry_run": True},
     {"Idempotency-Key": "d"}, 202, None),
    ("POST", "/v1/cards/S200/drives/0/operations/offline", {"dry_run": True},
     {"Idempotency-Key": "d"}, 422, "IDEMPOTENCY_KEY_REUSED"),
    ("POST", "/v1/cards/S200/drives/0/operations/offline", {}, {}, 409, "NOT_CONFIRMED"),
    ("POST", "/v1/cards/S200/drives/0/operations/offline", [], {}, 400, "BODY_INVALID"),
    ("POST", "/v1/cards/S101/drives/0/operations/online", {"dry_run": True}, {}, 404, "NO_SUCH_OBJECT"),
    ("POST", "/v1/cards/S200/drives/0/operations/attach", {}, {}, 404, "NO_SUCH_OPERATION"),
    ("POST", "/v1/cards/S200/drives/0/format", {"dry_run": True, "capacity": "80"},
     {"Idempotency-Key": "f"}, 202, None),
    ("POST", "/v1/cards/S200/drives/0/format", {"dry_run": True}, {"Idempotency-Key": "f"}, 422,
     "IDEMPOTENCY_KEY_REUSED"),
    ("POST", "/v1/cards/S200/drives/0/format", {"capacity": "80"}, {}, 409, "NOT_CONFIRMED"),
    ("POST", "/v1/cards/S200/drives/0/format", {"capacity": 80}, {}, 400, "BODY_INVALID"),
    ("POST", "/v1/cards/S101/drives/0/format", {"dry_run": True}, {}, 404, "NO_SUCH_OBJECT"),
    ("GET", "/v1/known-cards", None, {}, 200, None),
    ("DELETE", "/v1/cards/S100", None, {}, 409, "CARD_PRESENT"),
    ("DELETE", "/v1/cards/GONE", None, {}, 204, None),
    ("DELETE", "/v1/cards/GONE", None, {}, 404, "UNKNOWN_CARD"),
    ("GET", "/v1/cards/S100/history?field=temperature_celsius&from=1h", None, {}, 200, None),
    ("GET", "/v1/cards/S101/history?field=temperature_celsius", None, {}, 404, "UNKNOWN_CARD"),
    ("GET", "/v1/cards/S100/history?field=status", None, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/cards/S100/history", None, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/cards/S100/history?field=read_bytes&from=x", None, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/cards/S100/history?field=read_bytes&step=x", None, {}, 400, "QUERY_INVALID"),
    ("POST", "/v1/cards/S100/ack", {"reason": "MISSING", "until": "1d", "note": "n"}, {}, 201,
     None),
    ("GET", "/v1/acknowledgments", None, {}, 200, None),
    ("POST", "/v1/cards/S100/ack", {"reason": "x"}, {}, 400, "UNKNOWN_REASON"),
    ("POST", "/v1/cards/S100/ack", {"reason": "MISSING", "until": "2020-01-01"}, {}, 400,
     "BODY_INVALID"),
    ("POST", "/v1/cards/S100/ack", {"until": "1d"}, {}, 400, "BODY_INVALID"),
    ("POST", "/v1/cards/S101/ack", {"reason": "MISSING"}, {}, 404, "UNKNOWN_CARD"),
    ("DELETE", "/v1/cards/S100/ack", None, {}, 400, "QUERY_INVALID"),
    ("DELETE", "/v1/cards/S100/ack?reason=MISSING", None, {}, 204, None),
    ("DELETE", "/v1/cards/S100/ack?reason=MISSING", None, {}, 404, "NOT_ACKNOWLEDGED"),
    ("GET", "/v1/jobs", None, {}, 200, None),
    ("GET", "/v1/jobs/LAST", None, {}, 200, None),
    ("GET", "/v1/jobs/0-0", None, {}, 404, "NO_SUCH_JOB"),
    ("GET", "/v1/status", None, {}, 200, None),
    ("GET", "/v1/events", None, {}, 200, None),
    ("GET", "/v1/events?since=1h&limit=10", None, {}, 200, None),
    ("GET", "/v1/events?limit=-1", None, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/events?since=never", None, {}, 400, "USAGE"),
    ("GET", "/v1/plugin", None, {}, 200, None),
    ("PATCH", "/v1/plugin", {"poll_interval": 15}, {}, 200, None),
    ("PATCH", "/v1/plugin", {"poll_interval": None}, {}, 400, "BODY_INVALID"),
    ("GET", "/v1/session", None, {}, 200, None),
    ("POST", "/v1/session", {"command": "GET_TOPOLOGY"}, {}, 200, None),
    ("POST", "/v1/session", {"command": "X"}, {}, 400, "BODY_INVALID"),
    ("POST", "/v1/session", '{"command": "GET_TOPOLOGY"}\0', {}, 400, "BODY_INVALID"),
    ("POST", "/v1/session", {"command": "INITIALIZE"}, {}, 409, "RESERVED"),
    ("POST", "/v1/session?fresh=1", {"command": "GET_TOPOLOGY"}, {}, 200, None),
    ("POST", "/v1/session?fresh=2", {"command": "GET_TOPOLOGY"}, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/session/events", None, {}, 200, None),
    ("GET", "/v1/session/events?after=0&limit=1", None, {}, 200, None),
    ("GET", "/v1/session/events?since_ms=0&limit=1", None, {}, 200, None),
    ("GET", "/v1/session/events?after=-1", None, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/session/event-counts", None, {}, 200, None),
    ("GET", "/v1/events/stream", None, {}, 200, None),
    ("GET", "/v1/events/stream", None, {"Last-Event-ID": "0"}, 200, None),
    ("GET", "/v1/events/stream", None, {"Last-Event-ID": "-1"}, 400, "EVENT_ID_INVALID"),
    # Problems that any path can have.
    ("GET", "/v1/cards/%ff", None, {}, 400, "PATH_INVALID"),
    ("GET", "/v1/cards?fresh=%ff", None, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/cards?since=1h", None, {}, 400, "QUERY_UNKNOWN"),
    ("GET", "/v1/cards?fresh=1&fresh=1", None, {}, 400, "QUERY_REPEATED"),
    ("GET", "/v1/cards", None, {"If-None-Match": b"\xff"}, 400, "HEADER_INVALID"),
    ("POST", "/v1/session", None, {}, 400, "BODY_MISSING"),
    ("GET", "/v1/cards", {}, {}, 400, "BODY_NOT_ALLOWED"),
    ("GET", "/v1/card", None, {}, 404, "NOT_FOUND"),
    ("DELETE", "/v1/cards", None, {}, 405, "METHOD_NOT_ALLOWED"),
    ("POST", "/v1/session", "x" * 65537, {}, 413, "BODY_TOO_LARGE"),
    ("POST", "/v1/session", {}, {"Content-Type": "text/plain"}, 415, "MEDIA_TYPE_NOT_SUPPORTED"),
    ("GET", "/v1/cards", None, {"User-Agent": "x" * 8192}, 431, "HEADERS_TOO_LARGE"),
]

# Problems that other tests exercise, because they require a service in another state.
ELSEWHERE = {
    "DATABASE_UNUSABLE": "memory.bats: an unusable database is reported, and cards are still served",
    "PLUGIN_DOWN": "serve.bats: a plug-in that cannot be loaded is reported",
    "TOO_MANY_CALLS": "jobs.bats: at most 32 commands wait for the plug-in",
    "TIMED_OUT": "tests/service/ApiTest.cpp",
    "NO_EVENT_LOG": "client.bats: a log that cannot be read is reported",
    "STREAM_REFUSED": "tests/service/EventFeedTest.cpp",
    "JOB_RUNNING": "jobs.bats: one job runs on a card at a time",
    "PERMISSION_DENIED": "tests/service/http",
    "READ_ONLY": "tests/service/http",
    "HOST_NOT_ALLOWED": "tests/service/http",
    "ORIGIN_NOT_ALLOWED": "tests/service/http",
    "UNEXPECTED": "tests/service/http",
    "STOPPING": "tests/service/http",
}


class Document:
    """The OpenAPI document, and the responses in it that requests have received."""

    def __init__(self):
        self.whole = json.loads(send("GET", "/v1/openapi.json")[2])
        self.seen = set()

    def common(self):
        return self.whole["components"]["responses"]["Common"]["x-problems"]

    def operation(self, method, path):
        """Returns the path's template and operation, or None for each that is missing."""
        segments = urllib.parse.urlsplit(path).path.split("/")
        for template, operations in self.whole["paths"].items():
            names = template.split("/")
            fits = len(names) == len(segments) and all(
                name.startswith("{") or name == segment for name, segment in zip(names, segments))
            if fits:
                return template, operations.get(method.lower())
        return None, None

    def check(self, instance, schema):
        whole = {**schema, "components": self.whole["components"]}
        jsonschema.Draft202012Validator(whole).validate(instance)

    def check_response(self, operation, status, media_type, content):
        described = operation["responses"][str(status)].get("content")
        if described is None:
            if content:
                raise ValueError("the document does not have this content")
            return
        if media_type not in described:
            raise ValueError(f"{media_type} is not in the document")
        if media_type.endswith("json"):
            self.check(json.loads(content), described[media_type]["schema"])

    def unseen(self):
        for template, operations in self.whole["paths"].items():
            for method, operation in operations.items():
                for status in operation["responses"]:
                    if status.startswith("2"):
                        yield template, method, status, None
                for problem in operation["x-problems"]:
                    yield template, method, str(problem["status"]), problem["id"]
        for problem in self.common():
            yield "any", "any", str(problem["status"]), problem["id"]


def has(problems, status, problem):
    return any((each["status"], each["id"]) == (status, problem) for each in problems)


def await_job(job):
    while json.loads(send("GET", "/v1/jobs/" + job)[2])["state"] == "RUNNING":
        time.sleep(0.05)


def check_row(document, row):
    method, path, body, headers, status, problem = row
    text = body if body is None or isinstance(body, str) else json.dumps(body)
    got, media_type, content = send(method, path, text, headers)
    if got != status:
        raise ValueError(f"status {got}: {content[:200]}")
    template, operation = document.operation(method, path)
    found = json.loads(content).get("id") if media_type == PROBLEM else None
    if found != problem:
        raise ValueError(f"problem {found}")
    if problem is None or (operation and has(operation["x-problems"], status, problem)):
        document.check_response(operation, status, media_type, content)
        document.seen.add((template, method.lower(), str(status), problem))
    if problem and has(document.common(), status, problem):
        document.check(json.loads(content), {"$ref": "#/components/schemas/Problem"})
        document.seen.add(("any", "any", str(status), problem))
    elif problem and not (operation and has(operation["x-problems"], status, problem)):
        raise ValueError("the document does not have this problem")
    if status == 202:
        await_job(json.loads(content)["id"])


def main():
    document = Document()
    failed = 0
    for row in ROWS:
        row = list(row)
        if row[1].endswith("/LAST"):
            row[1] = "/v1/jobs/" + json.loads(send("GET", "/v1/jobs")[2])["jobs"][0]["id"]
        try:
            check_row(document, row)
        except (ValueError, KeyError, jsonschema.ValidationError) as error:
            print(row[:2], str(error).splitlines()[0], file=sys.stderr)
            failed += 1
    for each in document.unseen():
        if each not in document.seen and each[3] not in ELSEWHERE:
            print("not exercised:", each, file=sys.stderr)
            failed += 1
    print(f"{len(ROWS)} requests, {len(document.seen)} responses of the document")
    return 1 if failed else 0


sys.exit(main())
