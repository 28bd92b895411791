"""Measures the memory of `torvelsi scan` with streams that need the most memory for their size.

usage: scan_memory.py TOOL [MEGABYTES [WORLD...]]
       scan_memory.py TOOL --check

A world is a stream with MEGABYTES (default 4) of sections of one kind, filled with the smallest entries
that the kind can have. For each world and for text and JSON, the peak of the resident memory for each
byte of sections is printed. docs/limits.md has the figures. --check scans two worlds of 1 MB and fails
if text or JSON needs more memory than the limit.
"""

import os
import subprocess
import sys
import tempfile

CRC_TABLE = []
for value in range(256):
    value <<= 24
    for _ in range(8):
        value = (value << 1 ^ 0x04C11DB7 if value & 0x80000000 else value << 1) & 0xFFFFFFFF
    CRC_TABLE.append(value)


def crc32(data):
    crc = 0xFFFFFFFF
    for byte in data:
        crc = (crc << 8 & 0xFFFFFFFF) ^ CRC_TABLE[crc >> 24 ^ byte]
    return crc


def section(table_id, extension, body, number, last):
    inner = extension.to_bytes(2, "big") + bytes([0xC1, number, last]) + body
    data = bytes([table_id]) + (0xB000 | len(inner) + 4).to_bytes(2, "big") + inner
    return data + crc32(data).to_bytes(4, "big")


def length12(data):
    return (0xF000 | len(data)).to_bytes(2, "big") + data


LARGEST = 4096 - 12  # bytes between the header of a section and its CRC_32


def filled(entry, size):
    return entry * (size // len(entry))


# By world: PID, table_id, and a function from sub-table and section number to the section's body.
WORLDS = {
    "sdt-descriptors": (0x11, 0x42, lambda table, number: b"\0\2\xFF" + (number + 1).to_bytes(
        2, "big") + b"\xFC" + (0x8000 | 4074).to_bytes(2, "big") + filled(b"\x81\0", 4074)),
    "sdt-services": (0x11, 0x42, lambda table, number: b"\0\2\xFF" + b"".join(
        (number * 256 + n & 0xFFFF).to_bytes(2, "big") + b"\xFC\x80\0" for n in range(256))),
    "eit-descriptors": (0x12, 0x4E, lambda table, number: bytes([0, 1, 0, 2, 255, 0x4E, 0, 7]) +
                        b"\xFF" * 8 + (0x8000 | 4064).to_bytes(2, "big") +
                        filled(b"\x81\0", 4064)),
    "eit-events": (0x12, 0x4E, lambda table, number: bytes([0, 1, 0, 2, 255, 0x4E]) +
                   filled(b"\0\7" + b"\xFF" * 8 + b"\x80\0", LARGEST - 6)),
    "nit-deliveries": (0x10, 0x40, lambda table, number: length12(b"") + length12(
        number.to_bytes(2, "big") + table.to_bytes(2, "big") +
        length12(filled(b"\x43\0", 4070)))),
    "nit-streams": (0x10, 0x40, lambda table, number: length12(b"") + length12(b"".join(
        (number * 680 + n).to_bytes(4, "big") + b"\xF0\0" for n in range(678)))),
    "nit-linkages": (0x10, 0x40, lambda table, number: length12(b"".join(
        b"\x4A\x08" + (number * 400 + n).to_bytes(4, "big") + b"\0\1\x09\0"
        for n in range(400))) + length12(b"")),
    "bat-linkages": (0x11, 0x4A, lambda table, number: length12(b"".join(
        b"\x4A\x0E" + (number * 250 + n).to_bytes(4, "big") + b"\0\1\x09\6\0\1\2" +
        b"\0\1\3" for n in range(250))) + length12(b"")),
    "pmt-descriptors": (0x100, 0x02, lambda table, number: b"\xFF\xFF" + length12(b"") +
                        b"\2\xE1\0" + length12(filled(b"\x81\0", 4070))),
    "pmt-streams": (0x100, 0x02, lambda table, number: b"\xFF\xFF" + length12(b"") +
                    filled(b"\2\xE1\0\xF0\0", LARGEST - 4)),
}
SECTIONS = {"pmt-descriptors": 16, "pmt-streams": 16}  # of a sub-table; 256 of others


def world(name, size):
    """The packets, and how many bytes of sections are in them."""
    pid, table_id, body = WORLDS[name]
    count = SECTIONS.get(name, 256)
    sections = []
    if table_id == 0x02:
        programs = b"".join(n.to_bytes(2, "big") + (0xE000 | pid).to_bytes(2, "big")
                            for n in range(1, 101))
        sections.append((0, section(0x00, 1, programs, 0, 0)))
    total = 0
    for table in range(1, 4096):
        for number in range(count):
            data = section(table_id, table, body(table, number), number, count - 1)
            if total + len(data) > size:
                break
            sections.append((pid, data))
            total += len(data)
        if total + 4096 > size:
            break
    packets = []
    counters = {}
    for on, data in sections:
        payload = b"\0" + data
        for at in range(0, len(payload), 184):
            counters[on] = (counters.get(on, -1) + 1) & 15
            packets.append(bytes([0x47, (0x40 if at == 0 else 0) | on >> 8, on & 255,
                                  0x10 | counters[on]]) + payload[at:at + 184].ljust(184, b"\xFF"))
    packets += [b"\x47\x1F\xFF\x10" + b"\xFF" * 184] * 5
    return b"".join(packets), total


def peak(tool, path, form):
    """In kilobytes."""
    process = subprocess.Popen([tool, "scan", "--format", form, path],
                               stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    _, status, usage = os.wait4(process.pid, 0)
    process.stderr.close()
    return usage.ru_maxrss, usage.ru_utime + usage.ru_stime, os.waitstatus_to_exitcode(status)


MOST = {"text": 60, "json": 120}  # bytes of memory for a byte of sections


def measure(tool, names, size):
    """Prints the memory of each world. Returns whether all of them stay within MOST."""
    keep_within = True
    for name in names:
        packets, total = world(name, size)
        with tempfile.NamedTemporaryFile(suffix=".ts") as file:
            file.write(packets)
            file.flush()
            for form, most in MOST.items():
                kilobytes, seconds, status = peak(tool, file.name, form)
                ratio = kilobytes * 1024 / total
                keep_within = keep_within and ratio <= most and status in (0, 3)
                print(f"{name:16} {form:5} {kilobytes / 1024:7.0f} MiB {ratio:6.1f} bytes a byte "
                      f"{seconds:5.1f} s  exit {status}", flush=True)
    return keep_within


def main(tool, megabytes="4", *names):
    if megabytes == "--check":
        return 0 if measure(tool, ("sdt-services", "eit-events"), 1 << 20) else 1
    measure(tool, names or WORLDS, int(float(megabytes) * (1 << 20)))
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
