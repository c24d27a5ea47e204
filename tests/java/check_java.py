# SPDX-License-Identifier: Apache-2.0
"""Runs the host in Java against the development service, with JNI's own checks, which must find nothing.

usage: check_java.py JAVA CLASSPATH LIBRARY_FOLDER SERVICE SOURCE_FOLDER
"""
import pathlib
import subprocess
import sys
import tempfile
import unittest

JAVA, CLASSPATH, LIBRARY, SERVICE, SOURCE = sys.argv[1:]
sys.path[:0] = [SOURCE + "/tests/support", SOURCE + "/tests/embedding"]
from documents import blocks, file_of  # noqa: E402
from programs import start_service  # noqa: E402


class Java(unittest.TestCase):
    def run_host(self, *arguments):
        said = subprocess.run([JAVA, "-Xcheck:jni", "-Xms64m", "-Xmx64m", "-XX:+AlwaysPreTouch", "-cp", CLASSPATH,
                               f"-Djava.library.path={LIBRARY}", *arguments], capture_output=True, text=True)
        self.assertEqual((said.returncode, said.stdout, said.stderr), (0, "", ""))

    def test_a_host_that_feeds_live_listening(self):
        walks = pathlib.Path(SOURCE, "walks")
        with tempfile.TemporaryDirectory() as folder:
            reach = start_service(self, SERVICE, walks, "--state", folder)
            self.run_host("HostTest", walks / "old-town.btsnoop", *reach[3::2], folder + "/new/preferences")

    def test_the_host_of_the_document_compiles(self):
        document = pathlib.Path(SOURCE, "docs/getting-started.md")
        with tempfile.TemporaryDirectory() as folder:
            for block in blocks(document, "java"):
                source = pathlib.Path(folder, file_of(block))
                source.write_text(block)
                subprocess.run([pathlib.Path(JAVA).with_name("javac"), "-cp", CLASSPATH, "-d", folder, source],
                               check=True)

    def test_a_host_with_a_location_service_of_its_own(self):
        self.run_host("OwnLocationTest")


unittest.main(argv=[sys.argv[0]])
