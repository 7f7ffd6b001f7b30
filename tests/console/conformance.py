"""Checks requests and responses of the service in all its states against its OpenAPI document.
Fails if a request, response or problem is not in the document, or if one in the document was never
observed.

Usage: conformance.py DIRECTORY API_STATES PLUGIN PROGRAM
  API_STATES  the program that serves the API in states that are hard to produce
  PLUGIN      the plug-in for it
  PROGRAM     the program that runs the plug-in for it
The environment selects the cards: S100 is card0, S200 is card1, and GONE, card2, is removed.
"""
import contextlib
import http.client
import itertools
import json
import os
import pathlib
import signal
import socket
import subprocess
import sys
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "soak"))
import api_document
import client
import conformance_rows as rows

TIMEOUT = 600  # of a wait, in seconds
ADAPTER = 19038  # type of a card's object

# Statuses of requests that the document does not allow.
INVALID = {400, 404, 405, 413, 415, 431}
# Problems of requests that the document does not allow either. Some requests with other problems
# are valid, because a schema cannot describe everything.
SYNTAX = {"QUERY_UNKNOWN", "QUERY_REPEATED", "BODY_MISSING", "BODY_NOT_ALLOWED",
          "MEDIA_TYPE_NOT_SUPPORTED", "IDEMPOTENCY_KEY_INVALID", "EVENT_ID_INVALID"}
ANY = ("any", "any")


class TcpClient:
    """A client of the service over TCP."""

    def __init__(self, port):
        self.port = port

    def send(self, method, path, body=None, headers=None):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=client.TIMEOUT)
        fields = {"Content-Type": "application/json"} if body is not None else {}
        with contextlib.closing(connection):
            connection.request(method, path, body, {**fields, **(headers or {})})
            response = connection.getresponse()
            received = {name.lower(): value for name, value in response.getheaders()}
            media_type = received.get("content-type", "").split(";")[0]
            return client.Response(response.status, media_type, response.read().decode(), received)


def await_true(condition):
    end = time.monotonic() + TIMEOUT
    while not condition():
        if time.monotonic() > end:
            raise RuntimeError("timed out")
        time.sleep(0.05)


def responds(process, path):
    if process.poll() is not None:
        raise RuntimeError(f"{path}: exit code {process.returncode}")
    try:
        return client.Client(path).send("GET", "/healthz").status == 200
    except OSError:
        return False


def text_of(body):
    return body if body is None or isinstance(body, str) else json.dumps(body)


