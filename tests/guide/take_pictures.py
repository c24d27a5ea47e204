# SPDX-License-Identifier: Apache-2.0
"""Takes pictures of the guide's pages, as script/screenshots wants them.

usage: take_pictures.py BRIVANE_GUIDE BRIVANE_SERVICE SHARE WALKS_FOLDER PICTURES_FOLDER
"""
import pathlib
import re
import subprocess
import sys
import time

HERE = pathlib.Path(__file__).parent
sys.path[:0] = [str(HERE), str(HERE.parent / "support")]
from desktop import Desktop  # noqa: E402

GUIDE, SERVICE, SHARE, WALKS, PICTURES = sys.argv[1:]
SIZES = {"phone": (360, 640), "desktop": (800, 600)}
PAGES = {"here": "alt+1", "around": "alt+2", "nearby": "alt+3"}


def xdotool(desktop, *command):
    return subprocess.check_output(["xdotool", *command], text=True, env=desktop.environment)


def picture(desktop, guide, key, file):
    def window():
        return xdotool(desktop, "search", "--onlyvisible", "--pid", str(guide.pid), "--name", ".").split()[-1]

    xdotool(desktop, "windowfocus", "--sync", window(), "key", key)
    time.sleep(1.5)
    subprocess.run(["import", "-window", window(), "+dither", "-colors", "48", file], check=True, env=desktop.environment)


def main():
    desktop = Desktop(SHARE)
    service = subprocess.Popen([SERVICE, f"{WALKS}/old-town.json", "--state", desktop.root], stdout=subprocess.PIPE, text=True)
    try:
        port, certificate = re.search(r":(\d+), certificate (.+)", service.stdout.readline()).groups()
        for size, (width, height) in SIZES.items():
            for scheme in "light", "dark":
                desktop.keep(width=width, height=height, positions="true")
                guide = subprocess.Popen(
                    [GUIDE, "--info", f"{WALKS}/Info.plist", "--connect", f"127.0.0.1:{port}", "--ca", certificate,
                     "--capture", f"{WALKS}/old-town.btsnoop", "--track", f"{WALKS}/old-town.gpx", "--speed", "10"],
                    env={**desktop.environment, **({"ADW_DEBUG_COLOR_SCHEME": "prefer-dark"} if scheme == "dark" else {})})
                time.sleep(14)
                for page, key in PAGES.items():
                    picture(desktop, guide, key, f"{PICTURES}/{page}-{size}-{scheme}.png")
                if size == "phone":
                    picture(desktop, guide, "ctrl+comma", f"{PICTURES}/preferences-{size}-{scheme}.png")
                guide.terminate()
                guide.wait()
    finally:
        service.terminate()
        service.wait()
        desktop.close()


main()
