"""Tracked blocks: the only kind of memory that may cross between a host and a module."""
import ctypes
import sys
from typing import TYPE_CHECKING, Optional, Tuple, Union

from . import records
from .codes import Call, ErrorCode
from .errors import Error
from .owner import Owner

if TYPE_CHECKING:
    from .kernel import Kernel

_LARGEST = 0x7FFFFFFF


def _release(kernel: "Kernel", address: int) -> None:
    if address:
        kernel.call_raw(Call.REALLOC, records.Realloc(address, 0))


def _position() -> Tuple[bytes, int]:
    """The file name and line outside of this package that asks for memory."""
    frame = sys._getframe(1)
    package = frame.f_globals["__package__"]
    while frame.f_back and frame.f_globals.get("__package__") == package:
        frame = frame.f_back
    return frame.f_code.co_filename.encode("utf-8", "replace"), frame.f_lineno


class Buffer(Owner):
    """A tracked block. A module may allocate one and a host release it, or the other way round.

    Owner: of the block, unless `release()` hands it over. Threads: one Buffer is one thread's at a
    time; any thread may release it.

    >>> with kernel.allocate(5) as block:
    ...     block.write(b"hello")
    ...     block.read(1, 3)
    b'ell'
    """

    def __init__(self, kernel: "Kernel", address: int, size: int) -> None:
        super().__init__(kernel, address, _release)
        self._size = size

    @classmethod
    def allocate(cls, kernel: "Kernel", size: int) -> "Buffer":
        """A new block; its contents are not defined. Errors: 12 out of memory, 34 beyond 2 GB.

        >>> qmsd7.Buffer.allocate(kernel, 2**31)
        Traceback (most recent call last):
        qmsd7.errors.Error: a block has 1 byte to 2 GB
        """
        return cls(kernel, _resized(kernel, None, size), size)

    @classmethod
    def adopt(
        cls, kernel: "Kernel", address: Optional[int], size: Optional[int] = None
    ) -> "Buffer":
        """Takes over a block that a call handed out; a null one gives an empty Buffer.

        Without a size it is what the kernel says the block holds, a multiple of 4. Errors: 22 no
        tracked block, 14 damaged bookkeeping; the block stays the caller's then.

        >>> address = kernel.allocate(5).release()
        >>> with qmsd7.Buffer.adopt(kernel, address) as block:
        ...     len(block)
        8
        """
        if address and size is None:
            record = records.MemSize(address, 0)
            kernel.call(Call.MEMSIZE, record)
            size = record.size
        return cls(kernel, address or 0, size or 0)

    def __len__(self) -> int:
        return 0 if self.closed else self._size

    @property
    def address(self) -> int:
        """Where the block is, until it is resized or given back."""
        return self.raw

    def resize(self, size: int) -> None:
        """Makes the block larger or smaller; it may move. Errors: as for allocating.

        >>> with kernel.allocate(5) as block:
        ...     block.resize(5000)
        ...     len(block)
        5000
        """
        address = _resized(self.kernel, self.raw or None, size)
        self.release()  # the call has moved or ended what was there
        Buffer.__init__(self, self.kernel, address, size)

    def read(self, first: int = 0, count: Optional[int] = None) -> bytes:
        """A copy of the bytes from `first` on, all of them or `count`. Errors: 34 beyond the end.

        >>> with kernel.allocate(4) as block:
        ...     block.read(2, 3)
        Traceback (most recent call last):
        qmsd7.errors.Error: bytes 2 to 5 of a block of 4
        """
        size = len(self) - first if count is None else count
        return ctypes.string_at(self._range(first, size), size)

    def write(self, data: Union[bytes, bytearray, memoryview], first: int = 0) -> None:
        """Copies the bytes into the block. Errors: 34 beyond the end; nothing is written then.

        >>> with kernel.allocate(4) as block:
        ...     block.write(b"abcd")
        ...     block.write(b"yz", 2)
        ...     bytes(block)
        b'abyz'
        """
        source = bytes(data)
        ctypes.memmove(self._range(first, len(source)), source, len(source))

    def __bytes__(self) -> bytes:
        return self.read()

    def _range(self, first: int, size: int) -> int:
        if first < 0 or size < 0 or first + size > len(self):
            message = f"bytes {first} to {first + size} of a block of {len(self)}"
            raise Error(ErrorCode.RANGE, message)
        return self.raw + first


def _resized(kernel: "Kernel", address: Optional[int], size: int) -> int:
    if not 0 < size <= _LARGEST:
        raise Error(ErrorCode.RANGE, "a block has 1 byte to 2 GB")
    file, line = _position()
    name = ctypes.create_string_buffer(file)
    record = records.ReallocPos(address, size, ctypes.addressof(name), line)
    kernel.call(Call.REALLOCPOS, record)
    assert record.pointer is not None
    return record.pointer
