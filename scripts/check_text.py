#!/usr/bin/env python3
"""Checks the rules about files that a formatter does not know."""
import pathlib
import re
import subprocess
import sys

MAX_LINES = 500
MAX_COLUMNS = 100
SOURCES = {".h", ".hpp", ".c", ".cpp"}
# Data, and texts that somebody else words.
UNCHECKED = ("fuzz/corpus/", "tests/vectors/", "LICENSE")
# The whole public contract is one header on purpose.
LONG_FILES = {"include/qmsd7.h"}


def text_files():
    listing = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"],
                             check=True, capture_output=True, text=True)
    for name in listing.stdout.splitlines():
        path = pathlib.Path(name)
        if path.is_file() and not name.startswith(UNCHECKED):
            yield path


def problems_of_any(text):
    """(line number, problem) for what holds in every text file."""
    if text and not text.endswith("\n"):
        yield text.count("\n") + 1, "the last line has no end"
    for number, line in enumerate(text.split("\n"), 1):
        if "\r" in line:
            yield number, "carriage return"
        if line != line.rstrip():
            yield number, "blank at the end of the line"
        if "\t" in line:
            yield number, "tab"


def first_include(lines):
    return next((line for line in lines if line.startswith("#include")), None)


def problems_of_source(path, text):
    """(line number, problem) for what holds in C and C++ files."""
    lines = text.splitlines()
    if len(lines) > MAX_LINES and str(path) not in LONG_FILES:
        yield len(lines), f"more than {MAX_LINES} lines: one file, one subject"
    for number, line in enumerate(lines, 1):
        if len(line) > MAX_COLUMNS:
            yield number, f"more than {MAX_COLUMNS} columns"
    if not re.match(r'//|/\*|#include "', text):
        yield 1, "the file opens neither with what it is for nor with its own header"
    if path.suffix in {".h", ".hpp"} and "#pragma once" not in lines and "#ifndef" not in text:
        yield 1, "no guard against being included twice"
    own = path.with_suffix(".h")
    if path.suffix == ".cpp" and own.is_file() and first_include(lines) != f'#include "{own}"':
        if not (first_include(lines) or "").endswith(f'"{own.name}"'):
            yield 1, f"{own} is not included first"


def problems_of(path):
    try:
        text = path.read_bytes().decode("utf-8")
    except UnicodeDecodeError:
        return
    yield from problems_of_any(text)
    if path.suffix in SOURCES:
        yield from problems_of_source(path, text)


def main():
    checked = found = 0
    for path in text_files():
        checked += 1
        for number, problem in problems_of(path):
            print(f"{path}:{number}: {problem}")
            found += 1
    print(f"{checked} files, {found} broken text rules")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
