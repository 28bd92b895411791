#!/usr/bin/env python3
"""Compares `torvelsi scan --format json` with independent decodes of real streams.

    compare_scans.py TOOL STREAMS

STREAMS is a folder of NAME.ts, NAME.sec (concatenated sections) and expected/NAME.json. Prints how
many tables were compared in each stream and every difference, by its path. Exit code 0: all equal;
1: a difference, or nothing compared; 77: there is no such folder.
"""

import json
import pathlib
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "support"))
import scan_schema

PACKET = 188
PAT_PID, CAT_PID, NIT_PID, SDT_PID, EIT_PID, TDT_PID = 0x00, 0x01, 0x10, 0x11, 0x12, 0x14


# --- .sec files become transport streams


def sections_of(data):
    at = 0
    while at + 3 <= len(data):
        size = 3 + ((data[at + 1] & 0x0F) << 8 | data[at + 2])
        yield data[at:at + size]
        at += size


def crc32(data):
    crc = 0xFFFFFFFF
    for byte in data:
        crc ^= byte << 24
        for _ in range(8):
            crc = (crc << 1 ^ 0x04C11DB7) & 0xFFFFFFFF if crc & 0x80000000 else crc << 1
    return crc


def extension(section):
    return section[3] << 8 | section[4]


def programs_of(pat):
    loop = pat[8:-4]
    return {loop[i] << 8 | loop[i + 1]: (loop[i + 2] & 0x1F) << 8 | loop[i + 3]
            for i in range(0, len(loop), 4)}


def make_pat(programs):
    """A PAT for sections that came without one: without it no scan would look for their PMTs."""
    body = bytes([0, 1, 0xC1, 0, 0])
    for number, pid in programs.items():
        body += bytes([number >> 8, number & 0xFF, 0xE0 | pid >> 8, pid & 0xFF])
    pat = bytes([0, 0xB0, len(body) + 4]) + body
    return pat + crc32(pat).to_bytes(4, "big")


def pid_of(section, programs):
    table_id = section[0]
    if table_id == 0x02:
        return programs.get(extension(section), 0x1000 + (extension(section) & 0x0FFF))
    if table_id in (0x42, 0x46, 0x4A):
        return SDT_PID
    if 0x4E <= table_id <= 0x6F:
        return EIT_PID
    return {0x00: PAT_PID, 0x01: CAT_PID, 0x40: NIT_PID, 0x41: NIT_PID,
            0x70: TDT_PID, 0x73: TDT_PID}.get(table_id, 0x1FF0)


def packetise(data):
    """One section after the other, each from a packet of its own; the whole three times."""
    sections = list(sections_of(data))
    programs = {}
    for section in sections:
        if section[0] == 0x00:
            programs.update(programs_of(section))
    made_pat = not programs
    if made_pat:
        programs = {extension(s): 0x1000 + (extension(s) & 0x0FFF)
                    for s in sections if s[0] == 0x02}
        if programs:
            sections.insert(0, make_pat(programs))
    packets = []
    counters = {}
    for section in sections * 3:
        pid = pid_of(section, programs)
        payload = b"\0" + section
        for at in range(0, len(payload), PACKET - 4):
            counter = counters.get(pid, 0)
            counters[pid] = (counter + 1) & 0xF
            start = 0x40 if at == 0 else 0
            piece = payload[at:at + PACKET - 4].ljust(PACKET - 4, b"\xFF")
            packets.append(bytes([0x47, start | pid >> 8, pid & 0xFF, 0x10 | counter]) + piece)
    while len(packets) < 12:  # enough to lock on
        packets.append(bytes([0x47, 0x1F, 0xFF, 0x10]) + b"\xFF" * (PACKET - 4))
    return b"".join(packets), made_pat


# --- The comparison


class Comparison:
    def __init__(self):
        self.tables = 0
        self.differences = []

    def table(self):
        self.tables += 1

    def equal(self, path, ours, theirs):
        if ours != theirs or isinstance(ours, bool) != isinstance(theirs, bool):
            self.differences.append(f"{path}: {ours!r}, expected {theirs!r}")

    def keys(self, path, ours, theirs):
        """Both hold the same; answers what both hold."""
        self.equal(path, sorted(ours), sorted(theirs))
        return sorted(set(ours) & set(theirs))


def number(text):
    return int(text, 16)


def selected(descriptors):
    """(data, private data specifier), without the private data specifier descriptors: those of
    the SI layer's records. The specifier is looked for from the start of each loop."""
    result = []
    specifier = None
    for descriptor in descriptors:
        if descriptor["tag"] == "0x5F":
            specifier = number(descriptor["hex"][4:12])
        else:
            result.append((descriptor["hex"], specifier))
    return result


