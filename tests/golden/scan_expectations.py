"""Converts the expectation of a stream, NAME.json, to the expected document of its scan."""

import json
import unicodedata

ANYTHING = object()  # the expectation does not state the value


def expectation(path):
    return json.loads((path.parent / "expected" / (path.stem + ".json")).read_text("utf-8"))


# ETSI EN 300 468 figure A.1, upper half: each run with its first code. A blank is a code that is
# undefined, or for which decoders choose different Unicode points.
LATIN = {first + i: letter
         for first, letters in ((0xA1, "¡¢£€¥ §¤‘“«←↑→↓"), (0xB0, "°±²³×µ¶·÷’”»¼½¾¿"),
                                (0xD1, "¹®©™♪¬¦"), (0xDC, "⅛⅜⅝⅞"), (0xE1, "Æ ªĦ ĲĿŁØŒºÞŦŊŉ"),
                                (0xF0, "ĸæđðħıĳŀłøœßþŧŋ"))
         for i, letter in enumerate(letters) if letter != " "}
ACCENTS = {0xC1 + i: accent for i, accent in enumerate(
    "\u0300\u0301\u0302\u0303\u0304\u0306\u0307\u0308 \u030A\u0327\u030B\u0328\u030C")
    if accent != " "}


def latin(coded):
    text = ""
    accent = ""
    for byte in coded:
        if byte in ACCENTS and not accent:
            accent = ACCENTS[byte]
            continue
        letter = chr(byte) if 0x20 <= byte < 0x7F else LATIN.get(byte)
        if letter is None or accent and not letter.isalpha():
            return ANYTHING
        text += letter + accent
        accent = ""
    return ANYTHING if accent else unicodedata.normalize("NFC", text)


def text_of(coded):
    """Text of ETSI EN 300 468 annex A; ANYTHING where decoders may differ."""
    if not coded:
        return ""
    # Table A.3; 0x14 is the Big5 subset of ISO/IEC 10646, not the Big5 coding.
    wide = {0x11: "utf-16-be", 0x12: "euc_kr", 0x13: "gb2312", 0x14: "utf-16-be", 0x15: "utf-8"}
    if coded[0] in wide:
        try:
            text = coded[1:].decode(wide[coded[0]])
        except UnicodeDecodeError:
            return ANYTHING
        return text if text.isprintable() else ANYTHING
    part = 0  # of ISO/IEC 8859
    if 0x01 <= coded[0] <= 0x0B:
        part, coded = coded[0] + 4, coded[1:]
    elif coded[0] == 0x10:
        part, coded = int.from_bytes(coded[1:3], "big"), coded[3:]
    # Emphasis is not shown; CR/LF is.
    lines = coded.replace(b"\x86", b"").replace(b"\x87", b"").split(b"\x8A")
    texts = []
    for line in lines:
        if any(byte < 0x20 or 0x7F <= byte < 0xA0 for byte in line):
            return ANYTHING
        try:
            texts.append(line.decode(f"iso8859-{part}") if part else latin(line))
        except (LookupError, UnicodeDecodeError):
            return ANYTHING
    return ANYTHING if ANYTHING in texts else "\n".join(texts)


def number(hexadecimal):
    return int(hexadecimal, 16)


def specifier(descriptor):
    return number(descriptor["pds"]) if "pds" in descriptor else None


def tag_extension(descriptor):
    return number(descriptor["ext"]) if "ext" in descriptor else None


def broadcast_descriptors(loop):
    return [{"tag": number(descriptor["tag"]), "private_data_specifier": specifier(descriptor),
             "descriptor_tag_extension": tag_extension(descriptor), "data": descriptor["hex"]}
            for descriptor in loop]


def descriptors(loop):
    wanted = []
    for descriptor in loop:
        tag = number(descriptor["tag"])
        data = bytes.fromhex(descriptor["hex"])
        if tag == 0x5F:  # instead, every descriptor has the specifier in force
            continue
        extension = None
        if tag == 0x7F and len(data) >= 3:
            # Not descriptor_tag_extension, which is in `ext`, but the byte after it.
            extension = data[3] if len(data) > 3 else 0
        wanted.append({"tag": tag,
                       "private_data_specifier": specifier(descriptor),
                       "extension_tag": extension,
                       "descriptor_tag_extension": tag_extension(descriptor),
                       "data": descriptor["hex"]})
    return wanted


def payload_of_first(loop, tag):
    for descriptor in loop:
        if number(descriptor["tag"]) == tag:
            return bytes.fromhex(descriptor["hex"])[2:]
    return None


def take(data, at):
    """A field that follows its length byte, and the offset of its end."""
    return data[at + 1:at + 1 + data[at]], at + 1 + data[at]


def offers(ssu):
    """Entries ascending by OUI; no selector bytes is null."""
    return sorted(({"oui": number(entry["oui"]), "selector": entry["selector_hex"] or None}
                   for entry in ssu["ouis"]), key=lambda offer: offer["oui"])


