"""Changes to simulated cards, each of which causes exactly one event, and the event log."""
import collections
import contextlib
import re
import sqlite3

from machine import Failure, eventually

# Event numbers, written out here rather than imported from the service's tables.
WARM, NORMAL, ATTACHED, DETACHED, ADDED, REMOVED = 10967, 10980, 10983, 10984, 11093, 11094

# Changes that the test applies in turn: the cardsim arguments, and the serial number of the card
# (None: the card added last). The last card keeps the unique serial number that cardsim assigns, so
# that adding it is a single change.
ALTERNATIONS = (
    ((("set", "card0", "iom_state", "0"), "S0"),
     (("set", "card0", "iom_state", "2"), "S0")),
    ((("raise", "card1", "TEMPERATURE_ABOVE_WARN"), "S1"),
     (("clear", "card1", "TEMPERATURE_ABOVE_WARN"), "S1")),
    ((("remove", "card3"), None),
     (("add", "0x2001"), None)),
)
# The event that each change must cause, by the line in which cardsim reports the change.
EVENTS = (
    (r"card0: iom_state 2 -> 0", DETACHED),
    (r"card0: iom_state 0 -> 2", ATTACHED),
    (r"card1: raised TEMPERATURE_ABOVE_WARN", WARM),
    (r"card1: cleared TEMPERATURE_ABOVE_WARN", NORMAL),
    (r"removed card3", REMOVED),
    (r"added card3: .*", ADDED),
)
CARDS = 3  # must exist beforehand, with serial numbers S0 to S2; `prepare` adds a fourth


def event_of(report):
    """Returns the event that must follow a change that cardsim has reported."""
    found = [event for pattern, event in EVENTS if re.fullmatch(pattern, report)]
    if len(found) != 1:
        raise Failure(f"cardsim has made an unexpected change: {report}")
    return found[0]


def difference(expected, log):
    """Returns the events that are missing from the log, and those that it contains too often."""
    wanted, found = collections.Counter(expected), collections.Counter(log)
    return list((wanted - found).elements()), list((found - wanted).elements())


class Changes:
    def __init__(self, machine):
        self.machine = machine
        self.expected = []  # (event number, serial number) of each entry that the log must contain
        self.steps = [0] * len(ALTERNATIONS)
        self.last_serial = None

    def prepare(self):
        self.machine.cardsim("add", "0x2001")
        self.update_last_serial()

    def update_last_serial(self):
        self.last_serial = self.machine.cardsim("get", f"card{CARDS}", "serial_number").strip('"')

    def await_start(self):
        """Waits until the service has stored the cards, so that later changes cause events."""
        eventually("the cards are known",
                   lambda: len(self.machine.client.get("/v1/known-cards")["cards"]) == CARDS + 1)

    def make(self, which):
        """Makes the next change of ALTERNATIONS[which]. Returns the cardsim arguments as text."""
        alternation = ALTERNATIONS[which]
        arguments, serial = alternation[self.steps[which] % len(alternation)]
        self.steps[which] += 1
        event = event_of(self.machine.cardsim(*arguments))
        if event == ADDED:
            self.update_last_serial()
        self.expected.append((event, serial or self.last_serial))
        return " ".join(arguments)

    def log(self):
        """Returns the events in the log, oldest first; empty until the log exists."""
        with contextlib.suppress(sqlite3.OperationalError):
            with contextlib.closing(self.machine.open_database()) as file:
                return list(file.execute("SELECT event_id, serial_number FROM host_event_log "
                                         "ORDER BY rowid"))
        return []

    def is_logged(self):
        """Whether the log contains all changes. Raises Failure if it contains anything else."""
        log = self.log()
        if log != self.expected[:len(log)]:
            lost, doubled = difference(self.expected, log)
            raise Failure(f"the log does not match the changes:\n  log     {log[-5:]} ({len(log)})"
                          f"\n  changes {self.expected[-5:]} ({len(self.expected)})"
                          f"\n  lost {lost}, doubled or unknown {doubled}")
        return len(log) == len(self.expected)

    def await_log(self):
        eventually(f"the log has {self.expected[-1]}", self.is_logged)
