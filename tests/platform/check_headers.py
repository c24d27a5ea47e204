# SPDX-License-Identifier: Apache-2.0
"""Holds what a host's build and link must not meet: every header of the library, the boundary, the location logic and
of what hosts test with compiles alone, they include the standard library and each other, nothing else, and the
libraries define no external name but their own.

usage: check_headers.py COMPILER FLAGS SOURCE_FOLDER PUBLIC_HEADERS NM LIBRARY…
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
NAME = re.compile(rf"_Z(T[CISVT]|T[hv]n?\d+_(n?\d+_)?|GVZ?|GR|Z)*N?[KVRO]*({OURS}|{STANDARD})")
# Beside them: the version, the C interface, the types of plain function pointers, placement new where it is not inlined, and what
# compilers and sanitizers add.
OTHERS = re.compile(r"BrivaneSDKVersion(Number|String)|brivane_\w+|DW\.ref\.\w+|__odr_asan\S+|__clang_call_terminate|_ZT[IS]P?(Do)?F\w+"
                    r"|_Z(n[wa][mj]Pv|d[la]PvS_)")

compiler, flags, root, public, nm, *libraries = sys.argv[1:]
root = pathlib.Path(root)
COMPILE = [compiler, *flags.split(), "-fsyntax-only", "-I", root, "-x", "c++"]
faults = []


def check_includes(file, allowed):
    for number, line in enumerate(file.read_text().splitlines(), 1):
        if included := re.match(r"\s*#\s*include\s+(\S+)", line):
            # Of the C library: one whose macros are to be undefined, and one that some systems have locales in.
            if not re.fullmatch(rf'<[^.>]+>|"{allowed}/\w+\.h"|<sys/sysmacros\.h>|<xlocale\.h>', included[1]):
                faults.append(f"{file}:{number}: {included[1]} is outside the boundary")


def check_in_host(headers):
    """A host has its own language and flags, and the C library's macros "major" and "minor" before or after ours."""
    every = [f'#include "{header}"' for header in headers]
    use = "long sum(const BVAPIResolveRequest& of, const platform::CLBeacon& b) { return of.major() + b.minor; }"
    macros = "#include <sys/sysmacros.h>"
    for language, lines in [
        (["-std=c++20"], [macros, *every]),
        (["-std=c++20"], [*every, macros]),
        (["-std=c++20", "-fno-exceptions", "-fno-rtti"], every),
        (["-std=c++2b"], every),
    ]:
        if subprocess.run([*COMPILE, *language, "-"], input="\n".join([*lines, use, ""]), text=True).returncode != 0:
            faults.append(f"a host with {' '.join(language)} that begins with {lines[0]} does not compile")


def check_alone(header):
    command = [*COMPILE, "-std=c++20", "-Wall", "-Wextra", "-Werror", "/dev/null", "-include", header]
    if subprocess.run(command).returncode != 0:
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
check_in_host(public.split(";"))
for library in libraries:
    check_names(library)
print("\n".join(faults) or f"{len(files)} files and {len(libraries)} libraries keep within the boundary")
sys.exit(bool(faults) or not files or not libraries)