def records(descriptors):
    return [(d["data"], d["private_data_specifier"]) for d in descriptors]


def compare_pat(c, ours, theirs):
    c.table()
    c.equal("pat.transport_stream_id", ours["transport_stream_id"], theirs["tsid"])
    c.equal("pat.version", ours["version"], theirs["version"])
    c.equal("pat.programs", {str(p["program_number"]): p["pmt_pid"] for p in ours["programs"]},
            {n: pid for n, pid in theirs["programs"].items() if n != "0"})


def compare_offers(c, path, ours, theirs):
    """Ours ascend by OUI, as the SI layer gives them."""
    c.equal(path, [(o["oui"], o["selector"]) for o in ours],
            sorted(((number(o["oui"]), o["selector_hex"] or None) for o in theirs["ouis"]),
                   key=lambda offer: offer[0]))


def compare_program(c, path, ours, theirs, with_pids):
    c.table()
    if with_pids:
        c.equal(path + ".pmt_pid", ours["pmt_pid"], theirs["pid"])
    c.equal(path + ".pcr_pid", ours["pcr_pid"], theirs["pcr_pid"])
    c.equal(path + ".version", ours["version"], theirs["version"])
    c.equal(path + ".ca_system_ids", ours["ca_system_ids"],
            sorted(i if isinstance(i, int) else number(i) for i in theirs["ca_system_ids"]))
    c.equal(path + ".streams", len(ours["streams"]), len(theirs["streams"]))
    for i, (o, t) in enumerate(zip(ours["streams"], theirs["streams"])):
        at = f"{path}.streams[{i}]"
        c.equal(at + ".pid", o["pid"], t["pid"])
        c.equal(at + ".stream_type", o["stream_type"], number(t["type"]))
        c.equal(at + ".component_tag", o["component_tag"], t["component_tag"])
        c.equal(at + ".descriptors", [(d["tag"], d["data"]) for d in o["descriptors"]],
                [(number(d["tag"]), d["hex"]) for d in t["descriptors"]])
        c.equal(at + ".application", o["application"],
                t["type"] == "0x05" and "0x6F" in t["tags"])
    ssu = [d for d in theirs.get("data_broadcast_ids", [])
           if d["data_broadcast_id"] in (0x0A, "0x000A")]
    c.equal(path + ".ssu", [s["pid"] for s in ours["ssu"]], [d["pid"] for d in ssu])
    for i, (o, t) in enumerate(zip(ours["ssu"], ssu)):
        compare_offers(c, f"{path}.ssu[{i}].offers", o["offers"], t["ssu"])
    # The last DSM-CC stream with a component tag counts.
    carousels = {}
    by_pid = {carousel["pid"]: carousel["carousel_id"] for carousel in theirs.get("carousels", [])}
    for stream in theirs["streams"]:
        if number(stream["type"]) in (0x08, 0x0A, 0x0B, 0x0C, 0x0D) and \
                stream["component_tag"] is not None:
            carousel = by_pid.get(stream["pid"])
            carousels[stream["component_tag"]] = (
                stream["pid"], number(carousel) if isinstance(carousel, str) else carousel)
    c.equal(path + ".carousels",
            {o["component_tag"]: (o["pid"], o["carousel_id"]) for o in ours["carousels"]},
            carousels)


def compare_services(c, ours, theirs):
    c.table()
    by_id = {str(s["service_id"]): s for s in ours}
    for sid in c.keys("services", by_id, theirs["services"]):
        o, t = by_id[sid], theirs["services"][sid]
        path = f"services.{sid}"
        c.equal(path + ".original_network_id", o["original_network_id"], theirs["onid"])
        c.equal(path + ".transport_stream_id", o["transport_stream_id"], theirs["tsid"])
        c.equal(path + ".running_status", o["running_status"], t["running"])
        c.equal(path + ".free_ca_mode", o["free_ca_mode"], bool(t["free_ca"]))
        c.equal(path + ".descriptors", records(o["descriptors"]), selected(t["descriptors"]))


def compare_events(c, ours, theirs):
    services = {str(e["service_id"]) for e in ours}
    for sid in c.keys("events", services, {s for s, t in theirs.items() if t["events"]}):
        c.table()
        mine = [e for e in ours if str(e["service_id"]) == sid]
        c.equal(f"events.{sid}", [(e["section"], e["event_id"]) for e in mine],
                [(e["section"], e["event_id"]) for e in theirs[sid]["events"]])
        for o, t in zip(mine, theirs[sid]["events"]):
            path = f"events.{sid}.{o['section']}"
            c.equal(path + ".original_network_id", o["original_network_id"], theirs[sid]["onid"])
            c.equal(path + ".transport_stream_id", o["transport_stream_id"], theirs[sid]["tsid"])
            c.equal(path + ".start", o["start"], t["start"])
            c.equal(path + ".duration_s", o["duration_s"], t["duration_s"])
            c.equal(path + ".running_status", o["running_status"], t["running"])
            c.equal(path + ".descriptors", records(o["descriptors"]), selected(t["descriptors"]))


