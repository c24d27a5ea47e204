# SPDX-License-Identifier: Apache-2.0
"""Checks what docs/security.md claims of the programs as they are built.

usage: check_security.py BRIVANE BRIVANE_SERVICE WALKS_FOLDER
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

BRIVANE, SERVICE, WALKS = sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3])
sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "support"))
from programs import start_service  # noqa: E402


def output_of(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, timeout=60, **options).stdout


class Security(unittest.TestCase):
    @unittest.skipUnless("BRIVANE_HARDENED" in os.environ, "built for a sanitizer")
    def test_programs_are_hardened(self):
        for program in (BRIVANE, SERVICE):
            shown = output_of("readelf", "--wide", "--file-header", "--program-headers", "--dynamic", program)
            for claim in (r"Type: +DYN \(Pos", r"GNU_RELRO", r"FLAGS.*NOW", r"GNU_STACK .* RW +0x"):
                self.assertRegex(shown, claim, program)
            symbols = output_of("nm", "--undefined-only", program)
            self.assertIn("__stack_chk_fail", symbols, program)
            if os.environ["BRIVANE_HARDENED"] == "GNU":  # Clang finds no call here that the C library would check
                self.assertRegex(symbols, r"__\w+_chk@", program)
            if os.uname().machine == "x86_64":
                main = output_of("objdump", "--disassemble=main", "--no-show-raw-insn", program)
                self.assertIn("endbr64", main, program)

    def test_a_session_leaves_no_secret_behind(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            home = folder / "home"
            home.mkdir()
            (folder / "client.json").write_text('{"key":"kEy-41","secret":"sEcret-42"}')
            info = folder / "Info.plist"
            info.write_text((WALKS / "Info.plist").read_text().replace("dev-key", "kEy-41")
                            .replace("dev-secret", "sEcret-42"))
            reach = start_service(self, SERVICE, WALKS, "--state", home / "service", "--credentials",
                                  folder / "client.json", "--log")
            environment = {**os.environ, "XDG_CONFIG_HOME": str(home), "HOME": str(home)}
            command = [BRIVANE, "detect", "--capture", WALKS / "old-town.btsnoop", "--speed", "max", *reach,
                       "--info", info, "--json"]
            said = subprocess.run(command, capture_output=True, text=True, timeout=60, env=environment, cwd=home)
            self.assertEqual(said.returncode, 0, said.stderr)
            written = {path: path.read_text() for path in home.rglob("*") if path.is_file()}
            self.assertIn(home / "brivane" / "preferences", written)
            for text in (said.stdout, said.stderr, *written.values()):
                self.assertNotRegex(text, "kEy-41|sEcret-42|Bearer|access_token")
            for path in written:
                if path.name != "certificate.pem":
                    self.assertEqual(path.stat().st_mode & 0o077, 0, path)

    def test_no_option_takes_a_secret_or_turns_checks_off(self):
        commands = [[SERVICE], *([BRIVANE, c] for c in ("detect", "nearest", "payload", "info", "scan", "record"))]
        for command in commands:
            options = re.findall(r"--[a-z-]+", output_of(*command, "--help"))
            self.assertIn("--help", options)
            self.assertFalse([o for o in options if re.search("secret|token$|password|key|insecure|no-check", o)])


unittest.main(argv=[sys.argv[0]])
