#!/usr/bin/env python3
"""commands.py PROGRAM [--gpu] [--run PREFIX...]: the program as a shell user meets it.

Exit codes, the one clear line of each failure, that failures write nothing, and pictures against values computed here.
PREFIX is put before every command, for programs that run under an emulator.
"""

import json
import os
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import zlib

from pictures import read_png, write_chunks, write_png

args = sys.argv[1:]
PREFIX = args[args.index("--run") + 1:] if "--run" in args else []
PROGRAM = str(pathlib.Path(args[0]).resolve())
GPU = "--gpu" in args
FEATURES = pathlib.Path(__file__).parents[2] / "include/platform/OstrevanDeviceFeatures.inc"
faults, checks = [], 0


def ostrevan(*words, env=None, cwd=None, stdin=None):
    return subprocess.run(PREFIX + [PROGRAM, *map(str, words)], capture_output=True, text=True, errors="replace",
                          timeout=120, cwd=cwd, env={**os.environ, **(env or {})}, input=stdin)


def check(condition, what, run=None):
    global checks
    checks += 1
    if not condition:
        faults.append(what)
        print("FAILED:", what)
        if run is not None:
            print(f"  rc {run.returncode}\n  stdout: {run.stdout[-500:]}\n  stderr: {run.stderr[-800:]}")



HEAD = """layout(local_size_x = 8, local_size_y = 8) in;
layout(std140, binding = 0) uniform Parameters { uint width; uint height; uint frame; float time; };
layout(std430, binding = 1) buffer Output { uint pixels[]; };
layout(std430, binding = 2) readonly buffer Input { uint input_pixels[]; };
void main() {
    uvec2 id = gl_GlobalInvocationID.xy;
    if(id.x >= width || id.y >= height) return;
"""  # the body starts on line 8


def compute(body):
    return HEAD + body + "\n}\n"


def usage_is_refused():
    for words in ([], ["frobnicate"], ["shader"], ["shader", "a.comp", "--no-such-option"], ["shader", "a.comp", "-t", "pixel"],
                  ["shader", "a.comp", "-o"], ["shader", "a.comp", "-D"], ["shader", "a.txt"], ["run"], ["run", "a.comp"],
                  ["run", "a.comp", "-o"], ["run", "a.comp", "-o", "x.png", "-s", "0x5"], ["run", "a.comp", "-o", "x.png", "-s", "12"],
                  ["run", "a.comp", "-o", "x.png", "-s", "9000x10"], ["run", "a.comp", "-o", "x.png", "--adapter", "one"],
                  ["shader", "a.comp", "b.comp", "-o", "no_such_folder"], ["shader", "a.comp", "-j", "0"], ["shader", "a.comp", "-j", "two"],
                  ["shader", "a.comp", "--depfile"], ["shader", "a.comp", "--cache"], ["shader", "a.comp", "b.comp", "-E"],
                  ["shader", "a.comp", "-E", "--json"], ["shader", "a.comp", "--json", "-o", "-"], ["shader", "a.comp", "a.comp"],
                  ["shader", "x/a.comp", "y/a.comp", "-o", "z/"], ["shader", "a.comp", "b.txt"],
                  ["image"], ["image", "a.png", "--resize", "0x0"], ["image", "a.png", "--resize", "5"], ["image", "a.png", "--filter", "best"],
                  ["image", "a.png", "--format", "RGB"], ["image", "a.png", "-o"], ["image", "a.png", "b.png", "-o", "c.png"],
                  ["image", "a.png", "--slice", "1,2"], ["image", "a.png", "-j", "0"], ["image", "a.png", "--quality", "101"], ["image", "a.png", "--wrong"],
                  ["info", "extra"], ["info", "--wrong"], ["json"], ["json", "a", "b"], ["json", "a", "--get"], ["json", "a", "-o"], ["json", "a", "--wrong"],
                  ["scan", "--groups", "48"], ["scan", "--bits", "3"], ["sort", "--size", "0"], ["sort", "--bits", "33"], ["sort", "10"]):
        run = ostrevan(*words)
        check(run.returncode == 2 and "--help" in run.stderr + run.stdout, f"usage {words}", run)
    for words in (["--help"], ["info", "--help"], ["shader", "--help"], ["run", "--help"], ["json", "--help"], ["image", "--help"], ["scan", "--help"],
                  ["sort", "--help"], ["--version"]):
        run = ostrevan(*words)
        check(run.returncode == 0 and len(run.stdout) > 40, f"help {words}", run)


