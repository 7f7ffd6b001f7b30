#!/usr/bin/python3
"""Every command that loads a plug-in, against plug-ins that hang or cannot start threads.

stuck.py timeout    each command ends by itself, with the exit code for it
stuck.py signal     each command ends after one SIGINT
stuck.py library    each command ends by itself, without --timeout, while the card library hangs in
                    the plug-in of the environment
stuck.py no-worker  each command reports that the plug-in cannot poll the cards

The commands come from the program's own help.
"""

import concurrent.futures
import itertools
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time

sys.dont_write_bytecode = True
import commands  # noqa: E402

DIRECTORY = pathlib.Path(os.environ["BATS_TEST_TMPDIR"])
HOST = f"{os.environ['CORVANE_BUILD']}/bin/corvane-host"
PLUGIN = os.environ["ODD_PLUGIN"]

# Enough for a slow machine, and much less than the ten minutes for which the plug-in hangs.
TIMEOUT_SECONDS = 200
DEFAULT_LIMIT = 30

# Command: its arguments, where they differ from those that the synopsis requires.
OVERRIDES = {
    "get": "a0 name",
    "set": "plugin poll_interval=30",
    "attach": "a0 -y",
    "detach": "a0 -y",
    "online": "a0/d0 -y",
    "offline": "a0/d0 -y",
    "format": "a0/d0 --capacity 80 --dry-run",
    "wait": "a0 gone",
}

# These do not load a plug-in; the service outlives one that hangs.
ALONE = {"explain", "completion", "help", "serve", "version"}

START = ["hang in createIf", "hang", "hang in SetAdapterIDs"]
NO_OBJECTS = {"plugin", "rows"}

# Commands that hang after a successful start: arguments, and the place.
LATER = [
    ("events --for 1s", "hang2"),
    ("watch --for 1s", "hang2"),
    ("events -f --timeout 1s", "hang in GetEvents"),
    ("watch --timeout 1s", "hang in GetEvents"),
    ("metrics --timeout 1s -o json", "hang1"),
    ("set plugin poll_interval=30 --timeout 1s", "hang in SetProperty"),
    ("wait a0 gone --timeout 1s", "hang2"),
    ("list", "hang1"),  # by default
    ("events --for 1s", "hang"),
]

# Commands that wait for something other than their results.
WAITING = ["events --for 1s", "watch --for 1s", "events -f"]

# Without polls, they have nothing to wait for.
NEED_WORKER = {"wait", "watch"}

TIMED_OUT, UNKNOWN, STOPPED, FAILED = 7, 3, 130, 1
TEXT = "the plug-in does not respond"
NO_WORKER = "the plug-in could not start the thread that polls the cards; no events will arrive"

counter = itertools.count()


def run(words, environment):
    return subprocess.Popen(
        [HOST, *words],
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
        env=dict(os.environ, **environment),
    )


def start(words, place):
    name = DIRECTORY / str(next(counter))
    environment = {"CONSOLE_TEST_PLUGIN": place, "CONSOLE_TEST_LOG": f"{name}.log"}
    return name, run(["--plugin", PLUGIN, *words], environment)


def finish(process, words, expected, texts):
    try:
        out, err = process.communicate(timeout=TIMEOUT_SECONDS)
    except subprocess.TimeoutExpired:
        process.kill()
        return "it does not end"
    if process.returncode != expected:
        return f"exit code {process.returncode}, expected {expected}: {err}"
    # Monitoring systems read standard output.
    said = out if words[0] == "check" else err
    for text in texts:
        if text not in said:
            return f"does not say '{text}': {said}"
    return None


def timeout(words, place):
    _, process = start(words, place)
    if words[0] == "check":
        return finish(process, words, UNKNOWN, ["timed out after 1000 ms"])
    return finish(process, words, TIMED_OUT, [TEXT])


def interrupt(words, place):
    name, process = start(words, place)
    log = pathlib.Path(f"{name}.log")
    end = time.monotonic() + TIMEOUT_SECONDS
    while not log.exists() or "hangs" not in log.read_text():
        if process.poll() is not None or time.monotonic() > end:
            return f"does not come to '{place}': {process.communicate()[1]}"
        time.sleep(0.05)
    process.send_signal(signal.SIGINT)
    if words[0] == "check":
        return finish(process, words, UNKNOWN, ["interrupted"])
    return finish(process, words, STOPPED, [f"interrupted; {TEXT}"])


def library(words):
    begin = time.monotonic()
    process = run(words, {})
    expected, texts = TIMED_OUT, [TEXT]
    if words[0] == "check":
        expected, texts = UNKNOWN, [f"timed out after {DEFAULT_LIMIT}000 ms"]
    problem = finish(process, words, expected, texts)
    if not problem and time.monotonic() - begin < DEFAULT_LIMIT:
        return f"ends before {DEFAULT_LIMIT} s"
    return problem


def no_worker(words):
    # A copy for each, because some of them change the cards.
    cards = DIRECTORY / f"{next(counter)}.json"
    shutil.copy(os.environ["CARDSIM_STATE"], cards)
    asan = os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"
    preload = {"LD_PRELOAD": os.environ["NO_PLUGIN_THREAD"], "ASAN_OPTIONS": asan}
    # As text, it prints only the state for the monitoring system.
    form = ["-o", "json"] if words[0] == "check" else []
    process = run([f"--simulate={cards}", *words, *form], preload)
    if words[0] in NEED_WORKER or " ".join(words) in WAITING:
        return finish(process, words, FAILED, [f"corvane-host: cannot wait: {NO_WORKER}"])
    try:
        out, err = process.communicate(timeout=TIMEOUT_SECONDS)
    except subprocess.TimeoutExpired:
        process.kill()
        return "it does not end"
    notes = (out + err).count(NO_WORKER)
    return None if notes == 1 else f"{notes} notes: {out}{err}"


def loading():
    """The commands that load a plug-in, with their arguments."""
    own_help = subprocess.run([HOST, "help", "-o", "json"], capture_output=True, check=True).stdout
    found = commands.arguments(own_help, OVERRIDES)
    return {name: words for name, words in sorted(found.items()) if name not in ALONE}


def lines():
    """The words of each command."""
    for command, arguments in loading().items():
        arguments = arguments.replace("OBJ", "a0").replace("DRIVE", "a0/d0")
        yield [command, *arguments.split()]


def cases(more):
    for words in lines():
        for place in START + ([] if words[0] in NO_OBJECTS else ["hang1"]):
            yield [*words, *more], place


def work_of(what):
    """What to do with each row, and the rows."""
    if what == "timeout":
        rows = list(cases(["--timeout", "1s"]))
        rows += [(words.split(), place) for words, place in LATER]
        rows.append((["complete", "--", "--plugin", PLUGIN, "show", ""], "hang1"))
        return timeout, rows
    if what == "signal":
        return interrupt, list(cases([]))
    work = {"library": library, "no-worker": no_worker}[what]
    return work, [(words,) for words in [*lines(), *(words.split() for words in WAITING)]]


def main(what):
    work, rows = work_of(what)
    failed = 0
    # Most of them wait for half a minute, because their own timeout is for something else.
    with concurrent.futures.ThreadPoolExecutor(max_workers=48) as pool:
        running = [(row, pool.submit(work, *row)) for row in rows]
        for (words, *place), future in running:
            problem = future.result()
            if problem:
                failed += 1
                print(f"{' '.join([*words, *place])}: {problem}")
    print(f"{len(rows)} runs, {failed} failed")
    sys.exit(failed != 0)


main(sys.argv[1])