class Conformance:
    """The document, and the responses that were observed."""

    def __init__(self):
        self.document = None
        self.observed = {}  # states by (template, method, status, id of the problem)
        self.failures, self.count = [], 0

    def described(self):
        """Yields all responses in the document."""
        for template, operations in self.document.content["paths"].items():
            for method, operation in operations.items():
                for status in operation["responses"]:
                    if status[0] in "23":
                        yield template, method, status, None
                for problem in operation["x-problems"]:
                    yield template, method, str(problem["status"]), problem["id"]
        for problem in self.document.common_problems():
            yield *ANY, str(problem["status"]), problem["id"]

    def missing(self):
        return sorted(set(self.described()) - set(self.observed), key=str)

    def fail(self, state, request, why):
        self.failures.append(f"{state}: {' '.join(request)}: {str(why).splitlines()[0]}")

    def exchange(self, service, state, method, path, body, headers):
        """Sends a request and checks it and the response. Returns the response and the id of its
        problem. Raises ValueError."""
        response = service.send(method, path, text_of(body), headers)
        self.count += 1
        template, operation = self.document.operation(method, path)
        problem = None
        if response.media_type == client.PROBLEM:
            problem = self.document.check_problem(operation, response)
        self.document.check_headers(operation, response)
        if operation is not None:
            self.check_request(operation, path, text_of(body), headers, response.status, problem)
        listed = operation["x-problems"] if operation else []
        if problem is None or api_document.has_problem(listed, response.status, problem):
            self.document.check_response(operation, response)
            self.observe(state, template, method.lower(), response.status, problem)
        if problem is not None and api_document.has_problem(
                self.document.common_problems(), response.status, problem):
            self.observe(state, *ANY, response.status, problem)
        return response, problem

    def observe(self, state, template, method, status, problem):
        self.observed.setdefault((template, method, str(status), problem), set()).add(state)

    def check_request(self, operation, path, body, headers, status, problem):
        texts = {name: value.decode("latin-1") if isinstance(value, bytes) else value
                 for name, value in headers.items()}
        error = self.document.request_error(operation, path, body, texts)
        if error is not None and status not in INVALID:
            raise ValueError(f"status {status}, but the document does not allow it: {error}")
        if error is None and problem in SYNTAX:
            raise ValueError(f"{problem}, but the document allows it")

    def check(self, service, state, row):
        method, path, body, headers, status, problem = row
        if path.endswith("/LAST"):
            path = "/v1/jobs/" + service.get("/v1/jobs")["jobs"][0]["id"]
        try:
            response, found = self.exchange(service, state, method, path, body, headers)
            if (response.status, found) != (status, problem):
                raise ValueError(f"{response.status} {found} instead of {status} {problem}")
            return response
        except (OSError, ValueError, KeyError) as error:
            self.fail(state, (method, path), error)
            return None

    def check_all(self, service, state, table):
        for row in table:
            self.check(service, state, row)

    def check_everywhere(self, service, state):
        """Sends one request per operation. Its response only has to be in the document."""
        sent = set()
        for method, path, body in rows.EVERYWHERE:
            sent.add((self.document.operation(method, path)[0], method.lower()))
            try:
                self.exchange(service, state, method, path, body, {})
            except (OSError, ValueError, KeyError) as error:
                self.fail(state, (method, path), error)
        for template, method, _, _ in self.described():
            if (template, method) not in sent | {ANY}:
                self.fail(state, (method, template), "no request for all states")

    def check_change(self, service, row):
        """Checks a change with keys: the first request, its repetition, and another request."""
        method, path, body, status, other, other_body = row
        key = {rows.KEY: f"{method}-{path}".replace(" ", "")}
        first = self.check(service, "running", (method, path, body, key, status, None))
        await_jobs(service)
        again = self.check(service, "running", (method, path, body, key, status, None))
        if first is None or again is None:
            return
        location = [each.headers.get("location") for each in (first, again)]
        if first.content != again.content or location[0] != location[1]:
            self.fail("running", (method, path), "the response was not repeated")
        self.check(service, "running",
                   (method, other, other_body, key, 422, "IDEMPOTENCY_KEY_REUSED"))
        for malformed in rows.MALFORMED_KEYS:
            invalid = {rows.KEY: malformed.encode()}
            self.check(service, "running",
                       (method, path, body, invalid, 400, "IDEMPOTENCY_KEY_INVALID"))


class Service:
    """A running service with its directory, socket, database and log."""

    def __init__(self, directory, *options):
        directory.mkdir()
        self.socket, self.log = directory / "s", directory / "log"
        self.database = directory / "corvane.db"
        self.client = client.Client(self.socket)
        with self.log.open("wb") as log:
            self.process = subprocess.Popen(
                ["corvane-host", "serve", "--socket", self.socket, *options], stderr=log,
                env={**os.environ, "CORVANE_DATABASE": str(self.database)})
        await_true(lambda: responds(self.process, self.socket))

    def await_readiness(self, status):
        await_true(lambda: self.client.send("GET", "/readyz").status == status)

    def await_down(self):
        self.await_readiness(503)
        await_true(lambda: "starting" not in self.client.send("GET", "/readyz").content)

    def plugin_process(self):
        children = pathlib.Path(f"/proc/{self.process.pid}/task")
        for task in children.iterdir():
            for child in (task / "children").read_text().split():
                command = pathlib.Path(f"/proc/{child}/cmdline").read_bytes()
                if b"plugin-process" in command and int(child) > 1:
                    return int(child)
        raise RuntimeError("no plug-in process")

    @contextlib.contextmanager
    def suspended_plugin(self):
        process = self.plugin_process()
        os.kill(process, signal.SIGSTOP)
        try:
            yield
        finally:
            with contextlib.suppress(ProcessLookupError):  # killed meanwhile
                os.kill(process, signal.SIGCONT)

    def stop(self):
        self.process.terminate()
        self.process.wait(TIMEOUT)


