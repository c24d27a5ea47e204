# SPDX-License-Identifier: Apache-2.0
"""Installs a build into a clean prefix and builds against that alone, as a host does: the snippets of the documents, and
the examples by the commands of their documents, which run them too.

usage: check_embedding.py BUILD_FOLDER SOURCE_FOLDER COMPILER FLAGS
"""
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import unittest

BUILD, SOURCE, COMPILER, FLAGS = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3], sys.argv[4]
sys.path[:0] = [str(SOURCE / folder) for folder in ("tests/support", "tests/embedding", "testing/daemons")]
from documents import blocks, file_of, follow, lay_out  # noqa: E402
from machine import Machine  # noqa: E402
from programs import PATIENCE, start_service  # noqa: E402

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
# A project that brings the library's source along, and its program, with what hosts on phones are compiled with.
PARENT = """cmake_minimum_required(VERSION 3.25)
project(parent LANGUAGES CXX)
include(FetchContent)
FetchContent_Declare(BrivaneSDK SOURCE_DIR {source})
FetchContent_MakeAvailable(BrivaneSDK)
add_executable(parent parent.cpp)
target_compile_options(parent PRIVATE -std=c++2b -fno-rtti -fno-exceptions -fvisibility=hidden
  $<$<CXX_COMPILER_ID:GNU>:-flto>)  # the system's linker knows no such objects of Clang's
target_link_libraries(parent PRIVATE BrivaneSDK::BrivaneSDK)
install(TARGETS parent)
"""
PARENT_PROGRAM = """#include <BrivaneSDK/BrivaneSDK.h>
struct Delegate final : BVManagerDelegate {
  void didIsReady() override {}
  void didErrorFound(const std::shared_ptr<const BVError>&) override {}
  void didBVMatch(const std::shared_ptr<const BVAPIResolve>&) override {}
  void didNearestWaybeacons(const std::shared_ptr<const BVWaybeaconDistance::List>&) override {}
};
int main(int count, char**) {
  if (count > 1) BVManager::initWithDelegate(std::make_shared<Delegate>());
  return static_cast<int>(BrivaneSDKVersionNumber) == BRIVANE_VERSION_MAJOR ? 0 : 1;
}
"""


DOCUMENTS = sorted([*SOURCE.glob("*.md"), *(SOURCE / "docs").glob("*.md")])


def run(*command, **options):
    done = subprocess.run(command, capture_output=True, text=True, **options)
    assert done.returncode == 0, f"{done.stdout}\n{done.stderr}"


