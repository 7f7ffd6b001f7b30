"""Sends hostile requests to every operation of the service's OpenAPI document. Each must be refused
with a problem of the document.

Usage: hostile_requests.py texts SOCKET        NUL and invalid UTF-8 in every string
       hostile_requests.py bodies SOCKET       huge and deeply nested JSON in every body
       hostile_requests.py changes SOCKET PORT every change, over TCP
"""
import json
import pathlib
import re
import socket
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "soak"))
import api_document
import client

TIMEOUT = 120  # per request, in seconds
LIMIT = 65536  # bytes of a body

# A body that is valid for its schema, by schema.
BODIES = {
    "OperationRequest": {"dry_run": True},
    "FormatRequest": {"dry_run": True},
    "AcknowledgmentRequest": {"reason": "MISSING"},
    "PluginChange": {"poll_interval": 15},
    "SessionCommand": {"command": "GET_TOPOLOGY"},
}
# A value of each parameter in a path.
PARAMETERS = {"serial": "S100", "drive": "0", "operation": "locate", "job": "0-0",
              "table": "adapter"}
HEADERS = ["Idempotency-Key", "If-None-Match", "Last-Event-ID", "Origin", "Content-Type"]

INVALID = [b"\xff", b"\xc0\x80", b"\xed\xa0\x80", b"\xf5\x80\x80\x80", b"\xe2\x82"]
ESCAPED = ["%00", "x%00", "%00x"] + ["".join(f"%{byte:02x}" for byte in text) for text in INVALID]


def exchange(connection, request):
    """Sends bytes and returns the status and content of the response."""
    with connection:
        connection.settimeout(TIMEOUT)
        received = b""
        try:
            connection.sendall(request)
        except (BrokenPipeError, ConnectionResetError):
            pass  # refused before the complete request was sent
        try:
            # A stream would not end.
            while b"text/event-stream" not in received and (part := connection.recv(65536)):
                received += part
        except ConnectionResetError:
            pass  # closed before the complete request was read
    head, _, content = received.partition(b"\r\n\r\n")
    return client.Response(int(head.split(b" ", 2)[1]) if head else 0,
                           "application/problem+json" if b"problem+json" in head else "", content)


def request_of(method, path, body=None, headers=()):
    lines = [f"{method} ".encode() + path + b" HTTP/1.1", b"Host: localhost", b"Connection: close"]
    lines += [name.encode() + b": " + value for name, value in headers]
    if body is not None:
        lines += [b"Content-Type: application/json", f"Content-Length: {len(body)}".encode()]
    return b"\r\n".join([*lines, b"", body or b""])


class Target:
    """The service: its document, and connections to it."""

    def __init__(self, path, port=None):
        self.path, self.port = path, port
        self.document = api_document.Document(client.Client(path))
        self.failures, self.count = [], 0

    def connect(self):
        if self.port:
            return socket.create_connection(("127.0.0.1", self.port))
        connection = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        connection.connect(self.path)
        return connection

    def operations(self):
        """Yields method, path, body and the operation. The values of the path are valid."""
        for template, operations in self.document.content["paths"].items():
            path = re.sub(r"{(\w+)}", lambda match: PARAMETERS[match[1]], template)
            for method, operation in operations.items():
                yield method.upper(), template, path, self.body_of(operation), operation

    @staticmethod
    def schema_of(operation):
        schema = operation["requestBody"]["content"]["application/json"]["schema"]
        return schema["$ref"].rsplit("/", 1)[1]

    def body_of(self, operation):
        return BODIES[self.schema_of(operation)] if "requestBody" in operation else None

    def expect(self, name, operation, request, allowed):
        """Sends the request and expects one of the problems."""
        self.count += 1
        response = exchange(self.connect(), request)
        try:
            found = self.document.check_problem(
                operation, response._replace(content=response.content.decode()))
        except Exception as error:  # any error fails this request only
            text = str(error).splitlines()[:1]
            self.failures.append(f"{name}: {response.status} {response.content[:80]}: {text}")
            return
        if found not in allowed:
            self.failures.append(f"{name}: {response.status} {found}")


def encode(body):
    return None if body is None else json.dumps(body).encode()


