#!/usr/bin/env python3
"""Compares what the forms of output say about the same cards.

Usage: truth.py EVERY HOST-OPTION...

Reads the cards in every form, and prints each value that differs from that of `list -o json`, with
the form and the object. Commands with an object run for each EVERYth card and its drives.
"""

import csv
import io
import json
import subprocess
import sys

# These change between two runs.
VOLATILE = {"last_read_at", "last_seen_at"}

# Metric families and their fields, for adapters and drives.
NUMBERS = {
    "adapter": {
        "adapter_temperature_celsius": "temperature_celsius",
        "adapter_temperature_warning_celsius": "temperature_warning_celsius",
        "adapter_temperature_critical_celsius": "temperature_critical_celsius",
        "adapter_reserve_space_ratio": "reserve_space_ratio",
        "adapter_reserve_space_warning_ratio": "reserve_space_warning_ratio",
        "adapter_read_bytes": "read_bytes",
        "adapter_written_bytes": "written_bytes",
        "adapter_endurance_used_ratio": "endurance_used_ratio",
        "adapter_slot_power_watts": "slot_power_watts",
        "adapter_power_limit_watts": "power_limit_watts",
    },
    "drive": {
        "drive_physical_size_bytes": "physical_size_bytes",
        "drive_formatted_size_bytes": "formatted_size_bytes",
        "drive_sector_size_bytes": "sector_size_bytes",
    },
}
STATES = {
    "adapter": {"adapter_status": "status", "adapter_write_throttling": "write_throttling",
                "adapter_locate_led": "locate_led"},
    "drive": {"drive_state": "status"},
}

every, options = int(sys.argv[1]), sys.argv[2:]
differences = []


def run(*arguments):
    command = ["corvane-host", *options, *arguments]
    return subprocess.run(command, stdout=subprocess.PIPE, check=False, text=True).stdout


def result(*arguments):
    return json.loads(run(*arguments, "-o", "json"))["result"]


def text(value):
    """Returns a value of a JSON document as the text forms print it."""
    if value is None:
        return "-"
    if isinstance(value, bool):
        return "yes" if value else "no"
    if isinstance(value, list):
        return ",".join(value)
    return str(value)


def same(left, right):
    try:
        return float(left) == float(right)
    except ValueError:
        return left == right


def compare(form, name, field, value):
    expected = text(truth[name][field])
    if field in ("parents", "children"):
        expected, value = expected or "-", value or "-"
    if field not in VOLATILE and not same(expected, value):
        differences.append(f"{form}: {name} {field}: {value}, list has {expected}")


def compare_object(form, seen):
    """Compares an object of a JSON document; every field must be there."""
    expected = truth[seen["object"]]
    for field in expected.keys() | seen.keys():
        if field not in expected or field not in seen:
            differences.append(f"{form}: {seen['object']} {field}: only in one form")
        else:
            compare(form, seen["object"], field, text(seen[field]))


def tsv(*arguments):
    return list(csv.DictReader(io.StringIO(run(*arguments, "-o", "tsv")), delimiter="\t",
                               quoting=csv.QUOTE_NONE))


def compare_lists():
    for form in ("list", "tree"):
        for seen in result(form)["objects"]:
            if seen["object"] != "plugin":
                compare_object(f"{form} -o json", seen)
    lines = [json.loads(line) for line in run("list", "-o", "jsonl").splitlines()]
    seen = [each for line in lines for each in line["result"]["objects"]]
    for each in seen:
        compare_object("list -o jsonl", each)
    if sorted(each["object"] for each in seen) != sorted(truth):
        differences.append("list -o jsonl: other objects")
    watched = json.loads(run("watch", "--for", "1s", "-o", "jsonl").splitlines()[0])["result"]
    for each in watched["objects"]:
        if each["object"] != "plugin":
            compare_object("watch -o jsonl", each)


