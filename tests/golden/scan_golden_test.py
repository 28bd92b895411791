"""Compares `torvelsi scan` of real broadcasts with the output of an independent decoder.

usage: scan_golden_test.py TOOL STREAMS [NAME...]
       scan_golden_test.py --self-test STREAMS

STREAMS holds NAME.ts (transport streams), NAME.sec (concatenated sections) and expected/NAME.json
(the independent decode of each). Each document is validated against the schema. Then everything that
both sides have is compared. --self-test makes changes and checks that each is noticed.
Exit status: 0 no difference, 1 differences or a failure, 77 there is no such folder.
"""

import pathlib
import subprocess
import sys

sys.dont_write_bytecode = True  # leaves no files in the checkout

from scan_comparison import differences, faults, tables_compared
from scan_expectations import expectation
from scan_golden_self_test import SelfTest
from scan_streams import Stream

SKIPPED = 77


def unnamed_partial_tables(document):
    """Incomplete event tables whose missing sections are not named."""
    named = {entry["service_id"]: entry["sections"] for entry in document["missing"]
             if entry["table"] == "eit"}
    for event in document["events"]:
        if not event["table_complete"] and not named.get(event["service_id"]):
            yield f"service {event['service_id']}: an incomplete EIT that missing does not name"


def compare(tool, paths):
    tables = found = 0
    for path in paths:
        expected = expectation(path)
        count = 0
        try:
            stream = Stream(path, expected)
            document = stream.scan(tool)
            lines = faults(document)
            if not lines:
                wanted = stream.wanted(expected)
                # The independent decode has only complete tables.
                lines = list(unnamed_partial_tables(document))
                document["events"] = [event for event in document["events"]
                                      if event["table_complete"]]
                lines += differences("$", wanted, document)
                count = tables_compared(wanted, document)
        except (ValueError, subprocess.TimeoutExpired) as failure:
            lines = [str(failure)]
        tables += count
        found += len(lines)
        print(f"{path.name}: {count} tables compared, {len(lines)} differences")
        for line in lines:
            print(f"  {line}")
    print(f"{len(paths)} streams, {tables} tables compared, {found} differences")
    return 1 if found or tables == 0 else 0


def main(arguments):
    if len(arguments) < 2:
        print(__doc__)
        return 1
    tool, folder, names = arguments[0], pathlib.Path(arguments[1]), arguments[2:]
    if not folder.is_dir():
        print(f"skipped: {folder} is not there")
        return SKIPPED
    paths = sorted(path for path in folder.iterdir() if path.suffix in (".ts", ".sec")
                   and (not names or path.name in names or path.stem in names))
    return SelfTest(paths).run() if tool == "--self-test" else compare(tool, paths)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
