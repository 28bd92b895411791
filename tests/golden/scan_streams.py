"""Prepares streams for a scan by the tool."""

import json
import pathlib
import subprocess
import sys
import tempfile

sys.path.append(str(pathlib.Path(__file__).parents[1] / "support"))
from watched import watched

from scan_comparison import without_duplicates
from scan_expectations import wanted_document


def crc32(data):
    crc = 0xFFFFFFFF
    for byte in data:
        crc ^= byte << 24
        for _ in range(8):
            crc = (crc << 1 ^ 0x04C11DB7 if crc & 0x80000000 else crc << 1) & 0xFFFFFFFF
    return crc


def pat_section(programs):
    body = b"\x00\x01\xC1\x00\x00" + b"".join(
        n.to_bytes(2, "big") + (0xE000 | pid).to_bytes(2, "big") for n, pid in programs.items())
    section = b"\x00" + (0xB000 | len(body) + 4).to_bytes(2, "big") + body
    return section + crc32(section).to_bytes(4, "big")


def packetise(sections):
    """188-byte packets of (PID, section) pairs; each section begins a packet."""
    counters = {}
    packets = []
    for pid, section in sections:
        payload = b"\x00" + section
        for at in range(0, len(payload), 184):
            counter = counters[pid] = (counters.get(pid, -1) + 1) & 0x0F
            packets.append(bytes([0x47, (0x40 if at == 0 else 0) | pid >> 8, pid & 0xFF,
                                  0x10 | counter]) + payload[at:at + 184].ljust(184, b"\xFF"))
    return b"".join(packets)


def split_sections(data):
    sections = []
    while data:
        size = 3 + (int.from_bytes(data[1:3], "big") & 0x0FFF)
        if len(data) < size:
            raise ValueError("a section overruns its file")
        sections.append(data[:size])
        data = data[size:]
    return sections


def extension(section):
    return int.from_bytes(section[3:5], "big")


def pid_of(section, pmt_pids):
    table_id = section[0]
    if table_id == 0x02:
        return pmt_pids.get(extension(section), 0x1000 | extension(section) & 0x0FFF)
    if table_id <= 0x01:
        return table_id
    # ETSI EN 300 468 5.1.3
    for pid, table_ids in ((0x10, (0x40, 0x41)), (0x11, (0x42, 0x46, 0x4A)),
                           (0x12, range(0x4E, 0x70)), (0x13, (0x71,)), (0x14, (0x70, 0x73))):
        if table_id in table_ids:
            return pid
    return 0x0300


class Stream:
    """The stream to scan: `bytes` if set, otherwise the file `path`."""

    def __init__(self, path, expected):
        self.path = path
        self.bytes = None
        self.has_pat = expected["pat"] is not None
        if path.suffix == ".sec":
            sections = split_sections(path.read_bytes())
            self.pmt_pids = {int(n): pid for section in sections if section[0] == 0x00
                             for n, pid in programs_of(section).items()}
            if not self.has_pat:
                self.pmt_pids = {extension(section): pid_of(section, {}) for section in sections
                                 if section[0] == 0x02}
                self._drop_program_0()
            self.bytes = packetise((pid_of(section, self.pmt_pids), section)
                                   for section in sections)
        else:
            self.pmt_pids = {int(n): pmt["pid"] for n, pmt in expected["pmt"].items()}
        self.made_pat = not self.has_pat and bool(self.pmt_pids)
        if self.made_pat:  # otherwise a scan would not find the PMTs
            rest = self.bytes if self.bytes is not None else path.read_bytes()
            self.bytes = packetise([(0, pat_section(self.pmt_pids))]) + rest

    def _drop_program_0(self):
        # ISO/IEC 13818-1 2.4.4.5: program 0 is the network; no PAT can list a PMT for it.
        if self.pmt_pids.pop(0, None) is not None:
            print(f"{self.path.name}: the PMT of program 0 cannot be found by a scan")

    def wanted(self, expected):
        wanted = wanted_document(expected, self.pmt_pids, not self.made_pat)
        if self.bytes is None:
            wanted["input"] = {"packet_size": expected["packet_size"],
                               "packets": expected["packets"], "bytes": self.path.stat().st_size}
        return wanted

    def scan(self, tool):
        """The document of the tool. Raises ValueError with the reason when there is none."""
        with tempfile.NamedTemporaryFile(suffix=".ts") as packets:
            path = self.path
            if self.bytes is not None:
                packets.write(self.bytes)
                packets.flush()
                path = packets.name
            done = subprocess.run([tool, "scan", "--format", "json", str(path)],
                                  capture_output=True, env=watched(60), timeout=90)
        if done.returncode not in (0, 3):
            raise ValueError(f"exit status {done.returncode}: {done.stderr.decode()[-2000:]}")
        document = json.loads(done.stdout.decode(), object_pairs_hook=without_duplicates)
        if (done.returncode == 0) is not document.get("complete"):
            raise ValueError(f"exit status {done.returncode}, but complete is "
                             f"{document.get('complete')}")
        return document


def programs_of(pat):
    loop = pat[8:-4]
    pairs = (loop[i:i + 4] for i in range(0, len(loop), 4))
    return {int.from_bytes(pair[:2], "big"): int.from_bytes(pair[2:], "big") & 0x1FFF
            for pair in pairs}
