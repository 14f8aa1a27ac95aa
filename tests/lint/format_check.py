#!/usr/bin/env python3
"""Fails when clang-format would change a file."""
import os
import subprocess
import sys

import tree


def main():
    names = [os.path.join(tree.TOP, n) for n in tree.files(".h", ".cpp")]
    faults = []
    for at in range(0, len(names), 40):
        run = subprocess.run(["clang-format", "--dry-run", "-Werror"] + names[at:at + 40],
                             capture_output=True, text=True)
        if run.returncode:
            faults += sorted({line.split(":")[0] for line in run.stderr.splitlines() if "error:" in line})
    return tree.report(faults, f"format of {len(names)} files (./dev format mends it)")


if __name__ == "__main__":
    sys.exit(main())