def program(program_number, pmt, pmt_pid):
    carousel_ids = {c["pid"]: c["carousel_id"] for c in pmt.get("carousels", [])}
    applications = {a["pid"] for a in pmt.get("application_signalling", [])}
    carousels = {}
    for stream in pmt["streams"]:
        # The stream types of DSM-CC sections, ISO/IEC 13818-1 table 2-34; of equal component tags
        # the last one is used.
        if number(stream["type"]) in (0x08, 0x0A, 0x0B, 0x0C, 0x0D):
            if stream["component_tag"] is not None:
                carousels[stream["component_tag"]] = {
                    "component_tag": stream["component_tag"],
                    "carousel_id": carousel_ids.get(stream["pid"]), "pid": stream["pid"]}

    def carousel_id(stream):
        carousel = carousels.get(stream["component_tag"])
        return carousel["carousel_id"] if carousel and carousel["pid"] == stream["pid"] else None

    return {
        "program_number": program_number, "pmt_pid": pmt_pid, "pcr_pid": pmt["pcr_pid"],
        "version": pmt["version"], "ca_system_ids": sorted(map(number, pmt["ca_system_ids"])),
        "descriptors": broadcast_descriptors(pmt["descriptors"]),
        "streams": [{
            "pid": stream["pid"], "stream_type": number(stream["type"]),
            "component_tag": stream["component_tag"], "carousel_id": carousel_id(stream),
            # An application is signalled in private sections.
            "application": number(stream["type"]) == 0x05 and stream["pid"] in applications,
            "descriptors": broadcast_descriptors(stream["descriptors"])}
            for stream in pmt["streams"]],
        "carousels": [carousels[tag] for tag in sorted(carousels)],
        "ssu": [{"pid": entry["pid"], "offers": offers(entry["ssu"])}
                for entry in pmt.get("data_broadcast_ids", [])
                if number(entry["data_broadcast_id"]) == 0x000A]}


def services(sdt):
    wanted = []
    for service_id, service in sorted(sdt["services"].items(), key=lambda item: int(item[0])):
        service_type = provider = name = None
        payload = payload_of_first(service["descriptors"], 0x48)
        if payload is not None:
            service_type = payload[0]
            provider, at = take(payload, 1)
            provider, name = text_of(provider), text_of(take(payload, at)[0])
        wanted.append({
            "original_network_id": sdt["onid"], "transport_stream_id": sdt["tsid"],
            "service_id": int(service_id), "name": name, "provider": provider,
            "service_type": service_type, "running_status": service["running"],
            "free_ca_mode": bool(service["free_ca"]),
            "descriptors": descriptors(service["descriptors"])})
    return wanted


def events(eits):
    wanted = []
    for service_id, eit in sorted(eits.items(), key=lambda item: int(item[0])):
        # The standard allows one event in each section; broadcasters have sent more.
        for event in sorted(eit["events"], key=lambda event: event["section"]):
            language = name = text = None
            payload = payload_of_first(event["descriptors"], 0x4D)
            if payload is not None:
                language = payload[:3].decode("ascii", "replace")
                name, at = take(payload, 3)
                name, text = text_of(name), text_of(take(payload, at)[0])
            wanted.append({
                "original_network_id": eit["onid"], "transport_stream_id": eit["tsid"],
                "service_id": int(service_id), "table_complete": True,
                "section": event["section"],
                "event_id": event["event_id"],
                "start": event["start"], "duration_s": event["duration_s"],
                "running_status": event["running"], "name": name, "text": text,
                "language": language, "descriptors": descriptors(event["descriptors"])})
    return wanted


def location(linkage):
    return {"original_network_id": linkage["on_id"], "transport_stream_id": linkage["ts_id"],
            "service_id": linkage["service_id"]}


def each_once(entries):
    """Broadcasters repeat linkages in every section; the document does not."""
    return [entry for i, entry in enumerate(entries) if entry not in entries[:i]]


def linkages(table):
    # Linkages of other types hold no software updates.
    first = [link for link in table["linkages"] if link["level"] == "first"]
    return {
        "ssu_linkages": each_once([
            {**location(link), "offers": offers(link["ssu"])}
            for link in first if number(link["linkage_type"]) == 0x09]),
        "ssu_scan_linkages": each_once([
            {"table": {1: "nit", 2: "bat"}[link["ssu_table_type"]], **location(link)}
            for link in first if number(link["linkage_type"]) == 0x0A])}


def name_of(table, key):
    return text_of(bytes.fromhex(table[key])) if key in table else None


def hertz_of_tens(coded):
    """A frequency in units of 10 Hz; None when all bits are ones."""
    return None if coded == 0xFFFFFFFF else coded * 10


