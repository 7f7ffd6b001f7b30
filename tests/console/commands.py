"""The commands that `corvane-host help` lists, with arguments to run each of them."""

import json

# The argument for each placeholder of a synopsis. The tests replace OBJ and DRIVE.
PLACEHOLDERS = {
    "PROP": "temperature_celsius",
    "PROP=VALUE": "poll_interval=15",
    "on|off": "off",
    "COND": "attached",
    "REASON": "TEMPERATURE_ABOVE_WARN",
    "SERIAL": "S100",
    "ID": "CTRL_NORMAL",
    "SHELL": "bash",
    "list|check|run": "list",
}


def arguments(help_json, overrides):
    """Returns the arguments by command: from `overrides`, or as the synopsis requires."""
    rows = {row["name"]: row for row in json.loads(help_json)["result"]["commands"]}
    unknown = sorted(set(overrides) - set(rows))
    assert rows and not unknown, f"no such commands: {unknown}"
    found = {}
    for name, row in rows.items():
        required = [word.rstrip(".") for word in row["arguments"].split() if word[0] != "["]
        found[name] = " ".join(PLACEHOLDERS.get(word, word) for word in required)
    return {**found, **overrides}


def formats(help_json):
    """Returns the accepted values of --output by command."""
    return {row["name"]: row["forms"] for row in json.loads(help_json)["result"]["commands"]}
