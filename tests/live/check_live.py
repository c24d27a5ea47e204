# SPDX-License-Identifier: Apache-2.0
"""Runs the host application and the live adapters on a private bus, with stand-ins for BlueZ and GeoClue, and
plays each fault that these meet on a phone.

usage: check_live.py BRIVANE BRIVANE_SERVICE LIVE_TEST WALKS_FOLDER
"""
import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys
import time
import unittest

BRIVANE, SERVICE, LIVE_TEST, WALKS = *sys.argv[1:4], pathlib.Path(sys.argv[4])
TESTS = pathlib.Path(__file__).parent.parent
sys.path[:0] = [str(TESTS / "support"), str(TESTS.parent / "testing/daemons")]
from machine import Machine  # noqa: E402
from programs import PATIENCE, Listener, start_service, wait_for  # noqa: E402


DENIAL = "Fail hci0 StartDiscovery org.freedesktop.DBus.Error.AccessDenied 9"
PAUSE = 2.5  # seconds; the bus is tried again meanwhile

# What happens, what is said of it, and what ends it.
FAULTS = [
    (["Power hci0 0"], "hci0 is off; switch it on",
     ["Fail hci0 StartDiscovery org.bluez.Error.NotReady 2", "Power hci0 1"]),
    (["kill bluez_radio"], "the Bluetooth daemon does not run; start it", ["start_bluez"]),
    (["kill bluez_radio", "kill bus"], "the system bus cannot be reached", ["start_bus", "start_bluez"]),
    (["RemoveAdapter hci0"], "there is no Bluetooth adapter", ["AddAdapter hci1 hci1"]),
    (["Power hci0 0"], "hci0 is off", ["Fail hci0 SetDiscoveryFilter org.bluez.Error.Failed 2", "Power hci0 1"]),
    (["Power hci0 0"], "hci0 is off", ["Fail hci0 StartDiscovery org.bluez.Error.Failed 2", "Power hci0 1"]),
    (["kill bluez_radio", "start_bluez org.bluez.Error.Failed"],
     "the Bluetooth daemon does not say what it has", ["kill bluez_radio", "start_bluez"]),
    (["Power hci0 0", "Fail hci0 StartDiscovery org.bluez.Error.InProgress 999", "Power hci0 1"],
     "does not start: the Bluetooth daemon stays busy", ["Fail hci0 StartDiscovery - 0"]),
    (["SetDeaf 1", "Fail hci0 StopDiscovery org.bluez.Error.InProgress 9"], "nothing is heard, discovery is renewed",
     ["SetDeaf 0"]),
]

# What there is, what is asked for, and what is said of it.
NO_RADIO = [
    ([], [], "the Bluetooth daemon does not run; start it"),
    (["start_bluez"], ["--adapter", "hci5"], "there is no Bluetooth adapter hci5;"),
    (["start_bluez", DENIAL], [], "Bluetooth discovery does not start: as the test wishes"),
]

# What happens before; GeoClue's refusal, or None where it is absent; how detection ends; what it says.
DENIED = "not allowed to detect: the user keeps the position from this application"
GRANTS = [
    (["RemoveAdapter hci0", "AppearWhenAsked hci0"], "", 1, DENIED),  # withdrawn later
    (["Remember 7 1"], None, 0, "GeoClue, which finds positions, is not installed; install it"),
    (["Remember 7 0"], None, 0, "GeoClue, which finds positions, is not installed; install it"),
    ([], "Access denied", 1, DENIED),
    ([], "Geolocation disabled", 0, "switched off"),  # and on again later
]


def run(machine, *arguments):
    return subprocess.run([BRIVANE, *arguments], env=machine.environment, capture_output=True, text=True, timeout=60)


def listen(machine, *arguments):
    return Listener([BRIVANE, *arguments], machine.environment)


