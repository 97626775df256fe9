#!/usr/bin/env python3
"""Compares docs/shader-messages.md with the sources of the shader tools: every message stands on the page, and the page
tells of no message that is gone."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SOURCES = ROOT / "Kolm/source/foundation/shader"
PAGE = ROOT / "docs/shader-messages.md"

# Literals and comments, so that one is not taken for the other.
TOKENS = re.compile(r'//[^\n]*|"((?:[^"\\]|\\.)*)"|\'(?:[^\'\\]|\\.)*\'')


def unescape(text):
    return text.replace('\\"', '"').replace("\\\\", "\\")


def get_messages():
    messages = {}
    for path in sorted(SOURCES.iterdir()):
        for literal in TOKENS.findall(path.read_text()):
            # the line that tells the cause; what follows is the text at hand
            first, end, _ = literal.partition("\\n")
            if re.search("[a-z%]", first.replace("\\r", "")) and (end or re.match(r"\w+::\w+\(\): %s$", first)):
                messages.setdefault(unescape(first), path.name)
    return messages


def main():
    messages = get_messages()
    page = set()
    for line in PAGE.read_text().splitlines():
        if line.startswith("| `"):
            page.update(re.findall(r"`([^`]+)`", line.split(" | ")[0]))
    faults = ["%s: \"%s\" is missing in %s" % (messages[m], m, PAGE.name) for m in sorted(messages) if m not in page]
    faults += ["%s: \"%s\" stands in no source" % (PAGE.name, m) for m in sorted(page) if m not in messages]
    if len(messages) < 150:
        faults.append("only %u messages were found: the sources are written in another way now" % len(messages))
    for fault in faults:
        print(fault)
    return 1 if faults else 0


sys.exit(main())