# Text of a compute shader and the line on which its fault stands.
BAD = [
    # preprocessor
    ("unfinished #if", "#if 1\nvoid main() {}\n", 0), ("#else alone", "\n#else\nvoid main() {}\n", 2),
    ("#endif alone", "\n\n#endif\nvoid main() {}\n", 3), ("#fatal", "\n\n\n#fatal stop here\nvoid main() {}\n", 4),
    ("missing include", "\n#include \"no_such_file.h\"\nvoid main() {}\n", 2), ("bad #include", "#include file\nvoid main() {}\n", 1),
    ("bad condition", "\n#if (1\n#endif\nvoid main() {}\n", 2), ("macro arguments", "#define F(a, b) a\n\nint x = F(1);\nvoid main() {}\n", 3),
    ("macro without list", "#define F(a, b) a\n\nint x = F;\nvoid main() {}\n", 3), ("comment end", "void main() {}\n/* no end\n", 0),
    # declarations
    ("unknown type", "\nflot x;\nvoid main() {}\n", 2), ("missing semicolon", "int x\nvoid main() {}\n", 0),
    ("constant without value", "\nconst int x;\nvoid main() {}\n", 2), ("redefined", "int x;\n\nint x;\nvoid main() {}\n", 3),
    ("layout qualifier", "\nlayout(nonsense = 1) in;\nvoid main() {}\n", 0), ("two bodies", "void f() {}\n\nvoid f() {}\nvoid main() {}\n", 3),
    ("unknown directive", "\n#frobnicate\nvoid main() {}\n", 0), ("array length", "int x[-1];\nvoid main() {}\n", 1),
    # expressions and statements, all on line 8
    ("unknown variable", compute("pixels[0] = nothing;"), 8), ("unknown function", compute("pixels[0] = nothing(1);"), 8),
    ("swizzle of five", compute("vec4 v = vec4(1.0); v.xyzwx;"), 8), ("swizzle letters", compute("vec2 v = vec2(1.0); float f = v.z;"), 8),
    ("no member", compute("vec4 v = vec4(1.0); v.foo = 1.0;"), 8), ("too many arguments", compute("vec2 v = vec2(1.0, 2.0, 3.0);"), 8),
    ("not enough arguments", compute("vec4 v = vec4(1.0, 2.0);"), 8), ("break outside", compute("break;"), 8),
    ("continue outside", compute("continue;"), 8), ("write to input", compute("input_pixels[0] = 1u;"), 8),
    ("unbalanced parentheses", compute("pixels[0] = ((1u);"), 0), ("assign to a value", compute("1 = 2;"), 8),
    ("operator", compute("mat2 m = mat2(1.0); m = m << 1;"), 8), ("types", compute("mat3 m = mat3(1.0); vec2 v = m;"), 8),
    ("return of a value", compute("return 5;"), 8), ("repeated case", compute("switch(id.x) { case 1: break; case 1: break; }"), 8),
    ("attribute", compute("[[flatten]] for(int i = 0; i < 3; i++) {}"), 8), ("struct argument", "struct S { int a; };\n" + compute("S s = S(1, 2);"), 9),
    ("discard", compute("discard;"), 8), ("recursion", "int f(int x) { return f(x - 1); }\n" + compute("pixels[0] = uint(f(3));"), 0),
    ("no main", "int f(int x) { return x; }\n", 0), ("empty text", "", 0), ("binary", "\x01\x02\x7f{{{{", 0),
    ("deep nesting", compute("pixels[0] = " + "(" * 100000 + "1u" + ")" * 100000 + ";"), 0),
    ("local size", "layout(local_size_x = 0) in;\nvoid main() {}\n", 0),
]


def bad_shaders_fail_with_file_and_line(folder):
    for name, text, line in BAD:
        source, output = folder / "bad.comp", folder / "bad.spv"
        source.write_text(text)
        output.unlink(missing_ok=True)
        run = ostrevan("shader", source, "-o", output)
        place = re.search(r"bad\.comp:(\d+)", run.stderr)
        ok = run.returncode == 1 and run.stderr.strip() and not output.exists()
        if line:
            ok = ok and place and int(place.group(1)) == line
        else:
            ok = ok and "bad.comp" in run.stderr
        check(ok, f"bad shader: {name} (line {line}, found {place and place.group(1)})", run)
    (folder / "part.h").write_text("int a;\nint b = nothing;\nint c;\n")
    (folder / "bad.comp").write_text("\n\n#include \"part.h\"\nvoid main() {}\n")
    run = ostrevan("shader", folder / "bad.comp", "-o", folder / "bad.spv")
    check(run.returncode == 1 and "part.h:2" in run.stderr, "fault in an include names the include", run)


def shader_writes_words_and_text(folder):
    source = folder / "good.comp"
    source.write_text("#ifdef WIDE\n#define SIZE 64\n#else\n#define SIZE 8\n#endif\n#include \"inc.h\"\nlayout(local_size_x = SIZE) in;\n"
                      "layout(std430, binding = 0) buffer B { uint b[]; };\nvoid main() { b[gl_GlobalInvocationID.x] = VALUE; }\n")
    (folder / "include").mkdir()
    (folder / "include" / "inc.h").write_text("#define VALUE 7u\n")
    run = ostrevan("shader", source, "-I", folder / "include", "-D", "WIDE", "-o", folder / "good.spv")
    words = (folder / "good.spv").read_bytes() if (folder / "good.spv").exists() else b""
    check(run.returncode == 0 and words[:4] == b"\x03\x02\x23\x07" and len(words) % 4 == 0, "shader -I -D -o", run)
    # OpExecutionMode %main LocalSize 64 1 1
    check(struct.pack("<4I", 17, 64, 1, 1) in words, "the macro of -D reaches the work-group size")
    again = folder / "again.spv"
    ostrevan("shader", source, "-I", folder / "include", "-D", "WIDE", "-o", again)
    check(again.exists() and again.read_bytes() == words, "two runs give the same bytes")
    run = ostrevan("shader", source, "-I", folder / "include", "-E")
    check(run.returncode == 0 and "local_size_x = 8" in run.stdout and "= 7u" in run.stdout, "shader -E", run)
    run = ostrevan("shader", source, "-I", folder / "include", "-t", "vertex", "-o", folder / "vertex.spv")
    check(run.returncode in (0, 1), "shader -t", run)
    run = ostrevan("shader", folder / "absent.comp")
    check(run.returncode == 1 and "absent.comp" in run.stderr, "absent file", run)
    run = ostrevan("shader", source, "-I", folder / "include", "-o", folder / "no" / "such" / "folder.spv")
    check(run.returncode == 1 and "folder.spv" in run.stderr, "unwritable output", run)


