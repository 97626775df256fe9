#!/usr/bin/env python3
"""Checks which headers each layer includes.

include/ sees nothing of Kolm, source/ sees everything, and inside Kolm/source a module includes only its own headers
and those of the modules below it. Text that both layers include, include/<module>/X.inc, belongs to its module, names
neither layer and includes nothing of either. No file of the library includes a standard container, string or stream.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]

# Folders of Kolm/source from the bottom up. A file may include headers of its own level and of the levels below.
LEVELS = [
    ["core"],
    ["math"],
    ["format", "format/stream", "format/coder"],
    ["foundation/shader"],
    ["foundation"],
    ["platform"],
    ["foundation/vulkan", "platform/vulkan"],
    ["geometry", "parallel", "graphics"],
    ["interface"],
]
# Modules that stand beside each other and do not see one another, though their numbers differ.
BLIND = {("foundation/shader", "format"), ("foundation/shader", "format/stream"), ("foundation/shader", "format/coder"),
         ("foundation/shader", "math")}
STANDARD = set("""vector string map set unordered_map unordered_set list deque array functional thread future mutex
iostream sstream fstream istream ostream iomanip regex memory string_view optional variant any span stack queue
filesystem condition_variable locale codecvt""".split())

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.M)


def includes(path):
    return INCLUDE.findall(path.read_text(encoding="utf-8"))


def files(folder, recursive=True):
    pattern = "**/*" if recursive else "*"
    return sorted(p for p in (ROOT / folder).glob(pattern) if p.suffix in (".h", ".cpp", ".inc") and p.is_file())


def main():
    faults = []
    level_of, folder_of, shared = {}, {}, []
    for level, folders in enumerate(LEVELS):
        for folder in folders:
            for path in files("Kolm/source/" + folder, recursive=False):
                if path.name in level_of:
                    faults.append(f"{path}: a second file of this name")
                level_of[path.name], folder_of[path.name] = level, folder
            for path in files("include/" + folder, recursive=False):
                if path.suffix == ".inc" and not path.name.startswith("Ostrevan"):
                    level_of[path.name], folder_of[path.name] = level, folder
                    shared.append(path)

    known = {p for folders in LEVELS for f in folders for p in files("Kolm/source/" + f, recursive=False)}
    for path in files("Kolm/source"):
        if path not in known:
            faults.append(f"{path}: stands in a folder that belongs to no module")

    count = 0
    for path in sorted(known):
        for _, name in includes(path):
            count += 1
            base = name.split("/")[-1]
            if base.startswith("Ostrevan"):
                faults.append(f"{path}: the core layer includes the public {name}")
            if base in level_of and base == name:
                if level_of[base] > level_of[path.name]:
                    faults.append(f"{path}: includes {name} of the higher module {folder_of[base]}")
                if (folder_of[path.name], folder_of[base]) in BLIND:
                    faults.append(f"{path}: {folder_of[path.name]} includes {name} of {folder_of[base]}")
    for path in shared:
        for layer in re.findall(r"Kolm|Ostrevan|KOLM_|OSTREVAN_", path.read_text(encoding="utf-8")):
            faults.append(f"{path}: text of both layers names {layer}")
    for path in files("include"):
        for _, name in includes(path):
            count += 1
            if "Kolm" in name or name.startswith("VK"):
                faults.append(f"{path}: a public header includes {name}")
    for path in files("tools/ostrevan") + files("examples"):
        for _, name in includes(path):
            if "Kolm" in name:
                faults.append(f"{path}: a client of the public headers includes {name}")
    for path in sorted(known) + files("include") + files("source"):
        for kind, name in includes(path):
            if kind == "<" and name in STANDARD:
                faults.append(f"{path}: includes <{name}>")

    for fault in faults:
        print(str(fault).replace(str(ROOT) + "/", ""))
    print(f"{len(known)} core files, {count} includes, {len(faults)} faults")
    if count < 50:
        print("too few includes were found: the check reads the wrong folders")
        return 1
    return 1 if faults else 0


sys.exit(main())
