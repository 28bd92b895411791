"""Holds documents of `torvelsi scan --format json` against the schema that is checked in."""

import json
import pathlib

import jsonschema

SCHEMA = json.loads((pathlib.Path(__file__).parents[2] / "docs" /
                     "torvelsi-scan-1.schema.json").read_text())
VALIDATOR = jsonschema.Draft202012Validator(SCHEMA)


def resolve(schema):
    while "$ref" in schema:
        schema = SCHEMA["$defs"][schema["$ref"].rsplit("/", 1)[1]]
    return schema


def alternatives(schema):
    schema = resolve(schema)
    return [a for key in ("oneOf", "anyOf") for option in schema.get(key, [])
            for a in alternatives(option)] or [schema]


def misplaced_keys(value, schema, path):
    """Paths of objects whose keys are in another order than the schema's properties."""
    schemas = alternatives(schema)
    if isinstance(value, list):
        items = [s["items"] for s in schemas if "items" in s]
        return [m for i, entry in enumerate(value) if items
                for m in misplaced_keys(entry, items[0], f"{path}[{i}]")]
    if not isinstance(value, dict):
        return []
    matching = [s for s in schemas if VALIDATOR.evolve(schema=s).is_valid(value)]
    if not matching:
        return [path + " matches nothing"]
    properties = matching[0].get("properties", {})
    listed = [key for key in value if key in properties]
    misplaced = [] if listed == [key for key in properties if key in value] else [path]
    for key in listed:
        misplaced += misplaced_keys(value[key], properties[key], f"{path}.{key}")
    return misplaced


def check(document):
    """Raises unless the document is valid and its keys are in order."""
    VALIDATOR.validate(document)
    misplaced = misplaced_keys(document, SCHEMA, "$")
    if misplaced:
        raise ValueError(f"keys out of order: {', '.join(misplaced[:5])}")
