"""Tests the comparison: changes a document or an expectation, and checks that it is noticed."""

import copy
import json
import re

from scan_comparison import IDENTITIES, SCHEMA, differences, faults, without_duplicates
from scan_expectations import ANYTHING, delivery, expectation, text_of
from scan_streams import Stream

# Facts of expectations that the document does not have, so changes of them are not noticed. The
# descriptors of a program are compared. But only the PMT of program 0 has descriptors with an
# extension or a specifier, and a scan cannot find that PMT.
NOT_IN_THE_DOCUMENT = """
    packets(sec) packet_size(sec) pmt.#.pid(sec) pmt.#.streams.tags
    pmt.#.descriptors.ext pmt.#.descriptors.pds
    pmt.#.application_signalling.hex pmt.#.carousels.format_id pmt.#.carousels.hex
    pmt.#.data_broadcast_ids.selector_hex pmt.#.data_broadcast_ids.ssu.oui_data_length
    pmt.#.data_broadcast_ids.ssu.ouis.update_type pmt.#.data_broadcast_ids.ssu.ouis.version
    pmt.#.data_broadcast_ids.ssu.ouis.version_flag pmt.#.data_broadcast_ids.ssu.private_hex
    cat.version cat.emm cat.descriptors
    sdt_actual.sections sdt_actual.version sdt_actual.services.#.eit_pf
    sdt_actual.services.#.eit_schedule
    nit.#.descriptors nit.#.linkages.hex nit.#.linkages.private_hex
    nit.#.linkages.ssu.oui_data_length nit.#.linkages.ssu.rest_hex nit.#.network_name nit.#.pid
    nit.#.sections nit.#.ts_loop.#.descriptors
    bat.#.bouquet_name bat.#.descriptors bat.#.linkages.hex bat.#.linkages.private_hex
    bat.#.sections bat.#.table_id bat.#.ts_loop
    eit_pf_actual.#.version eit_pf_actual.#.events.free_ca
    eit_pf_actual.#.events.start_hex
""".split()


def kind_of(path):
    """The path without the steps that only identify an entry."""
    return ".".join("#" if re.match(r"\d", str(step)) else step
                    for step in path if not isinstance(step, int))


def leaves(value, path=()):
    if isinstance(value, dict):
        for key, entry in value.items():
            yield from leaves(entry, path + (key,))
    elif isinstance(value, list):
        for i, entry in enumerate(value):
            yield from leaves(entry, path + (i,))
    else:
        yield path, value


def containers(value, path=()):
    if isinstance(value, (dict, list)):
        yield path, value
        for key, entry in value.items() if isinstance(value, dict) else enumerate(value):
            yield from containers(entry, path + (key,))


def another(value):
    """A different value of the same form."""
    if value is None:
        return 1
    if isinstance(value, bool):
        return not value
    if isinstance(value, int):
        return 1 - value if value in (0, 1) else value + 1  # flags are numbers in expectations
    if re.fullmatch(r"(0x)?[0-9A-Fa-f]+", value):
        return value[:-1] + ("1" if value[-1] != "1" else "2")
    return "x" + value


def replaced(root, path, change):
    """A copy of `root` in which `change` was applied to the value at `path`."""
    root = copy.copy(root)
    at = root
    for step in path[:-1]:
        at[step] = copy.copy(at[step])
        at = at[step]
    at[path[-1]] = change(at[path[-1]])
    return root


def concrete(wanted):
    """A document that meets the expectation. ANYTHING becomes a text that no test expects."""
    if isinstance(wanted, dict):
        return {key: concrete(value) for key, value in wanted.items()}
    if isinstance(wanted, list):
        return [concrete(value) for value in wanted]
    return "anything" if wanted is ANYTHING else wanted


