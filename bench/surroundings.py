# SPDX-License-Identifier: Apache-2.0
"""What the benchmarks run beside: a system bus of their own with a radio on it, the development service, an HTTP/2
server, and a capture."""
import contextlib
import pathlib
import re
import socket
import struct
import subprocess
import threading
import time

from gi.repository import Gio, GLib

NETWORK = bytes.fromhex("5c8e3d7a41b24f609e0b27d1a6c4f385")
BEACONS = 20
FRAMES_A_SECOND = 10 * BEACONS
ADAPTER = "/org/bluez/hci0"
START = 0x00E32F0A40FFC000  # of the capture: a day of 2026, in microseconds of btsnoop's clock


@contextlib.contextmanager
def process(command, **options):
    """A program that runs until the block ends."""
    with subprocess.Popen(command, **options) as running:
        try:
            yield running
        finally:
            running.terminate()


def frame(i):
    """What the i-th beacon sends, behind the company's identifier, and how strong it is heard."""
    return b"\x02\x15" + NETWORK + struct.pack(">HHb", 1, i % BEACONS, -59), -60 - i % 7


class Radio:
    """Stands in for the Bluetooth daemon on a bus: one adapter with power, and beacons that are heard when somebody
    asks."""
    INTERFACES = Gio.DBusNodeInfo.new_for_xml("""<node>
        <interface name="org.freedesktop.DBus.ObjectManager">
          <method name="GetManagedObjects"><arg type="a{oa{sa{sv}}}" direction="out"/></method>
        </interface>
        <interface name="org.bluez.Adapter1">
          <method name="SetDiscoveryFilter"><arg type="a{sv}" direction="in"/></method>
          <method name="StartDiscovery"/><method name="StopDiscovery"/>
        </interface></node>""").interfaces
    OBJECTS = GLib.Variant("(a{oa{sa{sv}}})", ({ADAPTER: {"org.bluez.Adapter1": {
        "Address": GLib.Variant("s", "C0:00:00:00:00:FF"), "Powered": GLib.Variant("b", True),
        "Discovering": GLib.Variant("b", False)}}},))

    def __init__(self, address):
        flags = Gio.DBusConnectionFlags
        self.bus = Gio.DBusConnection.new_for_address_sync(
            address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)
        self.address, self.discovers = address, threading.Event()
        for path, interface in zip(("/", ADAPTER), self.INTERFACES):
            self.bus.register_object(path, interface, self.on_call, None, None)
        Gio.bus_own_name_on_connection(self.bus, "org.bluez", Gio.BusNameOwnerFlags.NONE, None, None)
        threading.Thread(target=GLib.MainLoop().run, daemon=True).start()

    def on_call(self, _bus, _sender, _path, _interface, method, _arguments, invocation):
        invocation.return_value(self.OBJECTS if method == "GetManagedObjects" else None)
        if method in ("StartDiscovery", "StopDiscovery"):
            self.change(ADAPTER, "org.bluez.Adapter1", {"Discovering": GLib.Variant("b", method == "StartDiscovery")})
            self.discovers.set()

    def change(self, path, interface, properties):
        self.bus.emit_signal(None, path, "org.freedesktop.DBus.Properties", "PropertiesChanged",
                             GLib.Variant("(sa{sv}as)", (interface, properties, [])))

    def hear(self, frames):
        """So many frames, as fast as can be."""
        for i in range(frames):
            data, rssi = frame(i)
            self.change(f"{ADAPTER}/dev_C0_00_00_00_00_{i % BEACONS:02}", "org.bluez.Device1", {
                "ManufacturerData": GLib.Variant("a{qv}", {76: GLib.Variant("ay", data)}),
                "RSSI": GLib.Variant("n", rssi)})
        self.bus.flush_sync(None)


@contextlib.contextmanager
def radio(folder):
    """A radio on a system bus of its own."""
    address = f"unix:path={folder}/bus"
    config = pathlib.Path(folder, "bus.conf")
    config.write_text(f"""<busconfig><type>system</type><listen>{address}</listen><policy context="default">
        <allow user="*"/><allow own="*"/><allow send_destination="*"/><allow eavesdrop="true"/></policy>
        </busconfig>""")
    with process(["dbus-daemon", f"--config-file={config}", "--nofork", "--nopidfile", "--print-address"],
                 stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as bus:
        bus.stdout.readline()
        yield Radio(address)


@contextlib.contextmanager
def service(program, network, state):
    """The development service; its port."""
    with process([program, network, "--state", state], stdout=subprocess.PIPE, text=True) as running:
        yield int(re.search(r":(\d+),", running.stdout.readline())[1])


@contextlib.contextmanager
def http2_server(folder, state, reply):
    """A server of files over HTTP/2, which answers every endpoint alike; its port."""
    for endpoint in "oauth2/token", "sync", "resolve":
        path = pathlib.Path(folder, "files/api/v1/https:/api.brivane.example/api/v1", endpoint)
        path.mkdir(parents=True)
        (path / "index.html").write_bytes(reply)
    with socket.create_server(("127.0.0.1", 0)) as probe:
        port = probe.getsockname()[1]
    with process(["nghttpd", "-a", "127.0.0.1", "-d", f"{folder}/files", str(port), f"{state}/key.pem",
                  f"{state}/certificate.pem"], stdout=subprocess.DEVNULL) as server:
        while server.poll() is None and socket.socket().connect_ex(("127.0.0.1", port)):
            time.sleep(0.02)
        yield port


def write_capture(path, frames):
    """A btsnoop capture of as many advertising reports."""
    with open(path, "wb") as file:
        file.write(b"btsnoop\0" + struct.pack(">II", 1, 2001))
        for i in range(frames):
            data, rssi = frame(i)
            report = (b"\x02\x01\x03\x01" + bytes([i % BEACONS, 0, 0, 0, 0, 0xC0]) + b"\x1e\x02\x01\x06\x1a\xff\x4c\x00" +
                      data + struct.pack("b", rssi))
            event = b"\x3e" + bytes([len(report)]) + report
            microseconds = i * 1_000_000 // FRAMES_A_SECOND
            file.write(struct.pack(">IIIIQ", len(event), len(event), 3, 0, START + microseconds) + event)
