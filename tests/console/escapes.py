#!/usr/bin/python3
"""Runs every command of corvane-host in every output format, with hostile characters in every
source of text: the cards, file names, arguments, and environment variables. None of these
characters may be printed unescaped, on a stream or in a file that the program writes.

Commands and output formats are read from `corvane-host help -o json`.
"""

import concurrent.futures
import itertools
import os
import pathlib
import re
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True
import commands  # noqa: E402

DIRECTORY = pathlib.Path(os.environ.get("BATS_TEST_TMPDIR", "."))
BUILD = pathlib.Path(os.environ["CORVANE_BUILD"])
TEST_PLUGIN = os.environ["TEST_PLUGIN"]

# Characters that move the cursor, reverse the text direction or break lines.
HOSTILE = (
    "x\x1b[31m\x07\n\r\t\b\x7f\u0085\u0090\u009b31m\u009d\u061c\u200e\u200f\u2028\u2029"
    "\u202a\u202b\u202c\u202d\u202e\u2066\u2067\u2068\u2069\u00ad\u200b\u2060\ufeff\U000e0041z"
)
UNPRINTABLE = (
    {chr(code) for code in range(0x20)} | {chr(code) for code in range(0x7F, 0xA0)}
    | {chr(code) for code in range(0x2028, 0x202F)} | {chr(code) for code in range(0x2066, 0x206A)}
    | set("\u061c\u200e\u200f\u00ad\u200b\u2060\ufeff\U000e0041")
)

# Arguments by command, if they differ from those that the synopsis requires.
OVERRIDES = {
    "tree": "-v",
    "detach": "OBJ --dry-run",
    "online": "DRIVE --dry-run",
    "offline": "DRIVE --dry-run",
    "format": "DRIVE --capacity 80 --dry-run",
    "watch": "--for 200ms",
    "serve": "--for 200ms",
    "wait": "OBJ name=HOSTILE --timeout 0s",
    "explain": "HOSTILE",
}

# Additional options by situation. PLACE is the directory of the run. OBJ=HOSTILE and DAMAGED are
# not options: the former replaces the name of the adapter, the latter damages the configuration.
SITUATIONS = {
    "cards": [],
    "traced": ["--trace", "all"],
    "trace file": ["--trace", "all", "--trace-file", "PLACE/trace"],
    "no such object": ["OBJ=HOSTILE"],
    "no such plug-in": ["--plugin", "PLACE/none.so"],
    "not a plug-in": ["--plugin", "PLACE/cards.json"],
    "test plug-in": ["--plugin", TEST_PLUGIN],
    "no cards": ["--simulate=PLACE/none.json"],
    "damaged cards": ["--simulate=PLACE/config/Corvane.ini"],
    "damaged ini": ["DAMAGED"],
    "no database": ["--database", "PLACE/cards.json/db"],
    "wrong option": ["--HOSTILE"],
    "wrong output format": ["-o", "HOSTILE"],
    "wrong timeout": ["--timeout", "HOSTILE"],
    "wrong trace": ["--trace", "HOSTILE"],
    "no trace file": ["--trace", "all", "--trace-file", "PLACE/none/trace"],
    "extra argument": ["HOSTILE"],
}

