# SPDX-License-Identifier: Apache-2.0
"""Runs all benchmarks and prints one table; writes what it measured to a JSON file. docs/performance.md explains each
row.

usage: run.py BUILD_FOLDER
"""
import json
import os
import pathlib
import re
import resource
import subprocess
import sys
import tempfile
import time

from surroundings import http2_server, process, radio, service, write_capture

ROOT = pathlib.Path(__file__).parent.parent
BUILD = pathlib.Path(sys.argv[1]).resolve()
PROGRAMS = BUILD / "bench"
BRIVANE = BUILD / "host/brivane"
CAPTURED_FRAMES, LIVE_FRAMES, IDLE_SECONDS = 200_000, 20_000, 20

rows = []


def row(figure, unit, ours, peer=None, limit=None):
    """`peer` does the same job and `limit` less; each is a name and its figure. Less is better in every figure."""
    rows.append({"figure": figure, "unit": unit, "ours": ours, "peer": peer, "limit": limit})


def bench(program, *arguments):
    """The quickest run of each of a program's benchmarks, by name: the others ran while the machine was busier."""
    report = json.loads(subprocess.check_output(
        [PROGRAMS / program, "--benchmark_min_time=0.05", "--benchmark_repetitions=9", "--benchmark_format=json",
         "--benchmark_enable_random_interleaving=true", *arguments], cwd=ROOT, stderr=subprocess.DEVNULL))
    wrong = [run["error_message"] for run in report["benchmarks"] if run.get("error_occurred")]
    assert not wrong, (program, wrong)
    slowest_first = sorted((run for run in report["benchmarks"] if run["run_type"] == "iteration"),
                           key=lambda run: -run["real_time"])
    return {re.sub(r"/(iterations:\d+|real_time)", "", run["run_name"]): run for run in slowest_first}


def ranging():
    runs = bench("RangingBench")
    for count in 10, 100, 10_000:
        ours, peer = (runs[f"{name}/{count}"]["cpu_time"] / count for name in ("Report", "Map"))
        row(f"ranging report, {count:,} cached beacons", "ns a beacon", ours, ("a map of one's own", peer))


def replies():
    runs = bench("RepliesBench")
    for figure, name, unit, nanoseconds in (("resolve reply to record", "Resolve", "µs", 1e3),
                                            ("nearest reply of 1,000 places to records", "Nearest", "ms", 1e6)):
        time_of = {run.partition("/")[2]: runs[run]["cpu_time"] / nanoseconds for run in runs if run.startswith(name)}
        for peer in "RapidJSON", "nlohmann":
            row(figure, unit, time_of[""], (f"{peer}, same records", time_of[peer]),
                ("simdjson's tree alone", time_of["tree"]))


def memory():
    lines = subprocess.check_output([PROGRAMS / "MemoryBench"], cwd=ROOT, text=True)
    kib = {name: int(size) / 1024 for name, size in map(str.split, lines.splitlines())}
    row("memory of 1,000 cached beacons", "KiB", kib["cache"], limit=("their replies", kib["cacheReplies"]))
    row("memory of those 1,000 places", "KiB", kib["nearest"], limit=("their reply", kib["nearestReply"]))
    row("at the peak, while they are read", "KiB", kib["nearestPeak"], ("nlohmann, same records", kib["nlohmannPeak"]),
        ("their reply", kib["nearestReply"]))


def new_beacons(folder):
    identity = [folder / "state/certificate.pem", folder / "state/key.pem"]
    reply = subprocess.check_output([PROGRAMS / "NetworkBench", "--reply"])
    with http2_server(folder, folder / "state", reply) as port:
        for protocol, *at in ["HTTP/1.1"], ["HTTP/2", str(port)]:
            runs = bench("NetworkBench", *identity, *at)
            ours, peer, limit = (runs[name]["real_time"] / 1e6 for name in ("Library", "Plain", "Unread"))
            row(f"5,000 new beacons, {protocol}", "ms", ours, ("libcurl and nlohmann", peer),
                ("libcurl, replies unread", limit))