def json_documents(folder):
    document = {"title": "a/b \u00e9 \U0001F600", "list": [1, 2.5, -3e-7, None, True], "deep": {"a": [{"b": "c"}, []]}, "text": "x\ty\n\"q\"\u0001"}
    source, output = folder / "in.json", folder / "out.json"
    for text in (json.dumps(document), json.dumps(document, indent=3, ensure_ascii=False), "\ufeff" + json.dumps(document)):
        source.write_text(text, encoding="utf-8")
        run = ostrevan("json", source)
        check(run.returncode == 0 and json.loads(run.stdout) == document and run.stdout.count("\n") > 4, "json", run)
        run = ostrevan("json", source, "--compact", "-o", output)
        compact = output.read_text(encoding="utf-8")
        check(run.returncode == 0 and run.stdout == "" and json.loads(compact) == document and " :" not in compact and compact.count("\n") == 1, "json --compact -o", run)
        check(ostrevan("json", "-", "--compact", stdin=text).stdout == compact, "json of the standard input")
    for path, expected in (("/list/1", "2.5\n"), ("deep/a/0", "{ \"b\": \"c\" }\n"), ("/deep/a/0/b", "\"c\"\n"), ("", None), ("/", None)):
        run = ostrevan("json", source, "--get", path)
        check(run.returncode == 0 and (run.stdout == expected if expected else json.loads(run.stdout) == document), f"json --get {path}", run)
    run = ostrevan("json", source, "--get", "/text", "--raw")
    check(run.returncode == 0 and run.stdout == document["text"] + "\n", "json --get --raw", run)
    run = ostrevan("json", source, "-o", source)
    check(run.returncode == 0 and json.loads(source.read_text(encoding="utf-8")) == document, "json in place", run)
    for path in ("/none", "/list/5", "/list/x", "/title/0"):
        run = ostrevan("json", source, "--get", path, "-o", folder / "never")
        check(run.returncode == 1 and run.stderr.count("\n") == 1 and path in run.stderr and not (folder / "never").exists(), f"json --get {path}", run)
    for text, line, cause in (("[1,2,]", 1, "extra ',' symbol"), ("{\n\"a\": 1\n", 3, "premature end of file"), ("", 1, "premature end of file"), ("[" * 3000, 1, "stack overflow"),
                              ("{\"a\": [1,\n\n\"x\\n\\n\", tru]}", 3, "tru"), ("[\n- 1]", 2, "can't skip float"), ("\n\n[1 2]", 3, "expecting ','"), ("[1]\n]", 2, "invalid symbol")):
        source.write_text(text)
        before = output.read_bytes()
        run = ostrevan("json", source, "-o", output)
        check(run.returncode == 1 and run.stderr.count("\n") == 1 and f"in.json:{line}: " in run.stderr and cause in run.stderr and output.read_bytes() == before, f"bad document {text[:20]!r}", run)
    run = ostrevan("json", folder / "absent.json")
    check(run.returncode == 1 and run.stderr.count("\n") == 1 and "absent.json" in run.stderr, "absent document", run)
    run = ostrevan("json", folder)
    check(run.returncode == 1 and run.stderr.count("\n") == 1, "a folder as document", run)
    run = ostrevan("json", "-", "-o", folder / "no" / "such.json", stdin="[]")
    check(run.returncode == 1 and "such.json" in run.stderr, "unwritable document", run)


def many_shaders_at_once(folder):
    (folder / "common.h").write_text("#define SCALE 2.0\n")
    names = []
    for i in range(24):
        name = f"s{i}.{('vert', 'frag', 'comp')[i % 3]}"
        stage = ("void main() { gl_Position = vec4(SCALE * %d.0); }", "layout(location = 0) out vec4 c; void main() { c = vec4(SCALE * %d.0); }",
                 "layout(local_size_x = 4) in; layout(binding = 0) buffer B { float b[]; }; void main() { b[0] = SCALE * %d.0; }")[i % 3] % i
        (folder / name).write_text(f'#include "common.h"\n{stage}\n')
        names.append(name)
    outputs = {}
    for workers, where in ((1, "one/"), (4, "four/"), (3, "three")):
        if where == "three":
            (folder / where).mkdir()
        run = ostrevan("shader", *names, "-o", where, "-j", workers, cwd=folder)
        files = sorted((folder / where).iterdir())
        outputs[where] = [path.read_bytes() for path in files]
        check(run.returncode == 0 and not run.stderr and [path.name for path in files] == sorted(name + ".spv" for name in names), f"shader -j {workers}", run)
    check(outputs["one/"] == outputs["four/"] == outputs["three"], "any number of workers gives the same bytes")
    single = ostrevan("shader", names[5], "-o", "single.spv", cwd=folder)
    check(single.returncode == 0 and (folder / "single.spv").read_bytes() == (folder / "one" / (names[5] + ".spv")).read_bytes(), "alone or among others")
    run = ostrevan("shader", *names[:2], cwd=folder)  # beside the inputs, under names that differ
    check(run.returncode == 0 and (folder / "s0.vert.spv").exists() and (folder / "s1.frag.spv").exists(), "several inputs without -o", run)

    # one fault among many: the others are written, messages stand in the order of the inputs
    (folder / names[3]).write_text("void main() { one; }\n")
    (folder / names[7]).write_text("\nvoid main() { two; }\n")
    run = ostrevan("shader", *names, "-o", "faults/", "-j", "4", cwd=folder)
    written = {path.name for path in (folder / "faults").iterdir()}
    check(run.returncode == 1 and written == {name + ".spv" for name in names if name not in (names[3], names[7])}, "faults among many", run)
    check(0 < run.stderr.find(names[3] + ":1") < run.stderr.find(names[7] + ":2") and "2 of 24" in run.stderr, "messages in order", run)

    # a failure leaves the old output, and no part of a new one
    (folder / "old.spv").write_text("old")
    run = ostrevan("shader", names[3], "-o", "old.spv", cwd=folder)
    check(run.returncode == 1 and (folder / "old.spv").read_text() == "old" and not list(folder.glob("*.part")), "a failure keeps the old output", run)
    run = ostrevan("shader", names[0], names[1], "-o", "old.spv/", cwd=folder)
    check(run.returncode == 1 and "old.spv" in run.stderr, "a file in place of the folder", run)


