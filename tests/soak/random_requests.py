"""Sends random requests to a service with simulated cards, and checks each response against the API
document. Afterwards, no job may be running, and the service must not use more descriptors, threads
or memory than before.

Usage: random_requests.py BUILD COUNT [SEED]    BUILD: directory of the built programs
"""
import collections
import os
import sys
import time

import hypothesis
from hypothesis.configuration import set_hypothesis_home_dir

import api_document
import client
import request_strategies
import seeded
from machine import Machine, eventually

MAX_FAILURES = 10
# Allowed growth of the resident memory from the first third of the requests to the end. The service
# keeps the newest thousand jobs with their results, and the responses to idempotency keys.
MEMORY_KIB = 6 * 1024
# Timeout of a response in seconds. Requests that wait for a new snapshot or for the database give
# up after 30 s.
MAX_RESPONSE_TIME = 60


def check(document, request, response):
    """Checks a response. Raises ValueError."""
    if response.status >= 500:
        raise ValueError("a server error without a fault")
    if request.flaws and response.status < 400:
        raise ValueError("accepted despite " + ", ".join(sorted(request.flaws)))
    template, operation = document.operation(request.method, request.path)
    if response.media_type == client.PROBLEM:
        document.check_problem(operation, response)
    elif operation is None:
        raise ValueError(f"accepted, but not in the document: {template}")
    if operation and response.status < 400:
        document.check_response(operation, response)


class Run:
    def __init__(self, machine, count):
        self.machine = machine
        self.document = api_document.Document(machine.client)
        self.count = count
        self.done = 0
        self.statuses = collections.Counter()
        self.failures = []
        self.before = None

    def send(self, request):
        if len(self.failures) >= MAX_FAILURES:
            return
        self.done += 1
        response = None
        begin = time.monotonic()
        try:
            response = self.machine.client.send(*request[:4])
            self.statuses[response.status] += 1
            check(self.document, request, response)
            if time.monotonic() - begin > MAX_RESPONSE_TIME:
                raise ValueError(f"response after {time.monotonic() - begin:.0f} s")
            if self.machine.service.poll() is not None:
                raise ValueError("the service has exited")
        except (ValueError, OSError) as error:
            self.report(request, response, error)
        if self.done == self.count // 3:
            self.before = self.steady_usage()

    def report(self, request, response, error):
        text = (f"request {self.done}: {str(error).splitlines()[0]}\n  {request.method} "
                f"{request.path[:300]} {request.headers} {(request.body or b'')[:300]}")
        if response is not None:
            text += f"\n  {response.status} {response.content[:300]}"
        self.failures.append(text)

    def steady_usage(self):
        """Returns the usage of both processes once no job is running and no connection is open."""
        eventually("no job is running", lambda: not self.machine.client.running_jobs())
        return self.machine.steady_usage()

    def compare(self):
        after = self.steady_usage()
        for name, before in self.before.items():
            now = after[name]
            print(f"{name}: {before.memory_kib} KiB, {before.descriptors} descriptors, "
                  f"{before.threads} threads; then {now.memory_kib} KiB, {now.descriptors}, "
                  f"{now.threads}")
            if now.descriptors > before.descriptors or now.threads > before.threads:
                self.failures.append(f"{name}: more descriptors or threads")
            # A sanitizer keeps freed memory for a while.
            is_measurable = not os.environ.get("CORVANE_SANITIZE")
            if is_measurable and now.memory_kib > before.memory_kib + MEMORY_KIB:
                self.failures.append(f"{name}: more memory")


def make_removed_card(machine):
    machine.cardsim("add", "0x2001")
    machine.set(4, "serial_number", "GONE")
    machine.start()
    machine.cardsim("remove", "card4")
    eventually("the removed card is missing", lambda: any(
        not card["present"] for card in machine.client.get("/v1/known-cards")["cards"]))


def main(build, count, seed):
    print(f"random requests: {count}, seed {seed}", flush=True)
    with Machine(build) as machine:
        make_removed_card(machine)
        run = Run(machine, count)
        set_hypothesis_home_dir(machine.directory / "hypothesis")  # not in the current directory
        processes = machine.service.pid, machine.worker()

        @hypothesis.seed(seed)
        @hypothesis.settings(max_examples=count, database=None, deadline=None,
                             phases=[hypothesis.Phase.generate],
                             suppress_health_check=list(hypothesis.HealthCheck))
        @hypothesis.given(request_strategies.requests(run.document))
        def send_all(request):
            run.send(request)

        send_all()
        if not run.failures:
            run.compare()
        if (machine.service.pid, machine.worker()) != processes:
            run.failures.append("a process was replaced")
        print(f"{run.done} requests: " + ", ".join(
            f"{number} with {status}" for status, number in sorted(run.statuses.items())))
    for failure in run.failures:
        print(failure, file=sys.stderr)
    return 1 if run.failures else 0


if __name__ == "__main__":
    seeded.run(main, int)
