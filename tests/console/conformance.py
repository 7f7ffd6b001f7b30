"""Checks requests and responses against the OpenAPI document. Also fails if no request covers an
operation, response or problem of the document.

Usage: conformance.py SOCKET
"""
import json
import pathlib
import sys
import time

import jsonschema

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "soak"))
import api_document
import client

# method, path, body, headers, status, id of the problem
ROWS = [
    ("GET", "/healthz", None, {}, 200, None),
    ("GET", "/readyz", None, {}, 200, None),
    ("GET", "/metrics", None, {}, 200, None),
    ("GET", "/v1/openapi.json", None, {}, 200, None),
    ("GET", "/v1/cards", None, {}, 200, None),
    ("GET", "/v1/cards?fresh=1", None, {}, 200, None),
    ("GET", "/v1/cards", None, {"If-None-Match": "*"}, 304, None),
    ("GET", "/v1/cards/S100", None, {"If-None-Match": "*"}, 304, None),
    ("GET", "/v1/cards/S100/drives/0", None, {"If-None-Match": "*"}, 304, None),
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
    ("POST", "/v1/cards/S100/operations/locate", {}, {"Idempotency-Key": ""}, 400,
     "IDEMPOTENCY_KEY_INVALID"),
    ("POST", "/v1/cards/S100/operations/detach", {}, {}, 409, "NOT_CONFIRMED"),
    ("POST", "/v1/cards/S100/operations/detach", {"x": 1}, {}, 400, "BODY_INVALID"),
    ("POST", "/v1/cards/S101/operations/locate", {}, {}, 404, "NO_SUCH_OBJECT"),
    ("POST", "/v1/cards/S100/operations/x", {}, {}, 404, "NO_SUCH_OPERATION"),
    ("POST", "/v1/cards/S200/drives/0/operations/online", {"dry_run": True},
     {"Idempotency-Key": "d"}, 202, None),
    ("POST", "/v1/cards/S200/drives/0/operations/offline", {"dry_run": True},
     {"Idempotency-Key": "d"}, 422, "IDEMPOTENCY_KEY_REUSED"),
    ("POST", "/v1/cards/S200/drives/0/operations/offline", {}, {"Idempotency-Key": "k" * 256}, 400,
     "IDEMPOTENCY_KEY_INVALID"),
    ("POST", "/v1/cards/S200/drives/0/operations/offline", {}, {}, 409, "NOT_CONFIRMED"),
    ("POST", "/v1/cards/S200/drives/0/operations/offline", [], {}, 400, "BODY_INVALID"),
    ("POST", "/v1/cards/S101/drives/0/operations/online", {"dry_run": True}, {}, 404, "NO_SUCH_OBJECT"),
    ("POST", "/v1/cards/S200/drives/0/operations/attach", {}, {}, 404, "NO_SUCH_OPERATION"),
    ("POST", "/v1/cards/S200/drives/0/format", {"dry_run": True, "capacity": "80"},
     {"Idempotency-Key": "f"}, 202, None),
    ("POST", "/v1/cards/S200/drives/0/format", {"dry_run": True}, {"Idempotency-Key": "f"}, 422,
     "IDEMPOTENCY_KEY_REUSED"),
    ("POST", "/v1/cards/S200/drives/0/format", {"dry_run": True}, {"Idempotency-Key": ""}, 400,
     "IDEMPOTENCY_KEY_INVALID"),
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
    ("GET", "/v1/events?after=0&limit=10&object=S100&severity=warning", None, {}, 200, None),
    ("GET", "/v1/events?limit=-1", None, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/events?object=S101", None, {}, 404, "NO_SUCH_OBJECT"),
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
    ("GET", "/v1/session/rows/adapter", None, {}, 200, None),
    ("GET", "/v1/session/rows/volume", None, {}, 404, "NO_SUCH_TABLE"),
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
    "AMBIGUOUS": "paging.bats: a name of several objects is ambiguous",
    "DATABASE_UNUSABLE": "service_state.bats: an unusable database is reported, and cards are still served",
    "PLUGIN_DOWN": "serve.bats: a plug-in that cannot be loaded is reported",
    "PLUGIN_ENDED": "session_jobs.bats: a session job fails if the plug-in process is killed",
    "TOO_MANY_CALLS": "jobs.bats: at most 32 commands wait for the plug-in",
    "TIMED_OUT": "tests/service/ApiTest.cpp",
    "NO_EVENT_LOG": "client.bats: a log that cannot be read is reported",
    "STREAM_REFUSED": "tests/service/EventFeedTest.cpp",
    "JOB_RUNNING": "jobs.bats: a card runs one job at a time",
    "PERMISSION_DENIED": "tests/service/http",
    "READ_ONLY": "tests/service/http",
    "HOST_NOT_ALLOWED": "tests/service/http",
    "ORIGIN_NOT_ALLOWED": "tests/service/http",
    "UNEXPECTED": "tests/service/http",
    "STOPPING": "tests/service/http",
}


class Document(api_document.Document):
    """The OpenAPI document, and those of its responses that the service has sent."""

    def __init__(self, service):
        super().__init__(service)
        self.seen = set()

    def all_responses(self):
        for template, operations in self.content["paths"].items():
            for method, operation in operations.items():
                for status in operation["responses"]:
                    if status[0] in "23":
                        yield template, method, status, None
                for problem in operation["x-problems"]:
                    yield template, method, str(problem["status"]), problem["id"]
        for problem in self.common_problems():
            yield "any", "any", str(problem["status"]), problem["id"]


def await_job(service, job):
    while service.get("/v1/jobs/" + job)["state"] == "RUNNING":
        time.sleep(0.05)


def check_row(service, document, row):
    method, path, body, headers, status, problem = row
    text = body if body is None or isinstance(body, str) else json.dumps(body)
    response = service.send(method, path, text, headers)
    if response.status != status:
        raise ValueError(f"status {response.status}: {response.content[:200]}")
    template, operation = document.operation(method, path)
    found = None
    if response.media_type == client.PROBLEM:
        found = document.check_problem(operation, response)
    if found != problem:
        raise ValueError(f"problem {found}")
    listed = operation["x-problems"] if operation else []
    if problem is None or api_document.has_problem(listed, status, problem):
        document.check_response(operation, response)
        document.seen.add((template, method.lower(), str(status), problem))
    if problem and api_document.has_problem(document.common_problems(), status, problem):
        document.seen.add(("any", "any", str(status), problem))
    if status == 202:
        await_job(service, json.loads(response.content)["id"])


def main():
    service = client.Client(sys.argv[1])
    document = Document(service)
    failed = 0
    for row in ROWS:
        row = list(row)
        if row[1].endswith("/LAST"):
            row[1] = "/v1/jobs/" + service.get("/v1/jobs")["jobs"][0]["id"]
        try:
            check_row(service, document, row)
        except (ValueError, KeyError, jsonschema.ValidationError) as error:
            print(row[:2], str(error).splitlines()[0], file=sys.stderr)
            failed += 1
    for response in document.all_responses():
        if response not in document.seen and response[3] not in ELSEWHERE:
            print("not exercised:", response, file=sys.stderr)
            failed += 1
    print(f"{len(ROWS)} requests, {len(document.seen)} responses of the document")
    return 1 if failed else 0


sys.exit(main())