def shader_tells_its_sources(folder):
    (folder / "in dir").mkdir()
    (folder / "in dir" / "a$b#c.h").write_text('#include "nested.h"\n')
    (folder / "in dir" / "nested.h").write_text("#define X 1\n")
    (folder / "a.vert").write_text('#include "a$b#c.h"\n#include "nested.h"\nvoid main() {}\n')
    (folder / "b.frag").write_text("void main() {}\n")
    run = ostrevan("shader", "a.vert", "b.frag", "-I", "in dir", "--depfile", "all.d", "-o", "out/", cwd=folder)
    check(run.returncode == 0, "shader --depfile", run)
    # make itself reads the rules: an output is made again when a file of it is newer, and only then
    (folder / "Makefile").write_text("all: out/a.vert.spv out/b.frag.spv\n%.spv:\n\t@echo MADE $@\ninclude all.d\n")
    for changed, made in ((None, []), ("in dir/nested.h", ["a.vert"]), ("in dir/a$b#c.h", ["a.vert"]), ("b.frag", ["b.frag"]), ("a.vert", ["a.vert"])):
        for path in folder.rglob("*"):
            os.utime(path, (1000, 1000))
        if changed:
            os.utime(folder / changed, (2000, 2000))
        run = subprocess.run(["make", "-s"], cwd=folder, capture_output=True, text=True)
        check(run.returncode == 0 and sorted(re.findall(r"MADE out/(\S+)\.spv", run.stdout)) == made, f"depfile: {changed} is newer", run)
    run = ostrevan("shader", "a.vert", "--depfile", "failed.d", cwd=folder)
    check(run.returncode == 1 and not (folder / "failed.d").exists(), "no depfile of a failure", run)


def shader_tells_its_interface(folder):
    (folder / "all.frag").write_text("""#version 450
layout(location = 1) in vec2 uv;
layout(location = 0) flat in ivec3 id;
layout(location = 0) out vec4 color;
layout(location = 1) out uint mask;
layout(set = 1, binding = 2) uniform texture2D textures[4];
layout(binding = 3) uniform sampler smp;
layout(binding = 4) uniform samplerCube cube;
layout(std140, binding = 0) uniform Params { mat3 m; float f[3]; vec3 v; float w; };
layout(std430, binding = 1) buffer Data { uint num; uint data[]; };
layout(binding = 6, rgba8) uniform image2D img;
layout(push_constant) uniform Push { vec4 p; float q; };
void main() {
    color = texture(sampler2D(textures[id.x], smp), uv) * vec4(m * v, w) * f[1] + p * q + texture(cube, vec3(uv, 1.0));
    imageStore(img, ivec2(uv), color);
    mask = data[num];
}
""")
    (folder / "group.comp").write_text("layout(local_size_x = 8, local_size_y = 4) in;\nlayout(binding = 0) buffer B { uint b[]; };\n"
                                       "void main() { b[0] = subgroupAdd(1u); }\n")
    run = ostrevan("shader", "all.frag", "group.comp", "--json", "-o", "out/", cwd=folder)
    record = json.loads(run.stdout)
    frag, comp = record["files"]
    check(run.returncode == 0 and (record["done"], record["failed"]) == (2, 0) and "cache" not in record, "shader --json", run)
    check((frag["file"], frag["stage"], frag["done"], frag["output"]) == ("all.frag", "fragment", True, "out/all.frag.spv"), "json: file", run)
    check([(i["location"], i["name"], i["type"]) for i in frag["inputs"]] == [(0, "id", "ivec3"), (1, "uv", "vec2")] and
          [(i["location"], i["name"], i["type"]) for i in frag["outputs"]] == [(0, "color", "vec4"), (1, "mask", "uint")], "json: locations", run)
    check([(b["set"], b["binding"], b["kind"], b["type"], b["count"], b.get("size")) for b in frag["bindings"]] ==
          [(0, 0, "uniform", "struct", 1, 112), (0, 1, "storage", "struct", 1, 4), (0, 3, "sampler", "sampler", 1, None),
           (0, 4, "combined", "samplerCube", 1, None), (0, 6, "surface", "image2D", 1, None), (1, 2, "texture", "texture2D", 4, None)], "json: bindings", run)
    check(frag["constants"] == 20 and "workgroup" not in frag and "Shader" in frag["capabilities"], "json: constants", run)
    check(comp["workgroup"] == [8, 4, 1] and "GroupNonUniformArithmetic" in comp["capabilities"] and comp["diagnostics"] == [], "json: work-group", run)

    (folder / "inc.h").write_bytes(b"#define A 1\n#define A 2\n// \xff\n#error say \"\xe9\"\n")
    (folder / "bad.vert").write_text('#include "inc.h"\nvoid main() {\n  nonsense;\n}\n')
    run = ostrevan("shader", "bad.vert", "absent.vert", "--json", cwd=folder)
    record = json.loads(run.stdout)
    found = [(d["level"], d.get("file"), d.get("line")) for d in record["files"][0]["diagnostics"]]
    check(run.returncode == 1 and not run.stderr and found == [("warning", "inc.h", 2), ("error", "inc.h", 4), ("error", "bad.vert", 3)], "json: diagnostics", run)
    last = record["files"][0]["diagnostics"][-1]
    check("nonsense" in last["message"] and "nonsense;" in last["source"] and "\ufffd" in record["files"][0]["diagnostics"][1]["message"], "json: texts", run)
    check(not record["files"][1]["done"] and "absent.vert" in record["files"][1]["diagnostics"][0]["message"], "json: absent file", run)


