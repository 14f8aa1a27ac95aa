"""The sources of the tree, for the other checks."""
import os
import re
import subprocess

TOP = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.M)


def files(*endings):
    """Tracked and untracked-not-ignored files with one of the endings, relative to the top."""
    out = subprocess.run(["git", "-C", TOP, "ls-files", "-co", "--exclude-standard"],
                         capture_output=True, text=True, check=True).stdout
    return sorted(f for f in out.splitlines() if f.endswith(endings) and os.path.exists(os.path.join(TOP, f)))


def read(path):
    with open(os.path.join(TOP, path), encoding="utf-8") as f:
        return f.read()


def report(faults, what):
    """Prints the faults and gives the exit status."""
    for fault in faults:
        print(fault)
    print(f"{what}: {len(faults)} fault(s)")
    return 1 if faults else 0