@contextlib.contextmanager
def running(directory, *options):
    service = Service(directory, *options)
    try:
        yield service
    finally:
        service.stop()


@contextlib.contextmanager
def api_state(program, state, directory, *arguments):
    """Serves the API in this state, with a database of its own."""
    directory.mkdir()
    command = [program, state, directory / "s", *arguments]
    environment = {**os.environ, "CORVANE_DATABASE": str(directory / "corvane.db")}
    with subprocess.Popen(command, stdin=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          env=environment) as process:
        await_true(lambda: responds(process, directory / "s"))
        yield client.Client(directory / "s")
        process.stdin.close()
        if process.wait(TIMEOUT) != 0:
            raise RuntimeError(f"{state}: exit code {process.returncode}")


def await_jobs(service):
    await_true(lambda: not service.running_jobs())


def cardsim(*arguments):
    subprocess.run(["cardsim", *arguments], check=True, stdout=subprocess.DEVNULL)


def await_cards(service, condition):
    await_true(lambda: condition(service.get("/v1/known-cards")["cards"]))


def check_running(conformance, service, port):
    await_cards(service.client, lambda cards: len(cards) == 3)
    cardsim("remove", "card2")
    await_cards(service.client, lambda cards: not all(card["present"] for card in cards))
    for row in rows.CHANGES:
        conformance.check_change(service.client, row)
    conformance.check_all(service.client, "running", rows.RUNNING)
    await_jobs(service.client)
    conformance.check_all(TcpClient(port), "tcp", rows.TCP)
    conformance.check_everywhere(service.client, "running")
    await_jobs(service.client)


def for_card(table, adapter):
    """Returns the rows with the id of this card in the bodies of /v1/session."""
    return [(method, path, {**body, "object": adapter} if path == "/v1/session" else body, *rest)
            for method, path, body, *rest in table]


def adapter_of(service):
    """Returns the id of a card."""
    reply = json.loads(service.client.send(
        "POST", "/v1/session", json.dumps({"command": "GET_TOPOLOGY"})).content)
    return next(each["id"] for each in reply["payload"] if each["object_type"] == ADAPTER)


def check_jobs(conformance, service):
    table = for_card(rows.WITH_JOBS, adapter_of(service))
    with service.suspended_plugin():
        for serial in ("S100", "S200"):
            path = f"/v1/cards/{serial}/operations/locate"
            conformance.check(service.client, "jobs", ("POST", path, {}, {}, 202, None))
        conformance.check_all(service.client, "jobs", table)
    await_jobs(service.client)


def check_ambiguous(conformance, service):
    cardsim("set", "card1", "serial_number", "S100")
    await_true(lambda: service.client.send("GET", "/v1/events?object=S100").status == 409)
    conformance.check_all(service.client, "ambiguous", rows.AMBIGUOUS)
    cardsim("set", "card1", "serial_number", "S200")
    await_true(lambda: service.client.send("GET", "/v1/events?object=S100").status == 200)


