"""The kernel: loading it, calling it, and making what it hands out."""
import ctypes
import os
import weakref
from contextlib import contextmanager
from types import TracebackType
from typing import Iterator, List, NamedTuple, Optional, Type, Union

from . import records, text
from .buffer import Buffer
from .codes import PROPERTY_HANDLE, PROPERTY_READ, Call, ErrorCode, FileName, SetError
from .errors import Error
from .library import Library, Record, address_of
from .module import Module
from .owner import Owner
from .slot import Slot
from .values import Plain, Value
from .variant import Variant
from .version import InstalledModule, ModuleInfo, VersionText
from .version import list_modules, read_info, version_texts

_MESSAGE_LENGTH = 2048  # no message is longer


class Block(NamedTuple):
    """A live tracked block as the kernel describes it, whoever owns it."""

    address: int
    capacity: int
    file: str
    line: int


class Kernel:
    """The kernel library, loaded by its path; the way to everything else.

    Owner: of one load of the library and, through `close()`, of all that came from it. Threads:
    any may call; load and close it where nobody is inside the kernel. The error state that
    failures leave behind belongs to the calling thread.

    >>> kernel.call(qmsd7.Call.NOP)
    1
    """

    def __init__(self, library: Library) -> None:
        self._library = library
        self._entry = library.entry
        self._owners: "weakref.WeakSet[Owner]" = weakref.WeakSet()
        self._finalizer = weakref.finalize(self, library.unload)
        self._finalizer.atexit = False  # other threads may still be inside; the system unloads it

    @classmethod
    def load(cls, path: Union[str, "os.PathLike[str]", None] = None) -> "Kernel":
        """Loads the library from a file, or by the system's rules without a path.

        Errors: 0x1000 the file cannot be loaded, 2 it exports no `qm_call`.

        >>> qmsd7.Kernel.load("no/such/file")
        Traceback (most recent call last):
        qmsd7.errors.Error: 'no/such/file': no/such/file: cannot open shared object file: ...
        """
        return cls(Library(path))

    @property
    def closed(self) -> bool:
        """Has the library been given back?"""
        return not self._finalizer.alive

    def close(self) -> None:
        """Closes all that came from this kernel and is still open, then unloads the library."""
        for owner in list(self._owners):
            owner.close()
        self._finalizer()

    def __enter__(self) -> "Kernel":
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        self.close()

    # ---- Calls -----------------------------------------------------------------------------

    def call(self, function: int, record: Record = None, handle: int = 0) -> int:
        """Calls the kernel, or with a handle the module behind it; returns the call's result.

        Owner: the record stays the caller's. Errors: the thread's error state after a call that
        returned 0.

        >>> size = qmsd7.records.MemSize()
        >>> kernel.call(qmsd7.Call.MEMSIZE, size)
        Traceback (most recent call last):
        qmsd7.errors.Error: Invalid argument  [qmsd] (!ptr || !buffer)
        """
        result = self.call_raw(function, record, handle)
        if result == 0:
            raise self.error()
        return result

    def call_raw(self, function: int, record: Record = None, handle: int = 0) -> int:
        """The same without a look at the result, for codes to which 0 is an answer like others.

        >>> kernel.call_raw(0x1000ABCD)
        0
        """
        if self.closed:
            raise Error(ErrorCode.ARGUMENT, "this Kernel is closed")
        return self._entry(handle, function, address_of(record))

    # ---- The error state ---------------------------------------------------------------------

    def error(self) -> Error:
        """The calling thread's error state as it is now; code 0 if there is no error.

        >>> kernel.set_error(7, "100 %s")
        >>> kernel.error().code
        7
        """
        message = text.room(_MESSAGE_LENGTH)
        record = records.GetError(0, ctypes.addressof(message), _MESSAGE_LENGTH)
        code = self.call_raw(Call.GETERRORW, record)
        return Error(code, text.text_in(message))

    def set_error(self, code: int, message: str) -> None:
        """Replaces the calling thread's error: this code and exactly this message.

        >>> kernel.set_error(34, "too far")
        >>> kernel.error()
        Error(34, 'too far')
        """
        array = text.wide(message)
        flags = SetError.LITERAL | SetError.NO_CODE_TEXT
        self.call(Call.SETERRORW, records.SetError(flags, code, ctypes.addressof(array), None))

    @contextmanager
    def saved_error(self) -> Iterator[None]:
        """Keeps the calling thread's error state while other calls are made.

        >>> kernel.set_error(34, "the first failure")
        >>> with kernel.saved_error():
        ...     kernel.call_raw(0x1000ABCD)
        0
        >>> kernel.error().code
        34
        """
        saved = self.call_raw(Call.PUSHERROR)
        try:
            yield
        finally:
            if saved:
                self.call_raw(Call.POPERROR)

    # ---- What the kernel tells -----------------------------------------------------------------

    def info(self) -> ModuleInfo:
        """What the kernel tells about itself.

        >>> print(kernel.info().version)
        7.3.1.29
        """
        request = records.InfoRequest()
        self.call(Call.GETKERNELINFO, request)
        return read_info(request.info)

    def list_modules(self, pattern: Optional[str] = None) -> List[InstalledModule]:
        """The module libraries in the current directory, the PATH and the system's `qm` folder.

        The pattern is one for file names without extension. Libraries without version
        information are left out.

        >>> kernel.list_modules("no_such_*")
        []
        """
        return list_modules(self, pattern)

    def version_texts(self, file: str) -> List[VersionText]:
        """The version texts of a file, in the resource's order.

        Errors: 2 no version resource or no texts in it; 0x1002, 0x1004 unreadable; 22; 12.

        >>> kernel.version_texts("no/such/file")
        Traceback (most recent call last):
        qmsd7.errors.Error: ...
        """
        return version_texts(self, file)

    def live_blocks(self) -> List[Block]:
        """Every live tracked block of the process. What is left at the end was forgotten.

        >>> with kernel.allocate(5):
        ...     [block.capacity for block in kernel.live_blocks()]
        [8]
        >>> kernel.live_blocks()
        []
        """
        blocks = []
        file = ctypes.create_string_buffer(512)
        record = records.MemInfo(file=ctypes.addressof(file), file_size=len(file))
        with self.saved_error():
            while self.call_raw(Call.MEMINFO, record):
                if record.pointer:
                    name = os.fsdecode(file.value)
                    blocks.append(Block(record.pointer, record.capacity, name, record.line))
                record.index += 1
            problem = self.error()
        if problem.code != ErrorCode.RANGE:  # that one ends the list
            raise problem
        return blocks

    def check_blocks(self) -> None:
        """Looks at every tracked block of the process. Errors: 14 for a damaged one.

        >>> kernel.check_blocks()
        """
        self.call(Call.MEMCHECK)

    # ---- What the kernel hands out ---------------------------------------------------------------

    def open(self, name: str, group: Optional[str] = None) -> Module:
        """Opens an instance of a module, which the kernel loads if need be.

        `group` is the property group for aliases and the module's own use. Owner: the result.
        Errors: 0x1000 no such library; 2 or 22 a library that is no module; 16 it is being loaded
        for too long; 12; or the module's own.

        >>> with kernel.open("excounter") as counter:
        ...     print(counter.info().version)
        1.0.0.0
        """
        return Module.open(self, name, group)

    def allocate(self, size: int) -> Buffer:
        """A new tracked block of so many bytes; its contents are not defined.

        Owner: the result. Errors: 12 out of memory, 34 more than 2 GB.

        >>> with kernel.allocate(100) as block:
        ...     len(block)
        100
        """
        return Buffer.allocate(self, size)

    def variant(self, value: Plain = None, name: Optional[str] = None, id: int = 0) -> Variant:
        """A new variant with this value. Without a name it is unnamed, which is not "".

        Owner: the result. Errors: 22 a value that the kernel does not know, 34, 12.

        >>> with kernel.variant(120, "speed", 7) as speed:
        ...     speed.value(), speed.name, speed.info().id
        (120, 'speed', 7)
        """
        return Variant.create(self, value, name, id)

    def container(self, name: Optional[str] = None, id: int = 0) -> Variant:
        """A new variant to be filled with items.

        >>> with kernel.container() as numbers:
        ...     for number in 1, 2, 3:
        ...         numbers.items.add(number).close()
        ...     [item.as_int() for item in numbers.items]
        [1, 2, 3]
        """
        return self.variant(Value.container(), name, id)

    def create_slot(self) -> Slot:
        """A new slot of 8 zero bytes. Owner: the result. Errors: 12, 34.

        >>> with kernel.create_slot() as slot:
        ...     slot.read()
        b'\\x00\\x00\\x00\\x00\\x00\\x00\\x00\\x00'
        """
        return Slot.create(self)

    def join_slot(self, id: int) -> Slot:
        """One more use of the slot with this number. Errors: 2 no such slot, 34 too many uses.

        >>> kernel.join_slot(12345)
        Traceback (most recent call last):
        qmsd7.errors.Error: No such file or directory  [qmsd] (slot)
        """
        return Slot.join(self, id)

    # ---- Files and properties --------------------------------------------------------------------

    def read_file(self, name: str) -> bytes:
        """The whole file. The name may hold %VARIABLES%; "/" separates as well as "\\\\".

        Errors: errno values, 0x1002 the file ended early, 12.

        >>> kernel.write_file("example.txt", b"two words")
        >>> kernel.read_file("example.txt")
        b'two words'
        """
        path = text.wide(name)
        record = records.File(None, ctypes.addressof(path), 0, FileName.WIDE)
        self.call(Call.READFILE, record)
        if not record.data:
            return b""
        with Buffer.adopt(self, record.data, record.size) as block:
            return bytes(block)

    def write_file(self, name: str, contents: Union[bytes, bytearray, memoryview]) -> None:
        """Writes the whole file, in place of one that is there, and makes missing directories.

        A write that fails leaves no file. Errors: errno values, 34 more than 2 GB.

        >>> kernel.write_file("folder/example.txt", b"")
        >>> kernel.read_file("folder/example.txt")
        b''
        """
        data = bytes(contents)
        if len(data) > 0x7FFFFFFF:
            raise Error(ErrorCode.RANGE, "a file has at most 2 GB")
        path = text.wide(name)
        buffer = ctypes.create_string_buffer(data, len(data) + 1)
        address = ctypes.addressof(buffer)
        record = records.File(address, ctypes.addressof(path), len(data), FileName.WIDE)
        self.call(Call.WRITEFILE, record)

    def read_property(self, path: str) -> str:
        """The value at a path of the property store, which the property module keeps.

        Errors: the property module's, 2 if there is no such value; 0x1000 without such a module.

        >>> kernel.read_property("/formal/greeting")
        'Good evening'
        """
        name = text.wide(path)
        length = 256
        while True:
            value = text.room(length)
            record = records.PropertyText(ctypes.addressof(name), ctypes.addressof(value), length)
            self.call(PROPERTY_READ, record, PROPERTY_HANDLE)
            found = text.text_in(value)
            if len(found.encode(text.CODING, "surrogatepass")) // 2 + 1 < length:
                return found
            length *= 2  # it may have been cut
