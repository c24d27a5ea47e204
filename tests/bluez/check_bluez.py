# SPDX-License-Identifier: Apache-2.0
"""Runs inside the machine: the host application before the real BlueZ, whose controller hears what is put on the
air here.

usage: check_bluez.py
"""
import contextlib
import json
import os
import pathlib
import socket
import struct
import subprocess
import threading
import time
import unittest

from programs import Listener, start_service, wait_for

HERE = pathlib.Path(__file__).parent
BRIVANE, SERVICE = str(HERE / "brivane"), str(HERE / "brivane-service")
NETWORK = bytes.fromhex("5c8e3d7a41b24f609e0b27d1a6c4f385")
BEACONS = {minor: -40 - minor for minor in range(1, 21)}  # minor to RSSI; the service knows fifteen
NAMES = {beacon["name"] for place in json.loads((HERE / "old-town.json").read_text())["places"]
         for beacon in place["beacons"]}


def frame(address, data, rssi):
    """A command of the emulated controller's vendor, which sends its parameters back as an event: a report."""
    parameters = b"\x00\x3e\x02\x01\x03\x01" + address + bytes([len(data)]) + data + struct.pack("b", rssi)
    return b"\x01" + struct.pack("<HB", 0xFC10, len(parameters)) + parameters


def beacons():
    for minor, rssi in BEACONS.items():
        data = b"\x02\x01\x06\x1a\xff\x4c\x00\x02\x15" + NETWORK + struct.pack(">HHb", 1, minor, -59)
        yield frame(bytes([minor, 0, 0, 0, 0, 0xC0]), data, rssi)


class Air:
    """Has controller hci0 hear the frames of some, so many times a second, while it is entered."""

    def __init__(self, frames=beacons, times_a_second=10):
        self.frames, self.times_a_second = frames, times_a_second

    def __enter__(self):
        self.controller = socket.socket(socket.AF_BLUETOOTH, socket.SOCK_RAW, socket.BTPROTO_HCI)
        self.controller.bind((0,))
        self.over = threading.Event()
        self.powered = True  # a controller that is off hears nothing
        self.thread = threading.Thread(target=self.play)
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.over.set()
        self.thread.join()
        self.controller.close()

    def play(self):
        began, rounds = time.monotonic(), 0
        while not self.over.wait(max(0.0, began + rounds / self.times_a_second - time.monotonic())):
            for each in self.frames() if self.powered else ():
                with contextlib.suppress(OSError):  # the controller is gone
                    self.controller.send(each)
            rounds += 1


def adapter(method, *arguments):
    return subprocess.run(["gdbus", "call", "--system", "--dest", "org.bluez", "--object-path", "/org/bluez/hci0",
                           "--method", method, *arguments], capture_output=True, text=True).stdout


def is_discovering():
    return "true" in adapter("org.freedesktop.DBus.Properties.Get", "org.bluez.Adapter1", "Discovering")


def is_powered():
    return "true" in adapter("org.freedesktop.DBus.Properties.Get", "org.bluez.Adapter1", "Powered")


def power(on):
    """BlueZ refuses while it is busy with the discovery."""
    def is_switched():
        adapter("org.freedesktop.DBus.Properties.Set", "org.bluez.Adapter1", "Powered", "<true>" if on else "<false>")
        return is_powered() == on

    wait_for(is_switched)


def names(listener):
    return {event["waybeacon"]["name"] for event in listener.of("match")}


class Machine(unittest.TestCase):
    def start(self, *command, **options):
        process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def start_daemon(self, *options):
        self.daemon = self.start("/usr/libexec/bluetooth/bluetoothd", "--nodetach", *options)
        wait_for(is_powered)

    def kill_daemon(self):
        self.daemon.kill()
        self.daemon.wait()

    def setUp(self):
        self.start("btvirt", "-l1")
        wait_for(lambda: os.listdir("/sys/class/bluetooth"))
        self.start_daemon()

    def start_service(self):
        return start_service(self, SERVICE, HERE, "--state", "/tmp")