# Other command lines with hostile arguments or file names.
MORE = [
    ["HOSTILE"],
    ["list", "-c", "HOSTILE"],
    ["show", "HOSTILE"],
    ["get", "a0", "HOSTILE"],
    ["set", "plugin", "HOSTILE=1"],
    ["set", "plugin", "poll_interval=HOSTILE"],
    ["locate", "a0", "HOSTILE"],
    ["format", "a0/d0", "--capacity", "HOSTILE"],
    ["format", "a0/d0", "--sector-size", "HOSTILE"],
    ["format", "a0/d0", "--capacity", "80", "--confirm", "HOSTILE"],
    ["op", "HOSTILE", "a0"],
    ["op", "run", "a0", "HOSTILE"],
    ["op", "run", "a0", "OP_ATTACH", "HOSTILE=1"],
    ["events", "HOSTILE"],
    ["events", "--since", "HOSTILE"],
    ["events", "--limit", "HOSTILE"],
    ["watch", "--for", "HOSTILE"],
    ["serve", "--for", "HOSTILE"],
    ["serve", "--for", "200ms", "--socket", "PLACE/HOSTILE"],
    ["wait", "a0", "HOSTILE"],
    ["wait", "HOSTILE", "gone", "--timeout", "0s"],
    ["rows", "HOSTILE"],
    ["history", "HOSTILE", "temperature_celsius"],
    ["history", "a0", "HOSTILE"],
    ["history", "a0", "temperature_celsius", "--from", "HOSTILE"],
    ["history", "a0", "temperature_celsius", "--to", "HOSTILE"],
    ["history", "a0", "temperature_celsius", "--step", "HOSTILE"],
    ["ack", "HOSTILE", "MISSING"],
    ["ack", "a0", "HOSTILE"],
    ["ack", "a0", "MISSING", "--until", "HOSTILE"],
    ["ack", "a0", "MISSING", "--note", "HOSTILE"],
    ["unack", "a0", "HOSTILE"],
    ["forget", "HOSTILE"],
    ["completion", "HOSTILE"],
    ["help", "HOSTILE"],
    ["complete", "--", "show", ""],
    ["complete", "--", "get", "a0", "HOSTILE"],
    ["metrics", "--textfile", "PLACE/metrics.prom"],
    ["metrics", "--textfile", "PLACE/metrics.prom", "-o", "json"],
    ["metrics", "--textfile", "PLACE/none/metrics.prom"],
    ["list", "--color", "HOSTILE"],
]

# Values of each variable in the table of the README: hostile ones, and ones that cannot be used.
ENVIRONMENT = {
    "CORVANE_CONFIG_DIR": ["PLACE/HOSTILE", "PLACE/cards.json/config"],
    "CORVANE_DATABASE": ["PLACE/HOSTILE/db", "PLACE/cards.json/db"],
    "CORVANE_TRACE": ["HOSTILE"],
    "CORVANE_TRACE_FILE": ["PLACE/cards.json/trace", "PLACE/trace"],
    "CORVANE_SOCKET": ["PLACE/HOSTILE/s", "PLACE/cards.json/s"],
    "CORVANE_SYSFS": ["PLACE/none", "PLACE/cards.json"],
    "CARDSIM_PROFILES": ["PLACE/HOSTILE", "PLACE/cards.json"],
    "CARDSIM_STATE": ["PLACE/none.json", "PLACE/config/Corvane.ini"],
}
# Commands that read these variables, with output for people and for programs.
READERS = [["list"], ["list", "-o", "json"], ["check"], ["events"], ["metrics"], ["plugin"],
           ["serve", "--for", "200ms"]]

counter = itertools.count()


def variables_of_readme():
    readme = (pathlib.Path(os.environ["CORVANE_SOURCE"]) / "README.md").read_text(encoding="utf-8")
    return re.findall(r"^\| `([A-Z_]+)` \|", readme, re.MULTILINE)


def prepare():
    """Creates a directory with a hostile name, cards and a configuration."""
    directory = DIRECTORY / f"{next(counter)}{HOSTILE}"
    (directory / "config").mkdir(parents=True)
    shutil.copy(DIRECTORY / "cards.json", directory / "cards.json")
    (directory / "config" / "Corvane.ini").write_bytes(b"PollInterval=15\n")
    return directory


