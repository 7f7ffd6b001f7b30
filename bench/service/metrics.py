"""Compares GET /metrics with the Prometheus node exporter, which serves the same metrics from a
text file. Both listen on loopback TCP; wrk measures them in turn.

Usage: metrics.py BUILD EXPORTER [SECONDS [ROUNDS]]    BUILD: directory of the built programs
  EXPORTER  the program prometheus-node-exporter
  SECONDS   duration of each measurement (default: 5)
  ROUNDS    measurements of each program (default: 3); the medians are printed
"""
import contextlib
import re
import statistics
import subprocess
import sys
import urllib.request

from common import Machine, free_port, print_machine, print_table
from machine import eventually

CARDS = (3, 64, 256)
CONNECTIONS = 4
TO_MILLISECONDS = {"us": 0.001, "ms": 1, "s": 1000, "m": 60000}


@contextlib.contextmanager
def exporter(program, directory):
    """Runs the exporter with only the files in the directory as its source. Yields its URL."""
    port = free_port()
    words = [program, "--collector.disable-defaults", "--collector.textfile",
             f"--collector.textfile.directory={directory}", "--web.disable-exporter-metrics",
             f"--web.listen-address=127.0.0.1:{port}", "--log.level=error"]
    # It logs an error for each connection that wrk closes.
    with subprocess.Popen(words, stderr=subprocess.DEVNULL) as process:
        url = f"http://127.0.0.1:{port}/metrics"
        try:
            eventually("the exporter responds", lambda: size_of(url))
            yield url
        finally:
            process.terminate()


def size_of(url):
    """Returns the size of the document, or None if it cannot be read."""
    try:
        with urllib.request.urlopen(url, timeout=60) as response:
            return len(response.read())
    except OSError:
        return None


def measure(url, seconds):
    """Returns the requests per second, and the 99th percentile of the latency in milliseconds."""
    text = subprocess.run(
        ["wrk", "-t1", f"-c{CONNECTIONS}", f"-d{seconds}s", "--timeout", "60s", "--latency", url],
        check=True, capture_output=True, text=True).stdout
    errors = re.search(r"Non-2xx.*|Socket errors.*", text)
    if errors:
        sys.exit(f"{url}: {errors[0]}")
    number, unit = re.search(r"99%\s+([\d.]+)(us|ms|s|m)", text).groups()
    rate = re.search(r"Requests/sec:\s+([\d.]+)", text)[1]
    return float(rate), float(number) * TO_MILLISECONDS[unit]


def rows_for(build, program, cards, seconds, rounds):
    with Machine(build, cards) as machine:
        machine.start()
        directory = machine.directory / "textfile"
        directory.mkdir()
        machine.run("metrics", "--textfile", str(directory / "corvane.prom"))
        with exporter(program, directory) as exporter_url:
            urls = {"service": f"http://127.0.0.1:{machine.port}/metrics",
                    "exporter": exporter_url}
            results = {name: [] for name in urls}
            for _ in range(rounds):
                for name, url in urls.items():
                    results[name].append(measure(url, seconds))
            sizes = {name: size_of(url) for name, url in urls.items()}
    return [[f"{cards} cards/{name}", sizes[name],
             f"{statistics.median(rate for rate, _ in values):.0f}",
             f"{statistics.median(latency for _, latency in values):.1f}"]
            for name, values in results.items()]


def main(build, program, seconds=5, rounds=3):
    print_machine()
    rows = []
    for cards in CARDS:
        rows += rows_for(build, program, cards, int(seconds), int(rounds))
    print_table(["GET /metrics", "bytes", "requests/s", "99% ms"], rows)


if __name__ == "__main__":
    main(*sys.argv[1:])
