"""Random requests, generated from the service's OpenAPI document."""
import collections
import json
import string
import urllib.parse

from hypothesis import strategies as st

# `flaws` are the reasons for which the service must refuse the request; empty if it may accept it.
Request = collections.namedtuple("Request", "method path body headers flaws")

# Values that pass more of the service's checks than random text does. GONE is a removed card.
KNOWN = {
    "serial": ["S0", "S1", "S2", "S3", "GONE", "S9"],
    "drive": ["0", "0", "0", "1", "00", "-0"],
    "operation": ["locate", "stop-locate", "attach", "detach"],
    "drive operation": ["online", "offline"],
    "reason": ["MISSING", "UNREADABLE", "TEMPERATURE_ABOVE_WARN", "FLASHBACK"],
    "since": ["1h", "2d", "2026-01-01", "never"],
    "from": ["1h", "2d", "2026-01-01"],
    "to": ["0s", "1h", "2100-01-01"],
    "step": ["1m", "1h", "0s"],
    "until": ["1h", "2100-01-01T00:00:00Z", "2020-01-01"],
    "capacity": ["80", "80%", "factory", "maximum", "0"],
    "sector_size": [512, 4096],
    "confirm": ["S0", "S1"],
    "command": ["GET_TOPOLOGY", "GET_PROPERTIES", "GET_PROPERTY", "SET_PROPERTY", "GET_OPERATIONS",
                "CHECK_OPERATION", "EXECUTE_OPERATION", "GET_EVENTS", "INITIALIZE", "DEINITIALIZE",
                "SET_ADAPTER_IDS"],
    "after": ["0", "1"],
    "limit": ["0", "1", "10"],
}

EDGE_STRINGS = ["", ".", "..", "...", "%", "%%", "%zz", "%00", "%2e%2e", "%2f", "%ff", "%c0%af",
                "a/b", "/", "//", "\\", "\0", "é", "\u202e", "\U0001f600", "x" * 300, "x" * 7000,
                "--help", "-1", "0x0", "1e9", "9" * 30, "null",
                "'; DROP TABLE host_known_cards; --"]

JSON_VALUES = st.recursive(
    st.none() | st.booleans() | st.integers() | st.floats(allow_nan=False, allow_infinity=False) |
    st.text(max_size=20),
    lambda inner: st.lists(inner, max_size=3) |
    st.dictionaries(st.text(max_size=8), inner, max_size=3), max_leaves=8)

STRINGS = st.sampled_from(EDGE_STRINGS) | st.text(max_size=30)
PLAIN_NAMES = st.text(string.ascii_lowercase + "_", min_size=1, max_size=12)


def once_in(count):
    """True with a probability of 1 in `count`. Random integers would favor small values."""
    return st.sampled_from([False] * (count - 1) + [True])


@st.composite
def mostly(draw, usual, other, one_in=6):
    """Draws from `other` with a probability of 1 in `one_in`, and from `usual` otherwise."""
    return draw(other if draw(once_in(one_in)) else usual)


def known_or(name, strategy):
    """Mostly draws known values of the parameter or field, if it has any."""
    known = KNOWN.get(name)
    return mostly(st.sampled_from(known), strategy) if known else strategy


def instances(document, schema, name=None):
    """Values that the schema accepts."""
    schema = document.resolved(schema)
    if "enum" in schema:
        return st.sampled_from(schema["enum"])
    kind = schema.get("type")
    if kind == "object" and "properties" in schema:
        fields = {key: instances(document, value, key)
                  for key, value in schema["properties"].items()}
        required = {key: fields.pop(key) for key in schema.get("required", [])}
        least = schema.get("minProperties", 0)
        return st.fixed_dictionaries(required, optional=fields).filter(lambda it: len(it) >= least)
    if kind == "string":
        text = st.text(min_size=schema.get("minLength", 0),
                       max_size=min(schema.get("maxLength", 40), 40))
        return known_or(name, text)
    if kind == "integer":
        return known_or(name, st.integers(schema.get("minimum"), schema.get("maximum")))
    if kind == "boolean":
        return st.booleans()
    return JSON_VALUES


@st.composite
def mutated(draw, values):
    """Draws an object from `values` and replaces, removes or adds one field."""
    value = dict(draw(values))
    edit = draw(st.sampled_from(["replace", "remove", "add"]))
    if edit == "add" or not value:
        value[draw(STRINGS)] = draw(JSON_VALUES)
    elif edit == "remove":
        del value[draw(st.sampled_from(sorted(value)))]
    else:
        value[draw(st.sampled_from(sorted(value)))] = draw(JSON_VALUES)
    return value


def nested_arrays(depth):
    return "[" * depth + "]" * depth


