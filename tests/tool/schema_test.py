"""Checks the output of `torvelsi decode` for generated streams against its JSON Schema.

usage: schema_test.py TOOL
"""

import copy
import json
import pathlib
import subprocess
import sys
import tempfile

import jsonschema

SCHEMA = json.loads((pathlib.Path(__file__).parents[2] / "docs" /
                     "torvelsi-descriptors-1.schema.json").read_text("utf-8"))
SCENARIOS = ("broadcast", "oddities")
PACKET = 188


INCOMPLETE = 3  # for example for a PID without sections


def run(tool, *arguments, statuses=(0,)):
    done = subprocess.run([tool, *map(str, arguments)], capture_output=True, check=False)
    if done.returncode not in statuses:
        sys.exit(f"{arguments} ended with {done.returncode}: {done.stderr.decode()}")
    return done.stdout


def sections_of(tool, stream):
    """All distinct sections of the stream."""
    packets = stream.read_bytes()
    pids = {(packets[at + 1] & 0x1F) << 8 | packets[at + 2]
            for at in range(0, len(packets), PACKET)}
    sections = set()
    for pid in sorted(pids - {0x1FFF}):
        bytes_of_pid = run(tool, "sections", stream, "--pid", pid, "--pattern", "00", "--mask", "00",
                           "--format", "binary", statuses=(0, INCOMPLETE))
        at = 0
        while at < len(bytes_of_pid):
            size = 3 + ((bytes_of_pid[at + 1] & 0x0F) << 8 | bytes_of_pid[at + 2])
            sections.add(bytes_of_pid[at:at + size])
            at += size
    return sections


def documents_of(tool, sections, folder):
    file = folder / "sections.bin"
    file.write_bytes(b"".join(sections))
    text = run(tool, "decode", "--table", "--format", "json", file).decode()
    reader = json.JSONDecoder()
    at = 0
    while at < len(text):
        document, at = reader.raw_decode(text, at)
        at += len(text[at:]) - len(text[at:].lstrip())
        yield document


def errors(validator, document):
    return [f"$.{'.'.join(map(str, error.absolute_path))}: {error.message[:300]}"
            for error in validator.iter_errors(document)]


# Changed documents. The schema must refuse each.
SERVICE = {"tag": 0x48, "name": "service_descriptor", "service_type": 1,
           "service_provider_name": "", "service_name": "x"}


def wrong_documents():
    for key, value in (("tag", 0x49), ("name", "no_descriptor"), ("service_type", 256),
                       ("service_type", "1"), ("service_name", 1), ("other", 1)):
        document = copy.deepcopy(SERVICE)
        document[key] = value
        yield document
    for key in SERVICE:
        if key != "name":
            document = copy.deepcopy(SERVICE)
            del document[key]
            yield document
    yield {"tag": 0x80}
    yield {"table_id": 0x70, "name": "time_date_section", "UTC_time": "yesterday"}
    yield {"table_id": 0x71, "name": "time_date_section", "UTC_time": None}
    yield {"table_id": 0x73, "name": "time_offset_section", "UTC_time": None,
           "descriptors": [{"tag": 0x48, "name": "service_descriptor"}]}


def main(tool):
    jsonschema.Draft202012Validator.check_schema(SCHEMA)
    validator = jsonschema.Draft202012Validator(SCHEMA)
    faults = [f"refused: {SERVICE}" for _ in errors(validator, SERVICE)]
    faults += [f"taken: {document}" for document in wrong_documents()
               if validator.is_valid(document)]
    count = 0
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        for scenario in SCENARIOS:
            stream = folder / f"{scenario}.ts"
            run(tool, "generate", "--scenario", scenario, stream)
            for document in documents_of(tool, sorted(sections_of(tool, stream)), folder):
                count += 1
                faults += [f"{scenario}: {error}" for error in errors(validator, document)]
    if count < 50:
        faults.append(f"only {count} sections were seen")
    print("\n".join(faults[:20]) or f"{count} documents are valid")
    return 1 if faults else 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1]))
