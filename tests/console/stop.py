"""Sends requests to a service from many threads until the service stops.

Usage: stop.py SOCKET BUSY

Creates the file BUSY once every kind of request has been answered several times. Prints a JSON
object when the service has stopped: for each card and reason, the numbers in the notes of the last
acknowledgment that the service confirmed and of the last one that was sent.
"""
import http.client
import json
import pathlib
import sys
import threading

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "soak"))
import client

ENOUGH = 5  # responses of each kind before the service is stopped
ACKNOWLEDGED = [(card, reason) for card in ("S100", "S200")
                for reason in ("TEMPERATURE_ABOVE_WARN", "NEAR_WEARING_OUT")]
PLUGIN_CALL = json.dumps({"command": "CHECK_OPERATION", "payload": {"operation_id": 1}})
OTHERS = [
    ("GET", "/v1/cards", None),
    ("GET", "/v1/events?limit=50", None),
    ("GET", "/v1/cards/S100/history?field=temperature_celsius", None),
    ("GET", "/metrics", None),
    ("GET", "/v1/cards?fresh=1", None),
    ("POST", "/v1/session", PLUGIN_CALL),
    ("POST", "/v1/session", PLUGIN_CALL),
]


class Load:
    def __init__(self, socket, busy):
        self.client = client.Client(socket)
        self.busy = pathlib.Path(busy)
        self.lock = threading.Lock()
        self.missing = ENOUGH * (len(ACKNOWLEDGED) + len(OTHERS))
        self.numbers = {}

    def answered(self, count):
        """Notes that a thread has received its `count`th response."""
        if count > ENOUGH:
            return
        with self.lock:
            self.missing -= 1
            if self.missing == 0:
                self.busy.touch()

    def send(self, *request):
        """Returns the status, or None if the service has stopped."""
        try:
            return self.client.send(*request).status
        except (OSError, http.client.HTTPException):
            return None

    def acknowledge(self, card, reason):
        confirmed = sent = 0
        status = 201
        while status == 201:
            sent += 1
            body = json.dumps({"reason": reason, "note": str(sent)})
            status = self.send("POST", f"/v1/cards/{card}/ack", body)
            if status == 201:
                confirmed = sent
                self.answered(sent)
        self.numbers[f"{card} {reason}"] = [confirmed, sent]

    def repeat(self, request):
        count = 0
        while self.send(*request) is not None:
            count += 1
            self.answered(count)

    def run(self):
        threads = [threading.Thread(target=self.acknowledge, args=row) for row in ACKNOWLEDGED]
        threads += [threading.Thread(target=self.repeat, args=(row,)) for row in OTHERS]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        return self.numbers


print(json.dumps(Load(*sys.argv[1:]).run()))
