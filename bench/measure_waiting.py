# SPDX-License-Identifier: Apache-2.0
"""Runs inside the machine: what it costs to wait for a beacon while fifty strangers send 200 frames a second, and how
long it takes from the first frame of ours until the host is inside. Prints a line for each; judges nothing.

usage: measure_waiting.py
"""
import pathlib
import random
import re
import subprocess
import time
import unittest

from check_bluez import BRIVANE, Air, Machine, frame
from programs import Listener, wait_for

SECONDS = 60
# What a phone and a computer send, of the beacons' company and of another.
DATA = [bytes.fromhex(text) for text in ("02011a0aff4c0010050118a1b2c3",
                                         "1eff0600010920025a1b2c3d4e5f60718293a4b5c6d7e8f9000102030405")]
LEVELS = [random.Random(i).randrange(-90, -50) for i in range(50)]


def strangers():
    """Their strength wavers as it does where people walk."""
    for i, level in enumerate(LEVELS):
        yield frame(bytes([i, 1, 0, 0, 0, 0xC0]), DATA[i % 2], level + random.randrange(-6, 7))


def used(pid):
    """Of the processor, in seconds."""
    return time.clock_gettime(~pid << 3 | 2)


def wake_ups(pid):
    """Of each thread."""
    return {task.name: int(re.search(r"\nvoluntary_ctxt_switches:\s+(\d+)", (task / "status").read_text())[1])
            for task in pathlib.Path(f"/proc/{pid}/task").iterdir()}


class Waiting(Machine):
    def setUp(self):
        pathlib.Path("/proc/sys/kernel/printk").write_text("1")  # it complains of each frame that is put in
        super().setUp()

    def test_discovery(self):
        self.measure("discovery alone")

    def test_monitor(self):
        self.kill_daemon()
        self.start_daemon("--experimental")
        self.measure("with the advertisement monitor")

    def measure(self, how):
        with Listener([BRIVANE, "detect", "--live", "--json", "--log", *self.start_service()]) as detect, \
                Air(strangers, 4):
            wait_for(lambda: detect.of("ready"))
            wait_for(lambda: "OUTSIDE\n" in detect.lines)
            time.sleep(15)
            pids = {"brivane": detect.process.pid, "bluetoothd": self.daemon.pid,
                    "dbus-daemon": int(pathlib.Path("/run/dbus/pid").read_text())}
            woken, before = wake_ups(detect.process.pid), {name: used(pid) for name, pid in pids.items()}
            signals = self.signals()
            seconds = {name: round(used(pid) - before[name], 2) for name, pid in pids.items()}
            wakes = sum(runs - woken.get(thread, 0) for thread, runs in wake_ups(detect.process.pid).items())
            print(f"{how}: in {SECONDS} s {signals} signals, {wakes} wake-ups, processor seconds {seconds}")
            print(f"{how}: inside after, and outside after, in s:", [self.visit(detect) for _ in range(3)], flush=True)

    @staticmethod
    def signals():
        """How many the bus passes on to the host in that time: as many as match its rules."""
        rules = subprocess.check_output([
            "gdbus", "call", "--system", "--dest", "org.freedesktop.DBus", "--object-path", "/org/freedesktop/DBus",
            "--method", "org.freedesktop.DBus.Debug.Stats.GetAllMatchRules"], text=True)
        of_a_daemon = re.findall(r"\"(type='signal',[^\"]*sender=':[^\"]*)\"", rules)
        watched = subprocess.run(["timeout", str(SECONDS), "dbus-monitor", "--system", "--profile", *of_a_daemon],
                                 capture_output=True, text=True)
        return sum(line.startswith("sig") for line in watched.stdout.splitlines())

    @staticmethod
    def visit(detect):
        """Seconds from the first frame of ours until it is inside, and from the last until it is outside. At a second
        visit BlueZ has heard them before."""
        visits = detect.lines.count("INSIDE\n") + 1
        with Air():
            began = time.monotonic()
            wait_for(lambda: detect.lines.count("INSIDE\n") == visits)
            entered = time.monotonic() - began
            time.sleep(3)
        ended = time.monotonic()
        while detect.lines.count("OUTSIDE\n") == visits:  # as long as the machine is given
            time.sleep(0.1)
        return round(entered, 2), round(time.monotonic() - ended, 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
