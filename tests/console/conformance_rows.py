"""Requests to the service in each of its states, with the expected responses.

A row is: method, path, body, headers, status, id of the problem. A body that is not text is sent as
JSON.
"""
KEY = "Idempotency-Key"
CHECK = {"command": "CHECK_OPERATION", "payload": {"operation_id": 50126}}
LOCATE, ONLINE = "/v1/cards/S100/operations/locate", "/v1/cards/S200/drives/0/operations/online"
# Without the id of the card, which is known only at run time.
SESSION_LOCATE = {"command": "EXECUTE_OPERATION", "payload": {"operation_id": 50034}}
FORMAT = "/v1/cards/S200/drives/0/format"
HISTORY = "/v1/cards/S100/history?field=temperature_celsius"

# Every change with a key: the first request, its repetition, another request with the same key, and
# a malformed key. A row is: method, path, body, status of a success, and the other request: path,
# body.
CHANGES = [
    ("POST", LOCATE, {}, 202, LOCATE, {"dry_run": True}),
    ("POST", ONLINE, {"dry_run": True}, 202, ONLINE.replace("online", "offline"),
     {"dry_run": True}),
    ("POST", FORMAT, {"dry_run": True, "capacity": "80"}, 202, FORMAT, {"dry_run": True, "capacity": "90"}),
    ("POST", "/v1/cards/S100/ack", {"reason": "DETACHED", "until": "1d", "note": "n"}, 201,
     "/v1/cards/S200/ack", {"reason": "DETACHED", "until": "1d", "note": "n"}),
    ("DELETE", "/v1/cards/S100/ack?reason=DETACHED", None, 204,
     "/v1/cards/S100/ack?reason=FLASHBACK", None),
    ("DELETE", "/v1/cards/GONE", None, 204, "/v1/cards/S100", None),
    ("PATCH", "/v1/plugin", {"poll_interval": 15}, 200, "/v1/plugin", {"poll_interval": 16}),
]

MALFORMED_KEYS = ["", "two words", "k" * 256, "k\u00e9", "one,\ttwo"]

