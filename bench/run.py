"""Runs all benchmarks and prints one table; writes what it measured to a JSON file. docs/performance.md explains each
row.

usage: run.py BUILD_FOLDER
"""
import json
import os
import pathlib
import platform
import re
import subprocess
import sys
import tempfile
import time

from surroundings import Relay, http2_server, radio, service

ROOT = pathlib.Path(__file__).parent.parent
BUILD = pathlib.Path(sys.argv[1]).resolve()
PROGRAMS = BUILD / "bench"
SERVICE, BRIVANE = BUILD / "service/brivane-service", BUILD / "host/brivane"
INFO, CAPTURE, WALK = (ROOT / "walks" / name for name in ("Info.plist", "old-town.btsnoop", "old-town.json"))
IDLE_SECONDS = 5

rows = []


def row(what, figure, beside, limit, aim, unit="", met=None):
    """`aim` bounds the ratio from above; from below when it is given as a pair."""
    ratio = figure / limit if limit else None
    if met is None:
        met = ratio >= aim[0] if isinstance(aim, tuple) else ratio <= aim
    text = f"at least {aim[0]} ×" if isinstance(aim, tuple) else aim if isinstance(aim, str) else f"at most {aim} ×"
    rows.append({"what": what, "figure": figure, "beside": beside, "limit": limit, "unit": unit, "ratio": ratio,
                 "aim": text, "met": met})


def bench(program, *arguments, repetitions=9, environment=None):
    """The quickest run of each of a program's benchmarks, by name: the others ran while the machine was busier."""
    with tempfile.NamedTemporaryFile() as out:
        subprocess.run([PROGRAMS / program, "--benchmark_min_time=0.05", f"--benchmark_repetitions={repetitions}",
                        "--benchmark_enable_random_interleaving=true", f"--benchmark_out={out.name}", *arguments],
                       check=True, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        report = json.load(out)
    wrong = [run["error_message"] for run in report["benchmarks"] if run.get("error_occurred")]
    if wrong:
        raise RuntimeError(f"{program}: {wrong[0]}")
    slowest_first = sorted((run for run in report["benchmarks"] if run["run_type"] == "iteration"),
                           key=lambda run: -run["real_time"])
    return {re.sub(r"/(iterations:\d+|manual_time)", "", run["run_name"]): run for run in slowest_first}


def ranging():
    for arguments, suffix, what, beside in (
            ([], "", "ranging report", "look-ups"),
            (["log"], "Logged", "the same, logged", "look-ups and three lines")):
        runs = bench("RangingBench", *arguments)
        time_of = {name: run["cpu_time"] / int(name.split("/")[1]) for name, run in runs.items()}
        for count in 1, 10, 100, 10_000:
            row(f"{what}, {count:,} cached beacons", time_of[f"Report{suffix}/{count}"], beside,
                time_of[f"LookUp{suffix}/{count}"], 1.5, "ns a beacon")
        if not arguments:
            growth, peer = (time_of[f"{name}/100000"] / time_of[f"{name}/10"] for name in ("Report", "LookUp"))
            row("growth a beacon, 10 to 100,000", growth, "growth of the look-ups", peer, 1.5)


def replies():
    runs = bench("RepliesBench")
    for what, name, records, unit in (("resolve reply to record", "Resolve", "Record", "ns"),
                                      ("nearest reply of 10,000 places to list", "Nearest", "Records", "ms")):
        peer = "simdjson's DOM", runs[f"{name}Dom"]["cpu_time"]
        row(what, runs[name]["cpu_time"], *peer, 3, unit)
        row("of that, its records alone", runs[f"{name}{records}"]["cpu_time"], *peer, "–", unit, met="–")


def memory():
    sizes = json.loads(subprocess.run([PROGRAMS / "MemoryBench"], check=True, stdout=subprocess.PIPE).stdout)
    row("memory of that list", sizes["nearest"] / 1024, "its reply", sizes["nearestReply"] / 1024, 3, "KiB")
    row("memory of 1,000 cached beacons", sizes["cache"] / 1024, "their replies", sizes["cacheReplies"] / 1024, 3,
        "KiB")


def network(folder):
    reply = subprocess.run([PROGRAMS / "NetworkBench", "--reply"], check=True, stdout=subprocess.PIPE).stdout
    state = folder / "state"
    with http2_server(folder, state, reply, ("oauth2/token", "sync", "resolve")) as port:
        runs = bench("NetworkBench", state / "certificate.pem", state / "key.pem", str(port), repetitions=21)
    for protocol in "HTTP1.1", "HTTP2":
        one, other = runs[f"Burst/{protocol}"], runs[f"PlainBurst/{protocol}"]
        rates = [5000 / (run["real_time"] * 1e-9) for run in (one, other)]
        row(f"5,000 new beacons, {protocol}", rates[0], "plain libcurl", rates[1], (0.95,), "a second")
        row(f"handshakes for them, {protocol}", one["connections"], "plain libcurl", other["connections"], 1)
        row(f"login to ready, {protocol}", runs[f"Ready/{protocol}"]["real_time"] / 1e6, "two requests",
            runs[f"PlainReady/{protocol}"]["real_time"] / 1e6, 1.05, "ms")


def capture(folder):
    runs = bench("CaptureBench", folder / "bench.btsnoop")
    row("capture to ranging reports", runs["Replay"]["items_per_second"] / 1e6, "search in its records",
        runs["Search"]["items_per_second"] / 1e6, (0.5,), "million frames a second")


def live(folder, environment):
    runs = bench("LiveFrameBench", environment=environment)
    row("live frame, processor time", runs["Live"]["real_time"] / 5000 / 1e3, "GDBus alone",
        runs["Deliver"]["real_time"] / 5000 / 1e3, 1.3, "µs")


def threads_of(process):
    """How often each thread of a process has run, and how."""
    for task in pathlib.Path(f"/proc/{process}/task").iterdir():
        status = (task / "status").read_text()
        switches = re.findall(r"ctxt_switches:\s+(\d+)", status)
        yield sum(map(int, switches)), re.search(r"State:\s+(\w)", status)[1]


def wake_ups(process):
    before = list(threads_of(process))
    time.sleep(IDLE_SECONDS)
    after = list(threads_of(process))
    if any(state != "S" for _, state in after):
        raise RuntimeError("a thread runs")
    return sum(count for count, _ in after) - sum(count for count, _ in before), len(after)


def idle(folder, port, environment):
    command = [PROGRAMS / "IdleHost", INFO, f"127.0.0.1:{port}", folder / "state/certificate.pem"]
    with subprocess.Popen(command, env=environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as host:
        for expected in "idle", "stopped":
            if host.stdout.readline().strip() != expected:
                raise RuntimeError("the host did not get there")
            time.sleep(3)  # connections close by themselves in the service
            wakes, threads = wake_ups(host.pid)
            row(f"{expected}: wake-ups in {IDLE_SECONDS} s, {threads} threads", wakes, "nothing", 0, "0",
                met=wakes == 0)
            host.stdin.write("\n")
            host.stdin.flush()


def size_and_start(folder):
    with tempfile.NamedTemporaryFile() as stripped:
        subprocess.run(["strip", "-o", stripped.name, BUILD / "BrivaneSDK/libBrivaneSDK.so"], check=True)
        size = os.path.getsize(stripped.name) / 1024
    row("shared library, stripped", size, "–", 150, "under 150 KiB", "KiB", met=size < 150)
    runs = bench("StartBench", PROGRAMS / "StartHost", INFO, folder / "state/certificate.pem",
                 environment={"XDG_CONFIG_HOME": str(folder)})
    library, plain = runs["Start/library"], runs["Start/plain"]
    row("start to first request", library["real_time"], "plain libcurl", plain["real_time"], "under 2 ms", "ms",
        met=library["real_time"] < 2)
    row("of that, from main on", library["sinceMain"], "plain libcurl", plain["sinceMain"], "under 2 ms", "ms",
        met=library["sinceMain"] < 2)


def walk(folder, name, command, is_match):
    """A host's way through the sample walk: what it costs, and when it knows the first place."""
    with service(SERVICE, WALK, folder / "state", "--log") as (port, lines):
        relay = Relay(port)
        start = time.monotonic()
        with subprocess.Popen(command(relay.port), stdout=subprocess.PIPE, text=True, env={
                "XDG_CONFIG_HOME": str(folder), "PATH": os.environ["PATH"]}) as host:
            moment = next(moment for moment in map(is_match, host.stdout) if moment is not None)
            first = time.monotonic() - start
            host.stdout.read()
        whole = time.monotonic() - start
    return {"host": name, "requests": len(lines), "connections": relay.connections, "bytes": relay.bytes,
            "first match, ms": first * 1e3, "first match, second of the walk": moment, "whole, ms": whole * 1e3}


def event_second(line):
    event = json.loads(line)
    return event["t"] if event["event"] == "match" else None


def compare(folder):
    certificate = folder / "state/certificate.pem"
    return [
        walk(folder, "brivane detect", lambda port: [
            BRIVANE, "detect", "--info", INFO, "--capture", CAPTURE, "--speed", "max", "--json", "--connect",
            f"127.0.0.1:{port}", "--ca", certificate], event_second),
        walk(folder, "without the library", lambda port: [
            sys.executable, ROOT / "bench/plainhost.py", CAPTURE, str(port), certificate],
            lambda line: float(line.split()[1]))]


def table(heads, lines):
    widths = [max(len(line[i]) for line in [heads, *lines]) for i in range(len(heads))]
    for line in [heads, ["-" * width for width in widths], *lines]:
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(line, widths)) + " |")