def compare_name(c, path, ours, theirs, hex_name):
    """Theirs are decoded by another character table than ours; ASCII is the same in both."""
    if theirs is None or all(0x20 <= byte < 0x7F for byte in bytes.fromhex(hex_name)):
        c.equal(path, ours, theirs)


def compare_linkages(c, path, ours, theirs):
    """Each once, of the first loop."""
    ssu, scan = [], []
    for linkage in theirs:
        if linkage.get("level") != "first":
            continue
        place = (linkage["on_id"], linkage["ts_id"], linkage["service_id"])
        if linkage["linkage_type"] == "0x09":
            offers = sorted(((number(o["oui"]), o["selector_hex"] or None)
                             for o in linkage["ssu"]["ouis"]), key=lambda offer: offer[0])
            if (place, offers) not in ssu:
                ssu.append((place, offers))
        elif linkage["linkage_type"] == "0x0A":
            table = {1: "nit", 2: "bat"}.get(int(linkage["private_hex"][:2] or "0", 16))
            if table and (table, place) not in scan:
                scan.append((table, place))
    place_of = lambda l: (l["original_network_id"], l["transport_stream_id"], l["service_id"])
    c.equal(path + ".ssu_linkages",
            [(place_of(l), [(o["oui"], o["selector"]) for o in l["offers"]])
             for l in ours["ssu_linkages"]], ssu)
    c.equal(path + ".ssu_scan_linkages",
            [(l["table"], place_of(l)) for l in ours["ssu_scan_linkages"]], scan)


def decoded(theirs):
    """Their fields under our names and in our units."""
    kind = theirs["kind"]
    if kind == "satellite":
        return {"frequency_hz": theirs["frequency_kHz"] * 1000,
                "orbital_position_tenth_degrees": theirs["orbital_0.1deg"],
                "west_east_flag": bool(theirs["east"]), "polarization": theirs["polarisation"],
                "roll_off": theirs["roll_off"], "modulation_system": theirs["s2"],
                "modulation_type": theirs["modulation"],
                "symbol_rate_symbols_per_s": theirs["symbol_rate_100sps"] * 100,
                "fec_inner": theirs["fec_inner"]}
    if kind == "cable":
        return {"frequency_hz": theirs["frequency_100Hz"] * 100, "fec_outer": theirs["fec_outer"],
                "modulation": theirs["modulation"],
                "symbol_rate_symbols_per_s": theirs["symbol_rate_100sps"] * 100,
                "fec_inner": theirs["fec_inner"]}
    if kind == "terrestrial":
        return {"centre_frequency_hz": theirs["frequency_10Hz"] * 10,
                "bandwidth": theirs["bandwidth"], "priority": bool(theirs["priority"]),
                "time_slicing_indicator": bool(theirs["time_slicing_ind"]),
                "mpe_fec_indicator": bool(theirs["mpe_fec_ind"]),
                "constellation": theirs["constellation"],
                "hierarchy_information": theirs["hierarchy"],
                "code_rate_hp_stream": theirs["code_rate_hp"],
                "code_rate_lp_stream": theirs["code_rate_lp"],
                "guard_interval": theirs["guard"], "transmission_mode": theirs["mode"],
                "other_frequency_flag": bool(theirs["other_frequency"])}
    return {"plp_id": theirs["plp_id"], "t2_system_id": number(theirs["t2_system_id"])
            if isinstance(theirs["t2_system_id"], str) else theirs["t2_system_id"],
            "siso_miso": theirs["siso_miso"], "bandwidth": theirs["bandwidth"],
            "guard_interval": theirs["guard"], "transmission_mode": theirs["mode"],
            "other_frequency_flag": bool(theirs["other_frequency"]),
            "tfs_flag": bool(theirs["tfs"]),
            "cells": [{"cell_id": cell["cell_id"],
                       "centre_frequencies_hz": [f * 10 for f in cell["centre_frequencies_10Hz"]],
                       "sub_cells": [{"cell_id_extension": s["cell_id_ext"],
                                      "transposer_frequency_hz": s["transposer_10Hz"] * 10}
                                     for s in cell["subcells"]]} for cell in theirs["cells"]]}


