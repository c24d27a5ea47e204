# SPDX-License-Identifier: Apache-2.0
"""What a phone has, as stand-ins on a bus of its own: BlueZ with a radio, and GeoClue."""
import json
import os
import pathlib
import subprocess
import tempfile

import dbus

from programs import Listener, bus_in, wait_for

HERE = pathlib.Path(__file__).parent


class Machine:
    """A bus of its own, and on it what a phone has."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory()
        self.bus, self.address = bus_in(self.folder.name)
        self.environment = {**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": self.address, "XDG_CONFIG_HOME": self.folder.name,
                            "XDG_STATE_HOME": self.folder.name}
        self.processes = {}
        self.start_bus()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for name in list(self.processes):
            self.kill(name)
        self.folder.cleanup()

    def start_bus(self):
        self.spawn("bus", *self.bus, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.processes["bus"].stdout.readline()  # it listens by now

    def spawn(self, name, *command, stdout=subprocess.DEVNULL, stderr=None):
        self.processes[name] = subprocess.Popen(command, env=self.environment, stdout=stdout, stderr=stderr)

    def kill(self, name):
        process = self.processes.pop(name)
        process.kill()
        process.communicate()

    def start_daemon(self, name, owner, path, interface, refusal):
        """What controls the stand-in NAME.py, which refuses with `refusal` if there is one."""
        self.spawn(name, "/usr/bin/python3", "-m", "dbusmock", "--system", "--template", str(HERE / f"{name}.py"),
                   "--parameters", json.dumps({"refusal": refusal}))
        bus = dbus.bus.BusConnection(self.address)
        wait_for(lambda: bus.name_has_owner(owner))
        return dbus.Interface(bus.get_object(owner, path), interface)

    def do(self, *steps):
        """Each is a method of this machine's or of the stand-in's for BlueZ, and its arguments."""
        for step in steps:
            name, *arguments = step.split()
            arguments = [int(each) if each.lstrip("-").isdigit() else each for each in arguments]
            (getattr(self, name, None) or self.radio.get_dbus_method(name))(*arguments)

    def start_bluez(self, refusal=""):
        self.radio = self.start_daemon("bluez_radio", "org.bluez", "/", "org.bluez.Mock", refusal)
        if not refusal:
            self.do("AddAdapter hci0 hci0", "PutOnAir 7 -60")

    def run(self, *command):
        return subprocess.run(command, env=self.environment, capture_output=True, text=True, timeout=60)

    def listen(self, *command):
        return Listener(command, self.environment)
