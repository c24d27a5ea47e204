#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Has brivane speak through a real speech-dispatcher, whose voice takes its time and writes down what it is told.

usage: check_voice.py BRIVANE BRIVANE_SERVICE WALKS_FOLDER
"""
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "support"))
from programs import start_service, wait_for

BRIVANE, SERVICE, WALKS = sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3])

CONFIGURATION = """DefaultLanguage "en"
DisableAutoSpawn
AudioOutputMethod "libao"
AddModule "slow" "sd_generic" "slow.conf"
DefaultModule slow
"""
# A sentence at a time; it takes longer than the walk from one place to the next.
VOICE = r"""GenericExecuteSynth "echo \"$LANGUAGE \"\'$DATA\' >>%s; sleep 5"
GenericLanguage "en" "en" "utf-8"
GenericLanguage "es" "es" "utf-8"
AddVoice "en" "MALE1" "en"
AddVoice "es" "MALE1" "es"
DefaultVoice "en"
"""


class Voice(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        modules = self.folder / "speech-dispatcher" / "modules"
        modules.mkdir(parents=True)
        (modules.parent / "speechd.conf").write_text(CONFIGURATION)
        (modules / "slow.conf").write_text(VOICE % (self.folder / "said"))
        (self.folder / ".libao").write_text("default_driver=null\n")
        self.environment = {**os.environ, "HOME": str(self.folder), "XDG_CONFIG_HOME": str(self.folder),
                            "XDG_RUNTIME_DIR": str(self.folder), "LC_ALL": "C.UTF-8"}

    def start_server(self):
        server = subprocess.Popen(["speech-dispatcher", "--run-single", "--timeout", "0",
                                   "--config-dir", str(self.folder / "speech-dispatcher"),
                                   "--log-dir", str(self.folder)], env=self.environment,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)  # it waits for its voice to end, if it is asked
        wait_for((self.folder / "speech-dispatcher" / "speechd.sock").exists)
        return server

    def detect(self, *options):
        command = [BRIVANE, "detect", "--speak", "--capture", WALKS / "old-town.btsnoop", *options,
                   *start_service(self, SERVICE, WALKS, "--state", self.folder)]
        return subprocess.Popen(command, env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                text=True)

    def said(self):
        file = self.folder / "said"
        return [line.strip() for line in file.read_text().splitlines()] if file.exists() else []

    def test_a_newer_place_interrupts_and_nothing_queues(self):
        self.start_server()
        printed, complaints = self.detect("--speed", "60", "--for", "300").communicate()
        self.assertEqual(complaints, "")
        names = ["es " + name + "." for name in re.findall(r"Nearest: (.*?)\. ", printed)]
        wait_for(lambda: names[-1] in self.said())
        said = self.said()
        self.assertEqual(said, [name for name in names if name in said])
        self.assertEqual(said[0], names[0])

    def test_a_server_that_comes_late_and_goes_is_told(self):
        brivane = self.detect("--speed", "20")
        self.assertRegex(brivane.stderr.readline(), "brivane: does not speak, and tries again: .+")
        server = self.start_server()
        self.assertEqual(brivane.stderr.readline(), "brivane: speaks again\n")
        wait_for(self.said)
        server.kill()
        server.wait()
        self.assertRegex(brivane.stderr.readline(), "does not speak, and tries again")
        brivane.send_signal(signal.SIGINT)
        brivane.communicate()
        self.assertEqual(brivane.returncode, 0)


unittest.main(argv=sys.argv[:1])
