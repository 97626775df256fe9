#!/usr/bin/env python3
"""install.py BUILD CMAKE CXX: installs into a prefix, moves it, and builds a program against it in both ways."""

import os
import pathlib
import subprocess
import sys
import tempfile

build, cmake, cxx = sys.argv[1:4]
consumer = pathlib.Path(__file__).resolve().parent / "consumer"


def run(*command, **options):
    done = subprocess.run([str(c) for c in command], capture_output=True, text=True, **options)
    if done.returncode:
        print("failed:", *command)
        print(done.stdout[-3000:], done.stderr[-3000:])
        sys.exit(1)
    return done.stdout


with tempfile.TemporaryDirectory() as folder:
    folder = pathlib.Path(folder)
    run(cmake, "--install", build, "--prefix", folder / "first")
    prefix = folder / "moved" / "here"
    prefix.parent.mkdir()
    os.rename(folder / "first", prefix)

    run(cmake, "-S", consumer, "-B", folder / "build", "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={prefix}",
        f"-DCMAKE_CXX_COMPILER={cxx}", "-DCMAKE_CXX_STANDARD=17")
    run(cmake, "--build", folder / "build")
    run(folder / "build" / "consumer")

    pc = next(prefix.rglob("ostrevan.pc"))
    flags = run("pkg-config", "--cflags", "--libs", "ostrevan", env={**os.environ, "PKG_CONFIG_PATH": str(pc.parent)})
    run(cxx, "-std=c++17", consumer / "main.cpp", "-o", folder / "plain", *flags.split())
    library = next(prefix.rglob("libOstrevan.so"))
    run(folder / "plain", env={**os.environ, "LD_LIBRARY_PATH": str(library.parent)})

    program = prefix / "bin" / "ostrevan"
    print(run(program, "--version").strip())
    names = [p.name for p in prefix.rglob("*Kolm*")]
    if names:
        print("internal headers were installed:", names)
        sys.exit(1)
print("installed, moved, and used through CMake and pkg-config")
