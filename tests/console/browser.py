"""Opens a page in a real browser that tries to read from a service and to change its cards, from
several origins. Prints the result of each attempt as JSON, by origin.

Usage: browser.py SOCKET    starts a service with the simulated cards, at this socket and on TCP

own      the service's address
rebound  a host name that pointed to the page's server and now points to the service
port     another port of the same address
host     another host
"""
import http.server
import json
import os
import pathlib
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "soak"))
import client

TIMEOUT = 300  # seconds; much longer than any step takes

PAGE = """<!DOCTYPE html><title>page</title><body><script>
const target = TARGET, report = REPORT, found = {};
const pause = () => new Promise(done => setTimeout(done, 50));
const operation = target + '/v1/cards/S100/operations/locate';

async function read(name, url, options) {
  try {
    const response = await fetch(url, {cache: 'no-store', ...options});
    found[name] = [response.status, await response.text()];
  } catch (error) {
    found[name] = null;
  }
}

function showImage(name, url) {
  return new Promise(done => {
    const image = new Image();
    image.onload = () => done(found[name] = [image.width, '']);
    image.onerror = () => done(found[name] = null);
    image.src = url;
  });
}

function follow(name, url) {
  return new Promise(done => {
    const stream = new EventSource(url);
    const end = result => { stream.close(); done(found[name] = result); };
    stream.onopen = () => end([200, '']);
    stream.onerror = () => end(null);
  });
}

function submit(name, url) {
  return new Promise(done => {
    const frame = document.createElement('iframe');
    frame.name = 'answer';
    document.body.append(frame);
    const form = document.createElement('form');
    Object.assign(form, {method: 'POST', action: url, enctype: 'text/plain', target: 'answer'});
    const field = document.createElement('input');
    Object.assign(field, {name: '{"dry_run":false}', value: ''});
    form.append(field);
    document.body.append(form);
    frame.onload = () => {
      if (frame.contentDocument && frame.contentDocument.URL === 'about:blank') return;
      const inner = frame.contentDocument;
      done(found[name] = inner ? [0, inner.documentElement.textContent] : null);
    };
    form.submit();
  });
}

async function run() {
  // Waits until the service has replaced the page's server, which responds with 404, and is ready.
  while (target === '') {
    try {
      const answer = await fetch('/readyz', {cache: 'no-store'});
      if (answer.status === 200 || answer.status === 403) break;
    } catch (error) {}
    await pause();
  }
  const post = {method: 'POST', body: '{}'};
  const json = {...post, headers: {'Content-Type': 'application/json'}};
  for (const path of ['/v1/cards', '/v1/status', '/metrics']) {
    await read('cors ' + path, target + path, {});
    await read('no-cors ' + path, target + path, {mode: 'no-cors'});
  }
  await read('cors post', operation, json);
  await read('cors simple post', operation, post);
  await read('no-cors post', operation, {...post, mode: 'no-cors'});
  await read('cors session', target + '/v1/session',
             {...json, body: '{"command": "GET_TOPOLOGY"}'});
  await showImage('image', target + '/metrics');
  await follow('events', target + '/v1/events/stream');
  await submit('form', operation);
  await fetch(report, {method: 'POST', mode: 'no-cors', body: JSON.stringify(found)});
}
run();
</script>"""


class PageServer:
    """Serves pages and receives the browsers' reports. The path names the page or the report."""

    def __init__(self):
        self.reports = {}
        self.requested = set()
        self.changed = threading.Condition()
        outer = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                outer.send_page(self)

            def do_POST(self):
                outer.take_report(self)

            def log_message(self, *arguments):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.port = self.server.server_address[1]
        self.pages = {}
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def send_page(self, handler):
        name = handler.path[1:]
        page = self.pages.get(name)
        handler.send_response(200 if page else 404)
        handler.send_header("Content-Type", "text/html")
        handler.end_headers()
        if page:
            handler.wfile.write(page.encode())
            self.note(self.requested.add, name)

    def take_report(self, handler):
        text = handler.rfile.read(int(handler.headers["Content-Length"]))
        handler.send_response(204)
        handler.end_headers()
        self.note(self.reports.update, {handler.path[1:]: json.loads(text)})

    def note(self, change, value):
        with self.changed:
            change(value)
            self.changed.notify_all()

    def await_names(self, known, names):
        """Waits until `known`, which is `requested` or `reports`, contains all names."""
        with self.changed:
            if not self.changed.wait_for(lambda: set(names) <= set(known), TIMEOUT):
                raise TimeoutError(f"only {sorted(known)} of {sorted(names)}")

    def close(self):
        self.server.shutdown()
        self.server.server_close()


def page_of(target, report):
    return PAGE.replace("TARGET", json.dumps(target)).replace("REPORT", json.dumps(report))


def open_browser(url, directory):
    """Starts a browser without access to a desktop, a session or a proxy of this machine."""
    home = tempfile.mkdtemp(dir=directory)
    keep = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8"}
    return subprocess.Popen(
        ["cog", "--platform=headless", url], stdin=subprocess.DEVNULL, start_new_session=True,
        stdout=subprocess.DEVNULL, stderr=open(f"{home}/err", "wb"),
        env={**keep, "HOME": home, "XDG_RUNTIME_DIR": home, "TMPDIR": home,
             "DBUS_SESSION_BUS_ADDRESS": "disabled:", "LIBGL_ALWAYS_SOFTWARE": "1"})


def stop(processes):
    for process in processes:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()


def start_service(path, port):
    service = subprocess.Popen(
        ["corvane-host", "serve", "--simulate", "--socket", path, "--listen", f"127.0.0.1:{port}"],
        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
        start_new_session=True)
    api = client.Client(path)
    end = time.monotonic() + TIMEOUT
    while True:
        if service.poll() is not None or time.monotonic() > end:
            raise RuntimeError(f"the service does not start: {service.stderr.read().decode()}")
        try:
            if api.send("GET", "/readyz").status == 200:
                return service
        except OSError:
            pass
        time.sleep(0.05)


def main(path):
    started = []
    directory = os.environ["BATS_FILE_TMPDIR"]
    try:
        # The service later replaces `before` on its port.
        reports, before = PageServer(), PageServer()
        port = before.port
        report = f"http://127.0.0.1:{reports.port}"
        for name in ("own", "rebound"):
            before.pages[name] = page_of("", f"{report}/{name}")
        for name in ("port", "host"):
            reports.pages[name] = page_of(f"http://127.0.0.1:{port}", f"{report}/{name}")
        # Browsers resolve all names below localhost to this machine.
        started += [open_browser(f"http://127.0.0.1:{port}/own", directory),
                    open_browser(f"http://rebound.localhost:{port}/rebound", directory)]
        before.await_names(before.requested, ["own", "rebound"])
        before.close()
        started.append(start_service(path, port))
        started += [open_browser(f"{report}/port", directory),
                    open_browser(f"http://host.localhost:{reports.port}/host", directory)]
        reports.await_names(reports.reports, ["own", "rebound", "port", "host"])
        api = client.Client(path)
        result = {**reports.reports, "jobs": api.get("/v1/jobs")["jobs"]}
        # The same request succeeds if an allowed client sends it.
        result["allowed"] = api.send("POST", "/v1/cards/S100/operations/locate", "{}").status
        json.dump(result, sys.stdout)
    finally:
        stop(started)


main(sys.argv[1])
