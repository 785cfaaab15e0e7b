"""The kernel library itself, loaded by its path. The one place that knows the operating system."""
import ctypes
import os
import sys
from typing import Any, Callable, Optional, Union

from .codes import ErrorCode
from .errors import Error

# A call entry: handle, function code, address of the record.
Entry = Callable[[int, int, Optional[int]], int]
# A record of a call: a ctypes structure or array, its address, or none.
Record = Union[ctypes.Structure, "ctypes.Array[Any]", int, None]

_RESULT = ctypes.c_int32
_ARGUMENTS = (ctypes.c_uint32, ctypes.c_uint32, ctypes.c_void_p)

if sys.platform == "win32":
    STANDARD_NAME = "QMSD7.dll"
    # __stdcall in 32-bit programs; the other conventions are one in 64-bit programs.
    _load = ctypes.WinDLL
    _entry_type = ctypes.WINFUNCTYPE(_RESULT, *_ARGUMENTS)

    def _unload(handle: int) -> None:
        free = ctypes.WinDLL("kernel32").FreeLibrary
        free.argtypes = (ctypes.c_void_p,)
        free(handle)

else:
    STANDARD_NAME = "libqmsd7.so.7"
    _load = ctypes.CDLL
    _entry_type = ctypes.CFUNCTYPE(_RESULT, *_ARGUMENTS)

    def _unload(handle: int) -> None:
        close = ctypes.CDLL(None).dlclose
        close.argtypes = (ctypes.c_void_p,)
        close(handle)


def entry_at(address: int) -> Entry:
    """The call entry at an address that the kernel gave."""
    return _entry_type(address)


def address_of(record: Record) -> Optional[int]:
    """What is passed for the record."""
    return record if isinstance(record, int) or record is None else ctypes.addressof(record)


class Library:
    """One load of the kernel library."""

    def __init__(self, path: Union[str, "os.PathLike[str]", None] = None) -> None:
        name = os.fspath(path) if path is not None else STANDARD_NAME
        try:
            self._library = _load(name)
        except OSError as problem:
            raise Error(ErrorCode.LOAD, f"'{name}': {problem}") from None
        try:
            function = self._library.qm_call
        except AttributeError:
            _unload(self._library._handle)
            raise Error(ErrorCode.NOT_FOUND, f"'{name}' exports no qm_call") from None
        function.restype = _RESULT
        function.argtypes = _ARGUMENTS
        self.entry: Entry = function

    def unload(self) -> None:
        """Gives the load back. Nothing may be called any more, nor be inside of a call."""
        _unload(self._library._handle)
