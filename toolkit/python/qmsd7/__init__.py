"""The QMSD7 kernel for Python: modules, tracked memory, variants, slots and files.

    with qmsd7.Kernel.load("libqmsd7.so") as kernel:
        with kernel.variant(None, "car") as car:
            car.attributes.add("red", "color")
            print(car.at("color").value())

What the kernel hands out has an owner here that gives it back exactly once; failures raise
`qmsd7.Error` with the code and message that the kernel left.
"""
from . import records
from .buffer import Buffer
from .children import Children, Where
from .codes import Call, ErrorCode, FileName, Find, SetError, Type, group_handle
from .date_time import DateTime
from .errors import Error
from .kernel import Block, Kernel
from .module import DirectModule, Module
from .slot import Slot
from .values import ObjectReference, Value
from .variant import Variant, VariantInfo
from .version import InstalledModule, ModuleInfo, Version, VersionText

__version__ = "7.3.1.29"

__all__ = [
    "Block",
    "Buffer",
    "Call",
    "Children",
    "DateTime",
    "DirectModule",
    "Error",
    "ErrorCode",
    "FileName",
    "Find",
    "InstalledModule",
    "Kernel",
    "Module",
    "ModuleInfo",
    "ObjectReference",
    "SetError",
    "Slot",
    "Type",
    "Value",
    "Variant",
    "VariantInfo",
    "Version",
    "VersionText",
    "Where",
    "group_handle",
    "records",
]
