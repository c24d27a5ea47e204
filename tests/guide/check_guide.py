# SPDX-License-Identifier: Apache-2.0
"""Carries the guide through the sample walk as a person does who neither sees it nor has a mouse: by its accessible
tree, keys, and what is spoken.

usage: check_guide.py BRIVANE_GUIDE BRIVANE_SERVICE SHARE WALKS_FOLDER
"""
import collections
import json
import os
import pathlib
import plistlib
import re
import signal
import subprocess
import sys
import time
import unittest

import dbus

HERE = pathlib.Path(__file__).parent
sys.path[:0] = [str(HERE), str(HERE.parent / "support"), str(HERE.parent.parent / "testing/daemons")]
from desktop import Desktop  # noqa: E402
from machine import Machine  # noqa: E402
from programs import wait_for  # noqa: E402

GUIDE, SERVICE, SHARE = sys.argv[1:4]
WALKS = pathlib.Path(sys.argv[4])
IDENTIFIER = "example.brivane.Guide"
PLACES = [beacon["name"] for place in json.loads((WALKS / "old-town.json").read_text())["places"]
          for beacon in place["beacons"]]

DESKTOP = Desktop(SHARE)
unittest.addModuleCleanup(DESKTOP.close)
os.environ.update(DESKTOP.environment)  # read when the next is imported
import pyatspi  # noqa: E402
from gi.repository import GLib  # noqa: E402


Shown = collections.namedtuple("Shown", "accessible role name state")
NOTHING = Shown(None, "", "", None)


def visible(parent):
    for child in filter(None, parent):
        shown = Shown(child, child.getRoleName(), child.name, child.getState())
        if shown.role == "frame" or shown.state.contains(pyatspi.STATE_VISIBLE):
            yield shown
            yield from visible(child)


class Guide:
    """The program as it runs, and its window as a screen reader knows it."""

    def __init__(self, test, *options, **environment):
        DESKTOP.spoken.unlink(missing_ok=True)
        self.process = subprocess.Popen([GUIDE, *options], env={**DESKTOP.environment, **environment})
        test.addCleanup(self.end)

    def end(self):
        if self.process.poll() is None:
            self.process.terminate()
            self.process.wait(30)

    def all(self):
        """What its windows show, in reading order."""
        while True:  # a window may change while it is read: then anew
            try:
                return [each for application in pyatspi.Registry.getDesktop(0)
                        if application and application.get_process_id() == self.process.pid
                        for each in visible(application)]
            except GLib.GError:
                time.sleep(0.02)

    def find(self, role, name=".*"):
        return next((each for each in self.all() if each.role == role and re.search(name, each.name)), None)

    def wait(self, role, name=".*"):
        return wait_for(lambda: self.find(role, name))

    def press(self, name, role="push button"):
        self.wait(role, name).accessible.queryAction().doAction(0)

    def here(self):
        heading = self.find("heading")
        return heading.name if heading else ""

    def window(self):
        """The one in front."""
        return xdotool("search", "--onlyvisible", "--pid", str(self.process.pid), "--name", ".").split()[-1]

    def key(self, *keys):
        xdotool("windowfocus", "--sync", self.window(), "key", *keys)

    def focused(self):
        return next((each for each in self.all() if each.state.contains(pyatspi.STATE_FOCUSED)), None)

    def action(self, name):
        bus = dbus.bus.BusConnection(DESKTOP.environment["DBUS_SESSION_BUS_ADDRESS"])
        path = "/" + IDENTIFIER.replace(".", "/")
        bus.get_object(IDENTIFIER, path).ActivateAction(name, [], {}, dbus_interface="org.freedesktop.Application")


def extents(shown):
    return shown.accessible.queryComponent().getExtents(pyatspi.WINDOW_COORDS)


def xdotool(*command):
    return subprocess.check_output(["xdotool", *command], text=True)


def said():
    """What was spoken so far, as one text."""
    return " ".join(line.strip() for line in DESKTOP.sentences())


