#!/usr/bin/env python3
"""Sends the demo at 40 Mbit/s in a network namespace of its own, to one host and to a group. A scan must
be complete within 5 s. While the tool watches all packets, the kernel must drop none, and the tool must
use little memory.

    live_test.py TOOL [--seconds N] [--sender own|tsplay]

Exit status: 0 success, 1 failure, 77 when a namespace cannot be made.
"""

import argparse
import fcntl
import json
import os
import pathlib
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True  # nothing is left in the checkout
sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "..", "support"))
from watched import watched

BIT_RATE = 40_000_000
DATAGRAM = 7 * 188
PORT = 5004
PLACES = (("one host", "127.0.0.1", f"udp://127.0.0.1:{PORT}"),
          ("a group", "239.1.1.1", f"udp://@239.1.1.1:{PORT}?iface=lo"))


def enter_namespace():
    """Runs this script anew in a network namespace, as its root."""
    if os.environ.get("TORVELSI_NAMESPACE"):
        return
    unshare = ["unshare", "--user", "--map-root-user", "--net"]
    if not shutil.which("unshare") or subprocess.run(
            [*unshare, "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
        print("cannot make a network namespace here")
        sys.exit(77)
    os.environ["TORVELSI_NAMESPACE"] = "1"
    os.execvp(unshare[0], [*unshare, sys.executable, *sys.argv])


def bring_up_loopback():
    get_flags, set_flags, up, multicast = 0x8913, 0x8914, 0x1, 0x1000
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        request = struct.pack("16sh14x", b"lo", 0)
        flags = struct.unpack("16sh14x", fcntl.ioctl(any_socket, get_flags, request))[1]
        fcntl.ioctl(any_socket, set_flags, struct.pack("16sh14x", b"lo", flags | up | multicast))


def send(path, host):
    """Sends a file as it is, at its rate."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender, open(path, "rb") as file:
        sender.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, socket.inet_aton("127.0.0.1"))
        begin, sent = time.monotonic(), 0
        while datagram := file.read(DATAGRAM):
            ahead = sent * 8 / BIT_RATE - (time.monotonic() - begin)
            if ahead > 0.002:
                time.sleep(ahead)
            try:
                sender.sendto(datagram, (host, PORT))
            except ConnectionRefusedError:
                pass  # nobody listens, or not any more
            sent += len(datagram)


def wait_for_socket(is_as_wished):
    """Until the bytes that wait in the receiver's socket (None: there is no socket) are so."""
    for _ in range(1500):
        with open("/proc/net/udp", encoding="ascii") as table:
            rows = [row.split() for row in table.readlines()[1:]]
        waiting = [int(row[4].split(":")[1], 16) for row in rows
                   if row[1].endswith(f":{PORT:04X}")]
        if is_as_wished(waiting[0] if waiting else None):
            return
        time.sleep(0.01)
    raise TimeoutError("the receiver's socket")


class Receiver:
    def __init__(self, *arguments):
        self.begin = time.monotonic()
        self.output = tempfile.TemporaryFile()  # a pipe would hold it up when it is full
        self.process = subprocess.Popen([TOOL, *arguments], stdout=self.output,
                                        env=watched(ARGUMENTS.seconds + 40))

    def end(self, ask=False):
        """Its document; status, seconds and megabytes are then known."""
        if ask:
            self.process.send_signal(signal.SIGTERM)
        _, status, usage = os.wait4(self.process.pid, 0)
        self.process.returncode = self.status = os.waitstatus_to_exitcode(status)
        self.seconds = time.monotonic() - self.begin
        self.megabytes = usage.ru_maxrss / 1024
        self.output.seek(0)
        return json.load(self.output)


def schema_faults(documents):
    """What is wrong with documents. It imports only now what makes this script large: the largest
    size of a process is told from before its exec on, when it was as large as this script."""
    sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "golden"))
    import scan_comparison
    return [fault for document in documents for fault in scan_comparison.faults(document)]


def main():
    failures = []
    documents = []

    def check(claim, holds):
        print(f"    {'yes' if holds else 'NO '}  {claim}", flush=True)
        if not holds:
            failures.append(claim)

    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "demo.ts")
        subprocess.run([TOOL, "generate", path, "--rate", str(BIT_RATE), "--duration",
                        f"{ARGUMENTS.seconds}s"], check=True)
        packets = os.path.getsize(path) // 188
        for place, host, uri in PLACES:
            print(f"to {place}, {ARGUMENTS.seconds} s by {ARGUMENTS.sender}:", flush=True)
            # Of a group both have all; of one host the scan has what comes first.
            is_group = place == "a group"
            watch = ["sections", uri, "--pid", "0x12", "--table-id", "0x4E", "--format", "json"]
            watcher = Receiver(*watch) if is_group else None
            if watcher:
                wait_for_socket(lambda waiting: waiting is not None)
            sender = subprocess.Popen(
                ["tsplay", path, f"{host}:{PORT}", "-udp", "-i", "127.0.0.1", "-bitrate",
                 str(BIT_RATE), "-quiet"] if ARGUMENTS.sender == "tsplay" else
                [sys.executable, __file__, TOOL, "--send", path, host])
            scan = Receiver("scan", uri, "--format", "json", "--timeout", "20s")
            document = scan.end()
            documents.append(document)
            check(f"complete, nothing missing ({document['missing']})", scan.status == 0)
            check(f"within 5 s ({scan.seconds:.1f})", scan.seconds < 5)
            drops = document["counters"]["kernel_drops"]
            check(f"the kernel dropped nothing ({drops})", drops == 0)
            check(f"in less than 20 MB ({scan.megabytes:.1f})", SANITIZED or scan.megabytes < 20)
            watcher = watcher or Receiver(*watch)
            sender.wait()
            wait_for_socket(lambda waiting: waiting == 0)
            document = watcher.end(ask=True)
            counters = document["counters"]
            got = counters["packets"]
            # tsplay leaves out what stands before the first clock reference.
            check(f"{got} of {packets} packets were watched",
                  got >= packets - 2000 if is_group else got > 0)
            losses = {name: counters[name] for name in
                      ("kernel_drops", "continuity_gaps", "sync_losses", "crc_errors",
                       "truncated_sections")}
            check(f"none was lost ({losses})", not any(losses.values()))
            check(f"in less than 20 MB ({watcher.megabytes:.1f})",
                  SANITIZED or watcher.megabytes < 20)
    faults = schema_faults(documents)
    check(f"every scan's document fits the schema ({faults})", documents and not faults)
    return 1 if failures else 0


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("tool")
    parser.add_argument("--seconds", type=int, default=3)
    parser.add_argument("--sender", choices=("own", "tsplay"), default="own")
    parser.add_argument("--sanitized", action="store_true", help="its size says nothing")
    parser.add_argument("--send", nargs=2, metavar=("FILE", "HOST"), help=argparse.SUPPRESS)
    ARGUMENTS = parser.parse_args()
    TOOL = os.path.abspath(ARGUMENTS.tool)
    SANITIZED = ARGUMENTS.sanitized
    if ARGUMENTS.send:
        send(*ARGUMENTS.send)
        sys.exit(0)
    enter_namespace()
    bring_up_loopback()
    sys.exit(main())
