"""Holds JSON against the schemas of docs/schema, with a complaint that names the place: what the tools need of JSON Schema
without a package beside Python."""

import json
import pathlib
import re

import command

SCHEMAS = pathlib.Path(__file__).resolve().parents[2] / "docs" / "schema"
KINDS = {"object": dict, "array": list, "string": str, "integer": int, "boolean": bool, "null": type(None)}
# What the checks below know; a schema that says more would be believed to check more than it does.
KEYWORDS = {"$schema", "$id", "$defs", "$ref", "title", "description", "type", "const", "enum", "pattern", "minimum", "maximum",
            "properties", "required", "additionalProperties", "dependentRequired", "items", "allOf", "anyOf", "oneOf", "if",
            "then"}


class Complaint(Exception):
    """What is wrong, and the path of the value: $.devices[3].UINumber."""


def is_kind(value, kind: str) -> bool:
    # true is no number, though Python's bool is an int.
    return isinstance(value, KINDS[kind]) and not (kind == "integer" and isinstance(value, bool))


class Schema:
    def __init__(self, name: str):
        self._root = json.loads((SCHEMAS / f"{name}.schema.json").read_text(encoding="utf-8"))

    def check(self, value, file) -> None:
        """Raises command.InputError, which names file, place and member."""
        try:
            self._check(value, self._root, "$")
        except Complaint as complaint:
            raise command.InputError(f"{file}: {complaint}") from complaint

    def _check(self, value, schema: dict, path: str) -> None:
        unknown = set(schema) - KEYWORDS
        if unknown:
            raise NotImplementedError(f"keywords of a schema: {sorted(unknown)}")
        if "$ref" in schema:
            self._check(value, self._root["$defs"][schema["$ref"].removeprefix("#/$defs/")], path)
        self._check_itself(value, schema, path)
        if isinstance(value, dict):
            self._check_members(value, schema, path)
        if isinstance(value, list) and "items" in schema:
            for index, item in enumerate(value):
                self._check(item, schema["items"], f"{path}[{index}]")
        self._check_choices(value, schema, path)

    @staticmethod
    def _check_itself(value, schema: dict, path: str) -> None:
        kinds = schema.get("type", [])
        kinds = [kinds] if isinstance(kinds, str) else kinds
        if kinds and not any(is_kind(value, kind) for kind in kinds):
            raise Complaint(f"{path}: {' or '.join(kinds)} is expected")
        allowed = schema.get("enum", [schema["const"]] if "const" in schema else None)
        if allowed is not None and value not in allowed:
            raise Complaint(f"{path}: one of {', '.join(map(json.dumps, allowed))} is expected")
        if isinstance(value, str) and not re.search(schema.get("pattern", ""), value):
            raise Complaint(f"{path}: a text like {schema['pattern']} is expected")
        if is_kind(value, "integer") and not schema.get("minimum", value) <= value <= schema.get("maximum", value):
            raise Complaint(f"{path}: a number of {schema.get('minimum')} to {schema.get('maximum')} is expected")

    def _check_members(self, value: dict, schema: dict, path: str) -> None:
        properties = schema.get("properties", {})
        others = schema.get("additionalProperties", True)
        for name, member in value.items():
            if name in properties:
                self._check(member, properties[name], f"{path}.{name}")
            elif others is False:
                raise Complaint(f"{path}.{name}: unknown member")
            elif isinstance(others, dict):
                self._check(member, others, f"{path}.{name}")
        needed = list(schema.get("required", []))
        for name, more in schema.get("dependentRequired", {}).items():
            needed += more if name in value else []
        for name in needed:
            if name not in value:
                raise Complaint(f"{path}: the member '{name}' is missing")

    def _check_choices(self, value, schema: dict, path: str) -> None:
        for each in schema.get("allOf", []):
            self._check(value, each, path)
        if "if" in schema and self._fits(value, schema["if"]):
            self._check(value, schema["then"], path)
        for keyword, is_enough in (("anyOf", lambda count: count > 0), ("oneOf", lambda count: count == 1)):
            choices = schema.get(keyword)
            if choices and not is_enough(sum(self._fits(value, each) for each in choices)):
                raise Complaint(f"{path}: {schema.get('description', 'another value')} is expected")

    def _fits(self, value, schema: dict) -> bool:
        try:
            self._check(value, schema, "$")
        except Complaint:
            return False
        return True