def bodies(document, schema):
    valid = instances(document, schema)
    nested = st.sampled_from([10, 1000, 30000]).map(nested_arrays)
    invalid = st.one_of(
        mutated(valid).map(json.dumps), mutated(valid).map(json.dumps), JSON_VALUES.map(json.dumps),
        valid.map(lambda value: json.dumps(value) + "\0"),
        valid.map(lambda value: json.dumps(value)[:-1]),
        nested, nested.map(lambda text: '{"command": "GET_TOPOLOGY", "payload": ' + text + "}"),
        st.binary(max_size=40), st.sampled_from([b"", b'{"note": "\xff"}']),
        st.just("[" + "0," * 32768 + "0]"))
    return mostly(valid.map(json.dumps), invalid, 3)


def reject(constant):
    raise ValueError(constant)


def is_refused(document, schema, body):
    """Whether the service must refuse the body. False if unknown: the JSON parsers of Python and
    the service differ in details such as the nesting depth."""
    try:
        value = json.loads(body, parse_constant=reject)
    except RecursionError:
        return False
    except ValueError:
        return True
    return not document.validator(schema).is_valid(value)


@st.composite
def paths(draw, document, template):
    """Fills in the template with known or random values, percent-encoded for a request line."""
    segments = []
    for name in template.split("/"):
        if name.startswith("{"):
            is_drive_operation = name == "{operation}" and "{drive}" in template
            kind = "drive operation" if is_drive_operation else name[1:-1]
            text = draw(known_or(kind, STRINGS))
            safe = draw(st.sampled_from(["", "", "%/.:;@&=+$,!*'()"]))
            name = urllib.parse.quote(text, safe=safe)
        segments.append(name)
    return "/".join(segments)


@st.composite
def queries(draw, document, operation):
    """Draws a query string and its flaws."""
    pairs, flaws = [], set()
    parameters = [document.resolved(each) for each in operation.get("parameters", [])]
    for parameter in (each for each in parameters if each["in"] == "query"):
        if draw(st.booleans()):
            valid = instances(document, parameter["schema"], parameter["name"])
            pairs.append((parameter["name"], str(draw(mostly(valid, STRINGS)))))
    names = {each["name"] for each in parameters}
    flaw = draw(mostly(st.none(), st.sampled_from(["unknown", "repeated"]), 10))
    if flaw == "unknown" and (name := draw(PLAIN_NAMES)) not in names:
        pairs.append((name, draw(STRINGS)))
        flaws.add("an unknown query parameter")
    if flaw == "repeated" and pairs:
        pairs.append(pairs[0])
        flaws.add("a repeated query parameter")
    return urllib.parse.urlencode(pairs, quote_via=urllib.parse.quote), flaws


HEADER_VALUES = mostly(
    st.sampled_from([b"*", b'"x"', b"0", b"1", b"k", b'W/"1"']),
    st.binary(max_size=20).filter(lambda it: not set(it) & {0, 10, 13}))
HEADER_NAMES = st.sampled_from(["If-None-Match", "Idempotency-Key", "Last-Event-ID", "Accept"])


def headers():
    """Header fields, except those that describe the body."""
    return mostly(st.just({}), st.dictionaries(HEADER_NAMES, HEADER_VALUES, min_size=1), 3)


@st.composite
def operation_requests(draw, document, template, method):
    operation = document.content["paths"][template][method]
    path = draw(paths(document, template))
    query, flaws = draw(queries(document, operation))
    fields = dict(draw(headers()))
    body = None
    if "requestBody" in operation:
        schema = operation["requestBody"]["content"]["application/json"]["schema"]
        body = draw(bodies(document, schema))
        if is_refused(document, schema, body):
            flaws.add("an invalid body")
        if draw(once_in(20)):
            fields["Content-Type"] = "text/plain"
            flaws.add("a wrong media type")
    elif draw(once_in(20)):
        body = "{}"
        flaws.add("a body")
    if isinstance(body, str):
        body = body.encode()
    return Request(method.upper(), path + ("?" + query if query else ""), body, fields,
                   frozenset(flaws))


@st.composite
def undocumented_requests(draw):
    """A request that the document does not contain."""
    segments = draw(st.lists(STRINGS | st.sampled_from(["v1", "cards", "S0", "events"]),
                             max_size=5))
    path = "/" + urllib.parse.quote("/".join(segments), safe="%/.:;@&=+$,!*'()?")
    method = draw(st.sampled_from(["GET", "POST", "PUT", "PATCH", "DELETE", "OPTIONS"]))
    return Request(method, path, None, draw(headers()), frozenset())


def requests(document):
    """Requests for all operations of the document, with equal probability, and other requests."""
    operations = [operation_requests(document, template, method)
                  for template, methods in document.content["paths"].items() for method in methods]
    return st.one_of(*operations, undocumented_requests())