def check_streams(conformance, service):
    """A stream ends some time after its client has disconnected."""
    with contextlib.ExitStack() as stack:
        def open_stream():
            stream = stack.enter_context(socket.socket(socket.AF_UNIX))
            stream.connect(str(service.socket))
            stream.sendall(b"GET /v1/events/stream HTTP/1.1\r\nHost: service\r\n\r\n")
            return stream.recv(12).endswith(b"200")
        while open_stream():
            pass
        conformance.check_all(service.client, "streams", rows.WITH_STREAMS)
    await_true(lambda: service.client.send("GET", "/v1/events/stream").status == 200)


def check_no_database(conformance, service):
    for file in service.database.parent.glob("corvane.db*"):
        file.unlink()
    service.database.mkdir()
    conformance.check_all(service.client, "no database", rows.NO_DATABASE)
    conformance.check_everywhere(service.client, "no database")
    await_jobs(service.client)


def end_during(conformance, service, state, row, end):
    """Calls `end` while the service handles the request and the plug-in is suspended. Returns the id
    of the response's problem."""
    method, path, body, headers, _, _ = row
    results = []

    def send():
        results.append(conformance.exchange(service.client, state, method, path, body, headers))

    def count_changes():
        return service.log.read_text().count(" requested ")

    before = count_changes()
    with service.suspended_plugin():
        thread = threading.Thread(target=send)
        thread.start()
        await_true(lambda: count_changes() > before)
        end()
        thread.join(TIMEOUT)
    return results[0][1]


def check_ended(conformance, service):
    """Repeats a request that had not reached the plug-in process before the process was killed."""
    for index in range(len(rows.ENDED)):
        problem = None
        while problem != rows.ENDED[index][-1]:
            service.await_readiness(200)
            row = for_card(rows.ENDED, adapter_of(service))[index]
            process = service.plugin_process()
            problem = end_during(conformance, service, "ended", row,
                                 lambda: os.kill(process, signal.SIGKILL))
    service.await_readiness(200)


def check_stopping(conformance, directory):
    """Repeats a request that the service has rejected for another reason, because it was stopped
    before the request had reached the plug-in."""
    for row in rows.STOPPING:
        for attempt in itertools.count():
            with running(directory / f"stopping{attempt}", "--simulate") as service:
                service.await_readiness(200)
                if end_during(conformance, service, "stopping", row,
                              service.process.terminate) == row[-1]:
                    break


def check_service(conformance, directory):
    with socket.create_server(("127.0.0.1", 0)) as free:
        port = free.getsockname()[1]
    with running(directory, "--simulate", "--listen", f"127.0.0.1:{port}") as service:
        service.await_readiness(200)
        conformance.document = api_document.Document(service.client)
        check_running(conformance, service, port)
        check_jobs(conformance, service)
        check_ended(conformance, service)
        check_ambiguous(conformance, service)
        check_streams(conformance, service)
        check_no_database(conformance, service)


def check_states(conformance, directory, program, *arguments):
    tables = {"denied": rows.DENIED, "busy": rows.BUSY, "starting": rows.STARTING,
              "timeouts": rows.TIMEOUTS, "failing": rows.FAILING}
    for state, table in tables.items():
        with api_state(program, state, directory / state, *arguments) as service:
            conformance.check_all(service, state, table)
            conformance.check_everywhere(service, state)


def main():
    directory, api_states, plugin, program = sys.argv[1:]
    directory = pathlib.Path(directory)
    conformance = Conformance()
    check_service(conformance, directory / "service")
    check_stopping(conformance, directory)
    with running(directory / "down", "--plugin", directory / "none.so") as service:
        service.await_down()
        conformance.check_all(service.client, "down", rows.DOWN)
        conformance.check_everywhere(service.client, "down")
    check_states(conformance, directory, api_states, program, plugin)
    for response in conformance.missing():
        conformance.failures.append(f"never observed: {' '.join(str(each) for each in response)}")
    for failure in conformance.failures:
        print(failure, file=sys.stderr)
    print(f"{conformance.count} requests, {len(conformance.observed)} responses of the document")
    return 1 if conformance.failures else 0


sys.exit(main())
