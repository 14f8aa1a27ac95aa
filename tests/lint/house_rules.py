#!/usr/bin/env python3
"""House rules that a machine can check."""
import re
import sys

import tree

LONGEST_FILE = 650
SLEEP = re.compile(r"\b(QTest::(qSleep|qWait)|QThread::(m|u)?sleep|sleep_for|usleep|nanosleep)\s*\(")
RAW = re.compile(r"\b(QMessageBox|QApplication::exec|setlocale\s*\(\s*LC_ALL\s*,\s*\"\"\s*\))")


def main():
    faults = []
    headers = sources = 0
    for path in tree.files(".h", ".cpp"):
        text = tree.read(path)
        lines = text.splitlines()
        in_tests = path.startswith(("tests/", "bench/"))
        if len(lines) > LONGEST_FILE:
            faults.append(f"{path}: {len(lines)} lines; the house keeps files to about 600")
        if path.endswith(".h"):
            headers += 1
            if "#pragma once" not in text:
                faults.append(f"{path}: no #pragma once")
            for match in re.finditer(r"^class (?:Q_[A-Z_]+ )?(\w+)[^;{]*\{", text, re.M):
                before = text[:match.start()].rstrip().splitlines()
                if not in_tests and not (before and before[-1].lstrip().startswith(("//", "*", "template"))):
                    faults.append(f"{path}: class {match.group(1)} has no comment")
        else:
            sources += 1
        if "\t" in text:
            faults.append(f"{path}: a tab")
        for number, line in enumerate(lines, 1):
            if in_tests and SLEEP.search(line) and "// why:" not in line:
                faults.append(f"{path}:{number}: a fixed sleep without a reason (// why: ...)")
            if not in_tests and not path.startswith("crashdialog/") and RAW.search(line):
                faults.append(f"{path}:{number}: {RAW.search(line).group(1)} is not used here")
            if re.search(r"\b(TODO|FIXME|XXX)\b", line):
                faults.append(f"{path}:{number}: an open end")
    return tree.report(faults, f"house rules in {headers} headers and {sources} sources")


if __name__ == "__main__":
    sys.exit(main())
