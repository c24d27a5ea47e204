# SPDX-License-Identifier: Apache-2.0
"""Holds what a host's build and link must not meet: every header of the library, the boundary, the location logic and
of what hosts test with compiles alone, they include the standard library and each other, nothing else, and the
libraries define no external name but their own.

usage: check_headers.py COMPILER SOURCE_FOLDER NM LIBRARY…
"""
import multiprocessing.pool
import pathlib
import re
import subprocess
import sys

# Which folder's headers the files of a folder may include.
INCLUDES = {"BrivaneSDK": r"(platform|BrivaneSDK)", "platform": "platform", "platform/location": r"platform(/location)?",
            "testing": r"(platform(/location)?|BrivaneSDK|testing)"}

# A mangled name: what it is made for (a table, a thunk, a guard, a function's local), then whose it is.
OURS = r"(8platform|7brivane(8internal|7testing)|\d+BV\w|\d+brivane_\w)"
# Templates and inline functions of the standard library and of simdjson, which every user of them defines alike.
STANDARD = r"(S[tabsiod]|9__gnu_cxx|8simdjson)"
NAME = re.compile(rf"_Z(T[ISVT]|T[hv]n?\d+_(n?\d+_)?|GVZ?|GR|Z)*N?[KVRO]*({OURS}|{STANDARD})")
# Beside them: the version, the C interface, the types of plain function pointers, placement new where it is not inlined, and what
# compilers and sanitizers add.
OTHERS = re.compile(r"BrivaneSDKVersion(Number|String)|brivane_\w+|DW\.ref\.\w+|__odr_asan\S+|__clang_call_terminate|_ZT[IS]P?F\w+"
                    r"|_Z(n[wa][mj]Pv|d[la]PvS_)")

compiler, root, nm, libraries = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3], sys.argv[4:]
faults = []


def check_includes(file, allowed):
    for number, line in enumerate(file.read_text().splitlines(), 1):
        if included := re.match(r"\s*#\s*include\s+(\S+)", line):
            # The one header of the C library is there to have its macros undefined.
            if not re.fullmatch(rf'<[^.>]+>|"{allowed}/\w+\.h"|<sys/sysmacros\.h>', included[1]):
                faults.append(f"{file}:{number}: {included[1]} is outside the boundary")


def check_beside_macros():
    """A host may have the C library's macros "major" and "minor" before or after our headers."""
    headers = ["#include <sys/sysmacros.h>", "#include <BrivaneSDK/BrivaneSDK.h>"]
    use = "long sum(const BVAPIResolveRequest& of, const platform::CLBeacon& b) { return of.major() + b.minor; }"
    for order in (headers, headers[::-1]):
        command = [compiler, "-std=c++20", "-fsyntax-only", "-I", root, "-x", "c++", "-"]
        if subprocess.run(command, input="\n".join([*order, use]), text=True).returncode != 0:
            faults.append(f"a host with {' and '.join(order)} does not compile")


def check_alone(header):
    command = [compiler, "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-I", root]
    if subprocess.run(command + ["-include", header, "-x", "c++", "/dev/null"]).returncode != 0:
        faults.append(f"{header}: does not compile alone")


def check_names(library):
    dynamic = ["--dynamic"] if ".so" in library else []
    listing = subprocess.run([nm, "--extern-only", "--defined-only", "--format=posix", *dynamic, library],
                             check=True, capture_output=True, text=True).stdout
    names = {line.split()[0] for line in listing.splitlines() if len(line.split()) > 1}
    if not any(re.search(OURS, name) for name in names):
        faults.append(f"{library}: no names were found")
    for name in sorted(names):
        if not NAME.match(name) and not OTHERS.fullmatch(name):
            faults.append(f"{library}: {name} is a name outside the project's own")


files = [(file, allowed) for folder, allowed in INCLUDES.items() for file in sorted(root.glob(folder + "/*.*"))
         if file.suffix in (".h", ".cpp")]
for file, allowed in files:
    check_includes(file, allowed)
multiprocessing.pool.ThreadPool().map(check_alone, [file for file, _ in files if file.suffix == ".h"])
check_beside_macros()
for library in libraries:
    check_names(library)
print("\n".join(faults) or f"{len(files)} files and {len(libraries)} libraries keep within the boundary")
sys.exit(bool(faults) or not files or not libraries)
