"""What modules and their files tell about themselves: versions, texts, descriptions."""
import ctypes
from typing import TYPE_CHECKING, List, NamedTuple, Optional

from . import records, text
from .buffer import Buffer
from .codes import MODULE_ID, Call, ErrorCode
from .errors import Error

if TYPE_CHECKING:
    from .kernel import Kernel


class Version(int):
    """A version of four parts of a byte each, packed in one number.

    >>> print(qmsd7.Version(0x0703011D))
    7.3.1.29
    >>> qmsd7.Version.of(7, 4) > qmsd7.Version(0x0703011D)
    True
    """

    @classmethod
    def of(cls, first: int, second: int = 0, third: int = 0, fourth: int = 0) -> "Version":
        """The version with these parts."""
        return cls(int.from_bytes(bytes((first, second, third, fourth)), "big"))

    @property
    def parts(self) -> "tuple[int, ...]":
        """The four parts, most significant first.

        >>> qmsd7.Version.of(1, 2, 3, 4).parts
        (1, 2, 3, 4)
        """
        return tuple(self.to_bytes(4, "big"))

    def __str__(self) -> str:
        return ".".join(map(str, self.parts))

    def __repr__(self) -> str:
        return f"Version({self:#010x})"


class VersionText(NamedTuple):
    """A text of a version resource: "FileDescription" and what it says."""

    key: str
    value: str


class InstalledModule(NamedTuple):
    """A module library that the kernel finds: its file and its version."""

    path: str
    version: Version


class ModuleInfo(NamedTuple):
    """What the kernel or a module tells about itself."""

    id: int
    version: Version
    description: str


def read_info(address: Optional[int]) -> ModuleInfo:
    """The information record at the address, copied."""
    if not address:
        raise Error(ErrorCode.NOT_FOUND, "the module tells nothing about itself")
    info = records.ModuleInfo.from_address(address)
    if info.id == MODULE_ID:
        return ModuleInfo(info.id, Version(info.version), text.text_at(info.description_wide))
    return ModuleInfo(info.id, Version(0), "")  # the older kind has other fields


def copy_version_texts(address: int) -> List[VersionText]:
    """The pairs in a block of version texts."""
    props = records.VersionProps.from_address(address)
    first = address + records.VersionProps.pairs.offset
    pairs = (records.VersionPair * props.count).from_address(first)
    return [VersionText(text.text_at(pair.key), text.text_at(pair.value)) for pair in pairs]


def version_texts(kernel: "Kernel", file: str) -> List[VersionText]:
    """The version texts of a file."""
    name = text.wide(file)
    record = records.VersionInfo(ctypes.addressof(name), None)
    kernel.call(Call.VERSIONINFOW, record)
    assert record.props is not None
    with Buffer.adopt(kernel, record.props) as block:
        return copy_version_texts(block.raw)


def list_modules(kernel: "Kernel", pattern: Optional[str]) -> List[InstalledModule]:
    """The module libraries that the kernel finds."""
    array = text.optional_wide(pattern)
    record = records.ListModules(0, text.address_of(array), None, None, 0)
    kernel.call(Call.LISTMODULESW, record)
    found: List[InstalledModule] = []
    with Buffer.adopt(kernel, record.paths, 0), Buffer.adopt(kernel, record.versions, 0):
        if not record.count:
            return found
        paths = (ctypes.c_void_p * record.count).from_address(record.paths or 0)
        versions = (ctypes.c_uint32 * record.count).from_address(record.versions or 0)
        for address, version in zip(paths, versions):
            with Buffer.adopt(kernel, address, 0):
                found.append(InstalledModule(text.text_at(address), Version(version)))
    return found