def shader_keeps_words(folder):
    names = []
    for i in range(6):
        names.append(f"s{i}.comp")
        (folder / names[-1]).write_text(f"#include \"value.h\"\nlayout(local_size_x = {i + 1}) in; void main() {{ uint x = VALUE; }}\n")
    (folder / "value.h").write_text("#define VALUE 1u\n")

    def build(*words):
        run = ostrevan("shader", *names, "--cache", "cache", "--json", "-o", "out/", *words, cwd=folder)
        record = json.loads(run.stdout)
        return record["cache"]["hits"], record["cache"]["misses"], [path.read_bytes() for path in sorted((folder / "out").iterdir())]

    first = build()
    check(first[:2] == (0, 6), f"cache: first run {first[:2]}")
    check(build() == (6, 0, first[2]), "cache: a second run compiles nothing and gives the same bytes")
    for i, path in enumerate(sorted((folder / "cache").iterdir())[:3]):
        data = bytearray(path.read_bytes())
        data[20 * (i + 1)] ^= 1
        path.write_bytes(data)
    check(build() == (3, 3, first[2]), "cache: damaged entries are compiled again")
    (folder / "value.h").write_text("#define VALUE 2u\n")
    check(build()[:2] == (0, 6), "cache: a changed include")
    run = ostrevan("shader", names[0], "--cache", "/dev/null", cwd=folder)
    check(run.returncode == 1 and "/dev/null" in run.stderr, "cache: no folder", run)


def progress_is_for_terminals(folder):
    import pty
    for name in ("a.vert", "b.vert", "c.vert"):
        (folder / name).write_text("void main() {}\n")
    master, slave = pty.openpty()
    process = subprocess.Popen(PREFIX + [PROGRAM, "shader", "a.vert", "b.vert", "c.vert", "-j", "1"], cwd=folder, stderr=slave, stdout=subprocess.PIPE)
    process.wait(60)
    os.close(slave)
    text = ""
    try:
        while part := os.read(master, 65536):
            text += part.decode()
    except OSError:
        pass  # the terminal's other end is closed, and all was read
    os.close(master)
    check("[1/3] a.vert" in text and "[2/3] b.vert" in text and text.endswith("\r\x1b[K"), f"progress on a terminal: {text!r}")
    process.stdout.close()


def works_without_the_loader(folder):
    hidden = folder / "hidden"
    hidden.mkdir()
    for name in ("libvulkan.so", "libvulkan.so.1"):
        (hidden / name).write_bytes(b"")  # stands before the real one and cannot be opened
    env = {"LD_LIBRARY_PATH": str(hidden), "DISPLAY": ""}
    (folder / "x.comp").write_text(compute("pixels[id.y * width + id.x] = id.x;"))
    run = ostrevan("shader", folder / "x.comp", "-o", folder / "x.spv", env=env)
    check(run.returncode == 0, "shader without a Vulkan loader", run)
    run = ostrevan("run", folder / "x.comp", "-o", folder / "x.png", env=env)
    check(run.returncode == 1 and "libvulkan" in run.stderr and not (folder / "x.png").exists(), "run without a Vulkan loader", run)
    run = ostrevan("info", env=env)
    check(run.returncode in (0, 1) and "libvulkan" in run.stderr + run.stdout, "info without a Vulkan loader", run)


PICTURES = [  # body, and the value of a pixel as 32 bits
    ("gradient", "pixels[id.y * width + id.x] = 0xFF000000u | id.x | (id.y << 8);", lambda x, y, w, h: 0xFF000000 | (x & 255) | ((y & 255) << 8)),
    ("hash", "uint h = (id.x * 374761393u + id.y * 668265263u) ^ 0x9E3779B9u;\nfor(int i = 0; i < 3; i++) { h ^= h >> 15; h *= 2246822519u; }\n"
             "pixels[id.y * width + id.x] = h | 0xFF000000u;", None),
    ("triangle", "pixels[id.y * width + id.x] = ((id.x & id.y) == 0u) ? 0xFFFFFFFFu : 0xFF000000u;",
     lambda x, y, w, h: 0xFFFFFFFF if (x & y) == 0 else 0xFF000000),
]


def hash_pixel(x, y, w, h):
    m = 0xFFFFFFFF
    v = ((x * 374761393 + y * 668265263) & m) ^ 0x9E3779B9
    for _ in range(3):
        v ^= v >> 15
        v = (v * 2246822519) & m
    return v | 0xFF000000


