# SPDX-License-Identifier: Apache-2.0
"""Runs the host application as a person would, against the development service behaving and not.

usage: check_brivane.py BRIVANE BRIVANE_SERVICE WALKS_FOLDER
"""
import json
import os
import pathlib
import pty
import re
import signal
import sqlite3
import subprocess
import sys
import tempfile
import unittest

BRIVANE, SERVICE, WALKS = sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3])
sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "support"))
from programs import start_service  # noqa: E402

CAPTURE = str(WALKS / "old-town.btsnoop")
REPLAY = ["detect", "--capture", CAPTURE, "--speed", "max"]
NAMES = [b["name"] for p in json.loads((WALKS / "old-town.json").read_text())["places"] for b in p["beacons"]]


def read_until_closed(terminal):
    try:
        return os.read(terminal, 4096)
    except OSError:  # so a terminal says that nobody writes any more
        return b""


class Brivane(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.environment = {**os.environ, "XDG_CONFIG_HOME": folder.name, "XDG_STATE_HOME": folder.name,
                            "XDG_DATA_HOME": folder.name}

    def service(self, *options):
        return start_service(self, SERVICE, WALKS, "--state", self.folder, *options)

    def run_brivane(self, *arguments, program=BRIVANE, stdout=subprocess.PIPE, **more):
        return subprocess.run([program, *arguments], stdout=stdout, stderr=subprocess.PIPE, text=True, timeout=60,
                              env={**self.environment, **more}, cwd=self.folder)

    def test_a_walk_names_every_place_and_no_other_and_always_the_same(self):
        reach = self.service()
        once, again = (self.run_brivane(*REPLAY, *reach, "--json") for _ in range(2))
        self.assertEqual((once.returncode, once.stderr), (0, ""))
        self.assertEqual(once.stdout, again.stdout)
        events = [json.loads(line) for line in once.stdout.splitlines()]
        self.assertEqual(events[0], {"t": 0, "event": "ready"})
        self.assertEqual(list(dict.fromkeys(e["waybeacon"]["name"] for e in events[1:])), NAMES)
        spoken = self.run_brivane(*REPLAY, *reach, "--track", str(WALKS / "old-town.gpx"), "--gps")
        for news in ("New", "Nearest"):
            self.assertEqual(re.findall(rf"(?m)^ +\d+:\d\d  {news}: (.+?)\. .+$", spoken.stdout), NAMES)
        self.assertRegex(spoken.stdout, r"\A  0:00  New: Puerta del Río\. .+ durante 10 m\.\n")  # by position
        self.assertTrue(spoken.stdout.endswith(f"{len(NAMES)} places in 601 seconds.\n"))
        logged = self.run_brivane(*REPLAY, *reach, "--for", "1", "--log")
        self.assertIn("API Key: dev-key - API Secret: dev-secret", logged.stderr)

    def test_questions_are_answered(self):
        reach = self.service()
        nearest = self.run_brivane("nearest", "41.6521", "-4.7285", "60", "--json", *reach)
        places = json.loads(nearest.stdout.splitlines()[1])["places"]
        self.assertEqual([p["local"]["name"] for p in places], ["Puerta del Río", "Panadería La Espiga"])
        nowhere = self.run_brivane("nearest", "0", "-0.5", "60", *reach)
        self.assertEqual(nowhere.stdout, "No places there.\n")
        kept = self.run_brivane("payload", "old-town-0001", '{"a":"ñ&uuid="}', *reach)
        self.assertEqual(kept.stdout, 'Attached: {"uuid":"old-town-0001","payload":{"a":"n&uuid="}}\n')
        info = [json.loads(self.run_brivane("info", "--json").stdout) for _ in range(2)]
        self.assertEqual(info[0], info[1])
        self.assertEqual(info[0]["region"], "5C8E3D7A-41B2-4F60-9E0B-27D1A6C4F385")
        for program in BRIVANE, SERVICE:
            version = self.run_brivane("--version", program=program).stdout
            self.assertEqual(info[0]["library"].split()[1], version.split()[1])
        unstored = self.run_brivane("info", XDG_CONFIG_HOME="/proc")
        self.assertEqual((unstored.returncode, unstored.stderr.count("\n")), (0, 1))
        self.assertIn("cannot be stored", unstored.stderr)

    def test_a_service_that_fails_ends_in_one_line(self):
        good = self.service("--fault", "delay=1:1")
        bad_key = self.folder / "bad.plist"
        bad_key.write_text((WALKS / "Info.plist").read_text().replace("dev-key", "other"))
        walk, nearest, payload = REPLAY, ["nearest", "0", "0", "1"], ["payload", "x", "{}"]
        late = self.service("--token-lifetime", "1", "--fault", "delay=1:600")
        deep = ["payload", "old-town-0001", '{"a":' + "[" * 101 + "]" * 101 + "}"]
        faults = {"drop=1": "no answer: .+", "reset=1": "no answer: .+", "status-500=1": "status 500",
                  "bad-json=1": "its answer cannot be read: status 200"}
        rows = [
            *((self.service("--fault", fault), [walk, nearest, payload], f"not ready: {complaint}")
              for fault, complaint in faults.items()),
            ([*good, "--info", bad_key], [walk], "not ready: status 401"),
            ([*good, "--connect", "127.0.0.1:1"], [walk], "not ready: no answer: Failed to connect .+"),
            (late, [nearest], "no list of places: status 401"), (late, [payload], "the payload was not taken: status 401"),
            (good, [deep], "the payload was not taken: status 400"),
        ]
        for reach, commands, complaint in rows:
            for command in commands:
                got = self.run_brivane(*command, *reach)
                self.assertEqual((got.returncode, got.stdout), (1, ""), got)
                self.assertRegex(got.stderr, rf"^brivane: the service at api.brivane.example: {complaint}\n$")
        refused = self.run_brivane("payload", "unknown", "{}", *good)
        self.assertEqual((refused.returncode, refused.stderr), (1, "brivane: the service knows no beacon 'unknown'\n"))

    def test_a_walk_is_told_what_fails_and_loses_nothing_that_can_be_had(self):
        spoiled = self.run_brivane(*REPLAY, "--json", *self.service("--fault", "status-500=0.3", "--seed", "6"))
        self.assertEqual(spoiled.returncode, 1)
        self.assertRegex(spoiled.stderr, r"\A.+: status 500\n.+: \d+ of \d+ requests failed: .+\n\Z")
        expiring = self.run_brivane(*REPLAY, "--json", *self.service("--token-lifetime", "1", "--fault", "delay=1:100"))
        self.assertEqual(expiring.returncode, 0, expiring)
        self.assertRegex(expiring.stderr, r"\A(brivane: the access token had expired; logged in anew\n)+\Z")
        for walk in (spoiled, expiring):
            events = [json.loads(line) for line in walk.stdout.splitlines()]
            self.assertEqual({e["match"] for e in events if e["event"] == "match"} - {None},
                             {f"old-town-{i:04}" for i in range(1, 16)})

    def test_a_walk_without_the_service_names_what_was_named_before(self):
        reach = self.service()
        known = self.run_brivane(*REPLAY, *reach, "--offline")
        with sqlite3.connect(self.folder / "brivane" / "answers.sqlite") as answers:
            answers.execute("UPDATE answers SET received = received - 86400 WHERE NOT unknown")
        answers.close()
        alone = [*REPLAY, *reach, "--connect", "127.0.0.1:1", "--offline"]
        kept = self.run_brivane(*alone)
        self.assertEqual((kept.returncode, kept.stderr.count("\n")), (0, 1), kept.stderr)
        self.assertIn("the service at api.brivane.example does not answer", kept.stderr)
        self.assertEqual(kept.stdout.replace(" (from yesterday)", ""), known.stdout)
        self.assertEqual(kept.stdout.count(" (from yesterday)\n"), known.stdout.count("\n") - 1)
        count = len(NAMES) + 1  # one beacon of the walk is not the town's
        self.assertRegex(self.run_brivane("info").stdout, rf"(?m)^answers +{count} kept$")
        self.assertEqual(self.run_brivane("forget").stdout, f"Answers forgotten: {count}\n")
        forgotten = self.run_brivane(*alone, "--for", "60")
        self.assertEqual((forgotten.returncode, forgotten.stdout), (1, "0 places in 60 seconds.\n"))
        self.assertIn("no answer is kept", forgotten.stderr)

    def test_output_that_cannot_be_written_ends_in_one_line(self):
        reach = self.service()
        commands = [["info"], ["--help"], ["--version"], ["scan", *REPLAY[1:]], [*REPLAY, *reach],
                    ["nearest", "0", "0", "1", *reach], ["payload", "old-town-0001", "{}", *reach]]
        with open("/dev/full", "w") as full:
            shut, closed = os.pipe()
            os.close(shut)
            for command, output in [(c, o) for c in commands for o in (full, closed)]:
                got = self.run_brivane(*command, stdout=output)
                self.assertEqual((got.returncode, got.stderr.count("\n")), (1, 1), got)
                self.assertIn("standard output", got.stderr)
            os.close(closed)
            service = self.run_brivane(WALKS / "old-town.json", program=SERVICE, stdout=full)
            self.assertEqual((service.returncode, service.stderr.count("\n")), (1, 1), service)

    def test_only_a_terminal_that_can_take_lines_back_gets_escapes(self):
        for terminal, escapes in (("dumb", False), ("xterm", True)):
            ours, theirs = pty.openpty()
            command = [BRIVANE, "scan", *REPLAY[1:], "--for", "30"]
            with subprocess.Popen(command, stdout=theirs, stderr=theirs, env={**self.environment, "TERM": terminal}):
                os.close(theirs)
                said = b""
                while chunk := read_until_closed(ours):
                    said += chunk
            os.close(ours)
            self.assertIn(b"dBm", said)
            self.assertEqual(b"\x1b" in said, escapes)

    def test_a_capture_may_be_empty_or_have_a_clock_that_jumps(self):
        capture = pathlib.Path(CAPTURE).read_bytes()
        record = capture[16:16 + 24 + int.from_bytes(capture[16:20], "big")]
        (self.folder / "empty").write_bytes(capture[:16])
        (self.folder / "jump").write_bytes(capture[:16] + record[:16] + bytes(8) + record[24:] + capture[16:])
        scan = ["scan", "--speed", "max", "--capture"]
        self.assertEqual(self.run_brivane(*scan, "empty").stdout, "No beacon of the network was heard.\n")
        jump = self.run_brivane(*scan, "jump", "--json")
        self.assertEqual(jump.stdout.count("\n"), self.run_brivane(*scan, CAPTURE, "--json").stdout.count("\n") + 3602)
        self.assertRegex(jump.stderr, r"\A.+ silent for \d{6} hours, or its clock jumps; .+\n\Z")

    def test_wrong_options_and_files_end_in_one_line(self):
        info = str(WALKS / "Info.plist")
        (self.folder / "cut").write_bytes((WALKS / "old-town.btsnoop").read_bytes()[:70000])
        (self.folder / "empty.plist").write_text("<plist><dict/></plist>")
        damaged = self.folder / "brivane" / "preferences"
        walk, service = [*REPLAY, "--info", info], [WALKS / "old-town.json"]
        wrong = {BRIVANE: [
            ([], "command"), (["fly"], "fly"), (["detect"], "--capture"), ([*walk, "--speed", "0"], "--speed"),
            (["nearest", "91", "0", "1"], "LAT"), (["nearest", "nan", "0", "1"], "LAT"),
            (["nearest", "1", "0", "-1"], "RADIUS"), (["scan", "--for", "nan"], "--for"), (REPLAY, "Info.plist"),
            (["scan", "--adapter", "x"], "--adapter"), (["payload", "", "{}", "--info", info], "UUID"),
            (["payload", "u", "[1]", "--info", info], "JSON"), ([*walk, "--ca", info], f"--ca: {info}: no certificate"),
            ([*REPLAY, "--info", "empty.plist"], "empty.plist: Not found"), ([*walk, "--connect", "x"], "--connect"),
            ([*walk, "--ca", "none"], "--ca: none: no certificate"), ([*walk, "--capture", "none"], "none: No such file"),
            ([*REPLAY, *self.service(), "--capture", "cut"], "cut: byte 69988: the file ends"),
            *(([*walk, option, file], f"{file}: not a file")
              for option, file in [("--track", "/"), ("--capture", "/"), ("--capture", "/dev/null")]),
        ], SERVICE: [
            (["none"], "none: No such file"), (["cut"], "cut: line"), (["/"], "/: not a file"),
            ([*service, "--credentials", "none"], "none: No such file"),
            ([*service, "--fault", "x=1"], "--fault: 'x' is none of bad-json, delay, drop"),
            ([*service, "--port", "70000"], "--port: Value 70000 not in range 0 to 65535"),
        ]}
        for program, arguments, mentioned in [(p, *row) for p, rows in wrong.items() for row in rows]:
            got = self.run_brivane(*arguments, program=program)
            self.assertEqual((got.returncode, got.stderr.count("\n")), (2, 1), got)
            self.assertIn(mentioned, got.stderr)
        damaged.parent.mkdir(exist_ok=True)
        damaged.write_text("damaged")
        self.assertIn(str(damaged), self.run_brivane("info").stderr)
        self.assertEqual(damaged.read_text(), "damaged")
        self.assertIn("--capture", self.run_brivane("detect", "--help").stdout)

    def test_a_port_that_is_taken_is_not_shared(self):
        port = self.service()[3].split(":")[1]
        second = self.run_brivane(WALKS / "old-town.json", "--port", port, program=SERVICE)
        self.assertEqual((second.returncode, second.stderr),
                         (1, f"brivane-service: port {port} of 127.0.0.1: Address already in use\n"))

    def test_an_interrupt_ends_detection_in_peace(self):
        command = [BRIVANE, "detect", "--capture", CAPTURE, "--json", *self.service()]
        with subprocess.Popen(command, stdout=subprocess.PIPE, env=self.environment) as process:
            process.stdout.readline()
            process.send_signal(signal.SIGINT)
            self.assertEqual(process.wait(timeout=60), 0)


unittest.main(argv=[sys.argv[0]])
