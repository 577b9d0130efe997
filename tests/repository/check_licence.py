#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Every source file of the repository names its licence in an SPDX line.

Argument: the source folder (a git checkout).
"""
import os
import subprocess
import sys

SOURCE = sys.argv[1]
SUFFIXES = (".cpp", ".h", ".mjs", ".py", ".sh", ".cmake", ".in")
NAMES = ("CMakeLists.txt", "dev", "run", "tallywickctl")

files = subprocess.run(["git", "-C", SOURCE, "ls-files"], capture_output=True, text=True, check=True).stdout.split()
missing = []
for name in files:
    base = os.path.basename(name)
    if not (name.endswith(SUFFIXES) or base in NAMES):
        continue
    with open(os.path.join(SOURCE, name), encoding="utf-8") as source:
        head = "".join(source.readline() for _ in range(3))
    if "SPDX-License-Identifier: " not in head:
        missing.append(name)
if missing:
    sys.exit("FAIL: no SPDX-License-Identifier line in the first lines of:\n  " + "\n  ".join(missing))
print("%d source files name their licence" % len(files))
