#!/usr/bin/env python3
"""headers.py COMPILER...: each public header compiles alone, and all of them in reversed order, as C++17 and C++20."""

import concurrent.futures
import os
import pathlib
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
INCLUDE = ROOT / "include"
headers = sorted(str(p.relative_to(INCLUDE)) for p in INCLUDE.rglob("*.h"))
compilers = [c for c in sys.argv[1:] if shutil.which(c)]


def compile_text(job):
    compiler, standard, name, text = job
    run = subprocess.run([compiler, f"-std={standard}", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-Wpedantic",
                          f"-I{INCLUDE}", "-xc++", "-"], input=text, capture_output=True, text=True)
    return f"{compiler} {standard} {name}:\n{run.stderr}" if run.returncode else None


reverse = "".join(f"#include <{h}>\n" for h in reversed(headers))
jobs = []
for compiler in compilers:
    for standard in ("c++17", "c++20"):
        jobs += [(compiler, standard, h, f"#include <{h}>\n") for h in headers]
        jobs.append((compiler, standard, "all in reversed order", reverse + reverse))
with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    faults = [fault for fault in pool.map(compile_text, jobs) if fault]
umbrella = (INCLUDE / "Ostrevan.h").read_text()
faults += [f"Ostrevan.h lacks {h}" for h in headers if h != "Ostrevan.h" and f"<{h}>" not in umbrella]
for fault in faults:
    print(fault)
kolm = [h for h in headers if "Kolm::" in (INCLUDE / h).read_text()]
for header in kolm:
    print(header, "names a type of Kolm")
print(f"{len(headers)} headers, {len(jobs)} compilations with {', '.join(compilers)}, {len(faults) + len(kolm)} faults")
sys.exit(1 if faults or kolm or not headers or not compilers else 0)
