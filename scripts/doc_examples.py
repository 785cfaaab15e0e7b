#!/usr/bin/env python3
"""Makes one C program of a document's examples: every fenced block marked "c run" becomes a function.

usage: doc_examples.py DOCUMENT.md PROGRAM.c
"""
import pathlib
import re
import sys

HEAD = """/* Made from {name}; run by the tests. */
#include <qmsd7.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int example;

static void check_at(int passed, int line, const char* what) {{
  if (passed) return;
  printf("{name}, example %d, line %d: %s\\n", example, line, what);
  exit(1);
}}
#define check(condition) check_at((condition) != 0, __LINE__, #condition)
"""

BLOCK = re.compile(r"^```c run\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def main(document, program):
    text = pathlib.Path(document).read_text(encoding="utf-8")
    blocks = list(BLOCK.finditer(text))
    if not blocks:
        sys.exit(f"{document}: there are no examples to run")
    name = pathlib.Path(document).name
    parts = [HEAD.format(name=name)]
    for number, block in enumerate(blocks, 1):
        line = text.count("\n", 0, block.start()) + 2
        parts.append(f"static void example_{number}(void) {{\n"
                     f"#line {line} \"{name}\"\n{block.group(1)}}}\n")
    calls = "".join(f"  example = {number};\n  example_{number}();\n"
                    for number in range(1, len(blocks) + 1))
    parts.append(f"int main(void) {{\n{calls}  return 0;\n}}\n")
    pathlib.Path(program).write_text("\n".join(parts), encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])
