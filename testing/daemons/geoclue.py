# SPDX-License-Identifier: Apache-2.0
"""A stand-in for GeoClue: one client, which is refused or moved as a test wishes."""
import dbus
from dbusmock import mockobject
from gi.repository import GLib

BUS_NAME = "org.freedesktop.GeoClue2"
MAIN_OBJ = "/org/freedesktop/GeoClue2/Manager"
MAIN_IFACE = "org.freedesktop.GeoClue2.Manager"
MOCK = "org.freedesktop.GeoClue2.Mock"
CLIENT = "org.freedesktop.GeoClue2.Client"
CLIENT_PATH = "/org/freedesktop/GeoClue2/Client/1"
LOCATION = "org.freedesktop.GeoClue2.Location"
SYSTEM_BUS = True


def load(mock, parameters):
    mock.refusal = parameters["refusal"]
    mock.moves = 0
    mock.AddMethod(MAIN_IFACE, "GetClient", "", "o", f'ret = dbus.ObjectPath("{CLIENT_PATH}")')
    mock.AddObject(CLIENT_PATH, CLIENT, {"DesktopId": "", "RequestedAccuracyLevel": dbus.UInt32(0),
                                         "DistanceThreshold": dbus.UInt32(99), "Active": False},
                   [("Start", "", "", start), ("Stop", "", "", "")])


def start(client):
    manager = mockobject.objects[MAIN_OBJ]
    properties = client.props[CLIENT]
    described = properties["DesktopId"], properties["RequestedAccuracyLevel"], properties["DistanceThreshold"]
    if manager.refusal or not described[0] or described[1:] != (8, 0):
        raise dbus.exceptions.DBusException(manager.refusal, name="org.freedesktop.DBus.Error.AccessDenied")
    client.UpdateProperties(CLIENT, {"Active": dbus.Boolean(True, variant_level=1)})
    client.EmitSignal(CLIENT, "LocationUpdated", "oo", ["/", "/"])


@dbus.service.method(MOCK, in_signature="")
def Permit(manager):
    """To whoever asks from now on."""
    manager.refusal = ""


@dbus.service.method(MOCK, out_signature="b")
def Serves(_manager):
    """Whether somebody has asked and was permitted."""
    return mockobject.objects[CLIENT_PATH].props[CLIENT]["Active"]


@dbus.service.method(MOCK, in_signature="")
def Withdraw(manager):
    manager.refusal = "Access denied"
    mockobject.objects[CLIENT_PATH].UpdateProperties(CLIENT, {"Active": dbus.Boolean(False, variant_level=1)})


@dbus.service.method(MOCK, in_signature="dd")
def Move(manager, latitude, longitude):
    manager.moves += 1
    path = f"/org/freedesktop/GeoClue2/Location/{manager.moves}"
    manager.AddObject(path, LOCATION, {"Latitude": latitude, "Longitude": longitude, "Accuracy": 8.0}, [])
    mockobject.objects[CLIENT_PATH].EmitSignal(CLIENT, "LocationUpdated", "oo", ["/", path])


@dbus.service.method(MOCK, in_signature="dd")
def WalkNorth(manager, latitude, longitude):
    """From there on, ten times a second."""
    Move(manager, latitude, longitude)
    GLib.timeout_add(100, lambda: Move(manager, latitude + manager.moves * 1e-4, longitude) or True)
