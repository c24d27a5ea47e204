# SPDX-License-Identifier: Apache-2.0
"""Does what documents tell their reader, in a new folder that holds the examples and the walks: writes the blocks that
begin with a comment which names a file, and runs the blocks of commands. A document that promises 15 places must name
them wherever it names one.

usage: documents.py EXAMPLES WALKS DOCUMENT…
"""
import contextlib
import json
import os
import pathlib
import re
import signal
import socket
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```([\w-]+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
FILE = re.compile(r"(?://|#|/\*) ([\w.]+\.\w+)(?: \*/)?\n")
MARK = "next block"


def blocks(document, *languages):
    return [block for found, block in BLOCK.findall(document.read_text()) if found in languages]


def file_of(block):
    named = FILE.match(block)
    return named[1] if named else None


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def script_of(document, folder, prefix):
    """The commands, but on a free port, in this folder, with what is under `prefix`, and as soon as the service
    listens."""
    port = free_port()
    shells = ["sh", "sh-java"] if pathlib.Path(prefix, "share/java/brivane.jar").exists() else ["sh"]
    commands = "".join(f"echo {MARK}\n{block}" for block in blocks(document, *shells))
    commands = commands.replace("8443", str(port)).replace("/tmp/", f"{folder}/").replace("/usr/", f"{prefix}/")
    return "set -euo pipefail\n" + re.sub(
        r"^sleep 1$", f"until (: </dev/tcp/127.0.0.1/{port}) 2>/dev/null; do sleep 0.1; done", commands,
        flags=re.MULTILINE)


def follow(document, folder, environment):
    """Raises AssertionError when a command fails or a place is not named. What is built stays in the folder."""
    for _, block in BLOCK.findall(document.read_text()):
        if file := file_of(block):
            (folder / file).write_text(block)
    prefix = environment.get("CMAKE_PREFIX_PATH", "/usr")
    # Not through a pipe: a service that is left running would hold that open.
    with open(folder / "said", "w+") as output:
        reader = subprocess.Popen(["bash", "-c", script_of(document, folder, prefix)], cwd=folder, stdout=output,
                                  stderr=subprocess.STDOUT, start_new_session=True,
                                  env={**environment, "XDG_CONFIG_HOME": str(folder)})
        try:
            status = reader.wait(300)
        finally:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(reader.pid, signal.SIGKILL)
        output.seek(0)
        said = output.read()
    assert status == 0, f"{document}: status {status}\n{said}"
    network = json.loads((folder / "walks/old-town.json").read_text())
    places = {beacon["name"] for place in network["places"] for beacon in place["beacons"]}
    named = [places & set(part.splitlines()) for part in said.split(MARK)]
    promised = "15 places" in document.read_text()
    assert any(named) == promised and all(len(some) in (0, 15) for some in named), f"{document}: {named}\n{said}"


def lay_out(folder, examples, walks):
    (folder / "examples").symlink_to(examples)
    (folder / "walks").symlink_to(walks)


def main(examples, walks, *documents):
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        lay_out(folder, examples, walks)
        for document in documents:
            follow(document, folder, os.environ)
            print(f"{document}: holds")


if __name__ == "__main__":
    main(*(pathlib.Path(argument).resolve() for argument in sys.argv[1:]))
