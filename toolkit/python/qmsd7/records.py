"""The records of the calls, field by field as in the C header qmsd7.h.

Every pointer, texts included, is an address: what it points to must be kept alive by the caller
until the call has returned. Calls for wide and for narrow text share a record.
"""
from ctypes import Structure, c_int32, c_uint32, c_void_p
from typing import Optional


class GetError(Structure):
    code: int
    text: Optional[int]
    length: int
    _fields_ = [
        ("code", c_int32),
        ("text", c_void_p),
        ("length", c_int32),
    ]


class SetError(Structure):
    flags: int
    code: int
    text: Optional[int]
    arguments: Optional[int]
    _fields_ = [
        ("flags", c_uint32),
        ("code", c_int32),
        ("text", c_void_p),
        ("arguments", c_void_p),
    ]


class ErrorText(Structure):
    code: int
    text: Optional[int]
    _fields_ = [
        ("code", c_int32),
        ("text", c_void_p),
    ]


class AddErrorTexts(Structure):
    count: int
    pairs: Optional[int]
    _fields_ = [
        ("count", c_int32),
        ("pairs", c_void_p),
    ]


class Realloc(Structure):
    pointer: Optional[int]
    size: int
    _fields_ = [
        ("pointer", c_void_p),
        ("size", c_int32),
    ]


class MemSize(Structure):
    pointer: Optional[int]
    size: int
    _fields_ = [
        ("pointer", c_void_p),
        ("size", c_int32),
    ]


class ReallocPos(Structure):
    pointer: Optional[int]
    size: int
    file: Optional[int]
    line: int
    _fields_ = [
        ("pointer", c_void_p),
        ("size", c_int32),
        ("file", c_void_p),
        ("line", c_int32),
    ]


class MemInfo(Structure):
    index: int
    file: Optional[int]
    file_size: int
    dump: Optional[int]
    dump_size: int
    line: int
    capacity: int
    pointer: Optional[int]
    _fields_ = [
        ("index", c_int32),
        ("file", c_void_p),
        ("file_size", c_int32),
        ("dump", c_void_p),
        ("dump_size", c_int32),
        ("line", c_int32),
        ("capacity", c_int32),
        ("pointer", c_void_p),
    ]


class Slot(Structure):
    id: int
    data: Optional[int]
    _fields_ = [
        ("id", c_int32),
        ("data", c_void_p),
    ]


class File(Structure):
    data: Optional[int]
    filename: Optional[int]
    size: int
    kind: int
    _fields_ = [
        ("data", c_void_p),
        ("filename", c_void_p),
        ("size", c_int32),
        ("kind", c_int32),
    ]


class OpenModule(Structure):
    name: Optional[int]
    group: Optional[int]
    handle: int
    _fields_ = [
        ("name", c_void_p),
        ("group", c_void_p),
        ("handle", c_uint32),
    ]


class HandleRef(Structure):
    handle: int
    _fields_ = [
        ("handle", c_uint32),
    ]


class ResolveHandle(Structure):
    handle: int
    owner_handle: int
    library: Optional[int]
    entry: Optional[int]
    _fields_ = [
        ("handle", c_uint32),
        ("owner_handle", c_uint32),
        ("library", c_void_p),
        ("entry", c_void_p),
    ]


class ModuleInfo(Structure):
    id: int
    version: int
    description: Optional[int]
    description_wide: Optional[int]
    call: Optional[int]
    _fields_ = [
        ("id", c_uint32),
        ("version", c_uint32),
        ("description", c_void_p),
        ("description_wide", c_void_p),
        ("call", c_void_p),
    ]


class InfoRequest(Structure):
    info: Optional[int]
    _fields_ = [
        ("info", c_void_p),
    ]


class KernelEntry(Structure):
    entry: Optional[int]
    _fields_ = [
        ("entry", c_void_p),
    ]


class ListModules(Structure):
    reserved: int
    pattern: Optional[int]
    paths: Optional[int]
    versions: Optional[int]
    count: int
    _fields_ = [
        ("reserved", c_uint32),
        ("pattern", c_void_p),
        ("paths", c_void_p),
        ("versions", c_void_p),
        ("count", c_int32),
    ]


class VersionPair(Structure):
    key: Optional[int]
    value: Optional[int]
    _fields_ = [
        ("key", c_void_p),
        ("value", c_void_p),
    ]


