#!/usr/bin/env python3
"""Runs the console sessions of a document and compares what is printed.

usage: doc_console.py DOCUMENT.md FOLDER FILE...

The files are put into FOLDER, which is made anew. In a fenced block marked "console run" a line that
begins with "$ " is a command, run there by bash; the lines below it are what it has to print. "..."
stands for anything within a line, and alone for any lines. "qmtool" is the program of that name in
FOLDER; where it is a program of Windows, EMULATOR starts it, and libraries end in ".dll".
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys

BLOCK = re.compile(r"^```console run\n(.*?)^```$", re.MULTILINE | re.DOTALL)


class Session:
    def __init__(self, folder):
        self.folder = folder
        self.is_windows = (folder / "qmtool.exe").is_file()
        program = f"{os.environ['EMULATOR']} ./qmtool.exe" if self.is_windows else "./qmtool"
        self.prelude = f'qmtool() {{ {program} "$@"; }}\n'
        self.status = 0

    def run(self, command):
        """What the command prints on both streams. "$?" is what the one before ended with."""
        script = f"{self.prelude}(exit {self.status})\n{self.localized(command)}"
        done = subprocess.run(["bash", "-c", script], cwd=self.folder, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.status = done.returncode
        return done.stdout.decode("utf-8").replace("\r\n", "\n")

    def localized(self, text):
        return re.sub(r"\.so\b(?!\.)", ".dll", text) if self.is_windows else text

    def expect(self, command, expected, printed):
        pattern = ""
        for line in self.localized(expected).splitlines(keepends=True):
            if line == "...\n":
                pattern += r"(?:.*\n)*?"
            else:
                pattern += "[^\n]*?".join(map(re.escape, line.split("...")))
        if not re.fullmatch(pattern, printed):
            sys.exit(f"$ {command}\nexpected:\n{expected}\nbut it printed:\n{printed}")


def main(document, folder, *files):
    folder = pathlib.Path(folder)
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    for file in files:
        shutil.copy(file, folder)
    session = Session(folder)
    count = 0
    for block in BLOCK.findall(pathlib.Path(document).read_text(encoding="utf-8")):
        for step in re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", block, re.MULTILINE):
            session.expect(step[0], step[1], session.run(step[0]))
            count += 1
    if count == 0:
        sys.exit(f"{document}: there are no commands to run")


if __name__ == "__main__":
    main(*sys.argv[1:])
