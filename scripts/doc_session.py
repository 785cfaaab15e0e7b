#!/usr/bin/env python3
"""Does what a document tells its reader: writes the files, runs the commands, compares the output.

usage: doc_session.py DOCUMENT.md FOLDER

Fenced blocks marked "<language> file=NAME" are written to FOLDER; with "like=PATH" they have to be
that file of the project. Blocks marked "sh run" are run there, a command a line, those with
"on=linux" or "on=windows" only for that system; a block marked "text output" is what the command
before it has to print. "qmtool" is the one of the package in QM. EMULATOR runs programs for Windows.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys

SYSTEM = "windows" if "EMULATOR" in os.environ else "linux"
TOOL = 'qmtool() { "$QM/bin/qmtool" "$@"; }\n'
if SYSTEM == "windows":
    TOOL = 'qmtool() { $EMULATOR "$QM/bin/qmtool.exe" "$@"; }\n'
PROJECT = pathlib.Path(__file__).resolve().parent.parent
BLOCK = re.compile(r"^```(\w+)((?: \S+)+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def write(folder, options, content):
    like = options.get("like")
    if like and (PROJECT / like).read_text(encoding="utf-8") != content:
        sys.exit(f"{options['file']} is not the same as {like}")
    file = folder / options["file"]
    file.parent.mkdir(parents=True, exist_ok=True)
    file.write_text(content, encoding="utf-8")


def run(folder, command):
    """What the command prints. A program built for another system is started by the emulator."""
    program = re.match(r"\./\S+", command)
    if program and (folder / (program[0] + ".exe")).is_file():
        command = f"{os.environ['EMULATOR']} {program[0]}.exe{command[program.end():]}"
    done = subprocess.run(["bash", "-c", TOOL + command], cwd=folder, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, text=True)
    if done.returncode != 0:
        sys.exit(f"{done.stdout}{command}: ended with {done.returncode}")
    return done.stdout


def main(document, folder):
    folder = pathlib.Path(folder)
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    printed, runs = "", 0
    for language, words, content in BLOCK.findall(pathlib.Path(document).read_text("utf-8")):
        options = dict(word.partition("=")[::2] for word in words.split())
        if "file" in options:
            write(folder, options, content)
        elif language == "sh" and "run" in options and options.get("on", SYSTEM) == SYSTEM:
            for command in content.replace("\\\n", " ").splitlines():
                printed = run(folder, command)
                runs += 1
        elif "output" in options and printed != content:
            sys.exit(f"expected:\n{content}but it printed:\n{printed}")
    if runs == 0:
        sys.exit(f"{document}: there are no commands to run")


if __name__ == "__main__":
    main(*sys.argv[1:])
