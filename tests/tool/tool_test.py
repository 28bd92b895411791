"""Tests of the command-line tool. usage: tool_test.py TOOL [TestCase...]"""

import fcntl
import json
import os
import pathlib
import random
import re
import resource
import select
import signal
import socket
import subprocess
import sys
import tempfile
import termios
import threading
import time
import unittest

sys.dont_write_bytecode = True  # leaves no files in the checkout
sys.path[:0] = [str(pathlib.Path(__file__).parents[1] / place) for place in ("golden", "support")]
import scan_comparison
from watched import watched

TOOL = None
GOLDEN_DOCUMENTS = pathlib.Path(scan_comparison.__file__).parent / "documents"
COUNTERS = ("sync_losses", "continuity_gaps", "duplicate_packets", "transport_errors",
            "scrambled_packets", "crc_errors", "truncated_sections", "oversize_sections")


def run(*arguments, stdin=b"", text=True):
    done = subprocess.run([TOOL, *arguments], input=stdin, capture_output=True, timeout=60)
    assert done.returncode != -signal.SIGABRT, done.stderr.decode()
    if text:
        done.stdout = done.stdout.decode()
        done.stderr = done.stderr.decode()
    return done


def demo():
    with tempfile.NamedTemporaryFile(suffix=".ts") as out:
        assert run("generate", out.name).returncode == 0
        out.seek(0)
        return out.read()


def scan_document(text):
    """The document of a scan. Checks that it fits the schema."""
    document = json.loads(text, object_pairs_hook=scan_comparison.without_duplicates)
    faults = scan_comparison.faults(document)
    assert faults == [], faults
    return document


def scan_json(*arguments, stdin=b""):
    """The finished process of a scan, and its document."""
    done = run("scan", "--format", "json", *arguments, stdin=stdin)
    return done, scan_document(done.stdout)


def missing(document):
    """The entries of `missing` in short form: "eit 7 [1]", "pat"."""
    ids = ("program_number", "network_id", "bouquet_id", "service_id")
    names = []
    for entry in document["missing"]:
        name = [entry["table"]] + [str(entry[key]) for key in ids
                                   if entry.get(key) is not None]
        if entry["sections"] is not None:
            name.append(str(entry["sections"]))
        names.append(" ".join(name))
    return names


def scenario(name):
    """The scan of one of the generator's scenarios."""
    return scan_json("demo:" + name)[1]


def section_packet(pid, table_id, extension, body=b"", number=0, last=0, version=0,
                   continuity_counter=0, scrambled=False):
    """Builds a packet with one section."""
    inner = extension.to_bytes(2, "big") + bytes([0xC1 | version << 1, number, last]) + body
    section = bytes([table_id, 0xB0, len(inner) + 4]) + inner
    crc = 0xFFFFFFFF
    for byte in section:
        crc ^= byte << 24
        for _ in range(8):
            crc = (crc << 1 ^ 0x04C11DB7 if crc & 0x80000000 else crc << 1) & 0xFFFFFFFF
    section += crc.to_bytes(4, "big")
    header = bytes([0x47, 0x40 | pid >> 8, pid & 0xFF,
                    0x80 * scrambled | 0x10 | continuity_counter, 0])
    packet = header + section
    return packet + bytes([0xFF] * (188 - len(packet)))


def pat_packet(programs, version=0, continuity_counter=0):
    body = b"".join(number.to_bytes(2, "big") + (0xE000 | pid).to_bytes(2, "big")
                    for number, pid in programs)
    return section_packet(0x0000, 0x00, 1, body, version=version,
                          continuity_counter=continuity_counter)


def pmt_packet(number, pid, program_info=b"", streams=(), section=0, last=0, continuity_counter=0):
    """`streams`: stream_type, elementary_PID and descriptors of each."""
    body = b"\xFF\xFF" + (0xF000 | len(program_info)).to_bytes(2, "big") + program_info
    for stream_type, stream_pid, info in streams:
        body += bytes([stream_type]) + (0xE000 | stream_pid).to_bytes(2, "big")
        body += (0xF000 | len(info)).to_bytes(2, "big") + info
    return section_packet(pid, 0x02, number, body, section, last,
                          continuity_counter=continuity_counter)


