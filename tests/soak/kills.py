"""Kills the processes of a service at random moments under load. Each round makes one change to a
card, which must cause exactly one event. At the end, the log and the stream must contain each event
once, the locate LED must be in the reported state, no job may be running, and the database must be
intact.

Usage: kills.py BUILD ROUNDS [SEED]    BUILD: directory of the built programs
"""
import contextlib
import json
import os
import random
import signal
import time

import changes
import seeded
from load import Clients
from machine import Failure, Machine, eventually, has_exited

# Maximum delay between a change and the signal, in seconds. The plug-in detects a change within
# about 2 s.
MAX_DELAY = 2.5


def send(pid, number):
    """Sends a signal to the plug-in process. Returns whether the process was running."""
    if pid is None or pid <= 1 or has_exited(pid):
        return False
    try:
        os.kill(pid, number)
    except ProcessLookupError:
        return False
    return True


# Each action returns the number of processes that it has killed: a suspended process, or one that
# had already exited, does not count.

def kill_worker(machine, _):
    return int(send(machine.worker(), signal.SIGKILL))


def kill_service(machine, _):
    worker = machine.worker()
    service = machine.service
    service.kill()
    machine.reap(worker)
    machine.launch()
    return int(service.returncode == -signal.SIGKILL)


def kill_both(machine, _):
    worker = machine.worker()
    killed = int(send(worker, signal.SIGKILL))
    return killed + kill_service(machine, _)


def kill_service_at_start(machine, rng):
    killed = kill_service(machine, rng)
    time.sleep(rng.uniform(0, 1.5))
    return killed + kill_service(machine, rng)


def suspend_worker(machine, rng):
    worker = machine.worker()
    send(worker, signal.SIGSTOP)
    time.sleep(rng.uniform(0, 3))
    send(worker, signal.SIGCONT)
    return 0


ACTIONS = (kill_worker, kill_service, kill_both, kill_service_at_start, suspend_worker)


class Run:
    def __init__(self, machine, seed):
        self.machine = machine
        self.rng = random.Random(seed)
        self.changes = changes.Changes(machine)
        self.clients = Clients(machine)
        self.round = "before the first round"
        self.kills = 0

    def start(self):
        self.changes.prepare()
        self.machine.start()
        self.changes.await_start()
        self.clients.start()

    def run_round(self, number):
        action = self.rng.choice(ACTIONS)
        delay = self.rng.uniform(0, MAX_DELAY)
        # The plug-in detects new cards only when it starts, and a suspension does not restart it.
        count = len(changes.ALTERNATIONS) - (1 if action is suspend_worker else 0)
        change = self.changes.make(self.rng.randrange(count))
        self.round = f"round {number}: {change}; {action.__name__} after {delay:.2f} s"
        time.sleep(delay)
        self.kills += action(self.machine, self.rng)
        self.changes.await_log()
        if number % 50 == 0:
            print(f"round {number}", flush=True)
        if self.clients.failures:
            raise Failure("\n".join(self.clients.failures))

    def finish(self):
        self.round = "at the end"
        self.clients.stop()
        self.machine.await_ready()
        eventually("no job is running", lambda: not self.machine.client.running_jobs())
        self.check_led()
        self.changes.await_log()
        if self.kills == 0:
            raise Failure("no process was killed")
        stream = self.clients.stream
        eventually("the stream contains every event",
                   lambda: stream.last >= len(self.changes.expected))
        stream.stopping.set()
        if stream.last != len(self.changes.expected) or self.clients.failures:
            raise Failure("\n".join([f"{stream.last} events in the stream",
                                     *self.clients.failures]))
        self.check_database()

    def run_job(self, operation, body):
        """Runs a job on the card whose LED the clients switch. Returns the result of the job."""
        client = self.machine.client
        path = f"/v1/cards/{self.clients.led_card}/operations/{operation}"
        response = client.send("POST", path, body)
        if response.status != 202:
            raise Failure(f"{operation}: {response.status} {response.content}")
        path = "/v1/jobs/" + json.loads(response.content)["id"]
        job = eventually("the job has ended",
                         lambda: (it := client.get(path))["state"] != "RUNNING" and it)
        if job["state"] != "SUCCEEDED":
            raise Failure(f"{operation}: {job}")
        return job["result"]["result"]

    def led(self):
        return {"true": "ON", "false": "OFF"}[self.machine.cardsim("get", "card2", "beacon_state")]

    def check_led(self):
        """Compares the reported state of the LED with the actual one, now and after each change."""
        for operation in (None, "locate", "stop-locate"):
            changed = self.run_job(operation, "{}")["after"]["locate_led"] if operation else self.led()
            reported = self.run_job("locate", '{"dry_run": true}')["before"]["locate_led"]
            if not changed == reported == self.led():
                raise Failure(f"locate LED: set to {changed}, reported as {reported}, "
                              f"is {self.led()}")

    def check_database(self):
        with contextlib.closing(self.machine.open_database()) as file:
            result = file.execute("PRAGMA integrity_check").fetchall()
        if result != [("ok",)]:
            raise Failure(f"integrity_check: {result}")


def main(build, rounds, seed):
    print(f"kills: {rounds} rounds, seed {seed}", flush=True)
    with Machine(build, changes.CARDS) as machine:
        run = Run(machine, seed)
        try:
            run.start()
            for number in range(1, rounds + 1):
                run.run_round(number)
            run.finish()
        except Failure as failure:
            raise Failure(f"{run.round}\n{failure}\n{machine.log_tail()}") from failure
        finally:
            run.clients.stopping.set()
            run.clients.stream.stopping.set()
        lost, doubled = changes.difference(run.changes.expected, run.changes.log())
        print(f"{rounds} rounds, {run.kills} processes killed; {len(run.changes.expected)} changes "
              f"by cardsim, {len(lost)} events lost, {len(doubled)} doubled in the log and in "
              f"{run.clients.stream.connections} connections of the stream; "
              f"{next(run.clients.request_count)} requests")
    return 0


if __name__ == "__main__":
    seeded.run(main, int)
