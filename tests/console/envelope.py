#!/usr/bin/python3
"""Runs every command of corvane-host in several situations, most of them failures, and checks its
output.

envelope.py schema    the schema covers each command, and each command with JSON output
envelope.py types     a member has the same type wherever it occurs
envelope.py json      in each situation, each JSON format matches the schema and the exit code
envelope.py escapes   no output format contains an escape byte when piped

The list of commands is read from `corvane-host help -o json`.
"""

import concurrent.futures
import itertools
import json
import os
import pathlib
import shutil
import subprocess
import sys

import jsonschema

sys.dont_write_bytecode = True
import commands as command_table  # noqa: E402

DIRECTORY = pathlib.Path(os.environ["BATS_TEST_TMPDIR"])
BUILD = pathlib.Path(os.environ["CORVANE_BUILD"])
CARDS = pathlib.Path(os.environ["BATS_FILE_TMPDIR"])
SCHEMA = pathlib.Path(os.environ["CORVANE_SOURCE"]) / "docs/corvane-host.schema.json"

# Arguments by command, if they differ from those that the synopsis requires.
OVERRIDES = {
    "get": "OBJ name",
    "detach": "OBJ --dry-run",
    "online": "DRIVE --dry-run",
    "offline": "DRIVE --dry-run",
    "format": "DRIVE --capacity 80 --dry-run",
    "status": "OBJ",
    "check": "OBJ",
    "watch": "--for 200ms",
    "serve": "--for 200ms",
    "wait": "OBJ attached --timeout 0s",
}
ARGUMENTS = {}  # by command, set by commands()

# By command, replacements for the objects that are used for OBJ and DRIVE.
OBJECTS = {"set": {"a0": "plugin"}}

# Commands that do not load a plug-in.
WITHOUT_PLUGIN = {"explain", "completion", "help", "version"}
# Commands that print a result even if the plug-in cannot be used.
PRINT_RESULT_ANYWAY = {"metrics"}
# Commands whose result contains problems of the cards, with an exit code for them.
REPORT_PROBLEMS = {("closed card", "check"), ("no database", "check")}
# Commands that need a card that has been recorded.
NEED_RECORDED_CARD = {"history", "ack", "forget"}
# The command with the exit codes of monitoring plug-ins.
CHECK = "check"
UNKNOWN = 3

# Situation: cards, more options, objects, and the expected exit code and message id. A second
# expectation, if present, is for commands that name an object.
SITUATIONS = {
    "success": ("two", [], ("a0", "a0/d0"), (0, None)),
    "usage": ("two", ["--frobnicate"], ("a0", "a0/d0"), (2, "USAGE")),
    "no such object": ("two", [], ("a9", "a9/d0"), (0, None), (3, "NO_SUCH_OBJECT")),
    "ambiguous": ("duplicate", [], ("SAME", "SAME"), (0, None), (3, "AMBIGUOUS")),
    "no cards": (
        "empty", [], ("a0", "a0/d0"), (0, "ERR_NO_SUPPORTED_HARDWARE"), (3, "NO_SUCH_OBJECT"),
    ),
    "plug-in missing": ("two", ["--plugin", "/none/such.so"], ("a0", "a0/d0"), (5, "PLUGIN_MISSING")),
    "not a plug-in": (
        "two", ["--plugin", f"{BUILD}/lib/libhostkit.so"], ("a0", "a0/d0"),
        (5, "PLUGIN_NO_ENTRY_POINT"),
    ),
    "damaged ini": ("two", [], ("a0", "a0/d0"), (1, "CONFIG_UNREADABLE")),
    "damaged cards": ("damaged", [], ("a0", "a0/d0"), (1, "SIMULATION_FAILED")),
    "no database": ("two", [], ("a0", "a0/d0"), (0, None)),
    "closed card": ("closed", [], ("a0", "a0/d0"), (0, None), (4, "CARD_UNREADABLE")),
}

# Expectations by situation and command that differ from those above.
EXCEPTIONS = {
    # set uses the plug-in's object, which always exists.
    ("no cards", "set"): (0, "ERR_NO_SUPPORTED_HARDWARE"),
    ("closed card", "set"): (0, None),
    ("closed card", "show"): (0, None),
    ("closed card", "get"): (0, None),
    ("closed card", "status"): (0, None),
    ("closed card", "check"): (2, None),
    ("closed card", "wait"): (7, "TIMED_OUT"),
    # The drives of a card that cannot be opened are not known.
    ("closed card", "online"): (3, "NO_SUCH_OBJECT"),
    ("closed card", "offline"): (3, "NO_SUCH_OBJECT"),
    ("closed card", "format"): (3, "NO_SUCH_OBJECT"),
    ("closed card", "history"): (0, "NO_HISTORY"),
    ("closed card", "ack"): (3, "UNKNOWN_CARD"),
    ("closed card", "unack"): (0, None),
    # Without the database, it is not known what is missing and what was acknowledged.
    ("no database", "check"): (3, "NO_KNOWN_CARDS"),
    ("success", "events"): (0, "NO_EVENTS"),
    ("no such object", "events"): (0, "NO_EVENTS"),
    ("ambiguous", "events"): (0, "NO_EVENTS"),
    ("no cards", "events"): (0, "NO_EVENTS"),
    ("closed card", "events"): (0, "NO_EVENTS"),
    ("no database", "events"): (1, "NO_EVENT_LOG"),
    ("no database", "rows"): (1, "DATABASE_FAILED"),
    # No service has used the database.
    ("success", "history"): (0, "NO_HISTORY"),
    ("success", "ack"): (0, "REASON_ABSENT"),
    ("success", "forget"): (4, "CARD_PRESENT"),
    ("no such object", "forget"): (4, "CARD_PRESENT"),
    ("ambiguous", "forget"): (3, "UNKNOWN_CARD"),
    ("no cards", "forget"): (3, "UNKNOWN_CARD"),
    ("closed card", "forget"): (4, "CARD_PRESENT"),
    ("no database", "history"): (1, "DATABASE_FAILED"),
    ("no database", "ack"): (1, "DATABASE_FAILED"),
    ("no database", "unack"): (1, "DATABASE_FAILED"),
    ("no database", "forget"): (1, "DATABASE_FAILED"),
    ("no database", "metrics"): (0, "DATABASE_FAILED"),
}