class Generate(unittest.TestCase):
    def test_same_seed_same_bytes(self):
        self.assertEqual(demo(), demo())
        self.assertEqual(len(demo()) % 188, 0)

    def test_another_seed_other_bytes(self):
        with tempfile.NamedTemporaryFile() as out:
            self.assertEqual(run("generate", out.name, "--seed", "7").returncode, 0)
            self.assertNotEqual(out.read(), demo())

    def test_lists_scenarios_that_can_be_scanned(self):
        listed = run("generate", "--list")
        self.assertEqual(listed.returncode, 0)
        names = [line.split()[0] for line in listed.stdout.splitlines()]
        self.assertEqual(names[0], "demo")
        for name in names:
            with self.subTest(name):
                scan, document = scan_json("demo:" + name)
                self.assertIn(scan.returncode, (0, 3))
                self.assertGreater(document["input"]["packets"], 0)

    def test_the_demo_comes_at_any_rate_and_length(self):
        with tempfile.NamedTemporaryFile(suffix=".ts") as out:
            done = run("generate", out.name, "--rate", "40000000", "--duration", "3s")
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertEqual(len(out.read()), 40_000_000 // 1504 * 3 * 188)
            _, scan = scan_json(out.name)
        for part in ("pat", "cat", "programs", "services", "events", "networks", "bouquets"):
            self.assertEqual(scan[part], scenario("demo")[part])

    def test_a_duration_without_a_unit_is_in_seconds(self):
        for duration, packets in (("3", 3 * 800), ("0.5", 400), ("500ms", 400), ("0.05min", 2400)):
            with self.subTest(duration), tempfile.NamedTemporaryFile() as out:
                done = run("generate", out.name, "--duration", duration)
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertEqual(len(out.read()), packets * 188)

    def test_writes_to_standard_output(self):
        self.assertEqual(run("generate", "-", text=False).stdout, demo())
        with open("/dev/full", "wb") as full:
            done = subprocess.run([TOOL, "generate", "-"], stdout=full, stderr=subprocess.PIPE,
                                  timeout=60)
        self.assertEqual(done.returncode, 2)
        self.assertIn(b"standard output", done.stderr)

    def test_unknown_scenario_is_wrong_usage(self):
        done = run("generate", "/dev/null", "--scenario", "nonsense")
        self.assertEqual(done.returncode, 1)
        self.assertIn("nonsense", done.stderr)

    def test_unwritable_output_is_named(self):
        done = run("generate", "/nowhere/at/all.ts")
        self.assertEqual(done.returncode, 2)
        self.assertIn("/nowhere/at/all.ts", done.stderr)
        self.assertIn("No such file", done.stderr)


class Codec(unittest.TestCase):
    def test_a_descriptor_in_words(self):
        result = run("decode", "0a04 69746101")
        self.assertEqual(result.stdout, "0x0A ISO_639_language: languages [ISO_639_language_code "
                                        "ita, audio_type 1 (clean effects)]\n")
        self.assertEqual(result.returncode, 0, result.stderr)

    def test_what_decode_says_in_json_encode_turns_into_the_same_bytes(self):
        decoded = run("decode", "--format", "json", "--table", "707005c079124500")
        self.assertEqual(json.loads(decoded.stdout)["UTC_time"], "1993-10-13T12:45:00Z")
        with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
            file.write(decoded.stdout)
            file.flush()
            self.assertEqual(run("encode", file.name).stdout, "707005c079124500\n")

    def test_a_value_that_does_not_fit_is_named_with_its_path(self):
        with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
            file.write('[{"tag": 68, "name": "cable_delivery_system_descriptor",'
                       ' "frequency_hz": 11700000000}]')
            file.flush()
            result = run("encode", file.name)
            self.assertIn(file.name + ": [0].frequency_hz: expected at most 8 BCD digits",
                          result.stderr)
            self.assertEqual(result.returncode, 2)

    def test_what_is_neither_bytes_nor_a_file_is_refused(self):
        result = run("decode", "xyz")
        self.assertIn("neither a file nor bytes", result.stderr)
        self.assertEqual(result.returncode, 1)


class Scan(unittest.TestCase):
    def test_shows_the_programs_of_the_demonstration_multiplex(self):
        done, document = scan_json("demo:")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stderr, "")
        self.assertEqual(list(document), ["schema", "complete", "missing", "input", "counters",
                                          "pat", "cat", "programs", "services", "events",
                                          "networks", "bouquets"])
        self.assertEqual(document["schema"], "torvelsi-scan/2")
        self.assertIs(document["complete"], True)
        self.assertEqual(document["missing"], [])
        self.assertEqual(document["input"]["uri"], "demo:")
        self.assertEqual(document["input"]["packet_size"], 188)
        self.assertEqual(document["input"]["bytes"], len(demo()))
        self.assertEqual(document["input"]["packets"], len(demo()) // 188)
        for counter in COUNTERS:
            self.assertIn(counter, document["counters"])
        numbers = [p["program_number"] for p in document["pat"]["programs"]]
        self.assertGreater(len(numbers), 3)
        self.assertEqual(numbers, sorted(numbers))
        self.assertNotIn(0, numbers)

    def test_file_and_pipe_give_the_same(self):
        stream = demo()
        with tempfile.NamedTemporaryFile(suffix=".ts") as file:
            file.write(stream)
            file.flush()
            documents = [scan_json(file.name)[1], scan_json("-", stdin=stream)[1]]
        for document in documents:
            del document["input"]["uri"]
            # The filters of a pipe's PMTs are set when its first PAT has come.
            for counter in ("sections", "delivered_sections"):
                del document["counters"][counter]
        self.assertEqual(*documents)

    def test_text_names_what_has_an_empty_name(self):
        text = run("scan", "demo:oddities").stdout
        self.assertRegex(text, r"65299 \(0xFF13\) +this network, \(empty name\), version 31")
        self.assertRegex(text, r"61953 \(0xF201\) +\(empty name\), version 0")
        self.assertRegex(text, r"21 \(0x0015\) +\(empty name\)  by \(empty name\)")
        self.assertRegex(text, r"22 \(0x0016\) +\(no name\)")

    def test_text_shows_carousels_in_both_bases(self):
        self.assertRegex(run("scan", "demo:").stdout, r"carousel \d+ \(0x[0-9A-F]{8}\)")

    def test_text_aligns_ids_in_both_bases(self):
        done = run("scan", "-", stdin=pat_packet([(1031, 300)]))
        self.assertEqual(done.returncode, 3)
        self.assertIn("Missing: pmt 1031, sdt\n", done.stdout)
        self.assertIn("Transport stream 1 (0x0001), PAT version 0, 1 program\n", done.stdout)
        self.assertIn("  1031 (0x0407)    300 (0x012C)\n", done.stdout)

    def test_last_version_wins_and_program_0_is_left_out(self):
        stream = pat_packet([(1, 100)]) + pat_packet([(0, 16), (2, 200)], version=1,
                                                     continuity_counter=1)
        pat = scan_json("-", stdin=stream)[1]["pat"]
        self.assertEqual(pat, {"transport_stream_id": 1, "version": 1,
                               "programs": [{"program_number": 2, "pmt_pid": 200}]})

    def test_without_a_pat_is_incomplete(self):
        done, document = scan_json("-", stdin=b"\x47\x1f\xff\x10" + b"\xff" * 184)
        self.assertEqual(done.returncode, 3)
        self.assertIs(document["complete"], False)
        self.assertEqual(missing(document), ["pat", "sdt"])
        self.assertIsNone(document["pat"])

    def test_golden_documents_are_what_it_prints(self):
        paths = sorted(GOLDEN_DOCUMENTS.glob("*.json"))
        self.assertGreater(len(paths), 3)
        for path in paths:
            with self.subTest(path.name):
                document = scenario(path.stem)
                golden = json.loads(path.read_text("utf-8"))
                self.assertNotIn("input", golden)
                self.assertNotIn("counters", golden)
                whole = {key: golden.get(key, value) for key, value in document.items()}
                self.assertEqual(scan_comparison.faults(whole), [])
                self.assertEqual(whole, document)
                self.assertEqual(len(golden) + 2, len(document))

    def test_progress_is_shown_on_a_terminal_and_wiped(self):
        terminal, its_end = os.openpty()
        process = subprocess.Popen([TOOL, "scan", "demo:", "--pace=5"], stderr=its_end,
                                   stdout=subprocess.DEVNULL)
        os.close(its_end)
        shown = b""
        try:
            while piece := os.read(terminal, 4096):
                shown += piece
        except OSError:  # EIO: the tool has left
            pass
        os.close(terminal)
        self.assertEqual(process.wait(timeout=60), 0)
        self.assertRegex(shown, rb"\rpass 1 of 2, +\d+\.\d % of 1\.5 MB ")
        self.assertRegex(shown, rb"\rpass 2 of 2, +\d+\.\d % of 1\.5 MB ")
        self.assertTrue(shown.endswith(b"\r\x1b[K"), shown[-100:])

    def test_offers_come_once_however_many_sections_a_pmt_has(self):
        def stream(pid, oui):
            # data_broadcast_id_descriptor of TS 102 006: 0x000A, OUI_data_length, OUI, type, selector
            return (0x0B, pid, bytes([0x66, 9, 0, 0x0A, 6, 0, 0, oui, 0xF1, 0xC1, 0]))
        packets = [pat_packet([(1, 100)]),
                   pmt_packet(1, 100, b"", [stream(513, 1)], section=0, last=1),
                   pmt_packet(1, 100, b"", [stream(514, 2)], section=1, last=1,
                              continuity_counter=1)]
        _, document = scan_json("-", stdin=b"".join(packets) + section_packet(0x1FF, 0x80, 0) * 5)
        self.assertEqual([ssu["pid"] for ssu in document["programs"][0]["ssu"]], [513, 514])

    def test_empty_input_is_incomplete(self):
        done = run("scan", "-")
        self.assertEqual(done.returncode, 3)
        self.assertIn("Missing: pat", done.stdout)

    def test_closed_standard_descriptors_are_named(self):
        for command, stream in (("scan - <&-", b"standard input"),
                                ("sections - --pid 0 --table-id 0 <&-", b"standard input"),
                                ("scan demo: >&-", b"standard output")):
            with self.subTest(command):
                done = subprocess.run(["sh", "-c", f'exec "$0" {command}', TOOL],
                                      capture_output=True, timeout=60)
                self.assertEqual(done.returncode, 2)
                self.assertIn(stream, done.stderr)
        for command, status in (("scan /nowhere/at/all 2>&-", 2),
                                ("sections demo: --pid 0 --table-id 0 --count 1 2>&-", 0)):
            with self.subTest(command):
                done = subprocess.run(["sh", "-c", f'exec "$0" {command}', TOOL],
                                      stdout=subprocess.DEVNULL, timeout=60)
                self.assertEqual(done.returncode, status)

    def test_unreadable_input_is_named_with_why(self):
        for path, why in (("/nowhere.ts", "No such file"), ("/", "directory")):
            with self.subTest(path):
                done = run("scan", path)
                self.assertEqual(done.returncode, 2)
                self.assertIn(path, done.stderr)
                self.assertIn(why, done.stderr)
                self.assertEqual(done.stdout, "")

    def test_unknown_demo_is_named(self):
        done = run("scan", "demo:nonsense")
        self.assertEqual(done.returncode, 2)
        self.assertIn("demo:nonsense", done.stderr)

    def test_the_log_stays_silent_unless_asked_for(self):
        self.assertEqual(run("scan", "demo:").stderr, "")
        log = run("scan", "demo:", "--log-level", "debug").stderr
        self.assertIn("KorvoSectionManager.cpp: Subscribe(121) > id: ", log)
        self.assertNotIn("\033[", log)

    def test_full_device_is_an_error(self):
        for arguments in (["scan", "demo:"],
                          ["sections", "demo:", "--pid", "0x12", "--pattern", "00", "--mask", "00"],
                          ["sections", "demo:", "--pid", "0", "--table-id", "0", "--format",
                           "binary"]):
            with self.subTest(arguments), open("/dev/full", "wb") as full:
                done = subprocess.run([TOOL, *arguments], stdout=full, stderr=subprocess.PIPE,
                                      timeout=60)
                self.assertEqual(done.returncode, 2, done.stderr)
                self.assertIn(b"standard output", done.stderr)


class Missing(unittest.TestCase):
    """A scan names the tables that are missing or incomplete, and shows all others."""
    CA = bytes([0x09, 4, 0x12, 0x34, 0xE1, 0x00])
    EMPTY_NETWORK = b"\xF0\x00\xF0\x00"

    def packets(self, **others):
        """A multiplex with only a programme and its service. The tables have names, so that a test
        can replace each."""
        parts = {"pat": pat_packet([(1, 100)]), "pmt": pmt_packet(1, 100), "sdt": self.sdt()}
        parts.update(others)
        return b"".join(parts.values())

    @staticmethod
    def sdt(has_present_following=False, transport_stream_id=1, **section):
        service = bytes([0, 1, 0xFC | has_present_following, 0x80, 0])
        return section_packet(0x11, 0x42, transport_stream_id, b"\x00\x02\xFF" + service, **section)

    @staticmethod
    def eit(number, last, continuity_counter=0, service=1, event=b"", version=0):
        # transport_stream_id, original_network_id, last section of the segment, last table_id
        return section_packet(0x12, 0x4E, service, bytes([0, 1, 0, 2, last, 0x4E]) + event, number,
                              last, version, continuity_counter=continuity_counter)

    @staticmethod
    def event(event_id, descriptors=b""):
        # start_time and duration undefined, running
        return (event_id.to_bytes(2, "big") + bytes([0xFF] * 8) +
                (0x8000 | len(descriptors)).to_bytes(2, "big") + descriptors)

    def expect(self, names, **others):
        # Sync is certain after five packets.
        done, document = scan_json("-", stdin=self.packets(**others) +
                                   section_packet(0x1FF, 0x80, 0) * 5)
        self.assertEqual(missing(document), names)
        self.assertEqual(document["complete"], not names)
        self.assertEqual(done.returncode, 3 if names else 0, done.stderr)
        return document

    def test_nothing(self):
        self.expect([])

    def test_a_pmt(self):
        self.expect(["pmt 1"], pmt=b"")
        self.expect([], pat=pat_packet([]), pmt=b"")

    def test_a_cat_once_something_tells_of_conditional_access(self):
        cat = section_packet(0x01, 0x01, 0xFFFF, self.CA)
        for pmt in (pmt_packet(1, 100, self.CA), pmt_packet(1, 100, b"", [(2, 200, self.CA)])):
            self.expect(["cat"], pmt=pmt)
            self.expect([], pmt=pmt, cat=cat)
        scrambled = section_packet(0x101, 0x80, 0, scrambled=True)
        self.expect(["cat"], scrambled=scrambled)
        self.expect([], scrambled=scrambled, cat=cat)

    def test_a_nit_once_something_tells_of_one(self):
        self.expect(["nit"], pat=pat_packet([(0, 16), (1, 100)]))
        other = section_packet(0x10, 0x41, 6, self.EMPTY_NETWORK)
        self.expect(["nit"], other=other)
        self.expect([], other=other, nit=section_packet(0x10, 0x40, 5, self.EMPTY_NETWORK,
                                                        continuity_counter=1))

    def test_what_is_begun_and_not_whole(self):
        begun = {"last": 1, "body": self.EMPTY_NETWORK}
        self.expect(["nit 5 [1]"], nit=section_packet(0x10, 0x40, 5, **begun))
        nit = section_packet(0x10, 0x40, 5, self.EMPTY_NETWORK)
        self.expect(["nit other 6 [1]"], nit=nit,
                    other=section_packet(0x10, 0x41, 6, continuity_counter=1, **begun))
        self.expect(["bat 7 [1]"], bat=section_packet(0x11, 0x4A, 7, continuity_counter=1, **begun))

    def test_an_sdt(self):
        self.expect(["sdt"], sdt=b"")
        self.expect(["sdt [1]"], sdt=self.sdt(last=1))
        # An EIT of another transport stream is used as long as none of this one comes.
        document = self.expect([], sdt=self.sdt(transport_stream_id=9))
        self.assertEqual(document["services"][0]["transport_stream_id"], 9)
        document = self.expect(["sdt [1]"], sdt=self.sdt(transport_stream_id=9) +
                               self.sdt(last=1, continuity_counter=1))
        self.assertEqual(document["services"], [])

    def test_an_eit_of_a_service_that_has_one(self):
        sdt = self.sdt(has_present_following=True)
        self.expect(["eit 1"], sdt=sdt)
        self.expect(["eit 1 [1]"], sdt=sdt, eit=self.eit(0, 1))
        self.expect([], sdt=sdt, eit=self.eit(0, 1) + self.eit(1, 1, continuity_counter=1))
        # An incomplete EIT is missing even if the SDT does not announce it.
        self.expect(["eit 1 [1]"], eit=self.eit(0, 1))

    def test_the_events_of_an_incomplete_eit_are_shown_and_marked(self):
        streams = {"eit": self.eit(0, 1, event=self.event(21)) +
                   self.eit(1, 1, service=2, event=self.event(32), continuity_counter=1) +
                   self.eit(0, 0, service=3, event=self.event(43), continuity_counter=2)}
        document = self.expect(["eit 1 [1]", "eit 2 [0]"], **streams)
        self.assertEqual([(event["service_id"], event["section"], event["event_id"],
                           event["table_complete"]) for event in document["events"]],
                         [(1, 0, 21, False), (2, 1, 32, False), (3, 0, 43, True)])
        done = run("scan", "-", stdin=self.packets(**streams) + section_packet(0x1FF, 0x80, 0) * 5)
        self.assertRegex(done.stdout, r"event 21 .*  \(table incomplete\)\n")
        self.assertRegex(done.stdout, r"event 32 .*  \(table incomplete\)\n")
        self.assertRegex(done.stdout, r"event 43 .*  running\n")
        self.assertIn("Missing: eit 1 (section 1), eit 2 (section 0)\n", done.stdout)

    def test_a_complete_eit_outlasts_a_version_of_which_sections_are_missing(self):
        document = self.expect([], eit=self.eit(0, 0, event=self.event(21)) +
                               self.eit(0, 1, 1, event=self.event(22), version=1))
        self.assertEqual([event["event_id"] for event in document["events"]], [21])

    def test_a_cat_and_a_pat_and_a_pmt_of_which_sections_are_missing(self):
        self.expect(["cat [0, 2]"], cat=section_packet(0x01, 0x01, 0xFFFF, self.CA, 1, 2))
        self.expect(["pmt 1 [1]"], pmt=pmt_packet(1, 100, last=1))
        self.expect(["pat [0]", "sdt"], pat=section_packet(0, 0, 1, b"", 1, 1), sdt=b"", pmt=b"")

    def test_sections_that_make_no_valid_table(self):
        # 17 sections where ISO/IEC 13818-1 has one
        pmts = b"".join(pmt_packet(1, 100, section=n, last=16, continuity_counter=n % 16)
                        for n in range(17))
        self.expect(["pmt 1 []"], pmt=pmts)
        done = run("scan", "-", stdin=self.packets(pmt=pmts) + section_packet(0x1FF, 0x80, 0) * 5)
        self.assertIn("Missing: pmt 1 (all sections came, but make no valid table)\n", done.stdout)

    def test_the_text_names_ranges_of_sections(self):
        bats = section_packet(0x11, 0x4A, 7, self.EMPTY_NETWORK, 3, 9, continuity_counter=1)
        done = run("scan", "-", stdin=self.packets(bat=bats) + section_packet(0x1FF, 0x80, 0) * 5)
        self.assertIn("Missing: bat 7 (sections 0-2, 4-9)\n", done.stdout)


class Delivery(unittest.TestCase):
    """Well-formed and malformed delivery system descriptors of a NIT. All output fits the schema."""

    def scan(self, *descriptors):
        """The deliveries that the document shows, and the text."""
        loop = b"".join(descriptors)
        streams = b"\x00\x01\x00\x02" + (0xF000 | len(loop)).to_bytes(2, "big") + loop
        body = b"\xF0\x00" + (0xF000 | len(streams)).to_bytes(2, "big") + streams
        stream = section_packet(0x10, 0x40, 5, body) * 6
        document = scan_json("-", stdin=stream)[1]
        return (document["networks"][0]["transport_streams"][0]["delivery"],
                run("scan", "-", stdin=stream).stdout)

    def test_a_descriptor_too_short_for_its_fields_is_malformed(self):
        systems = {0x43: "satellite", 0x44: "cable", 0x5A: "terrestrial"}
        for tag, system in systems.items():
            for size in range(12):
                with self.subTest(tag=tag, size=size):
                    descriptor = bytes([tag, size]) + bytes(range(1, size + 1))
                    (delivery,), text = self.scan(descriptor)
                    self.assertEqual(delivery["system"], system)
                    self.assertEqual(delivery["data"], descriptor.hex())
                    self.assertEqual(delivery.get("malformed"), True if size < 11 else None)
                    self.assertEqual(f"{system}, malformed: too short for its fields" in text,
                                     size < 11)

    def test_a_t2_descriptor_may_end_behind_its_ids(self):
        for size in range(1, 8):
            with self.subTest(size=size):
                descriptor = bytes([0x7F, size, 0x04, 1, 2, 3, 0, 0, 9])[:size + 2]
                (delivery,), _ = self.scan(descriptor)
                self.assertEqual(delivery["system"], "t2")
                self.assertEqual(delivery.get("malformed"), True if size < 4 else None)
                if size >= 4:
                    self.assertEqual(delivery["t2_system_id"], 0x0203)
                    self.assertEqual(delivery["bandwidth"], None if size < 6 else 0)

    def test_only_dvb_s2_has_a_roll_off(self):
        def satellite(bits):
            # frequency, orbital position, flags, symbol rate, FEC
            return bytes([0x43, 11, 1, 0x19, 0x19, 0, 1, 0x30, bits, 2, 0x75, 0, 0])
        for bits, shown in ((0b00000_0_01, (None, None, 1)), (0b00001_1_10, (1, 1, 2)),
                            # ISDB: five bits of modulation, 01000
                            (0b00001_0_00, (None, None, None))):
            with self.subTest(bits=bits):
                (delivery,), text = self.scan(satellite(bits))
                self.assertEqual((delivery["roll_off"], delivery["modulation_system"],
                                  delivery["modulation_type"]), shown)
                self.assertEqual("roll_off" in text, shown[1] == 1)
                self.assertEqual(text.count("DVB-S"), text.count("DVB-S2"))
                self.assertEqual("DVB-S2" in text, shown[1] == 1)
                self.assertNotIn("auto", text)

    def test_a_frequency_that_is_none_is_null(self):
        ones = bytes([0xFF] * 4)
        rest = bytes([0] * 7)
        for descriptor in (bytes([0x43, 11]) + ones + rest, bytes([0x44, 11]) + ones + rest,
                           bytes([0x43, 11, 0x1A, 0, 0, 0]) + rest,
                           bytes([0x44, 11, 0, 0, 0, 0x0F]) + rest,
                           bytes([0x5A, 11]) + ones + rest):
            with self.subTest(descriptor.hex()):
                (delivery,), text = self.scan(descriptor)
                frequency = "centre_frequency_hz" if descriptor[0] == 0x5A else "frequency_hz"
                self.assertIsNone(delivery[frequency])
                self.assertRegex(text, frequency + r" +not valid as coded\n")
        (delivery,), text = self.scan(bytes([0x7F, 18, 4, 1, 2, 3, 0, 0, 0, 9]) + ones +
                                      bytes([5, 7]) + ones)
        self.assertEqual(delivery["cells"], [{
            "cell_id": 9, "centre_frequencies_hz": [None],
            "sub_cells": [{"cell_id_extension": 7, "transposer_frequency_hz": None}]}])
        self.assertEqual(text.count("frequency not valid as coded"), 2)
        (delivery,), _ = self.scan(bytes([0x5A, 11, 0xFF, 0xFF, 0xFF, 0xFE]) + rest)
        self.assertEqual(delivery["centre_frequency_hz"], 42949672940)


class Words(unittest.TestCase):
    """Descriptors, types and texts in the text form."""

    def service(self, descriptors):
        service = b"\x00\x01\xFC" + (0x8000 | len(descriptors)).to_bytes(2, "big") + descriptors
        stream = section_packet(0x11, 0x42, 1, b"\x00\x02\xFF" + service) * 6
        return scan_json("-", stdin=stream)[1]["services"][0], run("scan", "-", stdin=stream).stdout

    def test_private_data_are_those_of_private_tags(self):
        descriptors = bytes.fromhex("5f0400000028") + b"".join(
            bytes([tag, 0]) for tag in (0x4A, 0x7F, 0x80, 0x83, 0xFE, 0xFF))
        service, text = self.service(descriptors)
        self.assertEqual({d["private_data_specifier"] for d in service["descriptors"]}, {0x28})
        self.assertEqual([line.split()[1] for line in text.splitlines()
                          if "private data of 0x00000028" in line], ["128", "131", "254"])

    def test_extension_is_descriptor_tag_extension(self):
        service, text = self.service(bytes.fromhex("7f0206117f00"))
        self.assertEqual([(d["extension_tag"], d["descriptor_tag_extension"])
                          for d in service["descriptors"]], [(0x11, 6), (None, None)])
        self.assertIn("7f020611  extension 6 (0x06)\n", text)
        self.assertEqual(text.count("extension"), 1)

    def test_the_loops_of_a_pmt_keep_the_specifier(self):
        loop = bytes.fromhex("5f040000002883021234")
        stream = (pat_packet([(1, 100)]) + pmt_packet(1, 100, loop, [(2, 200, loop)]) +
                  section_packet(0x1FF, 0x80, 0) * 5)
        program = scan_json("-", stdin=stream)[1]["programs"][0]
        wanted = [{"tag": 0x5F, "private_data_specifier": 0x28, "descriptor_tag_extension": None,
                   "data": "5f0400000028"},
                  {"tag": 0x83, "private_data_specifier": 0x28, "descriptor_tag_extension": None,
                   "data": "83021234"}]
        self.assertEqual(program["descriptors"], wanted)
        self.assertEqual(program["streams"][0]["descriptors"], wanted)
        self.assertEqual(run("scan", "-", stdin=stream).stdout.count(
            "83021234  private data of 0x00000028\n"), 2)

    def test_types_have_words(self):
        for service_type, words in ((0x08, "DVB SRM"), (0x0D, "Common Interface"),
                                    (0x0E, "RCS map"), (0x0F, "RCS FLS"),
                                    (0x1D, "H.264 3D HD NVOD time-shifted"),
                                    (0x1E, "H.264 3D HD NVOD reference"),
                                    (0x21, "VVC television"), (0x22, "AVS3 television"),
                                    (0x23, "35")):
            with self.subTest(service_type=service_type):
                _, text = self.service(bytes([0x48, 3, service_type, 0, 0]))
                self.assertIn(f"    {words}, running,", text)
        types = {0x12: "MPEG-4 SL in PES", 0x2D: "MPEG-H 3D audio", 0x81: "AC-3 audio",
                 0x86: "SCTE 35 splicing", 0x87: "E-AC-3 audio", 0x90: "PGS subtitles",
                 0xFE: "254"}
        stream = (pat_packet([(1, 100)]) +
                  pmt_packet(1, 100, b"", [(kind, 200 + kind, b"") for kind in types]) +
                  section_packet(0x1FF, 0x80, 0) * 5)
        text = run("scan", "-", stdin=stream).stdout
        for kind, words in types.items():
            self.assertRegex(text, rf"{kind} \(0x{kind:02X}\) +{words}\n")

    def test_a_line_break_of_a_text_begins_a_line(self):
        text = b"eng" + bytes([3]) + b"a\rb" + bytes([7]) + b"one\rtwo"
        event = Missing.event(7, bytes([0x4D, len(text)]) + text)
        stream = Missing.eit(0, 0, event=event) * 6
        (event,) = scan_json("-", stdin=stream)[1]["events"]
        self.assertEqual((event["name"], event["text"]), ("a\nb", "one\ntwo"))
        self.assertIn("\n    a b  (eng)\n    one\n      two\n", run("scan", "-",
                                                                   stdin=stream).stdout)

    def test_trailing_nuls_are_not_shown(self):
        name = b"Ab\0\0"
        service, text = self.service(bytes([0x48, 3 + len(name), 1, 0, len(name)]) + name)
        self.assertEqual(service["name"], "Ab")
        self.assertIn(" Ab  by", text)


class Broadcast(unittest.TestCase):
    """Oddities of real broadcasts, from the scenarios `broadcast*` and `no-network`."""

    @classmethod
    def setUpClass(cls):
        cls.document = scenario("broadcast")
        cls.programs = {p["program_number"]: p for p in cls.document["programs"]}
        cls.services = {s["service_id"]: s for s in cls.document["services"]}
        cls.networks = {n["network_id"]: n for n in cls.document["networks"]}
        cls.bouquets = {b["bouquet_id"]: b for b in cls.document["bouquets"]}

    def delivery(self, network, tsid):
        return next(t["delivery"] for t in self.networks[network]["transport_streams"]
                    if t["transport_stream_id"] == tsid)

    def test_a_program_whose_pid_carries_another_programs_pmt_is_missing(self):
        self.assertEqual(missing(self.document), ["pmt 1304"])
        self.assertIs(self.document["complete"], False)
        self.assertEqual(sorted(self.programs), [1301, 1302, 1303, 1305, 1306, 1307])

    def test_two_programs_share_a_pmt_pid(self):
        self.assertEqual({self.programs[n]["pmt_pid"] for n in (1302, 1303)}, {0x410})
        self.assertEqual(self.programs[1302]["ca_system_ids"], [0xFF25])
        self.assertEqual(self.programs[1303]["ca_system_ids"], [])
        pids = [s["pid"] for s in self.programs[1303]["streams"]]
        self.assertEqual(pids.count(0x522), 2)

    def test_ca_system_ids_come_from_both_loops_and_all_sections(self):
        self.assertEqual(self.programs[1301]["ca_system_ids"], [0xFF21, 0xFF22, 0xFF23, 0xFF24])
        self.assertEqual(self.document["cat"]["ca_system_ids"], [0xFF21, 0xFF22, 0xFF27])

    def test_updates_of_a_program(self):
        ssu = [(s["pid"], [(o["oui"], o["selector"]) for o in s["offers"]])
               for s in self.programs[1305]["ssu"]]
        self.assertEqual(ssu, [
            (0x541, [(0x00015A, None), (0x02A1B2, "01020304"), (0x02A1B2, "05"), (0x0613C4, None)]),
            (0x542, [(0x00015A, None)]),  # two descriptors of one stream
            (0x542, [(0x0613C4, "42" * 40)]),
            (0x545, [])])

    def test_carousels_of_a_program(self):
        carousels = {c["component_tag"]: c["carousel_id"] for c in self.programs[1306]["carousels"]}
        self.assertEqual(carousels, {0x10: 0x1008, 0x11: None, 0x12: 0x200B, 0x13: 0x100A,
                                     0xFF: None, 0x00: 0, 0x14: None})

    def test_applications_are_private_sections_with_application_signalling(self):
        self.assertEqual({s["pid"] for s in self.programs[1307]["streams"] if s["application"]},
                         {0x561, 0x563, 0x564})

    def test_descriptors_of_a_service_bear_the_specifier_before_them(self):
        descriptors = [(d["tag"], d["private_data_specifier"], d["extension_tag"])
                       for d in self.services[1301]["descriptors"]]
        self.assertEqual([d[0] for d in descriptors],
                         [0x48, 0x83, 0x7F, 0x7F, 0x7F, 0x7F, 0x83, 0x4A])
        self.assertTrue(all(d[1] is not None for d in descriptors))
        # The byte after descriptor_tag_extension: 0 if it is missing, None for an empty descriptor.
        data = [d["data"] for d in self.services[1301]["descriptors"] if d["tag"] == 0x7F]
        extensions = [d[2] for d in descriptors if d[0] == 0x7F]
        for whole, extension in zip(data, extensions):
            with self.subTest(whole):
                size = len(whole) // 2
                expected = None if size < 3 else 0 if size == 3 else int(whole[6:8], 16)
                self.assertEqual(extension, expected)
        self.assertEqual(self.services[1307]["descriptors"], [])
        self.assertEqual(self.services[1305]["name"], "")

    def test_names_in_every_character_table(self):
        self.assertEqual(self.services[1401]["name"], "Café Zürich €10")
        for service_id in range(1402, 1422):
            with self.subTest(service_id):
                name = self.services[service_id]["name"]
                self.assertTrue(name)
                self.assertNotIn("\ufffd", name)

    def test_text_form_has_no_control_bytes_of_the_stream(self):
        text = run("scan", "demo:broadcast", text=False).stdout
        self.assertNotIn(b"\x1b", text)
        self.assertFalse({byte for byte in text if byte < 0x20 or byte == 0x7F} - {0x0A})

    def test_own_services_are_those_of_the_actual_table(self):
        self.assertNotEqual(self.services[1301]["name"], "Not Broad")
        self.assertNotIn(1399, self.services)
        self.assertNotIn(1501, self.services)

    def test_events(self):
        events = {(e["service_id"], e["event_id"]): e for e in self.document["events"]}
        self.assertEqual(sorted(events), [
            (1301, 0x0301), (1301, 0x0302), (1302, 0x0311), (1305, 0x0321), (1305, 0x0322),
            (1306, 0x0330), (1306, 0x0331), (1306, 0x0332)])
        self.assertEqual(events[1301, 0x0301]["start"], "2032-03-14T19:30:00Z")
        self.assertEqual(events[1301, 0x0301]["duration_s"], 3600)
        self.assertEqual(events[1301, 0x0302]["duration_s"], 99 * 3600 + 59 * 60 + 59)
        self.assertEqual(events[1302, 0x0311]["descriptors"], [])
        self.assertIsNone(events[1302, 0x0311]["name"])
        self.assertIsNone(events[1305, 0x0321]["start"])
        self.assertIsNone(events[1305, 0x0321]["duration_s"])
        self.assertIsNone(events[1305, 0x0322]["duration_s"])
        self.assertEqual(events[1306, 0x0332]["duration_s"], 0)
        specifiers = [d["private_data_specifier"] is not None
                      for d in events[1301, 0x0301]["descriptors"]]
        self.assertEqual(specifiers, [False] * 8 + [True] * 3)

    def test_linkages_of_networks_and_bouquets_come_once(self):
        network = self.networks[0xFF16]
        self.assertEqual([(l["service_id"], [(o["oui"], o["selector"]) for o in l["offers"]])
                          for l in network["ssu_linkages"]], [
            (1305, [(0x00015A, None), (0x02A1B2, None), (0x02A1B2, "202122"), (0x0613C4, "10")]),
            (1501, [(0x0613C4, "5e" * 60)])])
        self.assertEqual([l["table"] for l in network["ssu_scan_linkages"]], ["nit", "bat"])
        bouquet = self.bouquets[0xF401]
        self.assertEqual(bouquet["name"], "Morvane Basic")
        self.assertEqual(bouquet["ssu_linkages"], network["ssu_linkages"])
        self.assertEqual(bouquet["ssu_scan_linkages"], network["ssu_scan_linkages"])
        self.assertEqual(self.bouquets[0xF402]["name"], "")
        self.assertEqual([l["table"] for l in self.bouquets[0xF402]["ssu_scan_linkages"]], ["bat"])
        self.assertIsNone(self.bouquets[0xF403]["name"])

    def test_networks_on_one_pid(self):
        self.assertEqual([(n["network_id"], n["actual"], n["name"])
                          for n in self.document["networks"]],
                         [(0xFF16, True, "Morvane Ground"), (0xFF17, False, None),
                          (0xFF18, False, "")])

    def test_delivery_systems(self):
        own = self.delivery(0xFF16, 0x0781)
        self.assertEqual([d["system"] for d in own], ["terrestrial", "terrestrial", "t2"])
        self.assertIsNone(own[0]["centre_frequency_hz"])
        self.assertEqual(self.delivery(0xFF16, 0x0782), [])  # a T2 body under tag 0x04
        lengths = {tsid: int(self.delivery(0xFF16, tsid)[0]["data"][2:4], 16)
                   for tsid in range(0x0790, 0x0797)}
        self.assertEqual(lengths, {0x0790: 4, 0x0791: 6, 0x0792: 13, 0x0793: 30, 0x0794: 39,
                                   0x0795: 255, 0x0796: 255})
        shortest = self.delivery(0xFF16, 0x0790)[0]
        self.assertIsNone(shortest["bandwidth"])
        self.assertEqual(shortest["cells"], [])
        self.assertEqual(len(self.delivery(0xFF16, 0x0795)[0]["cells"]), 32)
        longest = self.delivery(0xFF16, 0x0796)[0]
        self.assertIs(longest["tfs_flag"], True)
        self.assertEqual([len(c["centre_frequencies_hz"]) for c in longest["cells"]], [60])
        self.assertEqual([len(c["sub_cells"]) for c in longest["cells"]], [1])
        east = self.delivery(0xFF18, 0x07A0)[0]
        self.assertEqual((east["orbital_position_tenth_degrees"], east["west_east_flag"],
                          east["modulation_system"]), (192, True, None))
        west = self.delivery(0xFF18, 0x07A1)[0]
        self.assertEqual((west["orbital_position_tenth_degrees"], west["west_east_flag"],
                          west["modulation_system"]), (300, False, 1))
        self.assertEqual([d["system"] for d in self.delivery(0xFF18, 0x07A2)],
                         ["cable", "satellite"])
        self.assertEqual(self.delivery(0xFF18, 0x07A3)[0]["symbol_rate_symbols_per_s"], 999999900)
        self.assertEqual(self.delivery(0xFF17, 0x07B0), [])

    def test_last_versions(self):
        document = scenario("broadcast-versions")
        self.assertEqual(document["missing"], [])
        self.assertEqual(document["pat"]["version"], 2)
        self.assertEqual([(p["program_number"], p["version"], len(p["streams"]))
                          for p in document["programs"]], [(1, 0, 4), (2, 4, 1), (3, 12, 3)])
        self.assertEqual(document["cat"]["ca_system_ids"], [0xFF30])
        self.assertEqual([(n["network_id"], n["name"], len(n["transport_streams"]))
                          for n in document["networks"]][1:], [(0xFF1B, "Wide last", 256)])
        self.assertEqual(document["networks"][0]["name"], "Net last")
        self.assertEqual([(b["bouquet_id"], b["name"], len(b["ssu_linkages"]))
                          for b in document["bouquets"]], [(0xF501, "Bundle last", 1)])
        self.assertTrue(all(s["name"].endswith("last") for s in document["services"]))
        self.assertEqual([(e["service_id"], e["event_id"], e["name"])
                          for e in document["events"]], [(1, 0x0500, "Show last")])

    def test_network_without_program_0(self):
        document = scenario("no-network")
        self.assertEqual(document["missing"], [])
        self.assertEqual([n["name"] for n in document["networks"]], ["Ostrel Net"])


class Live(unittest.TestCase):
    """A multiplex that is sent repeatedly in datagrams."""

    @staticmethod
    def free_port():
        """A port that the system does not assign to others, so it stays free for the tool."""
        while True:
            port = random.randrange(20000, 30000)
            with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
                try:
                    probe.bind(("127.0.0.1", port))
                    return port
                except OSError:
                    pass

    def scan(self, stream, *arguments):
        """Sends the stream until the scan has ended; its status, document and duration."""
        port = self.free_port()
        begin = time.monotonic()
        process = subprocess.Popen(
            [TOOL, "scan", f"udp://127.0.0.1:{port}", "--format", "json", *arguments],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        reader = threading.Thread(target=lambda: setattr(self, "output", process.communicate()))
        reader.start()
        datagrams = [stream[at:at + 7 * 188] for at in range(0, len(stream), 7 * 188)]
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
            while reader.is_alive() and time.monotonic() - begin < 60:
                for datagram in datagrams:
                    try:
                        sender.sendto(datagram, ("127.0.0.1", port))
                    except ConnectionRefusedError:
                        pass  # the tool does not listen yet, or has ended
                    time.sleep(0.0002)
                    if not reader.is_alive():
                        break
        reader.join()
        output, errors = self.output
        self.assertNotEqual(output, b"", f"exit {process.returncode}: {errors.decode()}")
        return process.returncode, scan_document(output), time.monotonic() - begin

    def test_ends_as_soon_as_it_is_complete(self):
        # The time-out is longer than this test may take.
        status, live, _ = self.scan(demo(), "--timeout", "10min")
        self.assertEqual(status, 0)
        self.assertEqual(live["missing"], [])
        self.assertTrue(live["input"]["uri"].startswith("udp://"))
        self.assertEqual(live["counters"]["kernel_drops"], 0)
        file = scenario("demo")
        for part in ("pat", "cat", "programs", "services"):
            self.assertEqual(live[part], file[part])
        # The scan shows the other networks and bouquets that came. Their number is not broadcast.
        for part in ("networks", "bouquets"):
            for entry in live[part]:
                self.assertIn(entry, file[part])
        self.assertIn(True, [network["actual"] for network in live["networks"]])

    def test_gives_up_after_the_timeout(self):
        only_a_pat = b"".join(pat_packet([(1, 100)], continuity_counter=n) for n in range(16))
        status, live, duration = self.scan(only_a_pat, "--timeout", "500ms")
        self.assertEqual(status, 3)
        self.assertEqual(missing(live), ["pmt 1", "sdt"])
        self.assertGreaterEqual(duration, 0.5)

    def test_silence_is_no_crash(self):
        status, live, _ = self.scan(b"", "--timeout", "0.2s")
        self.assertEqual(status, 3)
        self.assertEqual(missing(live), ["pat", "sdt"])

    def test_sections_end_with_their_time_out(self):
        for timeout in ("300ms", "0"):  # 0: before anything plays
            for mode in ("continuous", "one-shot"):
                with self.subTest(timeout=timeout, mode=mode):
                    done = run("sections", f"udp://127.0.0.1:{self.free_port()}", "--pid", "0",
                               "--table-id", "0", "--filter-mode", mode, "--timeout", timeout,
                               "--format", "json")
                    self.assertEqual(done.returncode, 3)
                    self.assertIs(json.loads(done.stdout)["timed_out"], True)

    def test_bad_addresses_are_named(self):
        done = run("scan", "udp://nowhere:1")
        self.assertEqual(done.returncode, 2)
        self.assertIn("udp://nowhere:1", done.stderr)


class Inputs(unittest.TestCase):
    def from_open_pipe(self, stream, *arguments):
        """Scans a pipe that stays open. Returns the finished process and the document."""
        process = subprocess.Popen([TOOL, *arguments, "--format", "json"], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        try:
            process.stdin.write(stream)
            process.stdin.flush()
        except BrokenPipeError:
            pass  # the tool has read enough
        output = process.stdout.read()
        status = process.wait(timeout=60)
        try:
            process.stdin.close()
        except BrokenPipeError:
            pass
        process.stderr.close()
        process.stdout.close()
        return status, output.decode()

    def test_a_pipe_that_stays_open_is_left_when_the_scan_is_complete(self):
        # Sent twice, because a PMT may come before the PAT that names it.
        status, output = self.from_open_pipe(2 * demo(), "scan", "-", "--timeout", "50s")
        self.assertEqual(scan_document(output)["missing"], [])
        self.assertEqual(status, 0)

    def test_a_pipe_that_stays_open_is_left_at_the_time_out(self):
        pats = b"".join(pat_packet([(1, 100)], continuity_counter=n) for n in range(6))
        status, output = self.from_open_pipe(pats, "scan", "-", "--timeout", "500ms")
        self.assertEqual(missing(scan_document(output)), ["pmt 1", "sdt"])
        self.assertEqual(status, 3)
        status, output = self.from_open_pipe(pats, "sections", "-", "--pid", "0x1FF", "--table-id",
                                             "0", "--timeout", "300ms")
        self.assertIs(json.loads(output)["timed_out"], True)
        self.assertEqual(status, 3)

    def test_what_is_no_transport_stream_is_told(self):
        for command in (["scan"], ["sections", "--pid", "0", "--table-id", "0"]):
            with self.subTest(command):
                done = run(*command, "-", stdin=bytes(range(256)) * 40)
                self.assertIn("torvelsi: no packets of a transport stream were found", done.stderr)
                done = run(*command, "-", stdin=pat_packet([(1, 100)]))
                self.assertNotIn("no packets", done.stderr)
                done = run(*command, "-")
                self.assertNotIn("no packets of", done.stderr)

    def test_packets_that_faults_do_not_fit_are_told(self):
        stream = demo()
        wide = b"".join(stream[at:at + 188] + bytes(16) for at in range(0, len(stream), 188))
        for faults, packets, is_told in ((["--fault", "drop=1/100"], wide, True),
                                        (["--fault", "refuse-subscribe@99"], wide, False),
                                        ([], wide, False),
                                        (["--fault", "drop=1/100"], stream, False)):
            with self.subTest(faults=faults, size=len(packets)):
                done = run("scan", "-", *faults, stdin=packets)
                self.assertEqual("the packets here have 204" in done.stderr, is_told, done.stderr)

    def test_a_scheme_that_there_is_not_is_told(self):
        done = run("scan", "http://127.0.0.1/x.ts")
        self.assertEqual(done.returncode, 2)
        self.assertIn("(known schemes: udp://, rtp://, dvb:)", done.stderr)
        self.assertNotIn("udp://", run("scan", "no-such-file.ts").stderr)

    def test_a_name_does_nothing_to_a_terminal(self):
        with tempfile.TemporaryDirectory() as folder:
            name = os.path.join(
                folder, "a\u202eb\u2028\u009b1m\u200b\ufeff\u061c\x1b\u00e9\u2026\u20ac.ts")
            with open(name, "wb") as file:
                file.write(pat_packet([(1, 100)]))
            shown = (r"/a\u202Eb\u2028\u009B1m\u200B\uFEFF\u061C\x1B"
                     "\u00e9\u2026\u20ac.ts")
            self.assertIn(shown, run("scan", name).stdout.splitlines()[0])
            os.remove(name)
            self.assertIn(shown, run("scan", name).stderr)

    def test_a_loop_goes_on_until_it_has_enough(self):
        once = run("sections", "demo:", "--pid", "0", "--table-id", "0", "--format", "json")
        count = 3 * len(json.loads(once.stdout)["sections"])
        done = run("sections", "demo:", "--loop", "--pid", "0", "--table-id", "0", "--count",
                   str(count), "--format", "json")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(len(json.loads(done.stdout)["sections"]), count)

    def test_a_looped_scan_ends_when_it_is_complete(self):
        done, document = scan_json("demo:", "--loop")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(document["programs"], scenario("demo")["programs"])

    def test_a_followed_scan_finds_what_the_file_holds_already(self):
        for name in ("demo", "no-network"):
            with self.subTest(name), tempfile.NamedTemporaryFile(suffix=".ts") as file:
                self.assertEqual(run("generate", file.name, "--scenario", name).returncode, 0)
                done, document = scan_json(file.name, "--follow", "--timeout", "20s")
                self.assertEqual(done.returncode, 0, document["missing"])
                self.assertEqual(document["programs"], scenario(name)["programs"])

    def test_a_followed_file_gives_what_is_appended(self):
        with tempfile.NamedTemporaryFile(suffix=".ts") as file:
            file.write(pat_packet([(1, 100)]) * 1)
            file.flush()
            process = subprocess.Popen(
                [TOOL, "sections", "--follow", file.name, "--pid", "0", "--table-id", "0",
                 "--count", "10"], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            for counter in range(1, 16):
                file.write(pat_packet([(1, 100)], continuity_counter=counter))
                file.flush()
                time.sleep(0.02)
            _, errors = process.communicate(timeout=60)
            self.assertEqual(process.returncode, 0, errors)

    def test_a_pace_holds_a_file_back(self):
        begin = time.monotonic()
        paced, document = scan_json("demo:", "--pace=5")
        # 10 s, twice, at five times the speed.
        self.assertGreater(time.monotonic() - begin, 3.5)
        self.assertEqual(paced.returncode, 0, paced.stderr)
        self.assertEqual(paced.stderr, "")  # progress is shown only on terminals
        self.assertEqual(document, scan_json("demo:")[1])

    def test_a_pace_is_any_number_within_its_bounds(self):
        for pace in (["--pace=1e3"], ["--pace", "999.5"], ["--pace", "1000000"],
                     ["--pace=2.5E+2"]):
            with self.subTest(pace):
                done = run("sections", "demo:", "--pid", "0", "--table-id", "0", *pace)
                self.assertEqual(done.returncode, 0, done.stderr)
        for words in (["--pace"], ["--pace=0.5"], ["--pace", ".5"], ["--pace=5e-1"]):
            with self.subTest(words):
                begin = time.monotonic()
                done = run("sections", "demo:", "--pid", "0", "--table-id", "0", "--count", "4",
                           *words)
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertGreater(time.monotonic() - begin, 0.2)

    def test_a_file_that_becomes_shorter_is_an_error_mapped_or_not(self):
        stream = demo()
        for options in ([], ["--no-map"]):
            with self.subTest(options), tempfile.NamedTemporaryFile(suffix=".ts") as file:
                file.write(stream)
                file.flush()
                # At this pace the input takes 20 s.
                process = subprocess.Popen(
                    [TOOL, "sections", file.name, "--pace", "0.5", "--pid", "0", "--table-id", "0",
                     *options], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                process.stdout.read(1)  # the input plays
                file.truncate(188 * 100)
                _, errors = process.communicate(timeout=60)
                self.assertEqual(process.returncode, 2, errors)
                self.assertRegex(errors.decode(), "cannot read " + re.escape(file.name) +
                                 r" at byte \d+: it has become shorter")

    def test_a_file_is_the_same_mapped_or_not(self):
        with tempfile.NamedTemporaryFile(suffix=".ts") as file:
            self.assertEqual(run("generate", file.name, "--rate", "20000000", "--duration",
                                 "4s").returncode, 0)  # longer than the part that is mapped at a time
            mapped, document = scan_json(file.name)
            self.assertEqual(document, scan_json(file.name, "--no-map")[1])
            self.assertEqual(mapped.returncode, 0)

    def test_what_cannot_be_is_named(self):
        for arguments, words in (
                (["--loop", "-"], "cannot open standard input: only an input that can be read again"),
                (["rtp://nowhere:1"], "rtp://nowhere:1"),
                (["dvb:0:300"], "DEMUX must be a number from 0 to 255"),
                (["--dvr", "dvb:255"], "/dev/dvb/adapter255/dvr0"),
                (["dvb:255"], "/dev/dvb/adapter255/demux0")):
            with self.subTest(arguments):
                done = run("scan", *arguments)
                self.assertEqual(done.returncode, 2)
                self.assertIn(words, done.stderr)


class Receiver(unittest.TestCase):
    def test_faults_are_counted_and_the_same_again(self):
        arguments = ["demo:", "--fault", "drop=1/50", "--fault", "corrupt=1/100", "--fault-seed"]
        documents = [scan_json(*arguments, seed)[1] for seed in ("7", "7", "8")]
        self.assertEqual(list(documents[0]["faults"]), ["drop", "corrupt"])
        self.assertGreater(documents[0]["faults"]["drop"], 0)
        self.assertGreater(documents[0]["counters"]["continuity_gaps"], 0)
        self.assertEqual(documents[0], documents[1])
        self.assertNotEqual(documents[0]["counters"], documents[2]["counters"])
        self.assertNotIn("faults", scan_json("demo:")[1])

    def test_faults_stand_in_the_text(self):
        done = run("scan", "demo:", "--fault", "silent@0")
        self.assertIn("Faults on purpose", done.stdout)
        self.assertRegex(done.stdout, r"silent +1  ")

    def test_a_refused_filter_is_told(self):
        done = run("sections", "demo:", "--pid", "0", "--table-id", "0", "--fault",
                   "refuse-subscribe@0")
        self.assertEqual(done.returncode, 1)
        self.assertIn("the platform refused the filter", done.stderr)

    def test_the_cache_serves_the_second_client(self):
        for pid, table_id in (("0", "0"), ("0x110", "2"), ("0x11", "0x42")):
            arguments = ["sections", "demo:", "--pid", pid, "--table-id", table_id, "--from-cache",
                         "--format", "json"]
            done = run(*arguments)
            self.assertEqual(done.returncode, 0, done.stderr)
            document = json.loads(done.stdout)
            self.assertGreater(document["counters"]["cached_sections"], 0)
            cached = document["sections"][:document["counters"]["cached_sections"]]
            self.assertEqual([s["section_number"] for s in cached], list(range(len(cached))))
        document = json.loads(run(*arguments, "--cache-bytes", "0").stdout)
        self.assertEqual(document["counters"]["cached_sections"], 0)

    def test_a_table_that_does_not_repeat_is_not_asked_of_the_cache(self):
        done = run("sections", "-", "--pid", "0", "--table-id", "0", "--from-cache",
                   stdin=pat_packet([(1, 100)]))
        self.assertEqual(done.returncode, 3)
        self.assertIn("did not repeat", done.stderr)
        done = run("sections", "-", "--pid", "0", "--table-id", "0", "--from-cache", "--format",
                   "json", stdin=pat_packet([(1, 100)]))
        document = json.loads(done.stdout)
        self.assertIsNone(document["subscription"])
        self.assertEqual(document["sections"], [])

    def test_wrong_receivers_are_wrong_usage(self):
        for arguments, word in (
                (["--fault", "drop"], 'fault "drop", offset 4'),
                (["--fault", "burn=1/2"], "burn"),
                (["--filters", "0"], "0 filters"),
                (["--filters", "4097"], "4097 filters"),
                (["--cache-bytes", "-1"], "-1"),
                (["--filters", ""], "--filters"),
                (["--filters", "4294967296"], "out of range"),
                (["--fault-seed", "x"], "--fault-seed")):
            with self.subTest(arguments):
                done = run("scan", "demo:", *arguments)
                self.assertEqual(done.returncode, 1)
                self.assertIn(word, done.stderr)

    def test_a_refused_filter_leaves_the_scan_incomplete(self):
        # The order in which the second pass sets its filters; filter 0 belongs to the first pass.
        names = ("pat", "cat", "nit", "nit other", "sdt", "bat", "eit", "pmt 1101", "pmt 1102")
        for number, name in enumerate(names, 1):
            with self.subTest(name):
                done, document = scan_json("demo:", "--fault", f"refuse-subscribe@{number}")
                self.assertEqual(document["faults"], {"refuse-subscribe": 1})
                self.assertEqual(done.returncode, 3)
                self.assertEqual(missing(document)[0], name)
                self.assertTrue(all(entry["sections"] is None for entry in document["missing"]))

    def test_numbers_with_a_leading_zero_are_decimal(self):
        # The demo wants 16.
        for filters in ("010", "10", "0xA"):
            _, document = scan_json("demo:", "--filters", filters)
            self.assertEqual(document["counters"]["refused_subscriptions"], 6)
        _, document = scan_json("demo:", "--filters", "8")
        self.assertEqual(document["counters"]["refused_subscriptions"], 8)
        seeded = {seed: scan_json("demo:", "--fault", "drop=1/50", "--fault-seed", seed)[1]
                  for seed in ("8", "10", "010")}
        self.assertEqual(seeded["010"], seeded["10"])
        self.assertNotEqual(seeded["010"], seeded["8"])
        self.assertEqual(run("scan", "demo:", "--cache-bytes", "08").returncode, 0)

    def test_few_filters_leave_the_scan_incomplete(self):
        done, document = scan_json("demo:", "--filters", "2")
        self.assertEqual(done.returncode, 3)
        refused = document["counters"]["refused_subscriptions"]
        self.assertGreater(refused, 0)
        self.assertIn(f"the receiver refused {refused} of the filters", done.stderr)
        self.assertNotEqual(document["missing"], [])


class Sections(unittest.TestCase):
    def test_table_id_filter_lets_that_table_through(self):
        done = run("sections", "demo:", "--pid", "0", "--table-id", "0x00", "--format", "json")
        self.assertEqual(done.returncode, 0, done.stderr)
        document = json.loads(done.stdout)
        self.assertEqual(list(document), ["schema", "subscription", "sections", "timed_out",
                                          "input", "counters"])
        self.assertGreater(len(document["sections"]), 1)
        for section in document["sections"]:
            self.assertEqual(section["table_id"], 0)
            self.assertEqual(section["length"] * 2, len(section["data"]))
        self.assertEqual(document["counters"]["delivered_sections"], len(document["sections"]))

    def test_extension_narrows_it(self):
        stream = b"".join(pat_packet([(n, 100)], continuity_counter=n) for n in range(3))
        for extension, count in (("1", 3), ("0x2", 0)):
            done = run("sections", "-", "--pid", "0x0", "--table-id", "0", "--extension", extension,
                       "--format", "json", stdin=stream)
            self.assertEqual(len(json.loads(done.stdout)["sections"]), count)

    def test_pattern_mask_and_mode(self):
        stream = b"".join(pat_packet([(1, 100)], version=v, continuity_counter=v) for v in (3, 4))
        arguments = ["sections", "-", "--pid", "0", "--format", "json", "--pattern",
                     "00 0000 0000 C9", "--mask", "FF:00:00:00:00:3E"]
        positive = json.loads(run(*arguments, stdin=stream).stdout)["sections"]
        negative = json.loads(run(*arguments, "--mode", "00000000003E", stdin=stream).stdout)[
            "sections"]
        self.assertEqual([s["version_number"] for s in positive], [4])
        self.assertEqual([s["version_number"] for s in negative], [3])

    def test_one_shot_and_count_end_early(self):
        for option, count in ((["--filter-mode", "one-shot"], 1), (["--count", "2"], 2)):
            done = run("sections", "demo:", "--pid", "0", "--table-id", "0", "--format", "json",
                       *option)
            self.assertEqual(done.returncode, 0)
            self.assertEqual(len(json.loads(done.stdout)["sections"]), count)

    def test_too_few_for_the_count_is_incomplete(self):
        done = run("sections", "-", "--pid", "0", "--table-id", "0", "--count", "2",
                   stdin=pat_packet([(1, 100)]))
        self.assertEqual(done.returncode, 3)

    def test_toggle_alternates_between_the_table_ids_of_a_pair(self):
        done = run("sections", "demo:", "--pid", "0x12", "--pattern", "4E", "--mask", "FE",
                   "--filter-mode", "toggle", "--format", "json")
        table_ids = [s["table_id"] for s in json.loads(done.stdout)["sections"]]
        self.assertGreater(len(table_ids), 2)
        for before, after in zip(table_ids, table_ids[1:]):
            self.assertEqual(before ^ 1, after)

    def test_binary_is_the_bare_sections(self):
        packet = pat_packet([(1, 100)])
        done = run("sections", "-", "--pid", "0", "--table-id", "0", "--format", "binary",
                   stdin=packet, text=False)
        self.assertEqual(done.stdout, packet[5:5 + 16])

    def test_hex_shows_header_fields_and_bytes(self):
        done = run("sections", "-", "--pid", "0", "--table-id", "0", stdin=pat_packet([(1, 100)]))
        self.assertIn("subscription 2, PID 0 (0x0000), table_id 0 (0x00), extension 1 (0x0001), "
                      "version 0, section 0 of 0 to 0, 16 bytes\n", done.stdout)
        self.assertIn("  0000  00 b0 0d 00 01 c1 00 00 00 01 e0 64 ", done.stdout)

    def test_a_time_out_is_waited_for_and_told(self):
        begin = time.monotonic()
        done = run("sections", "-", "--pid", "0x1FF", "--table-id", "0", "--timeout", "300ms",
                   "--format", "json", stdin=pat_packet([(1, 100)]))
        self.assertGreaterEqual(time.monotonic() - begin, 0.3)
        self.assertEqual(done.returncode, 3)
        self.assertIs(json.loads(done.stdout)["timed_out"], True)
        self.assertIn("time-out", done.stderr)

    def test_an_empty_section_in_place_of_a_one_shots_is_waited_out(self):
        for fault in ("zero-length@0", "cut@0:to=0"):
            with self.subTest(fault):
                done = run("sections", "demo:", "--pid", "0", "--table-id", "0", "--filter-mode",
                           "one-shot", "--timeout", "300ms", "--fault", fault, "--format", "json")
                self.assertEqual(done.returncode, 3)
                self.assertEqual(json.loads(done.stdout)["sections"], [])
                self.assertIn("the one-shot was consumed by an empty section", done.stderr)

    def test_a_section_in_time_cancels_it(self):
        done = run("sections", "-", "--pid", "0", "--table-id", "0", "--timeout", "10min",
                   "--format", "json", stdin=pat_packet([(1, 100)]))
        self.assertEqual(done.returncode, 0)
        self.assertIs(json.loads(done.stdout)["timed_out"], False)


    def test_the_packet_size_is_told_however_it_ends(self):
        stream = demo()
        wide = b"".join(stream[at:at + 188] + bytes(16) for at in range(0, len(stream), 188))
        for packets, size in ((stream, 188), (wide, 204)):
            for options in ([], ["--count", "1"], ["--filter-mode", "one-shot"]):
                with self.subTest(size=size, options=options):
                    done = run("sections", "-", "--pid", "0", "--table-id", "0", "--format",
                               "json", *options, stdin=packets)
                    self.assertEqual(json.loads(done.stdout)["input"]["packet_size"], size)

    def test_counts_in_words_that_fit(self):
        for count, words in (("1", "1 section from"), ("2", "2 sections from")):
            done = run("sections", "demo:", "--pid", "0", "--table-id", "0", "--count", count)
            self.assertTrue(done.stderr.startswith(words), done.stderr)

    def test_header_fields_are_those_of_a_whole_section_with_the_long_header(self):
        fields = ("table_id_extension", "version_number", "current_next_indicator",
                  "section_number", "last_section_number")

        def shown(pid, table_id, *options):
            done = run("sections", "demo:", "--pid", pid, "--table-id", table_id, "--count", "1",
                       "--format", "json", *options)
            return json.loads(done.stdout)["sections"][0]
        pat = shown("0", "0")
        self.assertEqual([pat[field] for field in fields], [
            int(pat["data"][6:10], 16), int(pat["data"][10:12], 16) >> 1 & 0x1F, True,
            int(pat["data"][12:14], 16), int(pat["data"][14:16], 16)])
        short = shown("0x14", "0x70")  # TDT
        cut = shown("0", "0", "--fault", "cut@0:to=12")
        for section in (short, cut):
            self.assertEqual([section[field] for field in fields], [None] * 5)
        self.assertEqual(cut["length"], 12)


class Memory(unittest.TestCase):
    @staticmethod
    def distinct_sections(count):
        """EIT present/following of `count` services, each with an event and its descriptors."""
        event = bytes([0, 1, 0xE0, 0, 0, 0, 0, 0, 0, 0, 0, 144]) + bytes([0x80, 0]) * 72
        for n in range(count):
            yield section_packet(0x12, 0x4E, n, bytes([0, 1, 0, 2, 0, 0x4E]) + event,
                                 continuity_counter=n % 16)

    def test_without_memory_it_says_so_and_ends(self):
        """Memory runs out during a scan, on any of its threads."""
        for command in (["scan", "-"],
                        ["sections", "-", "--pid", "0x12", "--table-id", "0x4E", "--from-cache"]):
            with self.subTest(command):
                reader, writer = os.pipe()
                process = subprocess.Popen([TOOL, *command], stdin=reader,
                                           stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
                os.close(reader)
                os.write(writer, b"".join(pat_packet([(1, 100)], continuity_counter=n)
                                          for n in range(16)))
                while fcntl.ioctl(writer, termios.FIONREAD, b"\0\0\0\0") != b"\0\0\0\0":
                    time.sleep(0.001)
                status = pathlib.Path(f"/proc/{process.pid}/status").read_text("utf-8")
                data = int(next(line for line in status.splitlines()
                                if line.startswith("VmData")).split()[1]) * 1024
                resource.prlimit(process.pid, resource.RLIMIT_DATA, (data, data))
                try:
                    for packet in self.distinct_sections(4000):
                        os.write(writer, packet)
                except BrokenPipeError:
                    pass  # the tool has ended
                os.close(writer)
                _, errors = process.communicate(timeout=60)
                self.assertEqual(process.returncode, 2, errors)
                self.assertIn(b"torvelsi: out of memory\n", errors)


class CommandLine(unittest.TestCase):
    def test_wrong_usage_is_1_and_says_what(self):
        for arguments, word in (
                ([], "subcommand"),
                (["nonsense"], "nonsense"),
                (["scan"], "INPUT"),
                (["scan", "demo:", "--format", "xml"], "xml"),
                (["scan", "demo:", "--log-level", "loud"], "loud"),
                (["generate"], "OUT"),
                (["generate", "x", "--seed", "-1"], "-1"),
                (["generate", "x", "--rate", "1000000"], "must be at least 1203200"),
                (["generate", "x", "--rate", "fast"], "fast"),
                (["generate", "x", "--duration", "0"], "would have 0 bytes"),
                (["generate", "x", "--duration", "2000min"], "expected 188 to 500000000"),
                (["generate", "x", "--rate", "40000000", "--scenario", "broadcast"], "--rate"),
                (["sections", "demo:"], "--pid"),
                (["sections", "demo:", "--pid", "0"], "--table-id"),
                (["sections", "demo:", "--pid", "0x2000", "--table-id", "0"], "0x2000"),
                (["sections", "demo:", "--pid", "zero", "--table-id", "0"], "zero"),
                (["sections", "demo:", "--pid", "0", "--table-id", "256"], "256"),
                (["sections", "demo:", "--pid", "0", "--extension", "1"], "--table-id"),
                (["sections", "demo:", "--pid", "0", "--table-id", "0", "--count", "0"], "--count"),
                (["sections", "demo:", "--pid", "0", "--pattern", "00"], "--mask"),
                (["sections", "demo:", "--pid", "0", "--pattern", "0", "--mask", "FF"], "'0'"),
                (["sections", "demo:", "--pid", "0", "--pattern", "00", "--mask", "FFFF"],
                 "--mask"),
                (["scan", "demo:", "--timeout", "5h"], "5h"),
                (["scan", "demo:", "--timeout", ""], "--timeout"),
                (["scan", "demo:", "--pace=0"], "--pace"),
                (["scan", "demo:", "--pace=-1"], "--pace"),
                (["scan", "demo:", "--pace=nan"], "--pace"),
                (["scan", "demo:", "--pace=0.0009"], "--pace: '0.0009' is not a number from 0.001"),
                (["scan", "demo:", "--pace=1000001"], "to 1000000"),
                (["scan", "demo:", "--pace=1e-300"], "--pace"),
                (["scan", "demo:", "--pace=1e999"], "--pace"),
                (["scan", "demo:", "--pace", "1x"], "--pace"),
                (["scan", "demo:", "--pace", "inf"], "--pace"),
                (["scan", "demo:", "--loop", "--follow"], "--follow"),
                (["scan", "demo:", "--dvr"], "--dvr"),
                (["sections", "/dev/null", "--dvr", "--pid", "0", "--table-id", "0"], "--dvr"),
                (["generate", "x", "--rate", ""], "--rate"),
                (["generate", "x", "--duration", ""], "--duration"),
                (["sections", "demo:", "--pid", "0", "--table-id", ""], "--table-id"),
                (["sections", "demo:", "--pid", "0", "--table-id", "0", "--extension", ""],
                 "--extension"),
                (["sections", "demo:", "--pid", "0", "--table-id", "0", "--timeout", ""],
                 "--timeout"),
                (["sections", "demo:", "--pid", "0", "--table-id", "0", "--count", ""], "--count"),
                (["sections", "demo:", "--pid", "0", "--pattern", "", "--mask", ""], "--pattern"),
                (["sections", "demo:", "--pid", "0", "--pattern", "00", "--mask", "FF", "--mode",
                  ""], "--mode"),
                (["sections", "demo:", "--pid", "0", "--table-id", "0", "--timeout", "5h"], "5h"),
                (["sections", "demo:", "--pid", "0", "--table-id", "0", "--timeout", "60000min"],
                 "too long")):
            with self.subTest(arguments):
                done = run(*arguments)
                self.assertEqual(done.returncode, 1, done.stderr)
                self.assertIn(word, done.stderr)

    def test_objections_are_the_tools_and_harmless(self):
        for arguments in (["--timeout", "\x1b[31m"], ["--format", "\x1b[31m"], ["\x1b[31m"],
                          ["--log-level", "\x1b[31m"]):
            with self.subTest(arguments):
                done = run("scan", "x", *arguments)
                self.assertEqual(done.returncode, 1)
                self.assertTrue(done.stderr.startswith("torvelsi: "), done.stderr)
                self.assertIn(r"\x1B[31m", done.stderr)
                self.assertNotIn("\x1b", done.stderr)

    def test_help_and_version(self):
        for arguments in (["--help"], ["scan", "--help"], ["sections", "--help"],
                          ["generate", "--help"], ["--version"]):
            done = run(*arguments)
            self.assertEqual(done.returncode, 0)
            self.assertNotEqual(done.stdout, "")
        self.assertRegex(run("scan", "--help").stdout, r"--timeout \S+=30s")


class Interrupts(unittest.TestCase):
    def test_a_signal_before_anything_plays_is_not_lost(self):
        with tempfile.TemporaryDirectory() as folder:
            fifo = os.path.join(folder, "fifo")
            os.mkfifo(fifo)
            for _ in range(10):
                process = subprocess.Popen([TOOL, "scan", fifo], stdout=subprocess.DEVNULL,
                                           stderr=subprocess.DEVNULL)
                process.send_signal(signal.SIGINT)
                self.assertIn(process.wait(timeout=20), (3, -signal.SIGINT))

    def test_it_ends_a_generator_that_cannot_go_on(self):
        with tempfile.TemporaryDirectory() as folder:
            fifo = os.path.join(folder, "fifo")
            os.mkfifo(fifo)
            reader = os.open(fifo, os.O_RDONLY | os.O_NONBLOCK)
            process = subprocess.Popen([TOOL, "generate", fifo])
            # The stream is larger than a pipe, and no process reads the pipe.
            while fcntl.ioctl(reader, termios.FIONREAD, b"\0\0\0\0") == b"\0\0\0\0":
                time.sleep(0.001)
            process.send_signal(signal.SIGINT)
            try:
                self.assertEqual(process.wait(timeout=5), -signal.SIGINT)
            finally:
                process.kill()
                process.wait()
                os.close(reader)

    def test_one_signal_is_enough_when_nobody_reads_the_output(self):
        endless = ["demo:", "--loop", "--pid", "0", "--table-id", "0"]
        for arguments in (["scan", "demo:"],
                          ["scan", "demo:", "--format", "json"],
                          ["sections", *endless],
                          ["sections", *endless, "--format", "json"],
                          ["generate", "-"]):
            for number in (signal.SIGINT, signal.SIGTERM):
                with self.subTest(arguments=arguments, signal=number):
                    reader, writer = os.pipe()
                    fcntl.fcntl(writer, 1031, 4096)  # F_SETPIPE_SZ
                    process = subprocess.Popen([TOOL, *arguments], stdout=writer,
                                               stderr=subprocess.DEVNULL)
                    try:
                        while select.select([], [writer], [], 0)[1]:
                            self.assertIsNone(process.poll())
                            time.sleep(0.001)
                        process.send_signal(number)
                        # The remaining output of `sections` may fit into the pipe.
                        fits = (0,) if arguments[0] == "sections" else ()
                        self.assertIn(process.wait(timeout=20), (128 + number, -number) + fits)
                    finally:
                        process.kill()
                        process.wait()
                        os.close(reader)
                        os.close(writer)

    def test_a_reader_that_is_slow_gets_everything(self):
        """A signal does not cut off output that another process reads, however slowly."""
        reader, writer = os.pipe()
        fcntl.fcntl(writer, 1031, 4096)  # F_SETPIPE_SZ
        process = subprocess.Popen([TOOL, "scan", "demo:broadcast", "--format", "json"],
                                   stdout=writer, stderr=subprocess.DEVNULL)
        os.close(writer)
        output = os.read(reader, 1024)
        process.send_signal(signal.SIGINT)
        while piece := os.read(reader, 4096):
            output += piece
            time.sleep(0.05)
        os.close(reader)
        self.assertEqual(process.wait(timeout=20), 3)  # the scenario lacks a PMT
        scan_document(output.decode())

    def interrupted(self, *arguments, after, until=b""):
        """Feeds a pipe that never ends, and interrupts the tool when it has handled everything."""
        reader, writer = os.pipe()
        process = subprocess.Popen([TOOL, *arguments], stdin=reader, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE)
        os.close(reader)
        output = b""
        if until:
            os.write(writer, after)
            while until not in output:
                output += os.read(process.stdout.fileno(), 65536)
        else:
            # The tool prints only at the end. When it has read the last packet from the pipe, it
            # has handled all packets before it.
            for part in (after[:-188], after[-188:]):
                os.write(writer, part)
                while fcntl.ioctl(writer, termios.FIONREAD, b"\0\0\0\0") != b"\0\0\0\0":
                    time.sleep(0.001)
        process.send_signal(signal.SIGINT)
        rest, errors = process.communicate(timeout=60)
        os.close(writer)
        return process.returncode, (output + rest).decode(), errors.decode()

    def test_scan_prints_what_it_has(self):
        status, output, errors = self.interrupted("scan", "-", "--format", "json", after=demo())
        document = scan_document(output)
        self.assertIsNotNone(document["pat"])
        self.assertGreater(document["counters"]["packets"], 0)
        self.assertGreater(document["counters"]["delivered_sections"], 0)
        self.assertIs(document["complete"], False)
        self.assertEqual(missing(document), ["rest of the input"])
        self.assertEqual(status, 3, errors)

    # 6 packets: the tool needs five to find the packet boundaries.
    PATS = b"".join(pat_packet([(1, 100)], continuity_counter=n) for n in range(6))

    def test_sections_closes_its_document(self):
        status, output, errors = self.interrupted("sections", "-", "--pid", "0", "--table-id", "0",
                                                  "--format", "json", after=self.PATS,
                                                  until=b"data")
        document = json.loads(output)
        self.assertGreater(len(document["sections"]), 0)
        self.assertGreater(document["counters"]["packets"], 0)
        self.assertGreater(document["input"]["packets"], 0)
        self.assertEqual(status, 0, errors)

    def test_fewer_sections_than_were_asked_for_are_incomplete(self):
        status, output, errors = self.interrupted("sections", "-", "--pid", "0", "--table-id", "0",
                                                  "--count", "1000", "--format", "json",
                                                  after=self.PATS, until=b"data")
        self.assertGreater(len(json.loads(output)["sections"]), 0)
        self.assertEqual(status, 3, errors)

    def test_sections_that_wait_for_a_second_client_close_their_document(self):
        status, output, errors = self.interrupted("sections", "-", "--pid", "0", "--table-id", "0",
                                                  "--from-cache", "--format", "json",
                                                  after=self.PATS[:188] + section_packet(
                                                      0x1FF, 0x80, 0) * 5)
        document = json.loads(output)
        self.assertIsNone(document["subscription"])
        self.assertGreater(document["counters"]["packets"], 0)
        self.assertEqual(errors, "")
        self.assertEqual(status, 0)

    def test_sections_for_people_end_with_counters(self):
        status, output, errors = self.interrupted("sections", "-", "--pid", "0", "--table-id", "0",
                                                  after=self.PATS, until=b"subscription")
        self.assertIn("subscription", output)
        self.assertRegex(errors, r"(?m)^ +packets +[1-9]")
        self.assertRegex(errors, r"(?m)^ +delivered_sections +[1-9]")
        self.assertEqual(status, 0, errors)


if __name__ == "__main__":
    TOOL = sys.argv.pop(1)
    os.environ.update(watched(50))
    unittest.main()
