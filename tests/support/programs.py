# SPDX-License-Identifier: Apache-2.0
"""The programs, as tests and benchmarks run them."""
import json
import re
import signal
import subprocess
import threading
import time

PATIENCE = 40.0  # seconds; what is waited for takes far less


def wait_for(condition):
    end = time.monotonic() + PATIENCE
    while not (found := condition()):
        assert time.monotonic() < end, "waited in vain"
        time.sleep(0.02)
    return found


def start_service(test, program, walk, *options, environment=None):
    """Starts the development service for one test; what brivane needs to reach it."""
    process = subprocess.Popen([program, walk / "old-town.json", *options], stdout=subprocess.PIPE, text=True,
                               env=environment)
    test.addCleanup(process.stdout.close)
    test.addCleanup(process.wait)
    test.addCleanup(process.terminate)
    port, certificate = re.search(r":(\d+), certificate (.+)", process.stdout.readline()).groups()
    return ["--info", str(walk / "Info.plist"), "--connect", f"127.0.0.1:{port}", "--ca", certificate]


class Listener:
    """Keeps what the program has said so far, each event with the time at which it came."""

    def __init__(self, command, environment=None):
        self.events, self.lines = [], []
        self.process = subprocess.Popen(command, env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                        text=True)
        self.readers = [threading.Thread(target=self.read, args=(stream, keep)) for stream, keep in (
            (self.process.stdout, lambda line: self.events.append({"came": time.monotonic(), **json.loads(line)})),
            (self.process.stderr, self.lines.append))]
        for reader in self.readers:
            reader.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGINT)
        self.status = self.process.wait(PATIENCE)
        for reader in self.readers:
            reader.join()
        self.process.stdout.close()
        self.process.stderr.close()

    @staticmethod
    def read(stream, keep):
        for line in stream:
            keep(line)

    def of(self, kind):
        return [event for event in self.events if event["event"] == kind]

    def hears(self):
        """Whether the latest report has a reading."""
        reports = self.of("range")
        return bool(reports) and any(beacon["rssi"] != 0 for beacon in reports[-1]["beacons"])

    def says(self, pattern):
        return any(re.search(pattern, line) for line in self.lines)
