"""Runs the host application and the live adapters on a private bus, with stand-ins for BlueZ and GeoClue, and
plays each fault that these meet on a phone.

usage: check_live.py BRIVANE BRIVANE_SERVICE LIVE_TEST WALKS_FOLDER
"""
import concurrent.futures
import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import dbus

BRIVANE, SERVICE, LIVE_TEST, WALKS = *sys.argv[1:4], pathlib.Path(sys.argv[4])
HERE = pathlib.Path(__file__).parent
sys.path.insert(0, str(HERE.parent / "support"))
from programs import PATIENCE, Listener, start_service, wait_for  # noqa: E402


class Machine:
    """A bus of its own, and on it what a phone has."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory()
        self.address = f"unix:path={self.folder.name}/bus"
        self.environment = {**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": self.address, "XDG_CONFIG_HOME": self.folder.name,
                            "XDG_STATE_HOME": self.folder.name}
        config = pathlib.Path(self.folder.name, "bus.conf")
        config.write_text(f"""<busconfig><type>system</type><listen>{self.address}</listen>
            <policy context="default"><allow user="*"/><allow own="*"/><allow send_destination="*"/>
            <allow eavesdrop="true"/></policy></busconfig>""")
        self.processes = {}
        self.start_bus()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for name in list(self.processes):
            self.kill(name)
        if os.path.exists(f"{self.folder.name}/bus"):
            self.kill_bus()
        self.folder.cleanup()

    def start_bus(self):
        with subprocess.Popen(["dbus-daemon", f"--config-file={self.folder.name}/bus.conf", "--fork",
                               "--print-pid"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as starter:
            self.bus_process = int(starter.stdout.readline())  # it listens by now

    def spawn(self, name, *command):
        self.processes[name] = subprocess.Popen(command, env=self.environment, stdout=subprocess.DEVNULL)

    def kill(self, name):
        process = self.processes.pop(name)
        process.kill()
        process.wait()

    def kill_bus(self):
        os.kill(self.bus_process, signal.SIGKILL)
        os.unlink(f"{self.folder.name}/bus")

    def start_daemon(self, name, template, owner):
        self.spawn(name, "/usr/bin/python3", "-m", "dbusmock", "--system", "--template", str(HERE / template))
        bus = dbus.bus.BusConnection(self.address)
        wait_for(lambda: bus.name_has_owner(owner))
        return bus

    def start_bluez(self, adapters=("hci0",), beacons=((7, -60),)):
        self.bus = self.start_daemon("bluez", "bluez_radio.py", "org.bluez")
        self.bluez("PutOnAir", dbus.Array(beacons, "(yn)"))
        for adapter in adapters:
            self.bluez("AddAdapter", adapter, adapter)

    def bluez(self, method, *arguments):
        dbus.Interface(self.bus.get_object("org.bluez", "/"), "org.bluez.Mock").get_dbus_method(method)(*arguments)

    def start_geoclue(self, refusal=""):
        bus = self.start_daemon("geoclue", "geoclue.py", "org.freedesktop.GeoClue2")
        self.geoclue = dbus.Interface(bus.get_object("org.freedesktop.GeoClue2", "/org/freedesktop/GeoClue2/Manager"),
                                      "org.freedesktop.GeoClue2.Mock")
        self.geoclue.Refuse(refusal)

    def run(self, *arguments):
        return subprocess.run([BRIVANE, *arguments], env=self.environment, capture_output=True, text=True, timeout=60)

    def listen(self, *arguments):
        return Listener([BRIVANE, *arguments], self.environment)


def power_cycle(machine):
    machine.bluez("Power", "hci0", False)
    yield "hci0 is off; switch it on"
    machine.bluez("Power", "hci0", True)


def restart_daemon(machine):
    machine.kill("bluez")
    yield "the Bluetooth daemon does not run; start it"
    machine.start_bluez()


def restart_bus(machine):
    machine.kill("bluez")
    machine.kill_bus()
    yield "the system bus cannot be reached"
    machine.start_bus()
    machine.start_bluez()


def take_adapter(machine):
    machine.bluez("RemoveAdapter", "hci0")
    yield "there is no Bluetooth adapter"
    machine.bluez("AddAdapter", "hci1", "hci1")


def fails_to_start(error, method="StartDiscovery", times=3):
    def fault(machine):
        machine.bluez("Power", "hci0", False)
        yield "hci0 is off"
        machine.bluez("Fail", "hci0", method, error, times)
        machine.bluez("Power", "hci0", True)
    return fault


def silent_stall(machine):
    machine.bluez("SetDeaf", True)
    machine.bluez("Fail", "hci0", "StopDiscovery", "org.bluez.Error.InProgress", 9)
    yield "nothing is heard, discovery is renewed"
    machine.bluez("SetDeaf", False)


def monitor_is(error):
    def fault(machine):
        machine.bluez("OfferMonitors", "hci0", error)
        machine.bluez("Power", "hci0", False)
        yield "hci0 is off"
        machine.bluez("RemoveAdapter", "hci0")
        machine.bluez("AddAdapter", "hci0", "hci0")
        machine.bluez("OfferMonitors", "hci0", error)
    return fault


FAULTS = {
    "the adapter is switched off and on": power_cycle,
    "the daemon is killed and started again": restart_daemon,
    "the bus is killed and started again": restart_bus,
    "the adapter goes and comes back under another name": take_adapter,
    "the start is busy": fails_to_start("org.bluez.Error.InProgress"),
    "the start is not ready": fails_to_start("org.bluez.Error.NotReady"),
    "the start fails": fails_to_start("org.bluez.Error.Failed", times=2),
    "the filter fails": fails_to_start("org.bluez.Error.Failed", "SetDiscoveryFilter", 2),
    "nothing comes any more, and nobody says so": silent_stall,
}

NO_RADIO = {
    "no bus": (lambda m: m.kill_bus(), [], "the system bus cannot be reached"),
    "no daemon": (lambda m: None, [], "the Bluetooth daemon does not run; start it"),
    "no adapter": (lambda m: m.start_bluez(adapters=()), [], "there is no Bluetooth adapter; plug it in"),
    "another adapter": (lambda m: m.start_bluez(), ["--adapter", "hci5"], "there is no Bluetooth adapter hci5;"),
    "no power": (lambda m: (m.start_bluez(), m.bluez("Power", "hci0", False)), [], "hci0 is off; switch it on"),
    "no permission": (
        lambda m: (m.start_bluez(), m.bluez("Fail", "hci0", "StartDiscovery",
                                            "org.freedesktop.DBus.Error.AccessDenied", 9)),
        [], "Bluetooth discovery does not start: as the test wishes"),
}

# GeoClue's refusal, or None where it is absent; how detection ends; what it says.
GRANTS = {
    "granted, and withdrawn later": ("", 0, "Location services not authorised"),
    "absent": (None, 0, "No location services enabled"),
    "denied": ("Access denied", 1, "not allowed to detect: no positions from GeoClue: Access denied"),
}


class Live(unittest.TestCase):
    def all_at_once(self, cases, check):
        """Each case sleeps most of its time."""
        with concurrent.futures.ThreadPoolExecutor(max_workers=len(cases)) as pool:
            runs = {name: pool.submit(check, *case) for name, case in cases.items()}
        for name, run in runs.items():
            with self.subTest(name):
                run.result()

    def test_it_goes_on_after_each_fault(self):
        self.all_at_once({name: (fault,) for name, fault in FAULTS.items()}, self.check_fault)

    def check_fault(self, fault):
        with Machine() as machine:
            machine.start_bluez()
            with machine.listen("scan", "--live", "--json", "--log") as scan:
                wait_for(scan.hears)
                steps = fault(machine)
                complaint = next(steps)
                wait_for(lambda: scan.says(complaint))
                wait_for(lambda: not scan.hears())
                self.assertEqual(list(steps), [])
                wait_for(scan.hears)
            self.assertEqual([event["state"] for event in scan.of("state")], ["inside"])
            self.assertEqual(scan.status, 0)
            if "discovery is renewed" not in complaint:
                self.assertTrue(scan.says("^brivane: listening again$"))
                self.assertEqual(len([line for line in scan.lines if complaint in line]), 1)

    def test_one_line_says_what_is_missing(self):
        self.all_at_once(NO_RADIO, self.check_missing)

    def check_missing(self, prepare, options, complaint):
        with Machine() as machine:
            prepare(machine)
            capture = f"{machine.folder.name}/c.btsnoop"
            for command in ("scan", "--live"), ("record", capture):
                run = machine.run(*command, *options)
                self.assertEqual((run.returncode, run.stdout), (1, ""))
                self.assertRegex(run.stderr, rf"^brivane: .*{complaint}.*\n$")
            self.assertFalse(os.path.exists(capture))

    def test_a_monitor_is_an_extra(self):
        for error, reason in ("", "it was not activated"), ("org.bluez.Error.AlreadyExists", "as the test wishes"):
            with self.subTest(reason), Machine() as machine:
                machine.start_bluez()
                machine.bluez("OfferMonitors", "hci0", error)
                with machine.listen("scan", "--json", "--log") as scan:
                    wait_for(lambda: scan.says(f"no advertisement monitor, discovery goes on alone: {reason}"))
                    wait_for(scan.hears)

    def test_a_chosen_adapter_is_used_alone_and_found_by_its_address(self):
        with Machine() as machine:
            machine.start_bluez(adapters=("hci0", "hci1"))
            for choice in "hci1", "01:02:03:04:05:06":
                with machine.listen("scan", "--json", "--adapter", choice) as scan:
                    wait_for(scan.hears)
                    machine.bluez("Power", "hci1", False)
                    wait_for(lambda: scan.says("hci1 is off"))
                machine.bluez("Power", "hci1", True)

    def test_what_was_recorded_replays_to_the_same_beacons(self):
        with Machine() as machine:
            machine.start_bluez(beacons=((7, -60), (8, -70)))
            capture = f"{machine.folder.name}/c.btsnoop"
            recorded = machine.run("record", capture, "--for", "3")
            self.assertRegex(recorded.stdout, r"^\d\d frames in ")
            replayed = machine.run("scan", "--capture", capture, "--speed", "max", "--json")
            reports = [json.loads(line) for line in replayed.stdout.splitlines()]
            heard = [[(b["minor"], b["rssi"]) for b in r["beacons"]] for r in reports if r["event"] == "range"]
            self.assertIn([(7, -60), (8, -70)], heard)
            again = machine.run("record", capture)
            self.assertEqual((again.returncode, again.stderr), (2, f"brivane: {capture}: File exists\n"))

    def test_detection_names_the_place_and_reports_positions_as_they_are_granted(self):
        self.all_at_once(GRANTS, self.check_grant)

    def check_grant(self, refusal, status, said):
        with Machine() as machine:
            machine.start_bluez()
            if refusal is not None:
                machine.start_geoclue(refusal)
            reach = start_service(self, SERVICE, WALKS, "--state", machine.folder.name)
            with machine.listen("detect", "--live", "--gps", "--json", "--log", *reach) as detect:
                if status == 0:
                    wait_for(lambda: detect.of("match"))
                if refusal == "":
                    machine.geoclue.Move(41.6521, -4.7285)
                    wait_for(lambda: detect.says("Resolve GPS done"))
                    machine.geoclue.Withdraw()
                wait_for(lambda: detect.says(said) or any(said in str(event) for event in detect.events))
                if status != 0:
                    detect.process.wait(PATIENCE)
            self.assertEqual(detect.status, status)

    def test_managers_on_every_thread_and_in_every_order(self):
        with Machine() as machine:
            machine.start_bluez()
            subprocess.run([LIVE_TEST], env=machine.environment, check=True, timeout=120)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
