"""The service's OpenAPI document, and checks of responses against it."""
import json

import jsonschema


def has_problem(problems, status, problem_id):
    return any((each["status"], each["id"]) == (status, problem_id) for each in problems)


class Document:
    """The OpenAPI document. Its checks raise ValueError or jsonschema.ValidationError."""

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
        self.validator(schema).validate(instance)

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