counter = itertools.count()


def arguments_of(command, adapter="a0", drive="a0/d0"):
    words = []
    for word in ARGUMENTS[command].split():
        word = {"OBJ": adapter, "DRIVE": drive}.get(word, word)
        words.append(OBJECTS.get(command, {}).get(word, word))
    return [command, *words]


def run(cards, words, situation="", **variables):
    """Runs the program with separate cards and configuration, so that runs can be parallel."""
    directory = DIRECTORY / str(next(counter))
    directory.mkdir()
    file = directory / "cards.json"
    shutil.copy(CARDS / f"{cards}.json", file)
    config = directory / "config"
    config.mkdir()
    if situation == "damaged ini":
        (config / "Corvane.ini").write_bytes(b"PollInterval\0 [[[\n")
    if situation == "no database":
        variables = dict(variables, CORVANE_DATABASE="/proc/none/x.db")
    environment = dict(os.environ, CORVANE_CONFIG_DIR=str(config),
                       CORVANE_SOCKET=str(directory / "s"), **variables)
    return subprocess.run(
        [f"{BUILD}/bin/corvane-host", f"--simulate={file}", *words],
        stdin=subprocess.DEVNULL, capture_output=True, env=environment, timeout=600, check=False,
    )


def commands():
    """Returns the output formats by command, from the program's help."""
    help_json = subprocess.run(
        [f"{BUILD}/bin/corvane-host", "help", "-o", "json"], capture_output=True, check=True,
    ).stdout
    ARGUMENTS.update(command_table.arguments(help_json, OVERRIDES))
    return command_table.formats(help_json)


def expectation(situation, command):
    """Returns the expected exit code, and the expected id of the last message or None."""
    _, _, _, *expected = SITUATIONS[situation]
    names_object = "OBJ" in ARGUMENTS[command] or "DRIVE" in ARGUMENTS[command]
    if command in WITHOUT_PLUGIN and situation != "usage":
        return 0, None
    if (situation, command) in EXCEPTIONS:
        return EXCEPTIONS[situation, command]
    code, identifier = expected[-1] if names_object else expected[0]
    return (UNKNOWN if command == CHECK and code != 0 else code), identifier


def documents(text):
    decoder = json.JSONDecoder()
    while text.strip():
        text = text.lstrip()
        document, end = decoder.raw_decode(text)
        text = text[end:]
        yield document


def failure(check, situation, command, format_name):
    """Runs one case and returns why it fails, or None."""
    cards, options, (adapter, drive), *_ = SITUATIONS[situation]
    words = [*arguments_of(command, adapter, drive), "-o", format_name, *options]
    done = run(cards, words, situation)
    code, identifier = expectation(situation, command)
    found = list(documents(done.stdout.decode("utf-8")))
    if done.returncode != code:
        return f"exit code {done.returncode}, expected {code}: {done.stderr.decode()}"
    if format_name == "json" and len(found) != 1:
        return f"{len(found)} documents"
    if code != 0 and not found:
        return "no document"
    for document in found:
        error = jsonschema.exceptions.best_match(check.iter_errors(document))
        if error is not None:
            return (f"{error.json_path}: {error.message}\n"
                    f"  docs/{SCHEMA.name} does not describe this output")
    if not found:
        return None
    last = found[-1]
    if last["exit_code"] != done.returncode:
        return f"exit code {last['exit_code']} in the document, {done.returncode} of the process"
    prints_anyway = command in PRINT_RESULT_ANYWAY and situation != "usage"
    has_result = code == 0 or prints_anyway or (situation, command) in REPORT_PROBLEMS
    if (last["result"] is not None) != has_result:
        return f"result {last['result']} with exit code {code}"
    ids = [message["id"] for message in last["messages"]]
    if ids[-1:] != ([identifier] if identifier else []):
        return f"messages {ids}, the last one expected to be {identifier}"
    if situation != "usage" and last["command"] != command:
        return f"command {last['command']}"
    return None