def document_from(wanted):
    counters = SCHEMA["$defs"]["counters"]["required"]
    document = {"schema": "torvelsi-scan/2", "complete": True, "missing": [],
                "input": {"uri": "file", "packet_size": 188, "packets": 1, "bytes": 188,
                          **wanted.get("input", {})},
                "counters": {name: 0 for name in counters}}
    document.update(concrete({key: value for key, value in wanted.items() if key != "input"}))
    if wanted["pat"] is ANYTHING:
        document["pat"] = None
    return document


class SelfTest:
    """Counts the checks. A test that checked nothing fails."""

    def __init__(self, paths):
        self.paths = paths
        self.failures = []
        self.checks = 0

    def check(self, holds, claim):
        self.checks += 1
        if not holds:
            self.failures.append(claim)

    def run(self):
        self.texts_are_decoded()
        self.delivery_fields_are_converted()
        noticed, unnoticed = set(), set()
        for path in self.paths:
            expected = expectation(path)
            stream = Stream(path, expected)
            wanted = stream.wanted(expected)
            document = document_from(wanted)
            self.check(faults(document) == [],
                       f"{path.name}: {faults(document)[:3]}")
            self.check(list(differences("$", wanted, document)) == [], f"{path.name}: differs")
            self.document_changes_are_found(path.name, wanted, document)
            self.expectation_changes_matter(stream, expected, document, noticed, unnoticed)
        ignored = {kind for kind in unnoticed - noticed
                   if not any(kind == known or kind.startswith(known + ".")
                              for known in NOT_IN_THE_DOCUMENT)}
        self.check(not ignored, f"held by expectations but never compared: {sorted(ignored)}")
        for known in NOT_IN_THE_DOCUMENT:
            self.check(any(kind == known or kind.startswith(known + ".") for kind in unnoticed),
                       f"{known} is not in any expectation")
            self.check(known not in noticed, f"{known} is compared after all")
        self.schema_faults_are_found(document)
        print(f"{len(self.paths)} expectations, {len(noticed)} kinds of facts, "
              f"{self.checks} checks, {len(self.failures)} failures")
        for failure in self.failures:
            print(f"  {failure}")
        return 1 if self.failures or len(noticed) == 0 else 0

    def document_changes_are_found(self, stream, wanted, document):
        """Every kind of value and of list in the document, changed in one place."""
        compared = {key: document[key] for key in wanted if wanted[key] is not ANYTHING}
        seen = set()

        def plant(path, change, what):
            if (kind_of(path), what) in seen:
                return
            seen.add((kind_of(path), what))
            planted = replaced(document, path, change)
            self.check(list(differences("$", wanted, planted)),
                       f"{stream}: {what} {kind_of(path)} goes unnoticed")

        for path, value in leaves(compared):
            # No uri is expected, and some texts may be anything.
            if value != "anything" and path != ("input", "uri"):
                plant(path, another, "a changed")
                plant(path, lambda value: None if value is not None else 0, "a nulled or filled")
        for path, value in containers(compared):
            if isinstance(value, list) and path:
                more = value[-1] if value else {key: 0 for key in IDENTITIES.get(path[-1], ())}
                plant(path, lambda entries, more=more: entries + [more], "a longer")
                if value:
                    plant(path, lambda entries: entries[1:], "a shorter")
                if len(value) > 1 and value[0] != value[1]:
                    plant(path, lambda entries: [entries[1], entries[0]] + entries[2:],
                          "a reordered")
            elif len(path) == 1:
                plant(path, lambda _: None, "an absent")

    def expectation_changes_matter(self, stream, expected, document, noticed, unnoticed):
        """Every kind of fact in the expectation, changed in a few places."""
        tries = {}
        compared = {key: expected[key] for key in ("pat", "pmt", "cat", "sdt_actual", "nit", "bat",
                                                   "eit_pf_actual", "packets", "packet_size")}
        suffix = "(sec)" if stream.bytes is not None else ""
        for path, value in leaves(compared):
            kind = kind_of(path)
            if kind in ("pmt.#.pid", "packets", "packet_size"):
                kind += suffix  # PIDs and packets of section files are made here
            tries[kind] = tries.get(kind, 0) + 1
            if kind in noticed or tries[kind] > 3:
                continue
            changed = replaced(expected, path, another)
            try:
                # The PIDs of transport streams are those of the expectation.
                scanned = stream if stream.bytes is not None else Stream(stream.path, changed)
                differ = any(differences("$", scanned.wanted(changed), document))
            except (KeyError, TypeError, ValueError):  # an impossible expectation
                differ = True
            (noticed if differ else unnoticed).add(kind)

    def schema_faults_are_found(self, document):
        def fault(path, change, what):
            self.check(faults(replaced(document, path, change)), f"{what} is valid")

        fault(("complete",), lambda _: False, "incomplete with nothing missing")
        fault(("missing",), lambda _: [{"table": "pat", "sections": None}],
              "complete with something missing")
        fault(("counters",), lambda counters: dict(list(counters.items())[1:]), "a missing counter")
        fault(("counters",), lambda counters: dict(reversed(counters.items())),
              "another order of counters")
        fault(("counters", "sync_losses"), lambda _: -1, "a negative counter")
        fault(("input",), lambda keys: dict(reversed(keys.items())), "another order of keys")
        fault(("input",), lambda keys: {**keys, "more": 1}, "an unknown key")
        fault(("schema",), lambda _: "torvelsi-scan/1", "another schema")
        try:
            json.loads('{"a": 1, "a": 2}', object_pairs_hook=without_duplicates)
            self.check(False, "a key that comes twice is valid")
        except ValueError:
            self.check(True, "")

    def texts_are_decoded(self):
        for coded, text in ((b"", ""), (b"A-z 9", "A-z 9"), (b"r\xC2eseau\xA4", "réseau€"),
                            (b"\xC8u\xC8", ANYTHING), (b"\x05HR-S\xFCd", "HR-Süd"),
                            (b"a\x8Ab\x86c\x87", "a\nbc"), (b"\x01\xBF\xE0\xD8", "При"),
                            (b"\x10\x00\x02\xB1", "ą"),
                            (b"\x15\xC5\xA1", "š"), (b"\x11\x01\x61", "š"),
                            (b"\x14\x4E\x2D\x65\x87", "中文"), (b"a\x9Fb", ANYTHING),
                            (b"\x10\x00\x63x", ANYTHING)):
            self.check(text_of(coded) == text, f"{coded} is {text_of(coded)}")

    def delivery_fields_are_converted(self):
        self.check(delivery("43", {"kind": "satellite", "frequency_kHz": 11919000,
                                   "orbital_0.1deg": 130, "east": 1, "polarisation": 1,
                                   "roll_off": 0, "s2": 0, "modulation": 1,
                                   "symbol_rate_100sps": 299000, "fec_inner": 4}) == {
            "system": "satellite", "data": "43", "frequency_hz": 11919000000,
            "orbital_position_tenth_degrees": 130, "west_east_flag": True, "polarization": 1,
            "roll_off": None, "modulation_system": None, "modulation_type": 1,
            "symbol_rate_symbols_per_s": 29900000, "fec_inner": 4}, "satellite")
        self.check(delivery("44", {"kind": "cable", "frequency_100Hz": 3750000, "fec_outer": 2,
                                   "modulation": 3, "symbol_rate_100sps": 52740,
                                   "fec_inner": 15}) == {
            "system": "cable", "data": "44", "frequency_hz": 375000000, "fec_outer": 2,
            "modulation": 3, "symbol_rate_symbols_per_s": 5274000, "fec_inner": 15}, "cable")
        self.check(delivery("7f", {"kind": "t2", "plp_id": 1, "t2_system_id": 2}) == {
            "system": "t2", "data": "7f", "plp_id": 1, "t2_system_id": 2, "siso_miso": None,
            "bandwidth": None, "guard_interval": None, "transmission_mode": None,
            "other_frequency_flag": None, "tfs_flag": None, "cells": []}, "t2")