def compare_networks(c, ours, theirs):
    key = lambda n: str(n["network_id"]) + ("" if n["actual"] else "/other")
    by_key = {key(n): n for n in ours}
    for k in c.keys("networks", by_key, theirs):
        c.table()
        o, t = by_key[k], theirs[k]
        path = f"networks.{k}"
        c.equal(path + ".actual", o["actual"], t["table_id"] == "0x40")
        c.equal(path + ".version", o["version"], t["version"])
        compare_name(c, path + ".name", o["name"], t.get("network_name"), t.get("network_name_hex"))
        compare_linkages(c, path, o, t["linkages"])
        streams = {f"{s['original_network_id']}/{s['transport_stream_id']}": s["delivery"]
                   for s in o["transport_streams"]}
        for ts in c.keys(path + ".transport_streams", streams, t["ts_loop"]):
            at = f"{path}.transport_streams.{ts}"
            loop = t["ts_loop"][ts]
            # Their list also holds what is delivered by other systems' descriptors.
            known = [d for d in loop["delivery"] if d[:2] in ("43", "44", "5a", "7f")]
            c.equal(at + ".delivery.data", [d["data"] for d in streams[ts]], known)
            for d, expected in zip(streams[ts], loop["delivery_decoded"]):
                fields = {f: v for f, v in d.items() if f not in ("system", "data")}
                c.equal(at + ".delivery.system", d["system"], expected["kind"])
                c.equal(at + ".delivery", fields, decoded(expected))


def compare_bouquets(c, ours, theirs):
    by_id = {str(b["bouquet_id"]): b for b in ours}
    for k in c.keys("bouquets", by_id, theirs):
        c.table()
        o, t = by_id[k], theirs[k]
        c.equal(f"bouquets.{k}.version", o["version"], t["version"])
        compare_name(c, f"bouquets.{k}.name", o["name"], t.get("bouquet_name"),
                     t.get("bouquet_name_hex"))
        compare_linkages(c, f"bouquets.{k}", o, t["linkages"])


def compare(ours, theirs, with_pids, with_pat):
    """The differences of a document from an independent decode."""
    c = Comparison()
    if with_pat:
        c.equal("pat", ours["pat"] is None, theirs["pat"] is None)
        if ours["pat"] and theirs["pat"]:
            compare_pat(c, ours["pat"], theirs["pat"])
    c.equal("cat", ours["cat"] is None, theirs["cat"] is None)
    if ours["cat"] and theirs["cat"]:
        c.table()
        c.equal("cat.ca_system_ids", ours["cat"]["ca_system_ids"],
                sorted(i if isinstance(i, int) else number(i)
                       for i in theirs["cat"]["ca_system_ids"]))
    # A PMT is found through the PAT, which lists program 0 for the NIT. A PMT of another program is
    # in their list when there is no PAT.
    listed = {str(p["program_number"]) for p in ours["pat"]["programs"]} if ours["pat"] else set()
    by_number = {str(p["program_number"]): p for p in ours["programs"]}
    for n in c.keys("programs", by_number, {n for n in theirs["pmt"] if n in listed}):
        compare_program(c, f"programs.{n}", by_number[n], theirs["pmt"][n], with_pids)
    if theirs["sdt_actual"]:
        compare_services(c, ours["services"], theirs["sdt_actual"])
    else:
        c.equal("services", ours["services"], [])
    compare_events(c, ours["events"], theirs["eit_pf_actual"] or {})
    compare_networks(c, ours["networks"], theirs["nit"] or {})
    compare_bouquets(c, ours["bouquets"], theirs["bat"] or {})
    return c


def scan(tool, path):
    done = subprocess.run([tool, "scan", "--format", "json", path], capture_output=True, text=True)
    if done.returncode not in (0, 3):
        raise RuntimeError(f"exit code {done.returncode}: {done.stderr.strip()}")
    document = json.loads(done.stdout)
    scan_schema.check(document)
    return document


def main(tool, folder):
    if not folder.is_dir():
        print(f"skipped: there are no streams in {folder}")
        return 77
    streams = sorted(list(folder.glob("*.ts")) + list(folder.glob("*.sec")))
    tables = differences = 0
    for stream in streams:
        theirs = json.loads((folder / "expected" / f"{stream.stem}.json").read_text())
        if stream.suffix == ".ts":
            c = compare(scan(tool, stream), theirs, True, True)
        else:
            data, made_pat = packetise(stream.read_bytes())
            with tempfile.NamedTemporaryFile(suffix=".ts") as packed:
                packed.write(data)
                packed.flush()
                c = compare(scan(tool, packed.name), theirs, False, not made_pat)
        print(f"{stream.name}: {c.tables} tables, {len(c.differences)} differences")
        for difference in c.differences:
            print(f"    {difference}")
        tables += c.tables
        differences += len(c.differences)
    print(f"{len(streams)} streams, {tables} tables compared, {differences} differences")
    return 1 if differences or not tables else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], pathlib.Path(sys.argv[2])))
