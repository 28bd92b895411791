"""Finds the faults of a document and its differences from the expected document."""

import json
import pathlib
import unicodedata

import jsonschema

from scan_expectations import ANYTHING

SCHEMA = json.loads((pathlib.Path(__file__).parents[2] / "docs" / "torvelsi-scan-2.schema.json")
                    .read_text("utf-8"))


def without_duplicates(pairs):
    keys = [key for key, _ in pairs]
    if len(set(keys)) != len(keys):
        raise ValueError(f"a key comes twice: {keys}")
    return dict(pairs)


def misplaced_keys(path, schema, document):
    """Objects whose keys are not in the order of the schema."""
    if "$ref" in schema:
        schema = SCHEMA["$defs"][schema["$ref"].rsplit("/", 1)[1]]
    if "oneOf" in schema and document is not None:
        choices = [SCHEMA["$defs"][choice["$ref"].rsplit("/", 1)[1]] for choice in schema["oneOf"]
                   if "$ref" in choice]
        schema = next(choice for choice in choices if len(choices) == 1 or
                      set(choice["required"]) == set(document))
    if isinstance(document, list):
        for i, entry in enumerate(document):
            yield from misplaced_keys(f"{path}[{i}]", schema["items"], entry)
    elif isinstance(document, dict):
        order = [key for key in schema.get("properties", ()) if key in document]
        if list(document)[:len(order)] != order:
            yield f"{path}: keys {list(document)} instead of {order}"
        for key in order:
            yield from misplaced_keys(f"{path}.{key}", schema["properties"][key], document[key])


def faults(document):
    """Faults of a document that are faults with every stream."""
    validator = jsonschema.Draft202012Validator(SCHEMA)
    errors = [f"$.{'.'.join(map(str, error.absolute_path))}: {error.message[:300]}"
              for error in validator.iter_errors(document)]
    return errors or list(misplaced_keys("$", SCHEMA, document))


# The keys that identify the entries of a list; entries of other lists are identified by position.
IDENTITIES = {
    "programs": ("program_number",),
    "services": ("service_id",),
    "events": ("service_id", "section", "event_id"),
    "networks": ("network_id", "actual"),
    "bouquets": ("bouquet_id",),
    "transport_streams": ("original_network_id", "transport_stream_id"),
}


def identities(name, entries):
    keys = IDENTITIES.get(name)
    return [tuple(entry[key] for key in keys) for entry in entries] if keys else None


def differences(path, wanted, got, name=""):
    """Every difference as a line that starts with the JSON path."""
    if wanted is ANYTHING:
        return
    if isinstance(wanted, str) and isinstance(got, str):
        if unicodedata.normalize("NFC", wanted) != unicodedata.normalize("NFC", got):
            yield f"{path}: expected {wanted!r}, got {got!r}"
    elif isinstance(wanted, dict) and isinstance(got, dict):
        for key, value in wanted.items():
            if key in got:
                yield from differences(f"{path}.{key}", value, got[key], key)
            else:
                yield f"{path}.{key}: not there"
    elif isinstance(wanted, list) and isinstance(got, list):
        yield from list_differences(path, wanted, got, name)
    elif type(wanted) is not type(got) or wanted != got:
        yield f"{path}: expected {json.dumps(wanted)}, got {json.dumps(got)}"


def list_differences(path, wanted, got, name):
    keys, got_keys = identities(name, wanted), identities(name, got)
    if keys is None:
        if len(wanted) != len(got):
            yield f"{path}: expected {len(wanted)} entries, got {len(got)}"
        for i, (value, other) in enumerate(zip(wanted, got)):
            yield from differences(f"{path}[{i}]", value, other)
        return

    def label(key):
        return f"{path}[" + ",".join(f"{k}={v}" for k, v in zip(IDENTITIES[name], key)) + "]"

    for key, value in zip(keys, wanted):
        if key in got_keys:
            yield from differences(label(key), value, got[got_keys.index(key)])
        else:
            yield f"{label(key)}: not there"
    for key in got_keys:
        if key not in keys:
            yield f"{label(key)}: not expected"
    if len(set(got_keys)) != len(got_keys):
        yield f"{path}: an entry comes twice"
    elif set(keys) == set(got_keys) and keys != got_keys:
        yield f"{path}: expected the order {keys}, got {got_keys}"


def tables_compared(wanted, document):
    """Tables that both sides have."""
    count = sum(isinstance(wanted[key], dict) and isinstance(document[key], dict)
                for key in ("pat", "cat"))
    count += bool(wanted["services"] and document["services"])
    for name in ("programs", "events", "networks", "bouquets"):
        common = (set(identities(name, wanted[name])) & set(identities(name, document[name])))
        # Both sections of an EIT present/following are one table.
        count += len({key[0] for key in common} if name == "events" else common)
    return count
