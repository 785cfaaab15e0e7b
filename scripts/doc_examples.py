#!/usr/bin/env python3
"""Makes one program of the examples in documents or C++ headers: each becomes a function.

usage: doc_examples.py PROGRAM.c|PROGRAM.cpp SOURCE...

The examples of a document are the fenced blocks marked "c run" or "cpp run", by the program's
language; those of a header are the lines indented by four in its /// comments, where every function
and class has one, behind what it tells of owner, errors and threads. In C++ `kernel` is the linked
kernel. `check(condition)` ends the program when it does not hold; in C `call_on_another_thread`
takes what qm_call() takes.
"""
import pathlib
import re
import sys

CHECK = """
static void check_at(int passed, const char* file, int line, const char* what) {
  if (passed) return;
  printf("%s:%d: %s\\n", file, line, what);
  exit(1);
}
#define check(condition) check_at((condition) != 0, __FILE__, __LINE__, #condition)
"""

C_HEAD = """#include <pthread.h>
#include <qmsd7.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
""" + CHECK + """
struct call { uint32_t handle, function; void* record; int32_t result; };

static void* make_call(void* context) {
  struct call* call = context;
  call->result = qm_call(call->handle, call->function, call->record);
  return NULL;
}

__attribute__((unused)) static int32_t call_on_another_thread(uint32_t handle, uint32_t function,
                                                              void* record) {
  struct call call = {handle, function, record, 0};
  pthread_t thread;
  check(pthread_create(&thread, NULL, make_call, &call) == 0);
  check(pthread_join(thread, NULL) == 0);
  return call.result;
}
"""

CPP_HEAD = """#include <qm/client.hpp>
#include <qm/module.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
""" + CHECK

C_MAIN = """int main(void) {
%s  return 0;
}
"""

# No example may leave a block behind.
CPP_MAIN = """static void run(void (*example)(qm::Kernel), const char* place) {
  const qm::Kernel kernel = qm::Kernel::linked();
  try {
    example(kernel);
  } catch (const std::exception& error) {
    check_at(0, place, 0, error.what());
  }
  check_at(qm::live_blocks(kernel).empty(), place, 0, "blocks are left");
}

int main() {
%s}
"""

# What the comment of a function says beside what it does.
PARTS = ["Owner:", "Errors:", "Threads:"]
COMMENT = re.compile(r"^ *///.*\n(?: *///.*\n)*", re.MULTILINE)


def line_of(text, position):
    return text.count("\n", 0, position) + 1


def examples_of_document(text, language):
    """(line, code) of each fenced block that is to run."""
    fence = re.compile(rf"^```{language} run\n(.*?)^```$", re.MULTILINE | re.DOTALL)
    return [(line_of(text, block.start(1)), block[1]) for block in fence.finditer(text)]


def describes_a_function(text, end):
    """Or a class: what stands behind a comment that ends there."""
    words = re.match(r"\s*(?:template <.*>\s+)?([^{;]*)", text[end:])[1]
    plain = words.startswith(("struct ", "using ", "concept ", "#define "))
    return words.startswith("class ") or ("(" in words and not plain)


def examples_of_header(text, path):
    """The same of each comment. That of a function or class tells all there is to know of it."""
    found = []
    for comment in COMMENT.finditer(text):
        first = line_of(text, comment.start())
        lines = [line.strip().removeprefix("///") for line in comment[0].splitlines()]
        code = [(number, line) for number, line in enumerate(lines, first)
                if line.startswith(" " * 5)]
        if code:
            found.append((code[0][0], "".join(line[5:] + "\n" for _, line in code)))
        if describes_a_function(text, comment.end()):
            missing = [part for part in PARTS if f" {part}" not in "".join(lines)]
            if missing or not code:
                sys.exit(f"{path}:{first}: no {(missing or ['example'])[0]}")
    return found


def examples_of(path, language):
    text = path.read_text(encoding="utf-8")
    if path.suffix == ".hpp":
        examples = examples_of_header(text, path)
    else:
        examples = examples_of_document(text, language)
    if not examples:
        sys.exit(f"{path}: there are no examples to run")
    return examples


def main(program, *sources):
    program = pathlib.Path(program)
    cpp = program.suffix == ".cpp"
    parts = [CPP_HEAD if cpp else C_HEAD]
    calls = []
    for path in map(pathlib.Path, sources):
        for line, code in examples_of(path, program.suffix[1:]):
            name = f"example_{len(calls) + 1}"
            parameters = "[[maybe_unused]] qm::Kernel kernel" if cpp else "void"
            parts.append(f"static void {name}({parameters}) {{\n"
                         f"#line {line} \"{path.name}\"\n{code}}}\n")
            calls.append(f"  run({name}, \"{path.name}:{line}\");\n" if cpp else f"  {name}();\n")
    parts.append((CPP_MAIN if cpp else C_MAIN) % "".join(calls))
    program.write_text("\n".join(parts), encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])