RUNNING = [
    ("GET", "/healthz", None, {}, 200, None),
    ("GET", "/readyz", None, {}, 200, None),
    ("GET", "/metrics", None, {}, 200, None),
    ("GET", "/v1/openapi.json", None, {}, 200, None),
    ("GET", "/v1/cards", None, {}, 200, None),
    ("GET", "/v1/cards?fresh=1", None, {}, 200, None),
    ("GET", "/v1/cards", None, {"If-None-Match": "*"}, 304, None),
    ("GET", "/v1/cards", None, {"If-None-Match": 'W/"0-0"'}, 200, None),
    ("GET", "/v1/cards/S100", None, {"If-None-Match": "*"}, 304, None),
    ("GET", "/v1/cards/S100/drives/0", None, {"If-None-Match": "*"}, 304, None),
    ("GET", "/v1/cards?fresh=2", None, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/cards/S100", None, {}, 200, None),
    ("GET", "/v1/cards/S101", None, {}, 404, "NO_SUCH_OBJECT"),
    ("GET", "/v1/cards/S100?fresh=yes", None, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/cards/S100/drives/0", None, {}, 200, None),
    ("GET", "/v1/cards/S100/drives/9", None, {}, 404, "NO_SUCH_OBJECT"),
    ("GET", "/v1/cards/S100/drives/0?fresh=", None, {}, 400, "QUERY_INVALID"),
    ("POST", "/v1/cards/S100/operations/detach", {}, {}, 409, "NOT_CONFIRMED"),
    ("POST", "/v1/cards/S100/operations/detach", {"x": 1}, {}, 400, "BODY_INVALID"),
    ("POST", "/v1/cards/S101/operations/locate", {}, {}, 404, "NO_SUCH_OBJECT"),
    ("POST", "/v1/cards/S100/operations/x", {}, {}, 404, "NO_SUCH_OPERATION"),
    ("POST", "/v1/cards/S200/drives/0/operations/offline", {}, {}, 409, "NOT_CONFIRMED"),
    ("POST", "/v1/cards/S200/drives/0/operations/offline", [], {}, 400, "BODY_INVALID"),
    ("POST", "/v1/cards/S101/drives/0/operations/online", {"dry_run": True}, {}, 404,
     "NO_SUCH_OBJECT"),
    ("POST", "/v1/cards/S200/drives/0/operations/attach", {}, {}, 404, "NO_SUCH_OPERATION"),
    ("POST", FORMAT, {"capacity": "80"}, {}, 409, "NOT_CONFIRMED"),
    ("POST", FORMAT, {"confirm": "S100"}, {}, 409, "WRONG_SERIAL"),
    ("POST", FORMAT, {"capacity": 80}, {}, 400, "BODY_INVALID"),
    ("POST", "/v1/cards/S101/drives/0/format", {"dry_run": True, "capacity": "80"}, {}, 404, "NO_SUCH_OBJECT"),
    ("GET", "/v1/known-cards", None, {}, 200, None),
    ("DELETE", "/v1/cards/S100", None, {}, 409, "CARD_PRESENT"),
    ("DELETE", "/v1/cards/GONE", None, {}, 404, "UNKNOWN_CARD"),  # CHANGES has forgotten it
    ("GET", HISTORY + "&from=1h", None, {}, 200, None),
    ("GET", "/v1/cards/S101/history?field=temperature_celsius", None, {}, 404, "UNKNOWN_CARD"),
    ("GET", "/v1/cards/S100/history?field=status", None, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/cards/S100/history", None, {}, 400, "QUERY_INVALID"),
    ("GET", HISTORY + "&from=x", None, {}, 400, "QUERY_INVALID"),
    ("GET", HISTORY + "&step=x", None, {}, 400, "QUERY_INVALID"),
    ("GET", "/v1/acknowledgments", None, {}, 200, None),
    ("POST", "/v1/cards/S100/ack", {"reason": "x"}, {}, 400, "UNKNOWN_REASON"),
    ("POST", "/v1/cards/S100/ack", {"reason": "MISSING", "until": "2020-01-01"}, {}, 400,
     "BODY_INVALID"),
    ("POST", "/v1/cards/S100/ack", {"until": "1d"}, {}, 400, "BODY_INVALID"),
    ("POST", "/v1/cards/S100/ack", {"reason": "MISSING"}, {}, 409, "NOT_MISSING"),
    ("POST", "/v1/cards/S101/ack", {"reason": "MISSING"}, {}, 404, "UNKNOWN_CARD"),
    ("DELETE", "/v1/cards/S100/ack", None, {}, 400, "QUERY_INVALID"),
    ("DELETE", "/v1/cards/S100/ack?reason=DETACHED", None, {}, 404, "NOT_ACKNOWLEDGED"),
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

# Over TCP.
TCP = [
    ("GET", "/v1/cards", None, {}, 200, None),
    ("GET", "/v1/cards", None, {"Host": "example.org"}, 403, "HOST_NOT_ALLOWED"),
    ("GET", "/v1/cards", None, {"Origin": "http://example.org"}, 403, "ORIGIN_NOT_ALLOWED"),
    ("POST", LOCATE, {}, {}, 403, "READ_ONLY"),
]

# While a job is running on each card.
WITH_JOBS = [
    ("POST", LOCATE, {}, {}, 409, "JOB_RUNNING"),
    ("POST", ONLINE, {"confirm": True}, {}, 409, "JOB_RUNNING"),
    ("POST", FORMAT, {"dry_run": True, "capacity": "80"}, {}, 409, "JOB_RUNNING"),
    ("POST", "/v1/session", SESSION_LOCATE, {}, 409, "JOB_RUNNING"),
]

# Sent before the plug-in process is killed.
ENDED = [
    ("PATCH", "/v1/plugin", {"poll_interval": 15}, {}, 503, "PLUGIN_ENDED"),
    ("POST", "/v1/session", SESSION_LOCATE, {}, 503, "PLUGIN_ENDED"),
]

# While two cards have the same serial number.
AMBIGUOUS = [
    ("GET", "/v1/events?object=S100", None, {}, 409, "AMBIGUOUS"),
    ("GET", "/v1/cards/S100", None, {}, 409, "AMBIGUOUS"),
    ("GET", "/v1/cards/S100/drives/0", None, {}, 409, "AMBIGUOUS"),
    ("GET", HISTORY, None, {}, 409, "AMBIGUOUS"),
    ("DELETE", "/v1/cards/S100", None, {}, 409, "AMBIGUOUS"),
    ("POST", "/v1/cards/S100/ack", {"reason": "DETACHED"}, {}, 409, "AMBIGUOUS"),
    ("DELETE", "/v1/cards/S100/ack?reason=DETACHED", None, {}, 409, "AMBIGUOUS"),
    ("POST", LOCATE, {}, {}, 409, "AMBIGUOUS"),
    ("POST", ONLINE.replace("S200", "S100"), {"confirm": True}, {}, 409, "AMBIGUOUS"),
    ("POST", FORMAT.replace("S200", "S100"), {"confirm": "S100", "capacity": "80"}, {}, 409,
     "AMBIGUOUS"),
]

# While as many streams are open as permitted.
WITH_STREAMS = [("GET", "/v1/events/stream", None, {}, 503, "STREAM_REFUSED")]

# After the database has been replaced by a directory.
NO_DATABASE = [
    ("GET", "/metrics", None, {}, 200, None),
    ("GET", "/v1/status", None, {}, 200, None),
    ("DELETE", "/v1/cards/S100", None, {}, 500, "DATABASE_FAILED"),
    ("GET", HISTORY, None, {}, 500, "DATABASE_FAILED"),
    ("POST", LOCATE, {}, {KEY: "unstored"}, 500, "DATABASE_FAILED"),
    ("POST", ONLINE, {"confirm": True}, {KEY: "unstored1"}, 500, "DATABASE_FAILED"),
    ("POST", FORMAT, {"dry_run": True, "capacity": "80"}, {KEY: "unstored2"}, 500, "DATABASE_FAILED"),
    ("POST", "/v1/cards/S100/ack", {"reason": "MISSING"}, {}, 500, "DATABASE_FAILED"),
    ("DELETE", "/v1/cards/S100/ack?reason=MISSING", None, {}, 500, "DATABASE_FAILED"),
    ("GET", "/v1/acknowledgments", None, {}, 500, "DATABASE_FAILED"),
    ("GET", "/v1/known-cards", None, {}, 500, "DATABASE_FAILED"),
    ("GET", "/v1/session/rows/adapter", None, {}, 500, "DATABASE_FAILED"),
    ("GET", "/v1/events", None, {}, 500, "NO_EVENT_LOG"),
    ("GET", "/v1/session/events", None, {}, 500, "NO_EVENT_LOG"),
    ("GET", "/v1/session/event-counts", None, {}, 500, "NO_EVENT_LOG"),
]

# The plug-in cannot be loaded.
DOWN = [
    ("GET", "/healthz", None, {}, 200, None),
    ("GET", "/metrics", None, {}, 200, None),
    ("GET", "/readyz", None, {}, 503, "PLUGIN_DOWN"),
    ("GET", "/v1/cards", None, {}, 503, "PLUGIN_DOWN"),
    ("GET", "/v1/cards/S100", None, {}, 503, "PLUGIN_DOWN"),
    ("GET", "/v1/cards/S100/drives/0", None, {}, 503, "PLUGIN_DOWN"),
    ("POST", LOCATE, {}, {}, 503, "PLUGIN_DOWN"),
    ("POST", ONLINE, {"confirm": True}, {}, 503, "PLUGIN_DOWN"),
    ("POST", FORMAT, {"dry_run": True, "capacity": "80"}, {}, 503, "PLUGIN_DOWN"),
    ("GET", "/v1/status", None, {}, 503, "PLUGIN_DOWN"),
    ("GET", "/v1/events", None, {}, 503, "PLUGIN_DOWN"),
    ("GET", "/v1/plugin", None, {}, 503, "PLUGIN_DOWN"),
    ("PATCH", "/v1/plugin", {"poll_interval": 15}, {}, 503, "PLUGIN_DOWN"),
    ("GET", "/v1/session", None, {}, 503, "PLUGIN_DOWN"),
    ("POST", "/v1/session", CHECK, {}, 503, "PLUGIN_DOWN"),
    ("GET", "/v1/session/rows/adapter", None, {}, 503, "PLUGIN_DOWN"),
]

DENIED = [
    ("GET", "/healthz", None, {}, 200, None),
    ("GET", "/readyz", None, {}, 200, None),
    ("GET", "/v1/cards", None, {}, 403, "PERMISSION_DENIED"),
    ("POST", LOCATE, {}, {}, 403, "PERMISSION_DENIED"),
]

BUSY = [
    ("GET", "/healthz", None, {}, 200, None),
    ("GET", "/readyz", None, {}, 200, None),
    ("GET", "/metrics", None, {}, 200, None),
    ("GET", "/v1/status", None, {}, 200, None),
    ("GET", "/v1/cards", None, {}, 200, None),
    ("GET", "/v1/cards?fresh=1", None, {}, 503, "TOO_MANY_CALLS"),
    ("GET", "/v1/cards/S100?fresh=1", None, {}, 503, "TOO_MANY_CALLS"),
    ("GET", "/v1/cards/S100/drives/0?fresh=1", None, {}, 503, "TOO_MANY_CALLS"),
    ("DELETE", "/v1/cards/S100", None, {}, 503, "TOO_MANY_CALLS"),
    ("GET", HISTORY, None, {}, 503, "TOO_MANY_CALLS"),
    ("POST", "/v1/cards/S100/ack", {"reason": "MISSING"}, {}, 503, "TOO_MANY_CALLS"),
    ("DELETE", "/v1/cards/S100/ack?reason=MISSING", None, {}, 503, "TOO_MANY_CALLS"),
    ("GET", "/v1/acknowledgments", None, {}, 503, "TOO_MANY_CALLS"),
    ("GET", "/v1/known-cards", None, {}, 503, "TOO_MANY_CALLS"),
    ("POST", LOCATE, {}, {}, 503, "TOO_MANY_CALLS"),
    ("POST", LOCATE, {}, {KEY: "busy"}, 503, "TOO_MANY_CALLS"),
    ("POST", LOCATE, {"dry_run": True}, {KEY: "busy"}, 503, "TOO_MANY_CALLS"),
    ("POST", ONLINE, {"confirm": True}, {}, 503, "TOO_MANY_CALLS"),
    ("POST", FORMAT, {"dry_run": True, "capacity": "80"}, {}, 503, "TOO_MANY_CALLS"),
    ("GET", "/v1/events", None, {}, 503, "TOO_MANY_CALLS"),
    ("PATCH", "/v1/plugin", {"poll_interval": 15}, {}, 503, "TOO_MANY_CALLS"),
    ("POST", "/v1/session", CHECK, {}, 503, "TOO_MANY_CALLS"),
    ("GET", "/v1/session/events", None, {}, 503, "TOO_MANY_CALLS"),
    ("GET", "/v1/session/event-counts", None, {}, 503, "TOO_MANY_CALLS"),
    ("GET", "/v1/session/rows/adapter", None, {}, 503, "TOO_MANY_CALLS"),
]

STARTING = [
    ("GET", "/readyz", None, {}, 503, "PLUGIN_DOWN"),
    ("GET", "/v1/session", None, {}, 503, "TOO_MANY_CALLS"),
]

TIMEOUTS = [
    ("GET", "/v1/cards", None, {}, 200, None),
    ("GET", "/v1/cards?fresh=1", None, {}, 504, "TIMED_OUT"),
    ("GET", "/v1/cards/S100?fresh=1", None, {}, 504, "TIMED_OUT"),
    ("GET", "/v1/cards/S100/drives/0?fresh=1", None, {}, 504, "TIMED_OUT"),
    ("PATCH", "/v1/plugin", {"poll_interval": 15}, {}, 504, "TIMED_OUT"),
    ("POST", "/v1/session", CHECK, {}, 504, "TIMED_OUT"),
    ("GET", "/v1/session/rows/adapter", None, {}, 504, "TIMED_OUT"),
    ("DELETE", "/v1/cards/S100", None, {}, 504, "DATABASE_TIMED_OUT"),
    ("GET", HISTORY, None, {}, 504, "DATABASE_TIMED_OUT"),
    ("POST", "/v1/cards/S100/ack", {"reason": "MISSING"}, {}, 504, "DATABASE_TIMED_OUT"),
    ("POST", "/v1/cards/S100/ack", {"reason": "MISSING"}, {KEY: "slow"}, 504, "DATABASE_TIMED_OUT"),
    ("DELETE", "/v1/cards/S100/ack?reason=MISSING", None, {}, 504, "DATABASE_TIMED_OUT"),
    ("GET", "/v1/acknowledgments", None, {}, 504, "DATABASE_TIMED_OUT"),
    ("GET", "/v1/known-cards", None, {}, 504, "DATABASE_TIMED_OUT"),
    ("GET", "/v1/events", None, {}, 504, "DATABASE_TIMED_OUT"),
    ("GET", "/v1/session/events", None, {}, 504, "DATABASE_TIMED_OUT"),
    ("GET", "/v1/session/event-counts", None, {}, 504, "DATABASE_TIMED_OUT"),
]

FAILING = [("GET", "/v1/jobs", None, {}, 500, "UNEXPECTED")]

# Sent before the service is stopped, while the plug-in is suspended.
STOPPING = [("PATCH", "/v1/plugin", {"poll_interval": 15}, {}, 503, "STOPPING")]

# One request per operation, sent in each state. The document must allow the response.
EVERYWHERE = [
    ("GET", "/healthz", None),
    ("GET", "/readyz", None),
    ("GET", "/metrics", None),
    ("GET", "/v1/openapi.json", None),
    ("GET", "/v1/cards?fresh=1", None),
    ("GET", "/v1/cards/S100?fresh=1", None),
    ("DELETE", "/v1/cards/S100", None),
    ("GET", HISTORY, None),
    ("POST", "/v1/cards/S100/ack", {"reason": "MISSING"}),
    ("DELETE", "/v1/cards/S100/ack?reason=MISSING", None),
    ("GET", "/v1/acknowledgments", None),
    ("GET", "/v1/known-cards", None),
    ("POST", LOCATE, {"dry_run": True}),
    ("GET", "/v1/cards/S100/drives/0?fresh=1", None),
    ("POST", ONLINE, {"dry_run": True}),
    ("POST", FORMAT, {"dry_run": True, "capacity": "80"}),
    ("GET", "/v1/jobs", None),
    ("GET", "/v1/jobs/0-0", None),
    ("GET", "/v1/status", None),
    ("GET", "/v1/events?object=S100", None),
    ("GET", "/v1/events/stream", None),
    ("GET", "/v1/plugin", None),
    ("PATCH", "/v1/plugin", {"poll_interval": 15}),
    ("GET", "/v1/session", None),
    ("POST", "/v1/session?fresh=1", CHECK),
    ("GET", "/v1/session/events", None),
    ("GET", "/v1/session/event-counts", None),
    ("GET", "/v1/session/rows/adapter", None),
]
