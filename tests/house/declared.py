#!/usr/bin/env python3
"""declared.py LIBRARY: every function that the public headers declare is exported by the library."""

import json
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]

dump = subprocess.run(["clang++", "-std=c++17", "-fsyntax-only", f"-I{ROOT}/include", "-Xclang", "-ast-dump=json",
                       "-Xclang", "-ast-dump-filter=Ostrevan", "-xc++", "-"],
                      input="#include <Ostrevan.h>\n", capture_output=True, text=True)
if dump.returncode:
    sys.exit(dump.stderr)

declared, defined = {}, set()


def walk(node, scope):
    kind, name = node.get("kind", ""), node.get("name", "")
    if kind.endswith("TemplateDecl") or kind.endswith("TemplateSpecializationDecl"):
        return  # instantiated where they are used
    if kind in ("FunctionDecl", "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl", "CXXConversionDecl"):
        mangled = node.get("mangledName")
        body = any(inner.get("kind") == "CompoundStmt" for inner in node.get("inner", ()))
        if body or node.get("explicitlyDeleted") or node.get("explicitlyDefaulted") or node.get("isImplicit"):
            defined.add(mangled)
        elif mangled and not node.get("pure"):
            declared[mangled] = f"{scope}{name}"
        return
    for inner in node.get("inner", ()):
        walk(inner, f"{scope}{name}::" if name else scope)


decoder, text, pos = json.JSONDecoder(), dump.stdout, 0
while pos < len(text):
    # With a filter each match is a document of its own, behind a line "Dumping NAME:".
    start = text.find("{", pos)
    if start < 0:
        break
    node, pos = decoder.raw_decode(text, start)
    walk(node, "")

symbols = subprocess.run(["nm", "-D", "--defined-only", sys.argv[1]], check=True, capture_output=True, text=True).stdout
exported = {line.split()[-1] for line in symbols.splitlines()}
# Records of handles are for the library's own use.
missing = sorted(name for symbol, name in declared.items() 
                 if symbol not in exported and symbol not in defined and not name.endswith("::impl"))
for name in missing:
    print("declared and not defined:", name)
print(f"{len(declared)} functions declared, {len(missing)} missing")
sys.exit(1 if missing or len(declared) < 100 else 0)
