"""Slots: 8 bytes that modules and hosts share by a number."""
import ctypes
import sys
from typing import TYPE_CHECKING, Union

from . import records
from .codes import Call, ErrorCode
from .errors import Error
from .owner import Owner

if TYPE_CHECKING:
    from .kernel import Kernel

_SIZE = 8


def _release(kernel: "Kernel", id: int) -> None:
    kernel.call_raw(Call.SLOTRELEASE, records.Slot(id, None))


class Slot(Owner):
    """One use of a slot. Whoever creates it tells its number to the others, who join it.

    Owner: of one use; the last one ends the slot. Threads: the owner is one thread's at a time;
    the bytes are everybody's.

    >>> with kernel.create_slot() as mine, kernel.join_slot(mine.id) as yours:
    ...     mine.value = 42
    ...     yours.value
    42
    """

    def __init__(self, kernel: "Kernel", id: int, address: int) -> None:
        super().__init__(kernel, id, _release)
        self._address = address

    @classmethod
    def create(cls, kernel: "Kernel") -> "Slot":
        """A new slot of 8 zero bytes. Errors: 12, 34 no number left."""
        return cls._use(kernel, Call.SLOTCREATE, 0)

    @classmethod
    def join(cls, kernel: "Kernel", id: int) -> "Slot":
        """One more use of the slot with this number. Errors: 2 no such slot, 34 too many uses."""
        return cls._use(kernel, Call.SLOTJOIN, id)

    @classmethod
    def _use(cls, kernel: "Kernel", function: int, id: int) -> "Slot":
        record = records.Slot(id, None)
        kernel.call(function, record)
        assert record.data is not None
        return cls(kernel, record.id, record.data)

    @property
    def id(self) -> int:
        """The slot's number."""
        return self.raw

    @property
    def address(self) -> int:
        """Where the 8 bytes are, aligned to 8, while the slot lives."""
        self.raw
        return self._address

    @property
    def value(self) -> int:
        """The 8 bytes as one unsigned number, read and written without a lock."""
        return int.from_bytes(self.read(), sys.byteorder)

    @value.setter
    def value(self, value: int) -> None:
        self.write(value.to_bytes(_SIZE, sys.byteorder))

    def read(self) -> bytes:
        """A copy of the 8 bytes."""
        return ctypes.string_at(self.address, _SIZE)

    def write(self, data: Union[bytes, bytearray, memoryview], first: int = 0) -> None:
        """Copies bytes into the slot. Errors: 34 beyond its end.

        >>> with kernel.create_slot() as slot:
        ...     slot.write(b"ab", 3)
        ...     slot.read()
        b'\\x00\\x00\\x00ab\\x00\\x00\\x00'
        """
        source = bytes(data)
        if first < 0 or first + len(source) > _SIZE:
            raise Error(ErrorCode.RANGE, "a slot has 8 bytes")
        ctypes.memmove(self.address + first, source, len(source))