def number(value):
    return "–" if value is None else f"{value:,.0f}" if abs(value) >= 1000 or value == int(value) else f"{value:.3g}"


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        beacons = [{"uuid": f"b{i}", "major": 1, "minor": i, "name": "b", "latitude": 0, "longitude": 0, "location": "",
                    "accesibility": "", "url": "", "payload": {}} for i in range(20)]
        place = json.loads(WALK.read_text())["places"][0]
        (folder / "network.json").write_text(json.dumps({"places": [{**place, "beacons": beacons}]}))
        ranging()
        replies()
        memory()
        capture(folder)
        with service(SERVICE, folder / "network.json", folder / "state") as (port, _):
            network(folder)
            size_and_start(folder)
            with radio(folder, PROGRAMS / "Radio") as bus:
                environment = {**bus, "XDG_CONFIG_HOME": name}
                live(folder, environment)
                idle(folder, port, environment)
        comparison = compare(folder)
    table(["figure", "", "beside", "", "ratio", "aim", "met"],
          [[r["what"], f"{number(r['figure'])} {r['unit']}".strip(), r["beside"], number(r["limit"]),
            "–" if r["ratio"] is None else f"{r['ratio']:.2f}", r["aim"], {True: "yes", False: "no"}.get(r["met"], "–")]
           for r in rows])
    print()
    table(list(comparison[0]), [[v if isinstance(v, str) else number(v) for v in c.values()] for c in comparison])
    machine = {"processors": os.cpu_count(), "system": platform.platform()}
    (BUILD / "bench.json").write_text(json.dumps({"machine": machine, "rows": rows, "walk": comparison}, indent=1))


if __name__ == "__main__":
    main()