def check_paths_and_queries(target):
    for method, template, path, body, operation in target.operations():
        for text in ESCAPED:
            for name in re.findall(r"{(\w+)}", template):
                hostile = re.sub(r"{(\w+)}", lambda match: text if match[1] == name else
                                 PARAMETERS[match[1]], template)
                target.expect(f"{method} {hostile}", operation,
                              request_of(method, hostile.encode(), encode(body)), ["PATH_INVALID"])
            for part in (f"?x={text}", f"?{text}=x"):
                target.expect(f"{method} {path}{part}", operation,
                              request_of(method, (path + part).encode(), encode(body)),
                              ["QUERY_INVALID"])
            for name in query_names(target, operation):
                target.expect(f"{method} {path}?{name}={text}", operation,
                              request_of(method, f"{path}?{name}={text}".encode(), encode(body)),
                              ["QUERY_INVALID"])


def query_names(target, operation):
    for parameter in operation.get("parameters", []):
        parameter = target.document.resolved(parameter)
        if parameter["in"] == "query":
            yield parameter["name"]


def check_headers(target):
    for method, _, path, body, operation in target.operations():
        for name in HEADERS:
            for text in [*INVALID, b"x\xff"]:
                target.expect(f"{method} {path} {name}: {text}", operation,
                              request_of(method, path.encode(), encode(body), [(name, text)]),
                              ["HEADER_INVALID"])


def string_fields(target, schema):
    """Returns the names of the string fields of a body."""
    properties = target.document.content["components"]["schemas"][schema]["properties"]
    return [name for name, value in properties.items()
            if target.document.resolved(value).get("type") == "string"]


def check_body_texts(target):
    for method, _, path, body, operation in target.operations():
        if body is None:
            continue
        for name in [*string_fields(target, target.schema_of(operation)), "unknown"]:
            for text in [*INVALID, b"\0", b"\\ud800", b"\\udc00", b"\\u0000"]:
                value = json.dumps({**body, name: "HOSTILE"}).encode()
                hostile = value.replace(b"HOSTILE", b"x" + text)
                target.expect(f"{method} {path} {hostile}", operation,
                              request_of(method, path.encode(), hostile), ["BODY_INVALID"])


def check_bodies(target):
    deep = [b"[" * LIMIT, b"[" * (LIMIT // 2) + b"]" * (LIMIT // 2),
            b'{"a":' * 10000 + b"1" + b"}" * 10000, b"[{" * 20000, b'"' + b"\\" * 60000,
            b"9" * LIMIT, b"1e" + b"9" * 60000, b"-" * LIMIT, b" " * LIMIT,
            b'"' + b"x" * (LIMIT - 2) + b'"', b"[" + b"0," * 30000 + b"0]"]
    for method, _, path, body, operation in target.operations():
        if body is None:
            continue
        name = f"{method} {path}"
        for text in deep:
            target.expect(f"{name} {text[:20]}", operation,
                          request_of(method, path.encode(), text), ["BODY_INVALID"])
        schema = target.document.content["components"]["schemas"][target.schema_of(operation)]
        for field in schema["properties"]:
            nested = b"[" * 30000 + b"]" * 30000
            text = json.dumps({**body, field: "HOSTILE"}).encode().replace(b'"HOSTILE"', nested)
            target.expect(f"{name} deep {field}", operation,
                          request_of(method, path.encode(), text), ["BODY_INVALID"])
        target.expect(f"{name} {LIMIT + 1} bytes", operation,
                      request_of(method, path.encode(), b" " * (LIMIT + 1)), ["BODY_TOO_LARGE"])


def check_changes(target):
    for method, _, path, body, operation in target.operations():
        if method != "GET":
            target.expect(f"{method} {path}", operation,
                          request_of(method, path.encode(), encode(body)), ["READ_ONLY"])


def main(what, path, port=None):
    target = Target(path, port and int(port))
    if what == "texts":
        check_paths_and_queries(target)
        check_headers(target)
        check_body_texts(target)
    else:
        {"bodies": check_bodies, "changes": check_changes}[what](target)
    for failure in target.failures[:20]:
        print(failure, file=sys.stderr)
    print(f"{target.count} requests, {len(target.failures)} failed")
    return 1 if target.failures or target.count == 0 else 0


sys.exit(main(*sys.argv[1:]))
