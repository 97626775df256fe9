#!/usr/bin/env python3
"""symbols.py LIBRARY [NM]: lists the exported symbols and fails if one stands outside the namespace Ostrevan."""

import re
import subprocess
import sys

nm = sys.argv[2] if len(sys.argv) > 2 else "nm"
names = [line.split()[-1] for line in
         subprocess.run([nm, "-D", "--defined-only", sys.argv[1]], check=True, capture_output=True,
                        text=True).stdout.splitlines()]
# Mangled names whose outermost name is the namespace: functions, data, tables and thunks of its classes.
inside = re.compile(r"_Z(GV|T[VISTC]|Thn\d+_|Tv\d+_n\d+_)?NK?8Ostrevan")
outside = [name for name in names if not inside.match(name)]
demangled = subprocess.run(["c++filt"], input="\n".join(names), capture_output=True, text=True, check=True).stdout
leaks = [line for line in demangled.splitlines() if "Kolm::" in re.sub(r"\(.*", "", line)]
for name in outside:
    print("not in the namespace Ostrevan:", name)
for name in leaks:
    print("a member of Kolm:", name)
print(f"{len(names)} exported symbols, {len(outside) + len(leaks)} faults")
sys.exit(1 if outside or leaks or len(names) < 20 else 0)