def processor_time(command):
    """What a program took of the processor, in seconds, with all its threads."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    with tempfile.TemporaryFile() as out:  # grep would stop at its first find if it wrote to nowhere
        subprocess.run(command, check=True, stdout=out, stderr=subprocess.DEVNULL)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def capture(folder):
    path = folder / "bench.btsnoop"
    write_capture(path, CAPTURED_FRAMES)
    commands = {
        "ours": [BRIVANE, "scan", "--capture", path, "--speed", "max", "--json"],
        "grep for the company": ["env", "LC_ALL=C", "grep", "-aobP", r"\xff\x4c\x00\x02\x15", path],
        "btmon -r": ["btmon", "-r", path], "tshark -r": ["tshark", "-r", path]}
    least = {name: min(processor_time(command) for _ in range(3)) * 1e3 for name, command in commands.items()}
    for peer in "btmon -r", "tshark -r":
        row("capture of 200,000 frames to reports", "ms", least["ours"], (peer, least[peer]),
            ("grep for the company", least["grep for the company"]))


def used(program):
    """What a program has used of the processor, in seconds, with all its threads."""
    return time.clock_gettime(~program.pid << 3 | 2)  # as clock_getcpuclockid makes it


def frame_cost(command, radio_):
    """What a frame costs a program, in microseconds of processor time."""
    with process(command, stdout=subprocess.DEVNULL) as program:
        def hear(frames):
            before = used(program)
            radio_.hear(frames)
            now = None
            while now != used(program):
                now = used(program)
                time.sleep(0.3)
            return (now - before) / frames * 1e6

        time.sleep(1)
        hear(1000)
        return min(hear(LIVE_FRAMES) for _ in range(3))


def live(radio_):
    ours = frame_cost([BRIVANE, "scan", "--live"], radio_)
    row("live frame", "µs", ours, limit=("an empty handler", frame_cost([PROGRAMS / "EmptyHandler"], radio_)))


def runs_of(program):
    """How often each thread of a program has run."""
    return {task.name: sum(map(int, re.findall(r"ctxt_switches:\s+(\d+)", (task / "status").read_text())))
            for task in pathlib.Path(f"/proc/{program.pid}/task").iterdir()}


def idle(folder, port, radio_):
    radio_.discovers.clear()
    with process([BRIVANE, "detect", "--live", "--info", ROOT / "walks/Info.plist", "--connect", f"127.0.0.1:{port}",
                  "--ca", folder / "state/certificate.pem"], stdout=subprocess.DEVNULL) as host:
        assert radio_.discovers.wait(10), "the host does not listen"
        time.sleep(47)  # it knows that it is outside, and the threads of its start have ended
        before = runs_of(host)
        time.sleep(IDLE_SECONDS)
        after = runs_of(host)
        wakes = sum(runs - before.get(thread, 0) for thread, runs in after.items()) + len(before.keys() - after.keys())
        row(f"waiting for a beacon, wake-ups in {IDLE_SECONDS} s", "", wakes)


def kept_answers():
    runs = bench("OfflineBench")
    lookup, bare = (runs[name]["cpu_time"] / 1e3 for name in ("LookUp", "Prepared"))
    row("kept answer, look-up", "µs", lookup, limit=("a prepared statement", bare))
    without, with_, away = (runs[name]["real_time"] / 1e6 for name in ("Without", "With", "Away"))
    row("first match, service 300 ms away", "ms", with_, ("without kept answers", without))
    row("first match, network known to be away", "ms", away)


def size():
    with tempfile.NamedTemporaryFile() as stripped:
        subprocess.run(["strip", "-o", stripped.name, BUILD / "BrivaneSDK/libBrivaneSDK.so"], check=True)
        row("shared library, stripped", "KiB", os.path.getsize(stripped.name) / 1024)


def number(value):
    return f"{value:,.0f}" if abs(value) >= 1000 or value == int(value) else f"{value:.3g}"


def cells(row_):
    yield row_["figure"]
    yield f"{number(row_['ours'])} {row_['unit']}".strip()
    for other in row_["peer"], row_["limit"]:
        yield f"{other[0]}: {number(other[1])}" if other else ""
        yield f"{row_['ours'] / other[1]:.2f} ×" if other else ""


def table(lines):
    widths = [max(map(len, column)) for column in zip(*lines)]
    for line in [lines[0], ["-" * width for width in widths], *lines[1:]]:
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(line, widths)) + " |")


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        os.environ["XDG_CONFIG_HOME"] = name
        ranging()
        replies()
        memory()
        capture(folder)
        with service(BUILD / "service/brivane-service", ROOT / "walks/old-town.json", folder / "state") as port:
            new_beacons(folder)
            kept_answers()
            with radio(folder) as radio_:
                os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = radio_.address
                live(radio_)
                idle(folder, port, radio_)
        size()
    table([["figure", "BrivaneSDK", "peer", "", "limit", ""], *map(list, map(cells, rows))])
    (BUILD / "bench.json").write_text(json.dumps(rows, indent=1))


if __name__ == "__main__":
    main()
