# SPDX-License-Identifier: Apache-2.0
"""python3-dbusmock's BlueZ with a radio: while it discovers, it hears the beacons that are on the air."""
import dbus
from dbusmock import mockobject
from dbusmock.templates.bluez5 import *  # noqa: F403 (a template is a module of functions)
from dbusmock.templates.bluez5 import (ADAPTER_IFACE, BLUEZ_MOCK_IFACE, BUS_NAME, DEVICE_IFACE,  # noqa: F401
                                       IS_OBJECT_MANAGER, MAIN_OBJ, SYSTEM_BUS, load as load_bluez)
from gi.repository import GLib

NETWORK = bytes.fromhex("5c8e3d7a41b24f609e0b27d1a6c4f385")
MONITORS = "org.bluez.AdvertisementMonitorManager1"
ROOT = "/org/bluez/"


def load(mock, parameters):
    load_bluez(mock, parameters)
    mock.beacons, mock.deaf, mock.asked, mock.refusal, mock.late = [], False, 0, parameters["refusal"], ""
    mock.AddMethod("org.freedesktop.DBus.ObjectManager", "GetManagedObjects", "", "a{oa{sa{sv}}}", answer)
    GLib.timeout_add(100, hear_all, mock)


def answer(mock):
    mock.asked += 1
    if mock.refusal:
        raise dbus.exceptions.DBusException("as the test wishes", name=mock.refusal)
    known = {dbus.ObjectPath(path): each.props for path, each in mockobject.objects.items() if path.startswith(ROOT)}
    if mock.late:
        mock.AddAdapter(mock.late, mock.late)
        mock.late = ""
    return known


def hear_all(mock):
    for path, adapter in list(mockobject.objects.items()):
        properties = getattr(adapter, "props", {}).get(ADAPTER_IFACE)
        if not properties or not (properties["Powered"] and properties["Discovering"]):
            continue
        if mock.deaf:  # a mouse that connects is not heard
            tell(mock, path, 99, {"Connected": dbus.Boolean(True)})
            continue
        # Without this filter BlueZ tells of a beacon once.
        if (properties.get("DiscoveryFilter") or {}).get("DuplicateData"):
            for minor, rssi in mock.beacons:
                tell(mock, path, minor, {**frame(minor), "RSSI": dbus.Int16(rssi)})
    return True


def frame(minor):
    data = b"\x02\x15" + NETWORK + bytes([0, 1, 0, minor, 0xC5])
    return {"ManufacturerData": dbus.Dictionary({dbus.UInt16(76): dbus.ByteArray(data)}, "qv")}


def tell(mock, adapter, number, properties):
    device = f"{adapter}/dev_C0_00_00_00_00_{number:02X}"
    if device in mockobject.objects:
        mockobject.objects[device].props[DEVICE_IFACE].update(properties)
        mockobject.objects[device].EmitSignal(dbus.PROPERTIES_IFACE, "PropertiesChanged", "sa{sv}as",
                                              [DEVICE_IFACE, dbus.Dictionary(properties, "sv"), []])
    else:
        mock.AddObject(device, DEVICE_IFACE, properties, [])
        mock.object_manager_emit_added(device)


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature="yb")
def Remember(mock, number, is_beacon):
    """Has hci0 know a device from earlier, as a beacon or as something else."""
    tell(mock, ROOT + "hci0", number, frame(number) if is_beacon else {"Connected": dbus.Boolean(False)})


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature="yn")
def PutOnAir(mock, minor, rssi):
    mock.beacons.append((int(minor), int(rssi)))


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature="s")
def AppearWhenAsked(mock, adapter):
    """Has an adapter appear after it was asked what there is, and before the answer, which does not name it."""
    mock.late = str(adapter)


@dbus.service.method(BLUEZ_MOCK_IFACE, out_signature="i")
def TimesAsked(mock):
    return mock.asked


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature="b")
def SetDeaf(mock, deaf):
    """Whether nothing is heard although discovery runs."""
    mock.deaf = bool(deaf)


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature="sb")
def Power(_mock, adapter, powered):
    """Switches an adapter; as with BlueZ, discovery ends with the power."""
    adapter = mockobject.objects[ROOT + adapter]
    changes = {"Powered": dbus.Boolean(powered, variant_level=1)}
    if not powered:
        adapter.props[ADAPTER_IFACE]["DiscoveryFilter"] = dbus.Dictionary({}, "sv")
        changes["Discovering"] = dbus.Boolean(False, variant_level=1)
    adapter.UpdateProperties(ADAPTER_IFACE, changes)


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature="sssi")
def Fail(_mock, adapter, method, error, times):
    """Has the adapter refuse the next calls of a method."""
    works = globals()[method]
    refusals = iter(range(times))

    def refuse(self, *arguments):
        if next(refusals, None) is not None:
            raise dbus.exceptions.DBusException("as the test wishes", name=error)
        return works(self, *arguments)

    mockobject.objects[ROOT + adapter].AddMethod(
        ADAPTER_IFACE, method, "a{sv}" if method == "SetDiscoveryFilter" else "", "", refuse)


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature="ss")
def OfferMonitors(mock, adapter, error):
    """Lets the adapter take advertisement monitors, and never activate them; or refuse them unless `error` is "-"."""
    def register(_self, _application):
        if error != "-":
            raise dbus.exceptions.DBusException("as the test wishes", name=error)

    adapter = mockobject.objects[ROOT + adapter]
    adapter.props[MONITORS] = {}
    adapter.AddMethods(MONITORS, [("RegisterMonitor", "o", "", register), ("UnregisterMonitor", "o", "", "")])