def pictures_equal_the_reference(folder):
    for name, body, value in PICTURES:
        value = value or hash_pixel
        for width, height in ((64, 48), (1, 1), (251, 3)):
            shader, output = folder / "p.comp", folder / f"{name}.png"
            shader.write_text(compute(body))
            run = ostrevan("run", shader, "-o", output, "-s", f"{width}x{height}")
            if run.returncode:
                check(False, f"run {name} {width}x{height}", run)
                continue
            w, h, data = read_png(output)
            expected = b"".join(struct.pack("<I", value(x, y, width, height)) for y in range(height) for x in range(width))
            check((w, h) == (width, height) and data == expected, f"picture {name} {width}x{height}", run)
    # float shader within 1/255, default size
    (folder / "f.comp").write_text(compute("vec2 p = vec2(id) / vec2(width, height);\n"
                                           "pixels[id.y * width + id.x] = packUnorm4x8(vec4(p, 0.5 + 0.5 * sin(p.x * 6.0), 1.0));"))
    run = ostrevan("run", folder / "f.comp", "-o", folder / "f.png", "-D", "UNUSED=3")
    check(run.returncode == 0, "run with the default size", run)
    if run.returncode == 0:
        import math
        w, h, data = read_png(folder / "f.png")
        worst = 0
        for y in range(0, h, 37):
            for x in range(0, w, 29):
                px = data[(y * w + x) * 4:][:4]
                ref = (x / w * 255, y / h * 255, (0.5 + 0.5 * math.sin(x / w * 6)) * 255, 255)
                worst = max(worst, max(abs(a - b) for a, b in zip(px, ref)))
        check((w, h) == (512, 512) and worst <= 1.0, f"float picture, worst difference {worst:.3f}")
    # input picture: size taken over, rows from the top, R in the low byte
    write_png(folder / "in.png", 37, 21, lambda x, y: (x * 5, y * 9, x ^ y, 255 - x))
    (folder / "i.comp").write_text(compute("uint v = input_pixels[(height - 1u - id.y) * width + id.x];\n"
                                           "pixels[id.y * width + id.x] = (v & 0xFF00FF00u) | ((v >> 16) & 0xFFu) | ((v & 0xFFu) << 16);"))
    run = ostrevan("run", folder / "i.comp", "-i", folder / "in.png", "-o", folder / "o.png")
    check(run.returncode == 0, "run with an input", run)
    if run.returncode == 0:
        w, h, data = read_png(folder / "o.png")
        expected = b"".join(bytes((x ^ (20 - y), (20 - y) * 9, x * 5, 255 - x)) for y in range(21) for x in range(37))
        check((w, h, data) == (37, 21, expected), "picture from an input")


def pictures_of_other_kinds(folder):
    (folder / "copy.comp").write_text(compute("pixels[id.y * width + id.x] = input_pixels[id.y * width + id.x];"))
    for name, color, depth, pixel, expected in (
            ("grey", 0, 8, lambda x: bytes((x * 8,)), lambda x: (x * 8,) * 3 + (255,)),
            ("grey with alpha", 4, 8, lambda x: bytes((x * 8, 255 - x)), lambda x: (x * 8,) * 3 + (255 - x,)),
            ("colour", 2, 8, lambda x: bytes((x, x * 2, x * 3)), lambda x: (x, x * 2, x * 3, 255)),
            ("16 bits", 2, 16, lambda x: struct.pack(">HHH", x * 257, 65535, 0), lambda x: (x, 255, 0, 255))):
        raw = b"".join(b"\0" + b"".join(pixel(x) for x in range(16)) for _ in range(4))
        write_chunks(folder / "in.png", struct.pack(">IIBBBBB", 16, 4, depth, color, 0, 0, 0), raw)
        run = ostrevan("run", folder / "copy.comp", "-i", folder / "in.png", "-o", folder / "out.png")
        data = read_png(folder / "out.png")[2] if run.returncode == 0 else b""
        check(data == b"".join(bytes(expected(x)) for x in range(16)) * 4, f"input picture: {name}", run)


def failures_of_run(folder):
    (folder / "ok.comp").write_text(compute("pixels[id.y * width + id.x] = 1u;"))
    whole = folder / "whole.png"
    write_png(whole, 16, 16, lambda x, y: (x, y, 0, 255))
    (folder / "cut.png").write_bytes(whole.read_bytes()[:60])
    (folder / "text.png").write_text("no picture")
    rows = [
        ("shader with a fault", ["bad.comp"], {}, "bad.comp"),
        ("absent shader", ["none.comp"], {}, "none.comp"),
        ("truncated picture", ["ok.comp", "-i", "cut.png"], {}, "cut.png"),
        ("no picture", ["ok.comp", "-i", "text.png"], {}, "text.png"),
        ("absent picture", ["ok.comp", "-i", "none.png"], {}, "none.png"),
        ("wrong adapter", ["ok.comp", "--adapter", "77"], {}, "adapter"),
        ("missing driver", ["ok.comp"], {"VK_DRIVER_FILES": "/none.json", "VK_ICD_FILENAMES": "/none.json"}, "can't open a Vulkan adapter"),
    ]
    (folder / "bad.comp").write_text(compute("nonsense"))
    for name, words, env, text in rows:
        output = folder / "never.png"
        run = ostrevan("run", *words, "-o", output, env=env, cwd=folder)
        one_line = (name == "shader with a fault" or run.stderr.count("\n") == 1)
        check(run.returncode == 1 and one_line and text in run.stderr and not output.exists(), name, run)
    run = ostrevan("run", folder / "ok.comp", "-o", folder / "no" / "folder.png")
    check(run.returncode == 1 and "folder.png" in run.stderr, "unwritable picture", run)


def run_image(folder, *words):
    return ostrevan("image", *words, cwd=folder)


