"""Handles of opened modules."""
import ctypes
from typing import TYPE_CHECKING, List, Optional

from . import records, text
from .codes import Call, ErrorCode
from .errors import Error
from .library import Entry, Record, address_of, entry_at
from .owner import Owner
from .version import ModuleInfo, VersionText, copy_version_texts, read_info

if TYPE_CHECKING:
    from .kernel import Kernel


def _close(kernel: "Kernel", handle: int) -> None:
    kernel.call_raw(Call.CLOSEHANDLE, records.HandleRef(handle))


class Module(Owner):
    """One reference to an opened instance of a module. The last one closes the instance.

    Owner: of the reference. Threads: as far as the module allows, any thread may call.

    >>> with kernel.open("excounter") as counter:
    ...     record = Add(5, 0)
    ...     counter.call(0x12000000, record)
    ...     record.value
    1
    5
    """

    def __init__(self, kernel: "Kernel", handle: int) -> None:
        super().__init__(kernel, handle, _close)

    @classmethod
    def open(cls, kernel: "Kernel", name: str, group: Optional[str] = None) -> "Module":
        """Opens an instance; see `Kernel.open`."""
        name_array, group_array = text.wide(name), text.optional_wide(group)
        record = records.OpenModule(ctypes.addressof(name_array), text.address_of(group_array), 0)
        kernel.call(Call.OPENMODULEW, record)
        return cls(kernel, record.handle)

    @property
    def handle(self) -> int:
        """The handle, for calls of one's own; it stays this owner's."""
        return self.raw

    def call(self, function: int, record: Record = None) -> int:
        """Calls the module; returns what the call returned, which is not 0.

        Owner: the record stays the caller's. Errors: the thread's error state after a call that
        returned 0.

        >>> with kernel.open("excounter") as counter:
        ...     counter.call(0x12FF0000)
        Traceback (most recent call last):
        qmsd7.errors.Error: ...
        """
        return self.kernel.call(function, record, self.raw)

    def call_raw(self, function: int, record: Record = None) -> int:
        """The same without a look at the result."""
        return self.kernel.call_raw(function, record, self.raw)

    def share(self) -> "Module":
        """One more reference to the same instance. Owner: the result.

        >>> first = kernel.open("excounter")
        >>> with first.share() as second:
        ...     first.close()
        ...     second.call(qmsd7.Call.GETKERNELINFO, qmsd7.records.InfoRequest())
        1
        """
        self.kernel.call(Call.REFHANDLE, records.HandleRef(self.raw))
        return Module(self.kernel, self.raw)

    def info(self) -> ModuleInfo:
        """What the module tells about itself. Errors: 2 if it tells nothing.

        >>> with kernel.open("exgreeter") as greeter:
        ...     print(greeter.info().version)
        1.0.0.0
        """
        request = records.InfoRequest()
        self.call(Call.GETKERNELINFO, request)
        return read_info(request.info)

    def version_texts(self) -> List[VersionText]:
        """The version texts of the module's file, in the resource's order.

        >>> with kernel.open("exgreeter") as greeter:
        ...     dict(greeter.version_texts())["FileVersion"]
        '1.0.0.0'
        """
        record = records.ModuleVersion()
        self.call(Call.MODULEVERSIONINFO, record)
        if not record.props:
            raise Error(ErrorCode.NOT_FOUND, "the module has no version texts")
        return copy_version_texts(record.props)  # the block stays the kernel's

    def resolve(self) -> "DirectModule":
        """A way to call the module with no kernel in between. Owner: of one more reference.

        >>> with kernel.open("excounter") as counter, counter.resolve() as direct:
        ...     direct.call(qmsd7.Call.GETKERNELINFO, qmsd7.records.InfoRequest())
        1
        """
        record = records.ResolveHandle(self.raw)
        self.kernel.call(Call.RESOLVEHANDLE, record)
        assert record.entry is not None
        return DirectModule(self.kernel, record.handle, record.owner_handle, record.entry)


class DirectModule(Module):
    """An opened module that is called by its own entry and its own handle for the instance."""

    def __init__(self, kernel: "Kernel", handle: int, owner_handle: int, entry: int) -> None:
        super().__init__(kernel, handle)
        self._owner_handle = owner_handle
        self._entry: Entry = entry_at(entry)

    def call(self, function: int, record: Record = None) -> int:
        """Calls the module's entry; returns what it returned, which is not 0."""
        result = self.call_raw(function, record)
        if result == 0:
            raise self.kernel.error()
        return result

    def call_raw(self, function: int, record: Record = None) -> int:
        """The same without a look at the result."""
        self.raw  # keeps the module loaded, so it must not be closed
        return self._entry(self._owner_handle, function, address_of(record))
