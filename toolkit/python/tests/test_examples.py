"""The examples in the package's docstrings and in the documents."""
import ctypes
import datetime
import doctest
import importlib
import re
import unittest
from typing import Any

import qmsd7
from surroundings import KERNEL, PACKAGE, PROJECT, Scratch, speak_english

speak_english()
OPTIONS = doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE


class MarkdownParser(doctest.DocTestParser):
    """Takes the ends of fenced blocks for those of the examples' output."""

    def parse(self, string: str, name: str = "<string>") -> Any:
        return super().parse(re.sub("^```.*$", "", string, flags=re.MULTILINE), name)


class Add(ctypes.Structure):
    """The record of the example module that counts."""

    _fields_ = [("step", ctypes.c_int32), ("value", ctypes.c_int32)]


def set_up(test: doctest.DocTest) -> None:
    test.scratch = Scratch(("excounter", "exgreeter", "qmproperty"))  # type: ignore[attr-defined]
    test.globs.update(
        kernel=qmsd7.Kernel.load(KERNEL),
        library=str(KERNEL),
        qmsd7=qmsd7,
        datetime=datetime,
        Add=Add,
    )


def tear_down(test: doctest.DocTest) -> None:
    test.globs["kernel"].close()
    test.scratch.close()  # type: ignore[attr-defined]


def load_tests(loader: object, tests: unittest.TestSuite, pattern: object) -> unittest.TestSuite:
    fixture: Any = {"setUp": set_up, "tearDown": tear_down, "optionflags": OPTIONS}
    for file in sorted(PACKAGE.glob("*.py")):
        name = "qmsd7" if file.stem == "__init__" else f"qmsd7.{file.stem}"
        module = importlib.import_module(name)
        tests.addTests(doctest.DocTestSuite(module, **fixture))
    for document in (PROJECT / "docs" / "python.md", PACKAGE.parent / "README.md"):
        fixture.update(module_relative=False, parser=MarkdownParser())
        tests.addTests(doctest.DocFileSuite(str(document), **fixture))
    return tests


if __name__ == "__main__":
    unittest.main()