def delivery(data, fields):
    kind = fields["kind"]
    wanted = {"system": kind, "data": data}
    if kind == "satellite":
        is_s2 = bool(fields["s2"])
        wanted.update({
            "frequency_hz": fields["frequency_kHz"] * 1000,
            "orbital_position_tenth_degrees": fields["orbital_0.1deg"],
            "west_east_flag": bool(fields["east"]), "polarization": fields["polarisation"],
            # Only for DVB-S2; ISDB has other fields in their place.
            "roll_off": fields["roll_off"] if is_s2 else None,
            "modulation_system": 1 if is_s2 else None,
            "modulation_type":
                fields["modulation"] if is_s2 or fields["roll_off"] == 0 else None,
            "symbol_rate_symbols_per_s": fields["symbol_rate_100sps"] * 100,
            "fec_inner": fields["fec_inner"]})
    elif kind == "cable":
        wanted.update({
            "frequency_hz": fields["frequency_100Hz"] * 100, "fec_outer": fields["fec_outer"],
            "modulation": fields["modulation"],
            "symbol_rate_symbols_per_s": fields["symbol_rate_100sps"] * 100,
            "fec_inner": fields["fec_inner"]})
    elif kind == "terrestrial":
        wanted.update({
            "centre_frequency_hz": hertz_of_tens(fields["frequency_10Hz"]),
            "bandwidth": fields["bandwidth"],
            "priority": bool(fields["priority"]),
            "time_slicing_indicator": bool(fields["time_slicing_ind"]),
            "mpe_fec_indicator": bool(fields["mpe_fec_ind"]),
            "constellation": fields["constellation"],
            "hierarchy_information": fields["hierarchy"],
            "code_rate_hp_stream": fields["code_rate_hp"],
            "code_rate_lp_stream": fields["code_rate_lp"], "guard_interval": fields["guard"],
            "transmission_mode": fields["mode"],
            "other_frequency_flag": bool(fields["other_frequency"])})
    elif kind == "t2":
        def flag(key):
            return bool(fields[key]) if fields.get(key) is not None else None

        if any(cell["subcells"] for cell in fields.get("cells", [])):
            raise ValueError("how an expectation writes sub-cells is not known yet")
        wanted.update({
            "plp_id": fields["plp_id"], "t2_system_id": fields["t2_system_id"],
            "siso_miso": fields.get("siso_miso"), "bandwidth": fields.get("bandwidth"),
            "guard_interval": fields.get("guard"), "transmission_mode": fields.get("mode"),
            "other_frequency_flag": flag("other_frequency"), "tfs_flag": flag("tfs"),
            "cells": [{"cell_id": cell["cell_id"],
                       "centre_frequencies_hz": [hertz_of_tens(coded)
                                                 for coded in cell["centre_frequencies_10Hz"]],
                       "sub_cells": []} for cell in fields.get("cells", [])]})
    else:
        raise ValueError(f"delivery system {kind}")
    return wanted


def network(key, nit):
    streams = []
    for pair, entry in nit["ts_loop"].items():
        onid, tsid = map(int, pair.split("/"))
        # Delivery descriptors of other standards are not decoded on either side.
        streams.append({"original_network_id": onid, "transport_stream_id": tsid,
                        "delivery": [delivery(data, fields) for data, fields
                                     in zip(entry["delivery"], entry["delivery_decoded"])
                                     if fields is not None]})
    return {"network_id": int(key.split("/")[0]), "actual": number(nit["table_id"]) == 0x40,
            "name": name_of(nit, "network_name_hex"), "version": nit["version"], **linkages(nit),
            "transport_streams": streams}


def wanted_document(expected, pmt_pids, compare_pat=True):
    """What the document must contain.

    The expectation keeps the last complete current version of each table, and so does the tool.
    pmt_pids are the programs that a scan can find, with the PIDs of their PMTs: a PMT that no PAT
    names (pmt_not_referenced_by_last_pat) is not looked for.
    """
    pat = expected["pat"]
    return {
        "pat": ANYTHING if not compare_pat else pat and {
            "transport_stream_id": pat["tsid"], "version": pat["version"],
            "programs": [{"program_number": int(program_number), "pmt_pid": pid}
                         for program_number, pid in sorted(pat["programs"].items(),
                                                           key=lambda item: int(item[0]))]},
        "cat": expected["cat"] and {
            "ca_system_ids": sorted(map(number, expected["cat"]["ca_system_ids"]))},
        "programs": [program(int(n), pmt, pmt_pids[int(n)])
                     for n, pmt in sorted(expected["pmt"].items(), key=lambda item: int(item[0]))
                     if int(n) in pmt_pids],
        "services": services(expected["sdt_actual"]) if expected["sdt_actual"] else [],
        # Only present/following of the actual transport stream: table_id 0x4E.
        "events": events(expected["eit_pf_actual"]),
        "networks": sorted((network(key, nit) for key, nit in expected["nit"].items()),
                           key=lambda entry: (entry["network_id"], not entry["actual"])),
        "bouquets": [{"bouquet_id": int(bouquet_id), "name": name_of(bat, "bouquet_name_hex"),
                      "version": bat["version"], **linkages(bat)}
                     for bouquet_id, bat in sorted(expected["bat"].items(),
                                                   key=lambda item: int(item[0]))]}