class BlueZ(Machine):
    def test_every_beacon_is_ranged(self):
        with Listener([BRIVANE, "scan", "--live", "--json"]) as scan:
            wait_for(lambda: scan.of("range") and is_discovering())
            with Air():
                wait_for(lambda: len(scan.of("range")) > 10)
                steady = scan.of("range")[-6:]
        wait_for(lambda: not is_discovering())  # with the last that listened
        for event in steady:
            self.assertEqual([beacon["minor"] for beacon in event["beacons"]], list(BEACONS))
            for beacon in event["beacons"]:
                self.assertAlmostEqual(beacon["rssi"], BEACONS[beacon["minor"]], delta=1)

    def test_detection_through_a_crash_and_a_power_cycle(self):
        with Listener([BRIVANE, "detect", "--live", "--json", "--log", *self.start_service()]) as detect:
            wait_for(lambda: detect.of("ready") and is_discovering())
            with Air() as air:
                wait_for(lambda: names(detect) == NAMES)
                for fault in self.crash, self.power_cycle, self.block:
                    air.powered = fault == self.crash
                    fault()
                    air.powered = True
                    over = time.monotonic()
                    wait_for(lambda: detect.of("match")[-1]["came"] > over + 1)
            wait_for(lambda: "OUTSIDE\n" in detect.lines)
            with Air():  # BlueZ may know them yet
                wait_for(lambda: detect.lines.count("INSIDE\n") == 2)
        states = [line for line in detect.lines if line in ("INSIDE\n", "OUTSIDE\n")]
        self.assertEqual(states, ["INSIDE\n", "OUTSIDE\n", "INSIDE\n"])
        for complaint in "the Bluetooth daemon does not run", "hci0 is off", "hci0 is blocked":
            self.assertEqual(len([line for line in detect.lines if line.startswith("Ranging beacons failed") and
                                  complaint in line]), 1, complaint)

    def crash(self):
        self.kill_daemon()
        time.sleep(3)
        self.start_daemon()

    def power_cycle(self):
        power(False)
        time.sleep(3)
        power(True)

    def block(self):
        control = next(pathlib.Path("/sys/class/rfkill").glob("*/soft"))
        control.write_text("1")
        time.sleep(3)
        control.write_text("0")
        wait_for(is_powered)

    def test_a_monitor_is_taken_up(self):
        self.kill_daemon()
        self.start_daemon("--experimental")
        with Listener([BRIVANE, "detect", "--live", "--json", "--log", *self.start_service()]) as detect:
            wait_for(lambda: detect.of("ready"))
            time.sleep(6)  # longer than a monitor is waited for
            self.assertFalse(is_discovering())  # it suffices while nothing is near
            with Air():
                wait_for(lambda: names(detect) == NAMES)
                self.assertTrue(is_discovering())
            wait_for(lambda: "OUTSIDE\n" in detect.lines and not is_discovering())
            with Air():
                wait_for(lambda: detect.lines.count("INSIDE\n") == 2)
        self.assertFalse(detect.says("no advertisement monitor"))

    def test_another_client_s_filter_takes_nothing_away(self):
        other = self.start("bluetoothctl", stdin=subprocess.PIPE, text=True)
        with Listener([BRIVANE, "scan", "--json"]) as scan, Air():
            wait_for(scan.hears)
            other.stdin.write("menu scan\npattern 99:99\nback\nscan on\n")
            other.stdin.flush()
            time.sleep(3)
            before = len(scan.of("range"))
            wait_for(lambda: len(scan.of("range")) >= before + 3)
            heard = {beacon["minor"] for event in scan.of("range")[before:] for beacon in event["beacons"]
                     if beacon["rssi"] != 0}
            self.assertEqual(heard, set(BEACONS))
        other.stdin.close()


if __name__ == "__main__":
    unittest.main(verbosity=2)
