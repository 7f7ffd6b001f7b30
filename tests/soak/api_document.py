"""The service's OpenAPI document, and checks of responses against it."""
import json
import urllib.parse

import jsonschema

# Headers of the transport, which an OpenAPI document does not describe.
TRANSPORT_HEADERS = {"connection", "content-length", "content-type", "date", "transfer-encoding"}


def has_problem(problems, status, problem_id):
    return any((each["status"], each["id"]) == (status, problem_id) for each in problems)


class Document:
    """The OpenAPI document. Its checks raise ValueError."""

    def __init__(self, client):
        self.content = client.get("/v1/openapi.json")
        self.validators = {}

    def common_problems(self):
        return self.content["components"]["responses"]["Common"]["x-problems"]

    def operation(self, method, path):
        """Returns the path's template and operation. The operation is None if the path does not
        have the method; both are None if the path is unknown."""
        segments = path.split("?", 1)[0].split("/")
        for template, operations in self.content["paths"].items():
            names = template.split("/")
            matches = len(names) == len(segments) and all(
                name.startswith("{") or name == segment for name, segment in zip(names, segments))
            if matches:
                return template, operations.get(method.lower())
        return None, None

    def resolved(self, part):
        """Returns the part, or the part that its $ref refers to."""
        while "$ref" in part:
            found = self.content
            for name in part["$ref"].split("/")[1:]:
                found = found[name]
            part = found
        return part

    def validator(self, schema):
        key = json.dumps(schema)
        if key not in self.validators:
            complete = {**schema, "components": self.content["components"]}
            self.validators[key] = jsonschema.Draft202012Validator(complete)
        return self.validators[key]

    def check(self, instance, schema):
        error = jsonschema.exceptions.best_match(self.validator(schema).iter_errors(instance))
        if error is not None:
            raise ValueError(f"{error.json_path}: {error.message} (docs/openapi.yaml, which "
                             "scripts/openapi generates)")

    def check_response(self, operation, response):
        """Checks that the document allows this status, media type and content for the operation."""
        if str(response.status) not in operation["responses"]:
            raise ValueError(f"the document does not contain the status {response.status}")
        described = operation["responses"][str(response.status)].get("content")
        if described is None:
            if response.content:
                raise ValueError("the document does not allow a body for this status")
            return
        if response.media_type not in described:
            raise ValueError(f"{response.media_type} is not in the document")
        if response.media_type.endswith("json"):
            self.check(json.loads(response.content), described[response.media_type]["schema"])

    def check_headers(self, operation, response):
        """Checks that the response has exactly the headers that the document describes for it."""
        responses = operation["responses"] if operation else {}
        described = self.resolved(responses.get(str(response.status))
                                  or {"$ref": "#/components/responses/Common"})
        expected = {name.lower(): self.resolved(header)
                    for name, header in described["headers"].items()}
        if response.status != 405:
            expected.pop("allow", None)  # described for all problems, but sent only with 405
        sent = {name: value for name, value in response.headers.items()
                if name not in TRANSPORT_HEADERS}
        if set(sent) != set(expected):
            raise ValueError(f"headers {sorted(sent)} instead of {sorted(expected)}")
        for name, value in sent.items():
            self.check(value, expected[name]["schema"])

    def request_error(self, operation, path, body, headers):
        """Returns why the document does not allow the request, or None. `body` is text."""
        try:
            self.check_parameters(operation, path, headers)
            self.check_body(operation, body, headers)
        except ValueError as error:
            return str(error).splitlines()[0]
        return None

    def check_parameters(self, operation, path, headers):
        parameters = [self.resolved(each) for each in operation["parameters"]]
        known = {(each["in"], each["name"].lower()): each for each in parameters}
        pairs = urllib.parse.parse_qsl(path.partition("?")[2], keep_blank_values=True,
                                       errors="strict")
        sent = [("query", name, value) for name, value in pairs]
        names = {each["name"].lower() for each in self.content["components"]["parameters"].values()
                 if each["in"] == "header"}
        sent += [("header", name.lower(), value) for name, value in headers.items()
                 if name.lower() in names]
        places = [each[:2] for each in sent]
        if len(set(places)) < len(places):
            raise ValueError("a parameter is repeated")
        for place, name, value in sent:
            if (place, name) not in known:
                raise ValueError(f"{place} parameter {name} is not in the document")
            schema = known[(place, name)]["schema"]
            is_number = schema.get("type") == "integer" and value.lstrip("-").isdigit()
            self.check(int(value) if is_number else value, schema)
        for (place, name), each in known.items():
            if each.get("required") and place != "path" and (place, name) not in places:
                raise ValueError(f"{place} parameter {name} is missing")

    def check_body(self, operation, body, headers):
        described = operation.get("requestBody")
        if (body is not None) != (described is not None):
            raise ValueError("a body is missing or not allowed")
        if described is None:
            return
        media_type = headers.get("Content-Type", "application/json")
        if media_type not in described["content"]:
            raise ValueError(f"{media_type} is not in the document")
        self.check(json.loads(body), described["content"][media_type]["schema"])

    def check_problem(self, operation, response):
        """Checks that the document allows this problem for the operation or for any request.
        Returns the id of the problem."""
        problem = json.loads(response.content)
        self.check(problem, {"$ref": "#/components/schemas/Problem"})
        allowed = self.common_problems() + (operation["x-problems"] if operation else [])
        is_allowed = has_problem(allowed, response.status, problem["id"])
        if problem["status"] != response.status or not is_allowed:
            raise ValueError(f"the document does not contain {response.status} {problem['id']}")
        return problem["id"]