def compare_columns():
    names = {field for each in truth.values() for field in each} - {"owner"}
    fields = sorted(field for field in names if not field.endswith("_s"))
    rows = tsv("list", "-c", ",".join(fields))
    if sorted(row["object"] for row in rows) != sorted(truth):
        differences.append("list -o tsv: other objects")
    for row in rows:
        for field, value in row.items():
            if field in truth[row["object"]]:
                compare("list -o tsv", row["object"], field, value)


def status_text(name):
    """A detached card with another problem has both in its row."""
    status = truth[name]["status"]
    is_detached = "DETACHED" in (truth[name].get("status_reasons") or []) and status != "DETACHED"
    return status + (", DETACHED" if is_detached else "")


def compare_tables():
    """The status that people read is the machine's, in either case."""
    for form in ("list", "tree"):
        for line in run(form, "-c", "object,status", "--ascii").splitlines()[1:]:
            name, *status = line.replace("|-", "").replace("`-", "").replace("|", "").split()
            if name != "plugin" and status_text(name) != " ".join(status).upper():
                differences.append(f"{form}: {name} status: {status}")


def compare_objects():
    for name in [name for name in truth if int(name[1:].split("/")[0]) % every == 0]:
        compare_object("show -o json", result("show", name)["fields"])
        for row in tsv("show", name):
            if row["property"] in truth[name] and row["property"] not in ("parents", "children"):
                compare("show -o tsv", name, row["property"], row["value"])
        got = result("get", name)["values"]
        for field, value in got.items():
            compare("get -o json", name, field, text(value))
        names = [field for field in got if not field.endswith("_s")]
        for row in tsv("get", name):
            compare("get -o tsv", name, row["property"], row["value"])
        for field, value in zip(names, run("get", name, *names).splitlines(), strict=True):
            compare("get", name, field, value)


def reasons(name):
    return [each for each in truth[name]["status_reasons"] or [] if each != "ATTACHED"]


def compare_health():
    for seen in result("status")["objects"]:
        name = seen["object"]
        for field in ("status", "activity", "id"):
            if field in truth[name]:
                compare("status", name, field, text(seen[field]))
        if truth[name]["type"] == "adapter" and [r["name"] for r in seen["reasons"]] != reasons(name):
            differences.append(f"status: {name} reasons: {seen['reasons']}")
        if seen["ok"] != (truth[name]["status"] in ("OK", "AVAILABLE")):
            differences.append(f"status: {name} ok: {seen['ok']}")
    for seen in result("check")["objects"]:
        compare("check", seen["object"], "status", text(seen["status"]))
        if truth[seen["object"]]["type"] == "adapter":
            compare("check", seen["object"], "serial_number", text(seen["serial_number"]))
            found = {each["reason"] for each in seen["problems"]} - {None}
            if found != set(reasons(seen["object"])):
                differences.append(f"check: {seen['object']} reasons: {found}")


def series_of(samples, kind):
    """Returns the samples by the name of their object."""
    adapters = {each["serial_number"]: name for name, each in truth.items() if "/" not in name}
    series = {}
    for sample in samples:
        name = adapters[sample["labels"]["adapter"]]
        if kind == "drive":
            name += "/" + sample["labels"]["drive"]
        series.setdefault(name, []).append(sample)
    return series


def compare_metrics():
    families = {each["name"]: each["samples"] for each in result("metrics")["families"]}
    for kind, names in ((kind, [n for n in truth if truth[n]["type"] == kind]) for kind in NUMBERS):
        for family, field in NUMBERS[kind].items():
            series = series_of(families["corvane_" + family], kind)
            for name in names:
                value = text(series[name][0]["value"]) if name in series else "-"
                compare("metrics", name, field, value)
        for family, field in STATES[kind].items():
            label = "corvane_" + family
            series = series_of(families[label], kind)
            for name in names:
                on = [s["labels"][label] for s in series.get(name, []) if s["value"] == 1]
                compare("metrics", name, field, ",".join(on) or "-")


truth = {each["object"]: each for each in result("list")["objects"]}
compare_lists()
compare_columns()
compare_tables()
compare_objects()
compare_health()
compare_metrics()
print("\n".join(differences) if differences else f"{len(truth)} objects agree")
sys.exit(bool(differences))