class VersionProps(Structure):
    """The head of a block of version texts; `count` records VersionPair stand from `pairs` on."""

    count: int
    pairs: VersionPair
    _fields_ = [
        ("count", c_uint32),
        ("pairs", VersionPair),
    ]


class VersionInfo(Structure):
    file: Optional[int]
    props: Optional[int]
    _fields_ = [
        ("file", c_void_p),
        ("props", c_void_p),
    ]


class ModuleVersion(Structure):
    props: Optional[int]
    _fields_ = [
        ("props", c_void_p),
    ]


class ObjectData(Structure):
    """The data of an object reference; `codes` are at least four."""

    value: int
    module: Optional[int]
    _fields_ = [
        ("value", c_uint32),
        ("module", c_void_p),
        ("codes", c_uint32 * 4),
    ]


class VariantCreate(Structure):
    variant: Optional[int]
    id: int
    name: Optional[int]
    type: int
    size: int
    nitems: int
    data: Optional[int]
    _fields_ = [
        ("variant", c_void_p),
        ("id", c_int32),
        ("name", c_void_p),
        ("type", c_int32),
        ("size", c_int32),
        ("nitems", c_int32),
        ("data", c_void_p),
    ]


class VariantCopy(Structure):
    source: Optional[int]
    copy: Optional[int]
    _fields_ = [
        ("source", c_void_p),
        ("copy", c_void_p),
    ]


class VariantInfo(Structure):
    variant: Optional[int]
    id: int
    type: int
    size: int
    nitems: int
    nattributes: int
    _fields_ = [
        ("variant", c_void_p),
        ("id", c_int32),
        ("type", c_int32),
        ("size", c_int32),
        ("nitems", c_int32),
        ("nattributes", c_int32),
    ]


class VariantInfoName(Structure):
    variant: Optional[int]
    id: int
    name: Optional[int]
    length: int
    type: int
    size: int
    nitems: int
    nattributes: int
    _fields_ = [
        ("variant", c_void_p),
        ("id", c_int32),
        ("name", c_void_p),
        ("length", c_int32),
        ("type", c_int32),
        ("size", c_int32),
        ("nitems", c_int32),
        ("nattributes", c_int32),
    ]


class VariantChild(Structure):
    holder: Optional[int]
    flags: int
    id: int
    index: int
    name: Optional[int]
    child: Optional[int]
    _fields_ = [
        ("holder", c_void_p),
        ("flags", c_uint32),
        ("id", c_int32),
        ("index", c_int32),
        ("name", c_void_p),
        ("child", c_void_p),
    ]


class VariantAttributePosition(Structure):
    holder: Optional[int]
    attribute: Optional[int]
    id: int
    index: int
    _fields_ = [
        ("holder", c_void_p),
        ("attribute", c_void_p),
        ("id", c_int32),
        ("index", c_int32),
    ]


class VariantConvert(Structure):
    source: Optional[int]
    id: int
    type: int
    size: int
    count: int
    target: Optional[int]
    capacity: int
    _fields_ = [
        ("source", c_void_p),
        ("id", c_int32),
        ("type", c_int32),
        ("size", c_int32),
        ("count", c_int32),
        ("target", c_void_p),
        ("capacity", c_int32),
    ]


class VariantArray(Structure):
    variant: Optional[int]
    width: int
    type: int
    first: int
    count: int
    buffer: Optional[int]
    capacity: int
    _fields_ = [
        ("variant", c_void_p),
        ("width", c_int32),
        ("type", c_int32),
        ("first", c_int32),
        ("count", c_int32),
        ("buffer", c_void_p),
        ("capacity", c_int32),
    ]


class VariantPath(Structure):
    root: Optional[int]
    path: Optional[int]
    result: Optional[int]
    _fields_ = [
        ("root", c_void_p),
        ("path", c_void_p),
        ("result", c_void_p),
    ]


class VariantPathValue(Structure):
    root: Optional[int]
    path: Optional[int]
    id: int
    type: int
    size: int
    count: int
    target: Optional[int]
    capacity: int
    _fields_ = [
        ("root", c_void_p),
        ("path", c_void_p),
        ("id", c_int32),
        ("type", c_int32),
        ("size", c_int32),
        ("count", c_int32),
        ("target", c_void_p),
        ("capacity", c_int32),
    ]


class PropertyText(Structure):
    path: Optional[int]
    text: Optional[int]
    length: int
    _fields_ = [
        ("path", c_void_p),
        ("text", c_void_p),
        ("length", c_int32),
    ]