def snippets(language):
    """Those that are no whole file."""
    return [block for document in DOCUMENTS for block in blocks(document, language) if not file_of(block)]


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
        cls.environment = {**os.environ, "CXX": COMPILER, "CXXFLAGS": FLAGS, "CMAKE_GENERATOR": "Ninja",
                           "CMAKE_PREFIX_PATH": str(cls.folder / "prefix"), "XDG_CONFIG_HOME": str(cls.folder),
                           "LD_LIBRARY_PATH": f"{cls.folder}/prefix/lib/jni",
                           "PATH": f"{cls.folder}/prefix/bin:{os.environ['PATH']}"}

    def build(self, name, *lines):
        (self.folder / "CMakeLists.txt").write_text("\n".join(lines))
        run("cmake", "-S", self.folder, "-B", self.folder / name, env=self.environment)
        run("cmake", "--build", self.folder / name, env=self.environment)

    def test_every_snippet_compiles(self):
        sources = [as_source(snippet) for snippet in snippets("cpp")]
        self.assertGreater(len(sources), 1)
        for number, source in enumerate(sources):
            (self.folder / f"snippet{number}.cpp").write_text(source)
        files = " ".join(f"snippet{i}.cpp" for i in range(len(sources)))
        lines = ["cmake_minimum_required(VERSION 3.25)", "project(host LANGUAGES C CXX)", "find_package(PkgConfig)",
                 "pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0)", "link_libraries(PkgConfig::GLIB)"]
        for number, snippet in enumerate(snippets("cmake")):
            lines += [f"add_library(app{number} OBJECT {files})", re.sub(r"\bapp\b", f"app{number}", snippet)]
        self.build("snippets", *lines)

    def test_every_document_holds_and_its_programs_tell_what_is_wrong(self):
        reader = self.folder / "reader"
        reader.mkdir()
        lay_out(reader, SOURCE / "examples", WALKS)
        has_java = (self.folder / "prefix/share/java/brivane.jar").exists()
        for document in [*(SOURCE / "examples").glob("*/README.md"), SOURCE / "docs/getting-started.md"]:
            if has_java or document.parent.name != "java":
                follow(document, reader, self.environment)
        info, address, certificate = start_service(
            self, self.folder / "prefix/bin/brivane-service", WALKS, "--state", self.folder)[1::2]
        stranger = self.folder / "stranger.plist"
        stranger.write_text(pathlib.Path(info).read_text().replace("dev-key", "other"))
        walk, nobody = WALKS / "old-town.btsnoop", "127.0.0.1:1"
        for program, arguments, status, complaint in [
            ("c/walk", (walk, info, nobody, certificate), 1, "the service: .*127.0.0.1 port 1 "),
            ("own-services/own-services", (walk, "none", address, certificate), 2, "none: "),
            ("replay/replay", (walk, info, nobody, certificate), 1, "the service: .*127.0.0.1 port 1 "),
            ("replay/replay", (walk, stranger, address, certificate), 1, "the service: status 401\n"),
            ("replay/replay", ("none", info, address, certificate), 2, "none: "),
            ("replay/replay", (walk, "none", address, certificate), 2, "none: "),
            ("live/live", ("none",), 2, "none: "),
        ]:
            said = subprocess.run([reader / "build" / program, *arguments], timeout=60, capture_output=True, text=True,
                                  env=self.environment)
            self.assertEqual((said.returncode, said.stdout), (status, ""), said)
            self.assertRegex(said.stderr, rf"\A{program.split('/')[1]}: {complaint}")
        with Machine() as machine:
            machine.do("start_bluez")
            host = subprocess.Popen([reader / "build/live/live", info, address, certificate], env=machine.environment,
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            self.assertEqual(host.stdout.readline(), "Iglesia de San Ginés\n")
            machine.do("Power hci0 0")
            self.assertIn("hci0 is off; switch it on", host.stderr.readline())
            host.send_signal(signal.SIGINT)
            host.communicate(timeout=PATIENCE)
            self.assertEqual(host.returncode, 0)

    def test_pkg_config_tells_what_a_host_links(self):
        found = next((self.folder / "prefix").glob("**/pkgconfig"))
        told = subprocess.run(["pkg-config", "--cflags", "--libs", *(f"brivane-{name}" for name in
                               ("sdk", "curl", "files", "json", "posix", "replay"))], capture_output=True, text=True,
                              check=True, env={**os.environ, "PKG_CONFIG_PATH": str(found)})
        run(COMPILER, "-std=c++20", *FLAGS.split(), SOURCE / "examples/replay/main.cpp", "-o", self.folder / "by-hand",
            *told.stdout.split())

    def test_a_project_that_brings_its_source_along_gets_the_library_alone(self):
        parent = self.folder / "parent"
        parent.mkdir()
        (parent / "CMakeLists.txt").write_text(PARENT.format(source=SOURCE))
        (parent / "parent.cpp").write_text(PARENT_PROGRAM)
        run("cmake", "-S", parent, "-B", parent / "build", "-G", "Ninja", "-DBRIVANE_ADAPTERS=OFF",
            "-DCMAKE_UNITY_BUILD=ON", f"-DCMAKE_CXX_COMPILER={COMPILER}", f"-DCMAKE_CXX_FLAGS={FLAGS}")
        run("cmake", "--build", parent / "build", "--target", "parent")
        run(parent / "build/parent")
        run("cmake", "--install", parent / "build", "--prefix", parent / "prefix")
        self.assertEqual([file.name for file in parent.glob("prefix/**/*") if file.is_file()], ["parent"])


unittest.main(argv=[sys.argv[0]])
