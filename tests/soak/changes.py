"""Changes of simulated cards, each of which is exactly one event, and the event log."""
import contextlib
import sqlite3

from machine import Failure, eventually

# Event numbers, typed here and not taken from the service's tables.
WARM, NORMAL, ATTACHED, DETACHED, ADDED, REMOVED = 10967, 10980, 10983, 10984, 11093, 11094

# What is changed alternately: each time the words for the simulator, the event, the serial number.
# The last card keeps the serial number that it is created with, a new one each time, so that adding
# it is one change.
ALTERNATIONS = (
    ((("set", "card0", "iom_state", "0"), DETACHED, "S0"),
     (("set", "card0", "iom_state", "2"), ATTACHED, "S0")),
    ((("raise", "card1", "TEMPERATURE_ABOVE_WARN"), WARM, "S1"),
     (("clear", "card1", "TEMPERATURE_ABOVE_WARN"), NORMAL, "S1")),
    ((("remove", "card3"), REMOVED, None),
     (("add", "0x2001"), ADDED, None)),
)
CARDS = 3  # that have to be there before, with those serial numbers; then `prepare` adds one


class Changes:
    def __init__(self, machine):
        self.machine = machine
        self.made = []  # number of the event and serial number, as the log must have them
        self.steps = [0] * len(ALTERNATIONS)
        self.last_serial = None

    def prepare(self):
        self.machine.cardsim("add", "0x2001")
        self.note_last_card()

    def note_last_card(self):
        self.last_serial = self.machine.cardsim("get", f"card{CARDS}", "serial_number").strip('"')

    def await_start(self):
        """Waits until the service has stored the cards: later changes are events."""
        eventually("the cards are known",
                   lambda: len(self.machine.client.get("/v1/known-cards")["cards"]) == CARDS + 1)

    def make(self, which):
        """Makes the next change of that alternation, and returns its words."""
        alternation = ALTERNATIONS[which]
        words, event, serial = alternation[self.steps[which] % len(alternation)]
        self.steps[which] += 1
        self.machine.cardsim(*words)
        if event == ADDED:
            self.note_last_card()
        self.made.append((event, serial or self.last_serial))
        return " ".join(words)

    def log(self):
        """The log's events, oldest first. Empty until the log exists."""
        with contextlib.suppress(sqlite3.OperationalError):
            with contextlib.closing(self.machine.open_database()) as file:
                return list(file.execute("SELECT event_id, serial_number FROM host_event_log "
                                         "ORDER BY rowid"))
        return []

    def is_logged(self):
        """Whether the log has all changes. Raises Failure if it has anything else."""
        log = self.log()
        if log != self.made[:len(log)]:
            raise Failure(f"the log is not that of the changes:\n  log     {log[-5:]} ({len(log)})"
                          f"\n  changes {self.made[-5:]} ({len(self.made)})")
        return len(log) == len(self.made)

    def await_log(self):
        eventually(f"the log has {self.made[-1]}", self.is_logged)
