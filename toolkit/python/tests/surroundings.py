"""What the tests find around them: the kernel library, its modules, a folder of their own.

QMSD7_LIBRARY names the library; without it the one of the standard build is taken. The modules lie
beside it, or where QMSD7_MODULES says.
"""
import locale
import os
import pathlib
import shutil
import sys
import tempfile
import unittest
from contextlib import contextmanager
from typing import Iterable, Iterator

import qmsd7

FOLDER = pathlib.Path(__file__).resolve().parent
PROJECT = FOLDER.parents[2]
PACKAGE = FOLDER.parent / "qmsd7"
VECTORS = PROJECT / "tests" / "vectors"

WINDOWS = sys.platform == "win32"
_BUILT = PROJECT / "build" / ("windows-x86/QMSD7.dll" if WINDOWS else "linux/libqmsd7.so")
KERNEL = pathlib.Path(os.environ.get("QMSD7_LIBRARY", _BUILT)).absolute()
MODULES = pathlib.Path(os.environ.get("QMSD7_MODULES", KERNEL.parent)).absolute()


def speak_english() -> None:
    """Error texts come from the C runtime, in its language."""
    os.environ["LC_ALL"] = "C"
    locale.setlocale(locale.LC_ALL, "C")


class Scratch:
    """An empty current directory with copies of modules, until it is closed."""

    def __init__(self, modules: Iterable[str] = ()) -> None:
        self._folder = tempfile.TemporaryDirectory()
        self._before = os.getcwd()
        os.chdir(self._folder.name)
        for module in modules:
            shutil.copy(MODULES / (module + (".dll" if WINDOWS else ".so")), ".")
        if "qmproperty" in modules:
            shutil.copy(PROJECT / "examples" / "qmproperty.toml", ".")

    def close(self) -> None:
        os.chdir(self._before)
        self._folder.cleanup()

    def __enter__(self) -> "Scratch":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()


class KernelCase(unittest.TestCase):
    """A test with a kernel of its own, which finds the example modules."""

    def setUp(self) -> None:
        scratch = Scratch(("excounter", "exgreeter", "qmproperty"))
        self.addCleanup(scratch.close)
        self.kernel = qmsd7.Kernel.load(KERNEL)
        self.addCleanup(self.kernel.close)

    @contextmanager
    def fails(self, code: int, text: str = "") -> Iterator[None]:
        """Expects an Error with this code whose text ends so."""
        with self.assertRaises(qmsd7.Error) as found:
            yield
        self.assertEqual(found.exception.code, code, found.exception.text)
        self.assertTrue(found.exception.text.endswith(text), found.exception.text)