def schema_failure(formats):
    """Returns how the schema's commands differ from those of the program, or None."""
    schema = json.loads(SCHEMA.read_text(encoding="utf-8"))
    named = schema["properties"]["command"]["enum"]
    if sorted(named, key=str) != sorted([*formats, None], key=str):
        return (f"values of `command` in docs/{SCHEMA.name}: "
                f"{set(named) ^ {*formats, None} or 'one is listed twice'}")
    with_rule = []
    for rule in schema["allOf"]:
        names = rule["if"]["properties"].get("command", {"enum": []})
        with_rule += names.get("enum", [names.get("const")])
    with_json = [name for name in formats if {"json", "jsonl"} & set(formats[name])]
    if sorted(with_rule) != sorted(with_json):
        return (f"rules of `allOf` in docs/{SCHEMA.name}: "
                f"{set(with_rule) ^ set(with_json) or 'one command has two'}")
    return None


# Members whose type depends on what they belong to.
VARIABLE = {
    "value": "any property",
}
JSON_TYPES = {bool: "boolean", int: "number", float: "number", str: "string"}


def types_of(schema, node):
    """Returns the JSON types that match a part of the schema, without null."""
    if "$ref" in node:
        return types_of(schema, schema["$defs"][node["$ref"].rsplit("/", 1)[1]])
    if "const" in node:
        return {JSON_TYPES[type(node["const"])]}
    if "enum" in node:
        return {JSON_TYPES[type(value)] for value in node["enum"] if value is not None}
    for choice in ("oneOf", "anyOf"):
        if choice in node:
            return set().union(*(types_of(schema, each) for each in node[choice]))
    named = node.get("type", [])
    named = [named] if isinstance(named, str) else named
    return {"number" if name == "integer" else name for name in named} - {"null"}


def members(node):
    """Yields the name and schema of every member of the documents that match a schema."""
    for name, member in node.get("properties", {}).items():
        yield name, member
        yield from members(member)
    for name in ("items", "additionalProperties"):
        if isinstance(node.get(name), dict):
            yield from members(node[name])
    for name in ("oneOf", "anyOf", "allOf"):
        for each in node.get(name, []):
            yield from members(each)


def type_failure():
    """Returns the members that have several types, or None."""
    schema = json.loads(SCHEMA.read_text(encoding="utf-8"))
    found = {}
    roots = [schema, *schema["$defs"].values()]
    for name, node in itertools.chain.from_iterable(members(root) for root in roots):
        if name not in VARIABLE:
            found.setdefault(name, set()).update(types_of(schema, node))
    mixed = {name: sorted(types) for name, types in found.items() if len(types) != 1}
    return f"not one type in docs/{SCHEMA.name}: {mixed}" if mixed or len(found) < 100 else None


def escape_failure(command, format_name, variables):
    """Runs a command on hostile cards and returns why it fails, or None."""
    words = [*arguments_of(command), *(["-o", format_name] if format_name else [])]
    done = run("escape", words, **variables)
    if done.returncode not in (0, 1) and command not in NEED_RECORDED_CARD:
        return f"exit code {done.returncode}: {done.stderr.decode()}"
    if b"\x1b" in done.stdout + done.stderr:
        return "an escape byte"
    may_be_silent = WITHOUT_PLUGIN | NEED_RECORDED_CARD | {"set", "events", "serve"}
    if command not in may_be_silent and not done.stdout:
        return "nothing was written"
    return None


def schema_cases(formats):
    yield "schema", schema_failure, (formats,)


def type_cases(_):
    yield "types", type_failure, ()


def json_cases(formats):
    check = jsonschema.Draft202012Validator(json.loads(SCHEMA.read_text(encoding="utf-8")))
    for situation in SITUATIONS:
        for command, command_formats in formats.items():
            for format_name in command_formats:
                if format_name in ("json", "jsonl"):
                    yield f"{situation}: {command} -o {format_name}", failure, (
                        check, situation, command, format_name,
                    )
    # A rejected output format is reported in that format.
    for command, command_formats in formats.items():
        if "json" not in command_formats:
            yield f"usage: {command} -o json", failure, (check, "usage", command, "json")


def escape_cases(formats):
    terminal = {"TERM": "xterm-256color"}
    for command, command_formats in formats.items():
        for format_name in command_formats:
            yield f"{command} -o {format_name}", escape_failure, (command, format_name, terminal)
        for variables in ({**terminal, "NO_COLOR": "1"}, {"TERM": "dumb"}):
            yield f"{variables} {command}", escape_failure, (command, None, variables)


def main(what):
    formats = commands()
    make_cases = {"schema": schema_cases, "types": type_cases, "json": json_cases, "escapes": escape_cases}[what]
    cases = list(make_cases(formats))
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(max_workers=12) as pool:
        running = [(name, pool.submit(work, *arguments)) for name, work, arguments in cases]
        for name, future in running:
            problem = future.result()
            if problem:
                failed += 1
                print(f"{name}: {problem}")
    print(f"{len(cases)} runs, {failed} failed")
    sys.exit(failed != 0)


main(sys.argv[1])
