# SPDX-License-Identifier: Apache-2.0
"""A desktop without a screen or a loudspeaker: a display, a session's bus with the accessibility bus, and a real
speech-dispatcher whose voice writes what it is told into a file."""
import os
import pathlib
import subprocess
import tempfile

VOICE = """
GenericExecuteSynth "echo '$DATA' >> {spoken}"
GenericLanguage "en" "en" "utf-8"
GenericLanguage "es" "es" "utf-8"
AddVoice "en" "MALE1" "en"
AddVoice "es" "MALE1" "es"
GenericCmdDependency "echo"
GenericRateForceInteger 1
"""
SPEECHD = """
LogLevel 1
CommunicationMethod "unix_socket"
AudioOutputMethod "libao"
DisableAutoSpawn
DefaultModule capture
AddModule "capture" "sd_generic" "capture.conf"
"""


class Desktop:
    """Everything below one folder; `environment` is what its programs run in."""

    def __init__(self, share):
        self.folder = tempfile.TemporaryDirectory()
        root = pathlib.Path(self.folder.name)
        self.root, self.processes = root, {}
        self.spoken = root / "spoken"
        config = root / "config/speech-dispatcher"
        (config / "modules").mkdir(parents=True)
        (config / "speechd.conf").write_text(SPEECHD)
        (config / "modules/capture.conf").write_text(VOICE.format(spoken=self.spoken))
        (root / ".libao").write_text("default_driver=null\n")
        (root / "run").mkdir(mode=0o700)
        self.environment = {
            **{key: value for key, value in os.environ.items() if not key.startswith(("LC_", "WAYLAND", "DESKTOP"))},
            "HOME": str(root), "XDG_CONFIG_HOME": str(root / "config"), "XDG_RUNTIME_DIR": str(root / "run"),
            "XDG_DATA_HOME": str(root / "data"), "XDG_STATE_HOME": str(root / "state"), "XDG_CACHE_HOME": str(root / "cache"),
            "XDG_DATA_DIRS": f"{share}:/usr/local/share:/usr/share", "LANG": "C.UTF-8", "LANGUAGE": "en",
            "GSETTINGS_BACKEND": "keyfile", "GTK_A11Y": "atspi", "GDK_BACKEND": "x11", "GSK_RENDERER": "cairo",
            "GTK_USE_PORTAL": "0", "NO_AT_BRIDGE": "0"}
        self.environment["DISPLAY"] = ":" + self.start(
            "display", "Xvfb", "-displayfd", "1", "-screen", "0", "1280x900x24", "-nolisten", "tcp", "-noreset")
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self.start(
            "bus", "dbus-daemon", "--session", "--nofork", "--print-address")
        self.start_speech()

    def start(self, name, *command):
        """Runs it until the end; the line that it prints when it is there."""
        process = subprocess.Popen(command, env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                   text=True)
        self.processes[name] = process
        return process.stdout.readline().strip()

    def start_speech(self):
        log = str(self.root / "run")
        self.processes["speech"] = subprocess.Popen(["speech-dispatcher", "-s", "-t", "0", "-L", log],
                                                    env=self.environment, stdout=subprocess.DEVNULL,
                                                    stderr=subprocess.DEVNULL)

    def stop(self, name):
        process = self.processes.pop(name)
        process.terminate()
        process.wait()
        if process.stdout:
            process.stdout.close()

    def close(self):
        for name in reversed(list(self.processes)):
            self.stop(name)
        self.folder.cleanup()

    def keep(self, **preferences):
        """Has the guide start with these, as GSettings writes values."""
        lines = [f"{key.replace('_', '-')}={value}" for key, value in preferences.items()]
        folder = self.root / "config/glib-2.0/settings"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "keyfile").write_text("\n".join(["[example/brivane/Guide]", *lines]) + "\n")

    def sentences(self):
        return self.spoken.read_text().splitlines() if self.spoken.exists() else []
