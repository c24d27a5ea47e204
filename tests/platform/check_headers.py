"""Compiles every public header of the library and the boundary alone, and fails on an include that a
host's build should not meet: both use the standard library and each other, nothing else.

usage: check_headers.py COMPILER SOURCE_FOLDER
"""
import pathlib
import re
import subprocess
import sys

# Besides the standard library's own headers, which have no dot: what a source may ask the system.
SYSTEM = {"sys/utsname.h"}

compiler, root = sys.argv[1], pathlib.Path(sys.argv[2])
boundary = sorted(root.glob("platform/*.h")) + sorted(root.glob("platform/*.cpp"))
library = sorted(root.glob("BrivaneSDK/*.h")) + sorted(root.glob("BrivaneSDK/*.cpp"))
faults = []
for file in boundary + library:
    own = r'"platform/\w+\.h"' if file in boundary else r'"(platform|BrivaneSDK)/\w+\.h"'
    for number, line in enumerate(file.read_text().splitlines(), 1):
        if included := re.match(r"\s*#\s*include\s+(\S+)", line):
            name = included[1]
            system = re.fullmatch(r"<([^>]+)>", name)
            allowed = ("." not in system[1] or system[1] in SYSTEM) if system else re.fullmatch(own, name)
            if not allowed:
                faults.append(f"{file}:{number}: {name} is outside the boundary")
    if file.suffix == ".h":
        command = [compiler, "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-I", root]
        alone = subprocess.run(command + ["-include", file, "-x", "c++", "/dev/null"])
        if alone.returncode != 0:
            faults.append(f"{file}: does not compile alone")
print("\n".join(faults) or f"{len(boundary + library)} files keep within the boundary")
sys.exit(bool(faults) or not library)