def image_reads_and_writes_all_files(folder):
    write_png(folder / "a.png", 24, 16, lambda x, y: (x * 10, y * 15, (x * y) % 256, 255))
    extensions = re.search(r"Saves ([.\w]+)", ostrevan("image", "--help").stdout).group(1).split(".")[1:]
    check({"png", "jpg", "dds", "ktx", "tga", "bmp", "hdr", "ppm", "image"} <= set(extensions), f"extensions {extensions}")
    # every reader into every writer: equal, or as near as the file's own precision is
    for first in extensions:
        run = run_image(folder, "a.png", "-o", "a." + first)
        check(run.returncode == 0, f"picture into {first}", run)
        for second in extensions:
            name = f"{first}_b.{second}"
            run = run_image(folder, "a." + first, "-o", name)
            check(run.returncode == 0, f"{first} into {second}", run)
            loss = 0.6 if {"jpg", "jpeg"} & {first, second} else 0.02 if "hdr" in (first, second) else 0
            if "pbm" in (first, second) or "pgm" in (first, second):
                loss = 1
            run = run_image(folder, name, "--compare", "a." + first, "--threshold", loss)
            check(run.returncode == 0, f"{first} into {second} and back", run)
    (folder / "out1").mkdir()
    (folder / "out4").mkdir()
    for jobs in ("1", "4"):
        run = run_image(folder, "a.png", "a.hdr", "a.tga", "a.bmp", "--resize", "9x0", "--mipmaps", "--out-dir", "out" + jobs, "--ext", "dds", "-j", jobs)
        check(run.returncode == 2 and "two inputs" in run.stderr, "two inputs of one name", run)
        for i, name in enumerate(("hdr", "tga", "bmp")):
            if (folder / ("a." + name)).exists():
                os.replace(folder / ("a." + name), folder / f"a{i}.{name}")
        run = run_image(folder, "a.png", "a0.hdr", "a1.tga", "a2.bmp", "--resize", "9x0", "--mipmaps", "--out-dir", "out" + jobs, "--ext", "dds", "-j", jobs)
        check(run.returncode == 0, "many files", run)
    for path in sorted((folder / "out1").iterdir()):
        check(path.read_bytes() == (folder / "out4" / path.name).read_bytes(), f"{path.name} does not depend on -j")
    # no direct way leads from 16-bit integers to halfs
    for path in ("RGBAu16n", "BC6RGBf16u", "RGBAu8n"):
        run = run_image(folder, "a.png", "--format", path, "-o", path + ".ktx")
        if run.returncode == 0 and path != "RGBAu16n":
            run = run_image(folder, "RGBAu16n.ktx", "--format", path, "-o", path + ".ktx")
        check(run.returncode == 0 and f"2D {path}" in run_image(folder, path + ".ktx").stdout, f"16 bits into {path}", run)
    for format in ("RGBAf16", "BC7RGBAu8n", "ETC2RGBAu8n"):
        for jobs in ("1", "4"):
            run = run_image(folder, "a.png", "--resize", "40x30", "--filter", "cubic", "--mipmaps", "--format", format, "-j", jobs, "-o", f"j{jobs}.ktx")
            check(run.returncode == 0, f"one file as {format} with -j {jobs}", run)
        check((folder / "j1.ktx").read_bytes() == (folder / "j4.ktx").read_bytes(), f"{format} does not depend on -j")
        run = run_image(folder, "j1.ktx", "--format", "RGBAu8n", "-o", "decoded.png")
        check(run.returncode == 0 and read_png(folder / "decoded.png")[:2] == (40, 30), f"{format} into a PNG", run)
    run = run_image(folder, "a.png", "out1/a.dds", "--json")
    images = json.loads(run.stdout)["images"]
    check(len(images) == 2 and images[1]["width"] == 9 and images[1]["height"] == 6 and images[1]["mipmaps"] == 4, "image --json", run)


