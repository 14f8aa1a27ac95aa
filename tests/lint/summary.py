#!/usr/bin/env python3
"""Sums what the last ctest run did: test functions of the Qt test programs, one for every other test. Fails when a
label ran no test (only for a run of everything).

usage: summary.py BUILD_FOLDER NUMBER_OF_CTEST_ARGUMENTS
"""
import os
import re
import subprocess
import sys

LABELS = {"unit", "contract", "gui", "e2e", "lint"}


def main():
    folder, partial = sys.argv[1], int(sys.argv[2]) > 0
    with open(os.path.join(folder, "Testing", "Temporary", "LastTest.log"), encoding="utf-8", errors="replace") as f:
        log = f.read()
    passed = failed = skipped = 0
    for block in re.split(r"^\d+/\d+ Testing: ", log, flags=re.M)[1:]:
        totals = re.findall(r"^Totals: (\d+) passed, (\d+) failed, (\d+) skipped", block, re.M)
        ok = re.search(r"^Test Passed\.", block, re.M) is not None
        for p, f, s in totals:
            passed, failed, skipped = passed + int(p), failed + int(f), skipped + int(s)
        if not totals:
            passed, failed = passed + ok, failed + (not ok)
        elif not ok and not any(int(f) for _, f, _ in totals):
            failed += 1
    status = 1 if failed or passed == 0 else 0
    if not partial:
        listing = subprocess.run(["ctest", "--test-dir", folder, "--print-labels"],
                                 capture_output=True, text=True).stdout
        for label in sorted(LABELS - set(re.findall(r"^  (\w+)$", listing, re.M))):
            print(f"no test has the label {label}")
            status = 1
    print(f"{passed} passed, {failed} failed, {skipped} skipped")
    return status


if __name__ == "__main__":
    sys.exit(main())
