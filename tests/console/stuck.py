#!/usr/bin/python3
"""Runs every command that loads a plug-in, using plug-ins that hang or cannot start threads.

stuck.py timeout    each command exits with the exit code for a timeout
stuck.py signal     each command exits after one SIGINT
stuck.py library    each command exits after the default timeout while the card library hangs
                    below the default plug-in (no --plugin)
stuck.py no-worker  each command reports that the plug-in cannot poll the cards

The list of commands is read from `corvane-host help -o json`.
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
PLUGIN = os.environ["TEST_PLUGIN"]

# Enough for a slow machine, and much less than the ten minutes for which the plug-in hangs.
TIMEOUT_SECONDS = 200  # of each run
DEFAULT_TIMEOUT = 30  # of the program, in seconds

# Arguments of commands for which the synopsis alone is not sufficient.
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

# Commands that do not load a plug-in, and serve, which keeps running if its plug-in hangs.
WITHOUT_PLUGIN = {"explain", "completion", "help", "serve", "version"}

# Cases of the test plug-in that hang during startup; "hang" is in Initialize.
STARTUP_HANGS = ["hang in createIf", "hang", "hang in SetAdapterIDs"]
# Commands that do not read the objects, so they never reach "hang1", the first GetTopology.
READ_NO_OBJECTS = {"plugin", "rows"}

# More command lines that must time out, each with a case of the test plug-in. Most of these cases
# hang after startup.
MORE_TIMEOUTS = [
    ("events --for 1s", "hang2"),
    ("watch --for 1s", "hang2"),
    ("events -f --timeout 1s", "hang in GetEvents"),
    ("watch --timeout 1s", "hang in GetEvents"),
    ("metrics --timeout 1s -o json", "hang1"),
    ("set plugin poll_interval=30 --timeout 1s", "hang in SetProperty"),
    ("wait a0 gone --timeout 1s", "hang2"),
    ("list", "hang1"),  # after the default timeout
    ("events --for 1s", "hang"),
]

# Commands that wait for events.
WAITING = ["events --for 1s", "watch --for 1s", "events -f"]

# Commands that cannot work without the plug-in's polling.
NEED_WORKER = {"wait", "watch"}

TIMED_OUT, UNKNOWN, STOPPED, FAILED = 7, 3, 130, 1  # exit codes
NO_RESPONSE = "the plug-in is not responding"
NO_WORKER = "the plug-in could not start the thread that polls the cards; no events will arrive"

counter = itertools.count()


def run(words, environment):
    return subprocess.Popen(
        [HOST, *words],
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
        env=dict(os.environ, **environment),
    )


def start(words, case):
    name = DIRECTORY / str(next(counter))
    environment = {"CONSOLE_TEST_PLUGIN": case, "CONSOLE_TEST_LOG": f"{name}.log"}
    return name, run(["--plugin", PLUGIN, *words], environment)


def finish(process, words, expected, texts):
    """Waits for the process. Returns how its exit code or output is wrong, or None."""
    try:
        out, err = process.communicate(timeout=TIMEOUT_SECONDS)
    except subprocess.TimeoutExpired:
        process.kill()
        return "did not exit"
    if process.returncode != expected:
        return f"exit code {process.returncode}, expected {expected}: {err}"
    # Monitoring systems read standard output.
    output = out if words[0] == "check" else err
    for text in texts:
        if text not in output:
            return f"output does not contain '{text}': {output}"
    return None


def timeout(words, case):
    _, process = start(words, case)
    if words[0] == "check":
        return finish(process, words, UNKNOWN, ["timed out after 1000 ms"])
    return finish(process, words, TIMED_OUT, [NO_RESPONSE])


def interrupt(words, case):
    name, process = start(words, case)
    log = pathlib.Path(f"{name}.log")
    end = time.monotonic() + TIMEOUT_SECONDS
    while not log.exists() or "hangs" not in log.read_text():
        if process.poll() is not None or time.monotonic() > end:
            return f"did not reach '{case}': {process.communicate()[1]}"
        time.sleep(0.05)
    process.send_signal(signal.SIGINT)
    if words[0] == "check":
        return finish(process, words, UNKNOWN, ["interrupted"])
    return finish(process, words, STOPPED, [f"interrupted; {NO_RESPONSE}"])


def hung_library(words):
    begin = time.monotonic()
    process = run(words, {})
    expected, texts = TIMED_OUT, [NO_RESPONSE]
    if words[0] == "check":
        expected, texts = UNKNOWN, [f"timed out after {DEFAULT_TIMEOUT}000 ms"]
    problem = finish(process, words, expected, texts)
    if not problem and time.monotonic() - begin < DEFAULT_TIMEOUT:
        return f"exited before {DEFAULT_TIMEOUT} s"
    return problem


def no_worker(words):
    # A separate copy for each run, because some commands change the cards.
    cards = DIRECTORY / f"{next(counter)}.json"
    shutil.copy(os.environ["CARDSIM_STATE"], cards)
    asan = os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"
    preload = {"LD_PRELOAD": os.environ["NO_PLUGIN_THREAD"], "ASAN_OPTIONS": asan}
    # The text output of check contains only the state for the monitoring system.
    format_name = ["-o", "json"] if words[0] == "check" else []
    process = run([f"--simulate={cards}", *words, *format_name], preload)
    if words[0] in NEED_WORKER or " ".join(words) in WAITING:
        return finish(process, words, FAILED, [f"corvane-host: cannot wait: {NO_WORKER}"])
    try:
        out, err = process.communicate(timeout=TIMEOUT_SECONDS)
    except subprocess.TimeoutExpired:
        process.kill()
        return "did not exit"
    notes = (out + err).count(NO_WORKER)
    return None if notes == 1 else f"{notes} notes: {out}{err}"


def plugin_commands():
    """Returns the commands that load a plug-in, with their arguments."""
    help_json = subprocess.run([HOST, "help", "-o", "json"], capture_output=True, check=True).stdout
    found = commands.arguments(help_json, OVERRIDES)
    return {name: words for name, words in sorted(found.items()) if name not in WITHOUT_PLUGIN}


def command_lines():
    """Yields each command line as a list of arguments."""
    for command, arguments in plugin_commands().items():
        arguments = arguments.replace("OBJ", "a0").replace("DRIVE", "a0/d0")
        yield [command, *arguments.split()]


def cases(more):
    for words in command_lines():
        for case in STARTUP_HANGS + ([] if words[0] in READ_NO_OBJECTS else ["hang1"]):
            yield [*words, *more], case


def work_of(what):
    """Returns the function to call for each row, and the rows."""
    if what == "timeout":
        rows = list(cases(["--timeout", "1s"]))
        rows += [(words.split(), case) for words, case in MORE_TIMEOUTS]
        rows.append((["complete", "--", "--plugin", PLUGIN, "show", ""], "hang1"))
        return timeout, rows
    if what == "signal":
        return interrupt, list(cases([]))
    work = {"library": hung_library, "no-worker": no_worker}[what]
    return work, [(words,) for words in [*command_lines(), *(words.split() for words in WAITING)]]


def main(what):
    work, rows = work_of(what)
    failed = 0
    # Many, because most runs only wait for the default timeout of 30 s.
    with concurrent.futures.ThreadPoolExecutor(max_workers=48) as pool:
        running = [(row, pool.submit(work, *row)) for row in rows]
        for (words, *case), future in running:
            problem = future.result()
            if problem:
                failed += 1
                print(f"{' '.join([*words, *case])}: {problem}")
    print(f"{len(rows)} runs, {failed} failed")
    sys.exit(failed != 0)


main(sys.argv[1])
