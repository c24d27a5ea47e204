"""Runs the host application as a person would, against the development service behaving and not.

usage: check_brivane.py BRIVANE BRIVANE_SERVICE WALKS_FOLDER
"""
import json
import os
import pathlib
import re
import signal
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


class Brivane(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.environment = {**os.environ, "XDG_CONFIG_HOME": folder.name, "XDG_STATE_HOME": folder.name}

    def service(self, *options):
        return start_service(self, SERVICE, WALKS, "--state", self.folder, *options)

    def run_brivane(self, *arguments, program=BRIVANE):
        return subprocess.run([program, *arguments], capture_output=True, text=True, timeout=60,
                              env=self.environment, cwd=self.folder)

    def test_a_walk_names_every_place_and_no_other_and_always_the_same(self):
        reach = self.service()
        once, again = (self.run_brivane(*REPLAY, *reach, "--json") for _ in range(2))
        self.assertEqual((once.returncode, once.stderr), (0, ""))
        self.assertEqual(once.stdout, again.stdout)
        events = [json.loads(line) for line in once.stdout.splitlines()]
        self.assertEqual(events[0], {"t": 0, "event": "ready"})
        self.assertEqual(list(dict.fromkeys(e["waybeacon"]["name"] for e in events[1:])), NAMES)
        spoken = self.run_brivane(*REPLAY, *reach, "--track", str(WALKS / "old-town.gpx"), "--gps")
        for name in NAMES:
            self.assertRegex(spoken.stdout, rf"(?m)^ +\d+:\d\d  New: {re.escape(name)}\. .+ dBm\)$")
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

    def test_a_service_that_fails_ends_in_one_line(self):
        good = self.service("--fault", "delay=1:1")
        bad_key = self.folder / "bad.plist"
        bad_key.write_text((WALKS / "Info.plist").read_text().replace("dev-key", "other"))
        rows = [
            (self.service("--fault", "drop=1"), "not ready: no answer"),
            (self.service("--fault", "reset=1"), "not ready: no answer"),
            (self.service("--fault", "bad-json=1"), "not ready: status 200"),
            (self.service("--fault", "status-500=1"), "not ready: status 500"),
            ([*good, "--info", bad_key], "not ready: status 401"),
            ([*good, "--connect", "127.0.0.1:1"], "not ready: no answer"),
        ]
        for reach, complaint in rows:
            for command in (REPLAY, ["nearest", "0", "0", "1"], ["payload", "x", "{}"]):
                got = self.run_brivane(*command, *reach)
                expected = f"brivane: the service at api.brivane.example: {complaint}\n"
                self.assertEqual((got.returncode, got.stdout, got.stderr), (1, "", expected))
        refused = self.run_brivane("payload", "unknown", "{}", *good)
        self.assertEqual(refused.returncode, 1)
        # One that fails half-way costs what it did not answer, and no more.
        spoiled = self.run_brivane(*REPLAY, "--json", *self.service("--fault", "reset=0.3", "--seed", "6"))
        self.assertEqual((spoiled.returncode, spoiled.stderr), (0, ""))
        self.assertEqual(len({json.loads(line)["match"] for line in spoiled.stdout.splitlines()[1:]}), 15)

    def test_wrong_options_and_files_end_in_one_line(self):
        info = str(WALKS / "Info.plist")
        (self.folder / "cut").write_bytes((WALKS / "old-town.btsnoop").read_bytes()[:70000])
        (self.folder / "empty.plist").write_text("<plist><dict/></plist>")
        damaged = self.folder / "brivane" / "preferences"
        rows = [
            (BRIVANE, [], "command"), (BRIVANE, ["fly"], "fly"), (BRIVANE, ["detect"], "--capture"),
            (BRIVANE, [*REPLAY, "--speed", "0"], "--speed"), (BRIVANE, ["nearest", "91", "0", "1"], "LAT"),
            (BRIVANE, ["nearest", "1", "0", "-1"], "RADIUS"), (BRIVANE, [*REPLAY], "Info.plist"),
            (BRIVANE, [*REPLAY, "--info", "empty.plist"], "empty.plist: Not found"),
            (BRIVANE, [*REPLAY, "--info", info, "--connect", "x"], "--connect"),
            (BRIVANE, [*REPLAY, "--info", info, "--ca", "none"], "--ca: none"),
            (BRIVANE, ["detect", "--capture", "none", "--info", info], "none: No such file"),
            (BRIVANE, ["payload", "u", "[1]", "--info", info], "JSON"),
            (BRIVANE, [*REPLAY, *self.service(), "--capture", "cut"], "cut: byte 69988: the file ends"),
            (SERVICE, ["none"], "none: No such file"), (SERVICE, ["cut"], "cut: line"),
            (SERVICE, [WALKS / "old-town.json", "--fault", "x=1"], "--fault"),
        ]
        for program, arguments, mentioned in rows:
            got = self.run_brivane(*arguments, program=program)
            self.assertEqual((got.returncode, got.stderr.count("\n")), (2, 1), got)
            self.assertIn(mentioned, got.stderr)
        damaged.parent.mkdir(exist_ok=True)
        damaged.write_text("damaged")
        self.assertIn(str(damaged), self.run_brivane("info").stderr)
        self.assertEqual(damaged.read_text(), "damaged")
        self.assertIn("--capture", self.run_brivane("detect", "--help").stdout)

    def test_an_interrupt_ends_detection_in_peace(self):
        command = [BRIVANE, "detect", "--capture", CAPTURE, "--json", *self.service()]
        with subprocess.Popen(command, stdout=subprocess.PIPE, env=self.environment) as process:
            process.stdout.readline()
            process.send_signal(signal.SIGINT)
            self.assertEqual(process.wait(timeout=60), 0)


unittest.main(argv=[sys.argv[0]])