def image_changes_in_order(folder):
    pixel = lambda x, y: (x * 20, y * 30, 7, 255 - x)
    write_png(folder / "a.png", 12, 8, pixel)
    rows = (
        (["--flip-x"], 12, 8, lambda x, y: pixel(11 - x, y)),
        (["--flip-y"], 12, 8, lambda x, y: pixel(x, 7 - y)),
        (["--rotate", "1"], 8, 12, lambda x, y: pixel(y, 7 - x)),
        (["--rotate", "1", "--flip-x"], 8, 12, lambda x, y: pixel(11 - y, 7 - x)),
        (["--resize", "6x4"], 6, 4, lambda x, y: (x * 40 + 10, y * 60 + 15, 7, (4 * (255 - 2 * x) - 2) // 4)),
        (["--resize", "6x0", "--filter", "max"], 6, 4, lambda x, y: (x * 40 + 20, y * 60 + 30, 7, 255 - 2 * x)),
        (["--resize", "24x16", "--filter", "point"], 24, 16, lambda x, y: pixel(x // 2, y // 2)),
        (["--component", "1", "--format", "RGBAu8n"], 12, 8, lambda x, y: (y * 30,) * 3 + (255,)),
    )
    for words, width, height, expected in rows:
        run = run_image(folder, "a.png", *words, "-o", "b.png")
        w, h, data = read_png(folder / "b.png") if run.returncode == 0 else (0, 0, b"")
        check((w, h, data) == (width, height, b"".join(bytes(expected(x, y)) for y in range(height) for x in range(width))),
              f"image {words}", run)
    run = run_image(folder, "a.png", "--type", "Cube", "--panorama", "-o", "c.dds")
    check(run.returncode == 0 and "Cube RGBAu8n 3x3" in run_image(folder, "c.dds").stdout, "panorama into a cube", run)
    run = run_image(folder, "c.dds", "--slice", "2,0,0", "--info", "-o", "f.png")
    check(run.returncode == 0 and "2D RGBAu8n 3x3" in run.stdout, "a face", run)


def image_compares(folder):
    write_png(folder / "a.png", 8, 8, lambda x, y: (100, 50, 0, 255))
    write_png(folder / "b.png", 8, 8, lambda x, y: (100 + 51 * (x == 0), 50, 0, 255))
    run = run_image(folder, "a.png", "--compare", "b.png", "--json")
    difference = json.loads(run.stdout)["images"][0]
    red = difference["channels"][0]
    check(run.returncode == 1 and abs(red["mean"] - 0.025) < 1e-4 and abs(red["max"] - 0.2) < 1e-4 and
          abs(red["psnr"] - 23.0103) < 1e-2 and difference["channels"][1] == {"mean": 0, "max": 0, "psnr": None}, "differences", run)
    run = run_image(folder, "a.png", "--compare", "b.png")
    check(run.returncode == 1 and "PSNR 23.01 dB" in run.stdout and "differs" in run.stderr, "differences in words", run)
    check(run_image(folder, "a.png", "--compare", "b.png", "--threshold", "0.21").returncode == 0, "differences below the threshold")
    write_png(folder / "c.png", 8, 7, lambda x, y: (0, 0, 0, 0))
    run = run_image(folder, "a.png", "--compare", "c.png")
    check(run.returncode == 1 and run.stderr.count("\n") == 1 and "can't compare" in run.stderr, "pictures of two sizes", run)


def failures_of_image(folder):
    write_png(folder / "a.png", 8, 8, lambda x, y: (x, y, 0, 255))
    (folder / "cut.png").write_bytes((folder / "a.png").read_bytes()[:50])
    (folder / "text.jpg").write_text("no picture at all")
    for name, words in (("absent", ["none.png"]), ("cut", ["cut.png", "-o", "x.png"]), ("text", ["text.jpg"]), ("unknown kind", ["a.png", "-o", "x.zzz"]),
                        ("no folder", ["a.png", "-o", "no/x.png"]), ("slice outside", ["a.png", "--slice", "0,0,3", "-o", "x.png"]),
                        ("component outside", ["a.png", "--format", "Ru8n", "--component", "3", "-o", "x.png", "--slice", "1,0,0"]),
                        ("no proportions of a cube", ["a.png", "--type", "Cube", "-o", "x.dds"]), ("a cube as PNG", ["a.png", "--type", "Cube", "--panorama", "-o", "x.png"]),
                        ("no way", ["a.png", "--format", "Du24Su8", "-o", "x.image"]), ("volume", ["a.png", "--type", "3D", "-o", "x.dds"])):
        run = run_image(folder, *words)
        check(run.returncode == 1 and run.stderr.count("\n") == 1 and not (folder / "x.png").exists(), f"image: {name}", run)
    run = run_image(folder, "none.png", "a.png", "cut.png")
    check(run.returncode == 1 and "a.png: 2D RGBAu8n 8x8" in run.stdout and run.stderr.count("\n") == 1, "one bad file among others", run)


def info_tells_the_adapters():
    run = ostrevan("info")
    check(run.returncode == 0 and "version" in run.stdout.lower(), "info", run)
    text = run.stdout
    run = ostrevan("info", "--json")
    try:
        record = json.loads(run.stdout)
        check(record["adapters"] and record["adapters"][0]["name"] and record["adapters"][0]["features"], "info --json", run)
        # Every member of the list that users read, under one of the titles.
        members = re.findall(r"^OSTREVAN_FEATURE\(\w+,\s*(\w+)\)", FEATURES.read_text(), re.M)
        members.remove("initialized")
        check(list(record["adapters"][0]["features"]) == members, "info --json has every feature in order", run)
        lines = text.partition("Platform")[2].partition("Adapter")[0].splitlines()[1:]
        check([line.split()[0] for line in lines if line.startswith("  ")] == members, "info has every feature in order")
        check(sum(bool(line) and not line.startswith(" ") for line in lines) >= 10, "info has groups of features")
    except (ValueError, KeyError, IndexError, TypeError) as error:
        check(False, f"info --json: {error!r}", run)


def algorithms_equal_the_processor():
    rows = [
        ("scan of one group", ["scan", "--size", "100"]),
        ("scan of many groups", ["scan", "--size", "70001", "--groups", "128", "--indirect"]),
        ("sort of many groups", ["sort", "--size", "30001", "--bits", "20"]),
        ("sort with a larger scan", ["sort", "--size", "70001", "--groups", "16", "--bits", "8", "--seed", "5"]),
        ("order of an indirect size", ["sort", "--size", "5000", "--bits", "7", "--order", "--indirect"]),
    ]
    for name, words in rows:
        run = ostrevan(*words, "--check", "--json")
        try:
            record = json.loads(run.stdout)
            check(run.returncode == 0 and record["equal"] and record["milliseconds"] > 0, name, run)
        except (ValueError, KeyError) as error:
            check(False, f"{name}: {error!r}", run)
    run = ostrevan("scan", "--size", "1000")
    check(run.returncode == 0 and "million elements per second" in run.stdout, "scan for people", run)
    run = ostrevan("scan", "--size", "9999999", "--groups", "64")
    check(run.returncode == 1 and run.stderr.count("\n") == 1, "scan of more than its groups can", run)


with tempfile.TemporaryDirectory() as name:
    root = pathlib.Path(name)
    folders = (root / str(i) for i in range(99))

    def folder():
        path = next(folders)
        path.mkdir()
        return path

    usage_is_refused()
    bad_shaders_fail_with_file_and_line(folder())
    shader_writes_words_and_text(folder())
    json_documents(folder())
    many_shaders_at_once(folder())
    shader_tells_its_sources(folder())
    shader_tells_its_interface(folder())
    shader_keeps_words(folder())
    if not PREFIX:
        progress_is_for_terminals(folder())
    image_reads_and_writes_all_files(folder())
    image_changes_in_order(folder())
    image_compares(folder())
    failures_of_image(folder())
    if not PREFIX:
        works_without_the_loader(folder())
    if GPU:
        info_tells_the_adapters()
        algorithms_equal_the_processor()
        pictures_equal_the_reference(folder())
        pictures_of_other_kinds(folder())
        failures_of_run(folder())
print(f"{checks} checks, {len(faults)} faults")
sys.exit(1 if faults else 0)