class Live(unittest.TestCase):
    def all_at_once(self, cases, check):
        """Each case sleeps most of its time."""
        with concurrent.futures.ThreadPoolExecutor(max_workers=len(cases)) as pool:
            runs = [(case, pool.submit(check, *case)) for case in cases]
        for case, run in runs:
            with self.subTest(case):
                run.result()

    def test_it_goes_on_after_each_fault(self):
        self.all_at_once(FAULTS, self.check_fault)

    def check_fault(self, begin, complaint, end):
        with Machine() as machine:
            machine.do("start_bluez")
            with listen(machine, "scan", "--live", "--json", "--log") as scan:
                wait_for(scan.hears)
                machine.do(*begin)
                wait_for(lambda: scan.says(complaint))
                wait_for(lambda: not scan.hears())
                time.sleep(PAUSE)
                machine.do(*end)
                wait_for(scan.hears)
                if "start_bluez" in end:
                    time.sleep(PAUSE)
                    self.assertEqual(machine.radio.TimesAsked(), 1)  # what has recovered is left alone
            self.assertEqual([event["state"] for event in scan.of("state")], ["inside"])
            self.assertEqual(scan.status, 0)
            # Each is told once, however often it is tried again; a busy radio is waited for some time without a word.
            self.assertEqual(len([line for line in scan.lines if "does not start" in line]),
                             "Failed" in str(end) or "does not start" in complaint)
            if "discovery is renewed" not in complaint:
                self.assertTrue(scan.says("^brivane: listening again$"))
                self.assertEqual(len([line for line in scan.lines if complaint in line]), 1)

    def test_one_line_says_what_is_missing(self):
        self.all_at_once(NO_RADIO, self.check_missing)

    def check_missing(self, steps, options, complaint):
        with Machine() as machine:
            machine.do(*steps)
            capture = f"{machine.folder.name}/c.btsnoop"
            for command in ("scan", "--live"), ("record", capture):
                ended = run(machine, *command, *options)
                self.assertEqual((ended.returncode, ended.stdout), (2 if options else 1, ""))  # a wrong option, or the world
                self.assertRegex(ended.stderr, rf"^brivane: .*{complaint}.*\n$")
            self.assertFalse(os.path.exists(capture))

    def test_a_monitor_is_an_extra(self):
        for error, reason in ("-", "it was not activated"), ("org.bluez.Error.AlreadyExists", "as the test wishes"):
            with self.subTest(reason), Machine() as machine:
                machine.do("start_bluez", f"OfferMonitors hci0 {error}")
                with listen(machine, "scan", "--json", "--log") as scan:
                    wait_for(lambda: scan.says(f"no advertisement monitor, discovery goes on alone: {reason}"))
                    wait_for(scan.hears)

    def test_a_beacon_that_bluez_remembers_is_not_near(self):
        with Machine() as machine:
            machine.do("start_bluez", "SetDeaf 1", "Remember 7 1")
            reach = start_service(self, SERVICE, WALKS, "--state", machine.folder.name)
            with listen(machine, "detect", "--live", "--log", "--json", *reach) as detect:
                wait_for(lambda: detect.says("nothing is heard"))  # looked for several times by then
                self.assertFalse(detect.says("^INSIDE"))
                machine.do("SetDeaf 0")
                wait_for(lambda: detect.of("match"))

    def test_what_was_recorded_replays_to_the_same_beacons(self):
        with Machine() as machine:
            machine.do("start_bluez", "PutOnAir 8 -70")
            capture = f"{machine.folder.name}/c.btsnoop"
            recorded = run(machine, "record", capture, "--for", "3")
            self.assertRegex(recorded.stdout, r"^\d\d frames in ")
            replayed = run(machine, "scan", "--capture", capture, "--speed", "max", "--json")
            reports = [json.loads(line) for line in replayed.stdout.splitlines()]
            heard = [[(b["minor"], b["rssi"]) for b in r["beacons"]] for r in reports if r["event"] == "range"]
            self.assertIn([(7, -60), (8, -70)], heard)
            again = run(machine, "record", capture)
            self.assertEqual((again.returncode, again.stderr), (2, f"brivane: {capture}: File exists\n"))

    def test_detection_names_the_place_and_reports_positions_as_they_are_granted(self):
        self.all_at_once(GRANTS, self.check_grant)

    def check_grant(self, steps, refusal, status, said):
        with Machine() as machine:
            machine.do("start_bluez", *steps)
            if refusal is not None:
                geoclue = machine.start_geoclue(refusal)
            reach = start_service(self, SERVICE, WALKS, "--state", machine.folder.name)
            with listen(machine, "detect", "--live", "--gps", "--json", "--log", *reach) as detect:
                if refusal != "Access denied":
                    wait_for(lambda: detect.of("match"))
                if status == 0 and refusal:
                    geoclue.Permit()
                    wait_for(geoclue.Serves)  # it asks again by itself
                if refusal == "":
                    geoclue.Move(41.6521, -4.7285)
                    wait_for(lambda: detect.says("Resolve GPS done"))
                    geoclue.Withdraw()
                wait_for(lambda: any(said in str(each) for each in detect.lines + detect.events))
                if status != 0:
                    detect.process.wait(PATIENCE)
            self.assertEqual(detect.status, status)
            self.assertFalse(detect.says("nothing is heard"))  # it is found before that would be tried

    def test_managers_on_every_thread_and_in_every_order(self):
        with Machine() as machine:
            machine.do("start_bluez", DENIAL)
            subprocess.run([LIVE_TEST, "--gtest_filter=Refused*"], env=machine.environment, check=True, timeout=120)
        alone = [sys.executable, str(TESTS.parent / "testing/daemons/machine.py")]
        subprocess.run([*alone, LIVE_TEST, "--gtest_filter=Live*"], check=True, timeout=120)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