def run(words, situation, variable=None, value=None):
    """Runs the program in a new directory, and returns the directory and the completed process."""
    directory = prepare()
    options = list(SITUATIONS.get(situation, []))
    adapter = HOSTILE if "OBJ=HOSTILE" in options else "a0"
    options = [word for word in options if word != "OBJ=HOSTILE"]
    if "DAMAGED" in options:
        options.remove("DAMAGED")
        (directory / "config" / "Corvane.ini").write_bytes(b"PollInterval\0 [[[\n")

    def fill(word):
        word = {"OBJ": adapter, "DRIVE": f"{adapter}/d0"}.get(word, word)
        return word.replace("HOSTILE", HOSTILE).replace("PLACE", str(directory))

    environment = dict(
        os.environ, CORVANE_CONFIG_DIR=f"{directory}/config", CORVANE_DATABASE=f"{directory}/db",
        # A service that does not answer would hide the errors of the other values.
        CORVANE_SOCKET=f"{directory}/s" if words[0] == "serve" else "",
        TERM="xterm-256color",
    )
    arguments = [f"{BUILD}/bin/corvane-host"]
    if variable:
        environment.update(CARDSIM_STATE=f"{directory}/cards.json", CORVANE_TRACE="all")
        environment[variable] = fill(value)
    else:
        arguments.append(f"--simulate={directory}/cards.json")
    done = subprocess.run(
        [*arguments, *(fill(word) for word in [*words, *options])],
        stdin=subprocess.DEVNULL, capture_output=True, env=environment, timeout=300, check=False,
    )
    return directory, done


def failure(*case):
    """Runs one case and returns why it fails, or None."""
    words = case[0]
    directory, done = run(*case)
    written = {"standard output": done.stdout, "standard error": done.stderr}
    for name in ("trace", "metrics.prom"):
        if (directory / name).exists():
            written[name] = (directory / name).read_bytes()
    if done.returncode < 0:
        return f"killed by signal {-done.returncode}"
    if done.returncode != 0 and not done.stdout and not done.stderr:
        return f"exit code {done.returncode} without a message"
    # The separators of columns and lines.
    separators = {"\n", "\t"} if {"tsv", "complete"} & set(words) else {"\n"}
    if words[0] == "completion":
        separators.add("\t")
    for name, data in written.items():
        try:
            text = data.decode("utf-8")
        except UnicodeDecodeError as e:
            return f"{name} is not UTF-8: {e}"
        raw = sorted({hex(ord(letter)) for letter in text if letter in UNPRINTABLE - separators})
        if raw:
            return f"{name} has {raw}"
        # A line that starts with a carriage return shows that a line break was not escaped.
        if name != "metrics.prom" and any(line.startswith("\r") for line in text.split("\n")):
            return f"{name} has a broken line"
    return None


def cases():
    """Yields the arguments of `run` for each case."""
    help_json = subprocess.run(
        [f"{BUILD}/bin/corvane-host", "help", "-o", "json"], capture_output=True, check=True
    ).stdout
    arguments = commands.arguments(help_json, OVERRIDES)
    formats = commands.formats(help_json)
    for command, command_formats in formats.items():
        words = [command, *arguments[command].split()]
        for format_name in command_formats:
            yield [*words, "-o", format_name], "cards"
        for situation in SITUATIONS:
            yield words, situation
            if "json" in command_formats and situation != "wrong output format":
                yield [*words, "-o", "json"], situation
    for words in MORE:
        yield words, "more"
    differing = sorted(set(variables_of_readme()) ^ set(ENVIRONMENT))
    assert not differing, f"these variables differ from those in the README: {differing}"
    for variable, values in ENVIRONMENT.items():
        for value in values:
            for words in READERS:
                yield words, "environment", variable, value


def main():
    rows = list(cases())
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(max_workers=12) as pool:
        running = [(row, pool.submit(failure, *row)) for row in rows]
        for (words, *situation), future in running:
            problem = future.result()
            if problem:
                failed += 1
                print(f"{' '.join(situation)}: {' '.join(words)}: {problem}")
    print(f"{len(rows)} runs, {failed} failed")
    sys.exit(failed != 0)


if __name__ == "__main__":
    main()
