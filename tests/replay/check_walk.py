"""Fails when the sample walk in a folder is not what its script writes.

usage: check_walk.py WALKS_FOLDER
"""
import filecmp
import pathlib
import subprocess
import sys
import tempfile

walks = pathlib.Path(sys.argv[1])
names = ["old-town.btsnoop", "old-town.gpx", "old-town.json"]
with tempfile.TemporaryDirectory() as folder:
    subprocess.run([sys.executable, walks / "make_walk.py", folder], check=True)
    same, different, missing = filecmp.cmpfiles(walks, folder, names, shallow=False)
print("same:", same, "different:", different, "missing:", missing)
sys.exit(same != names)
