# SPDX-License-Identifier: Apache-2.0
"""The daemons of a phone, as stand-ins on a message bus of their own: BlueZ with a radio that hears what a test puts on
the air, and GeoClue. For hosts that listen live, on a machine without Bluetooth. Needs Debian's python3-dbusmock and
dbus-daemon; run it with Debian's Python.

usage: machine.py COMMAND [ARGUMENT ...]
Runs a command there: it hears the beacon with major 1 and minor 7 of the network at -60 dBm, and walks north from 40° N
if it asks for positions.
"""
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import dbus

HERE = pathlib.Path(__file__).parent


def bus_in(folder):
    """The command that runs a message bus in a folder, where everybody may do everything, and its address. It prints
    a line when it listens."""
    address = f"unix:path={folder}/bus"
    config = pathlib.Path(folder, "bus.conf")
    config.write_text(f"""<busconfig><type>system</type><listen>{address}</listen>
        <policy context="default"><allow user="*"/><allow own="*"/><allow send_destination="*"/>
        <allow eavesdrop="true"/></policy></busconfig>""")
    return ["dbus-daemon", f"--config-file={config}", "--nofork", "--nopidfile", "--print-address"], address


class Machine:
    """A bus of its own, and on it the daemons that a test starts; with `environment` a program finds them. To be
    entered; all is gone when it is left."""

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
        while not bus.name_has_owner(owner):
            if self.processes[name].poll() is not None:
                raise RuntimeError(f"the stand-in {name} ended at once")
            time.sleep(0.02)
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

    def start_geoclue(self, refusal=""):
        """What moves it and withdraws the permission; with a refusal it grants none."""
        name = "org.freedesktop.GeoClue2"
        return self.start_daemon("geoclue", name, "/org/freedesktop/GeoClue2/Manager", f"{name}.Mock", refusal)


def main(command):
    if not command:
        sys.exit("machine.py: a command is missing")
    with Machine() as machine:
        machine.start_bluez()
        machine.start_geoclue().WalkNorth(40.0, 0.0)
        return subprocess.run(command, env=machine.environment).returncode


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
