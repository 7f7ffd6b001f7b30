#!/usr/bin/python3
"""Parses OpenMetrics text strictly and rejects duplicate series.

metrics.py families FILE    name, type and unit of each family
metrics.py series FILE      each series with its value
"""

import sys

from prometheus_client.openmetrics.parser import text_string_to_metric_families


def series(families):
    seen = set()
    for family in families:
        for sample in family.samples:
            key = (sample.name, tuple(sorted(sample.labels.items())))
            if key in seen:
                raise ValueError(f"duplicate series: {key}")
            seen.add(key)
            labels = " ".join(f"{name}={text!r}" for name, text in sample.labels.items())
            yield f"{sample.name} {labels} {sample.value:.15g}".replace("  ", " ")


def main(what, file):
    with open(file, encoding="utf-8", newline="") as text:
        families = list(text_string_to_metric_families(text.read()))
    lines = list(series(families))
    if what == "families":
        lines = [f"{family.name} {family.type} {family.unit or '-'}" for family in families]
    print("\n".join(lines))


main(*sys.argv[1:])
