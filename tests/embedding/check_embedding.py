# SPDX-License-Identifier: Apache-2.0
"""Installs a build into a clean prefix and builds against that alone, as a host does: the smallest host, which it runs
against the development service, the tests of a host, which it runs too, and every snippet of the documents.

usage: check_embedding.py BUILD_FOLDER SOURCE_FOLDER COMPILER FLAGS
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD, SOURCE, COMPILER, FLAGS = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3], sys.argv[4]
sys.path.insert(0, str(SOURCE / "tests/support"))
from programs import start_service  # noqa: E402

WALKS = SOURCE / "walks"
# What the reader of a snippet has: services, a delegate, and a way to tell somebody.
CONTEXT = """#include <BrivaneSDK/BrivaneSDK.h>
template <typename Service> using Held = std::shared_ptr<Service>;
extern Held<platform::HTTPClient> http; extern Held<platform::JSON> json; extern Held<platform::RandomUUID> randomUUID;
extern Held<platform::Preferences> preferences; extern Held<platform::PropertyList> propertyList;
extern Held<platform::LocationService> location; extern Held<platform::DeviceModel> deviceModel;
extern Held<BVManagerDelegate> delegate;
void say(const std::string& text);
"""


def run(*command, **options):
    done = subprocess.run(command, capture_output=True, text=True, **options)
    assert done.returncode == 0, f"{done.stdout}\n{done.stderr}"


def snippets(language):
    documents = sorted([*SOURCE.glob("*.md"), *(SOURCE / "docs").glob("*.md")])
    return [snippet for document in documents
            for snippet in re.findall(rf"^```{language}\n(.*?)^```$", document.read_text(), re.MULTILINE | re.DOTALL)]


def as_source(snippet):
    """Its includes first, the rest inside a function."""
    lines = snippet.splitlines()
    includes = [line for line in lines if line.startswith("#include")]
    return "\n".join([*includes, CONTEXT, "void snippet() {", *(x for x in lines if x not in includes), "}\n"])


class Embedding(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        run("cmake", "--install", BUILD, "--prefix", cls.folder / "prefix")
        for example in "minimal", "testing", "c":
            shutil.copytree(SOURCE / "examples" / example, cls.folder / example)
        sources = [as_source(snippet) for snippet in snippets("cpp")]
        assert len(sources) > 1
        for number, source in enumerate(sources):
            (cls.folder / f"snippet{number}.cpp").write_text(source)
        lines = ["cmake_minimum_required(VERSION 3.25)", "project(host LANGUAGES C CXX)",
                 "add_subdirectory(minimal)", "add_subdirectory(testing)", "add_subdirectory(c)"]
        for number, snippet in enumerate(snippets("cmake")):
            files = " ".join(f"snippet{i}.cpp" for i in range(len(sources)))
            lines += [f"add_library(app{number} OBJECT {files})", re.sub(r"\bapp\b", f"app{number}", snippet)]
        (cls.folder / "CMakeLists.txt").write_text("\n".join(lines))
        run("cmake", "-S", cls.folder, "-B", cls.folder / "build", "-G", "Ninja",
            f"-DCMAKE_PREFIX_PATH={cls.folder}/prefix", f"-DCMAKE_CXX_COMPILER={COMPILER}",
            f"-DCMAKE_CXX_FLAGS={FLAGS}")

    def minimal(self, capture, info, address, certificate):
        return subprocess.run([self.folder / "build/minimal/minimal", capture, info, address, certificate], timeout=60,
                              capture_output=True, text=True, env={**os.environ, "XDG_CONFIG_HOME": str(self.folder)})

    def test_every_snippet_compiles_and_the_examples_run(self):
        run("cmake", "--build", self.folder / "build")
        run(self.folder / "build/testing/host-test")
        reach = start_service(self, self.folder / "prefix/bin/brivane-service", WALKS, "--state", self.folder)
        walk = WALKS / "old-town.btsnoop"
        info, address, certificate = reach[1::2]
        said = self.minimal(walk, info, address, certificate)
        self.assertEqual((said.returncode, said.stderr), (0, ""))
        self.assertEqual(set(said.stdout.splitlines()), {"Puerta del Río", "Panadería La Espiga"})
        said = subprocess.run([self.folder / "build/c/walk", walk, info, "127.0.0.1:1", certificate], timeout=60,
                              capture_output=True, text=True, env={**os.environ, "XDG_CONFIG_HOME": str(self.folder)})
        self.assertEqual((said.returncode, said.stdout), (1, ""))
        self.assertRegex(said.stderr, r"\Awalk: the service: .*127.0.0.1 port 1 ")
        stranger = self.folder / "stranger.plist"
        stranger.write_text(pathlib.Path(info).read_text().replace("dev-key", "other"))
        for arguments, status, complaint in [
            ((walk, info, "127.0.0.1:1", certificate), 1, "minimal: the service: .*127.0.0.1 port 1 "),
            ((walk, stranger, address, certificate), 1, "minimal: the service: status 401\n"),
            (("none", info, address, certificate), 2, "minimal: none: "),
            ((walk, "none", address, certificate), 2, "minimal: none: "),
        ]:
            said = self.minimal(*arguments)
            self.assertEqual((said.returncode, said.stdout), (status, ""), said)
            self.assertRegex(said.stderr, rf"\A{complaint}")


unittest.main(argv=[sys.argv[0]])
