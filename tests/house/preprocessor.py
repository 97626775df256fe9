#!/usr/bin/env python3
"""preprocessor.py PROGRAM CPP [COUNT [SEED]]: random texts through `PROGRAM shader -E` and through a C preprocessor.

The texts keep to what both dialects have in common: macros with and without parameters, calls within calls, joined
words, conditions, comments. The words of both outputs are compared.
"""

import random
import re
import subprocess
import sys
import tempfile

PROGRAM, CPP = sys.argv[1:3]
COUNT = int(sys.argv[3]) if len(sys.argv) > 3 else 150
rand = random.Random(int(sys.argv[4]) if len(sys.argv) > 4 else 1)


def words(text):
    return re.findall(r'\w+|"(?:[^"\\]|\\.)*"|\S', text)


def condition(names, depth=0):
    kind = rand.random()
    if depth > 3 or kind < 0.3:
        return str(rand.randint(0, 9))
    if kind < 0.45:
        return f"defined({rand.choice(names)})"
    if kind < 0.6:
        return rand.choice(["!", ""]) + f"({condition(names, depth + 1)})"
    operator = rand.choice(["+", "*", "-", "<", ">", "<=", ">=", "==", "!=", "&&", "||"])
    return f"{condition(names, depth + 1)} {operator} {condition(names, depth + 1)}"


def line(plain, functions, parameters=(), depth=0):
    parts = []
    for _ in range(rand.randint(1, 3)):
        kind = rand.random()
        if kind < 0.15 and plain:
            parts.append(rand.choice(plain))
        elif kind < 0.4 and functions and depth < 2:
            name = rand.choice(list(functions))
            arguments = ", ".join(line(plain, functions, parameters, depth + 1) for _ in range(functions[name]))
            parts.append(name + rand.choice(["", " "]) + "(" + arguments + ")")
        elif kind < 0.6 and parameters:
            parts.append(rand.choice(parameters))
        else:
            parts.append(rand.choice(["w1", "w2", "+", "-", "1", "2.5", "x[3]", '"s, w1"', "(a, b)", "/* c */ d"]))
    return rand.choice([" ", "  "]).join(parts)


def program():
    text, plain, functions, depth = [], [], {}, 0
    for _ in range(rand.randint(4, 16)):
        kind, names = rand.random(), plain + ["NONE"]
        if kind < 0.2:
            plain.append(f"O{len(plain)}")
            text.append(f"#define {plain[-1]} v {line(plain[:-1], functions)}")
        elif kind < 0.45:
            parameters = [f"p{i}" for i in range(rand.randint(1, 3))]
            body = "b " + line(plain, functions, parameters)
            if rand.random() < 0.3:
                body += f" w##{rand.randint(1, 2)} 1"
            name = f"F{len(functions)}"
            text.append(f"#define {name}({', '.join(parameters)}) {body}")
            functions[name] = len(parameters)
        elif kind < 0.6:
            text.append(rand.choice([f"#if {condition(names)}", f"#ifdef {rand.choice(names)}", f"#ifndef {rand.choice(names)}"]))
            depth += 1
        elif kind < 0.7 and depth:
            text.append(rand.choice(["#endif", "#endif // c", "# endif /* c */"]))
            depth -= 1
        elif kind < 0.75 and depth:
            text.append(rand.choice(["#else", f"#elif {condition(names)}"]))
        elif kind < 0.8:
            text.append(f"#undef {rand.choice(names)}")
        else:
            text.append(line(plain, functions) + rand.choice(["", " // c", " /* c */ d"]))
    return "\n".join(text + ["#endif"] * depth) + "\n"


def main():
    compared, faults = 0, 0
    with tempfile.NamedTemporaryFile("w", suffix=".comp") as file:
        for _ in range(COUNT):
            text = program()
            file.seek(0)
            file.truncate()
            file.write(text)
            file.flush()
            run = [subprocess.run(words, capture_output=True, text=True, timeout=60)
                   for words in ([CPP, "-P", "-undef", file.name], [PROGRAM, "shader", "-E", file.name])]
            # What C refuses is not compared, nor a condition below zero and a call without arguments, which are errors
            # here alone.
            if run[0].returncode or "invalid expression" in run[1].stderr or "macro arguments" in run[1].stderr:
                continue
            compared += 1
            if run[1].returncode or words(run[0].stdout) != words(run[1].stdout):
                faults += 1
                print(f"FAILED:\n{text}--- {CPP}\n{run[0].stdout}--- {PROGRAM}\n{run[1].stdout}{run[1].stderr}")
    print(f"{compared} texts compared, {faults} faults")
    return 0 if compared > COUNT // 4 and not faults else 1


sys.exit(main())