class GuideTest(unittest.TestCase):
    def start_service(self, *options):
        """What the guide needs to reach it."""
        process = subprocess.Popen([SERVICE, WALKS / "old-town.json", "--state", DESKTOP.root, *options],
                                   stdout=subprocess.PIPE, text=True)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.terminate)
        self.service = process
        self.port, certificate = re.search(r":(\d+), certificate (.+)", process.stdout.readline()).groups()
        return ["--info", WALKS / "Info.plist", "--connect", f"127.0.0.1:{self.port}", "--ca", certificate]

    def walk(self, speed, *options, **environment):
        return Guide(self, *self.start_service(), "--capture", WALKS / "old-town.btsnoop", "--speed", str(speed),
                     *options, **environment)

    def test_the_whole_walk_is_spoken_in_its_order_and_none_late(self):
        guide = self.walk(20, "--track", WALKS / "old-town.gpx")
        wait_for(guide.here)
        spoken = []
        end = time.monotonic() + 60
        while len(spoken) < len(PLACES) and time.monotonic() < end:
            heard = [name for name in PLACES if name + "." in said()]
            if len(heard) > len(spoken):  # the next may have come since: the recording runs twenty times too fast
                self.assertIn(guide.here(), [*PLACES[len(heard) - 1:len(heard) + 1], "No place here"])
            spoken = heard if heard[:len(spoken)] == spoken else self.fail(f"{spoken}, then {heard}")
            time.sleep(0.05)
        order = sorted(PLACES, key=lambda name: said().find(name + "."))
        self.assertEqual((spoken, order), (PLACES, PLACES))
        for name in PLACES:
            self.assertEqual(said().count(name + "."), 1)

    def test_every_control_has_a_name_and_room_and_keys_reach_all_in_reading_order(self):
        guide = self.walk(1)
        wait_for(lambda: guide.here() == PLACES[0])
        # Libadwaita makes lists of its own within a row that opens, and names none.
        nameless = [each.role for each in guide.all()
                    if each.state.contains(pyatspi.STATE_FOCUSABLE) and re.match("(Gtk|Adw|$)", each.name)]
        self.assertEqual([role for role in nameless if role != "list"], [])
        room = {each.name: extents(each) for each in guide.all() if each.role in ("push button", "page tab")}
        self.assertIn("Close", room)
        self.assertEqual({name: box for name, box in room.items() if 0 < box.width < 44 or 0 < box.height < 44}, {})
        reached = self.reached_by(guide, "Tab", 8)
        self.assertTrue(reached[0].startswith(PLACES[0] + ". Bajo el arco"), reached)
        self.assertEqual(reached[1:], ["Say Again", "More About This Place", "Stop Guiding", "Here", "Around", "Nearby",
                                       "Main Menu"])
        guide.key("alt+2")  # the page of the places in range: the first is opened, and says what to mind
        guide.press("Around", "page tab")
        names = self.reached_by(guide, "Tab", 8)
        self.assertIn(PLACES[0], names)

    @staticmethod
    def reached_by(guide, key, times):
        reached = [guide.focused() or NOTHING]
        for _ in range(times):
            guide.key(key)
            reached.append(wait_for(
                lambda: (now := guide.focused()) and now.accessible != reached[-1].accessible and now))
        return [each.name for each in reached[1:]]

    def test_it_says_again_and_more_when_asked_to(self):
        guide = self.walk(1)
        wait_for(lambda: PLACES[0] + "." in said())
        for times, ask in enumerate((lambda: guide.press("Say Again"), lambda: guide.press("More"),
                                     lambda: guide.key("ctrl+r"), lambda: guide.key("XF86AudioPlay"), play_pause), 2):
            ask()
            wait_for(lambda: said().count(PLACES[0] + ".") == times)

    def test_what_is_wrong_is_told_once_and_mended(self):
        reach = [*self.start_service(), "--capture", WALKS / "old-town.btsnoop"]
        before = Guide(self, *reach)
        wait_for(lambda: before.here() == PLACES[0])
        before.end()
        self.service.terminate()
        self.service.wait()
        guide = Guide(self, *reach)
        guide.wait("alert", "network cannot be reached")
        place = guide.wait("list item", PLACES[0])  # known from before
        self.assertRegex(place.accessible.description, r" \(from (today|yesterday)\)$")
        self.start_service("--port", self.port)
        guide.press("Try Again")
        wait_for(lambda: guide.here() == PLACES[0])
        self.assertLessEqual(said().count("The network is back"), 1)  # the place's name may come in its stead
        DESKTOP.stop("speech")
        guide.press("Say Again")
        guide.wait("alert", "There is no voice")
        DESKTOP.start_speech()
        wait_for(lambda: not guide.find("alert"))

    def test_other_credentials_are_imported_where_they_are_refused(self):
        info, imported = DESKTOP.root / "Info.plist", DESKTOP.root / "config" / IDENTIFIER / "Info.plist"
        walk = plistlib.loads((WALKS / "Info.plist").read_bytes())
        info.write_bytes(plistlib.dumps({**walk, "BrivaneAPISecret": "another"}))
        imported.parent.mkdir(exist_ok=True)
        imported.write_bytes(info.read_bytes())
        guide = Guide(self, *self.start_service()[2:], "--capture", WALKS / "old-town.btsnoop")
        guide.wait("alert", "refuses the credentials")
        info.write_bytes(plistlib.dumps(walk))
        guide.press("Import a Network")
        guide.wait("push button", "^_Import")
        guide.key("ctrl+l")
        xdotool("type", str(info))
        guide.key("Return")
        wait_for(lambda: guide.here() == PLACES[0])
        self.assertEqual(imported.stat().st_mode & 0o777, 0o600)

    def test_bluetooth_is_switched_on_from_the_window(self):
        with Machine() as machine:
            machine.do("start_bluez", "Power hci0 0")
            guide = Guide(self, *self.start_service(), DBUS_SYSTEM_BUS_ADDRESS=machine.address)
            guide.wait("alert", "Bluetooth is off")
            guide.press("Switch Bluetooth On")
            wait_for(lambda: guide.here() == PLACES[6])  # of the beacon that the stand-in puts on the air
            self.assertIsNone(guide.find("alert"))
            for label in "Stop Guiding", "Start Guiding", "Stop Guiding":  # it may be stopped, and started anew
                guide.wait("push button", label)
                wait_for(lambda: label == "Start Guiding" or guide.here() == PLACES[6])
                guide.action("guiding")

    def stand_in(self, name, *options):
        """A service of the desktop, which knows what it was asked for."""
        DESKTOP.processes[name] = subprocess.Popen(["/usr/bin/python3", "-m", "dbusmock", *options],
                                                   env=DESKTOP.environment, stdout=subprocess.PIPE,
                                                   stderr=subprocess.DEVNULL)
        self.addCleanup(DESKTOP.stop, name)
        bus = dbus.bus.BusConnection(DESKTOP.environment["DBUS_SESSION_BUS_ADDRESS"])
        wait_for(lambda: bus.name_has_owner(name))
        return dbus.Interface(bus.get_object(name, "/" + name.replace(".", "/")), "org.freedesktop.DBus.Mock")

    def test_it_goes_on_without_its_window_until_it_is_stopped(self):
        shown = self.stand_in("org.freedesktop.Notifications", "--template", "notification_daemon")
        name = "org.gnome.SessionManager"
        awake = self.stand_in(name, "--session", name, "/org/gnome/SessionManager", name)
        awake.AddMethod("", "Inhibit", "susu", "u", "ret = 5")
        awake.AddMethod("", "Uninhibit", "u", "", "")
        DESKTOP.keep(keep_awake="true")
        self.addCleanup(DESKTOP.keep)
        guide = self.walk(8)
        wait_for(lambda: guide.here() == PLACES[0])
        guide.press("^Close$")
        wait_for(lambda: PLACES[2] + "." in said())
        told = [str(arguments[3]) for _, arguments in shown.GetMethodCalls("Notify")]
        self.assertIn(PLACES[1], told)
        guide.action("stop")
        self.assertEqual(guide.process.wait(30), 0)
        asked = [(name, arguments[-1]) for _, name, arguments in awake.GetCalls() if name.endswith("nhibit")]
        self.assertEqual(asked, [("Inhibit", 4), ("Uninhibit", 5)])  # 4: not to suspend

    def test_large_text_and_spanish_fit_a_phone(self):
        DESKTOP.keep(width=360, height=294)
        text = ["xprop", "-root", "-f", "RESOURCE_MANAGER", "8s", "-set", "RESOURCE_MANAGER"]
        subprocess.run([*text, "Xft.dpi: 192"], env=DESKTOP.environment, check=True)
        self.addCleanup(subprocess.run, [*text, ""], env=DESKTOP.environment, check=True)
        guide = self.walk(1, LANGUAGE="es")
        wait_for(lambda: guide.here() == PLACES[0])
        self.assertIsNotNone(guide.find("frame", "Guía Brivane"))
        for page in "Cerca", "Entorno", "Aquí":
            guide.press(f"^{page}$", "page tab")
            time.sleep(0.5)
            self.assertIn("WIDTH=360\nHEIGHT=294\n", xdotool("getwindowgeometry", "--shell", guide.window()))
            for text in (each for each in guide.all() if each.role in ("heading", "label")):
                box = extents(text)
                if box.y > 50:  # below the header, which hides what has no room there
                    self.assertTrue(box.x >= 0 and box.x + box.width <= 360, (text.name, box))


def play_pause():
    bus = dbus.bus.BusConnection(DESKTOP.environment["DBUS_SESSION_BUS_ADDRESS"])
    bus.get_object("org.mpris.MediaPlayer2.brivane_guide", "/org/mpris/MediaPlayer2").PlayPause(
        dbus_interface="org.mpris.MediaPlayer2.Player")


if __name__ == "__main__":
    signal.alarm(400)
    unittest.main(argv=sys.argv[:1] + sys.argv[5:])
