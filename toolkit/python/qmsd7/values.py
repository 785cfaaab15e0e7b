"""What a variant is to hold: Python values as the kernel's types."""
import array
import ctypes
import datetime as dt
import struct
from dataclasses import dataclass
from typing import Any, Dict, Optional, Sequence, Tuple, Union

from . import records, text
from .codes import ErrorCode, Type
from .date_time import DateTime
from .errors import Error

LARGEST = 0x7FFFFFFF
ARRAY = Type.EMPTY_ARRAY  # an array's type less that of its elements

# The formats of the module `struct` for numbers of a type and size in bytes.
FORMATS: Dict[Tuple[int, int], str] = {
    (Type.SIGNED, 1): "b",
    (Type.SIGNED, 2): "h",
    (Type.SIGNED, 4): "i",
    (Type.SIGNED, 8): "q",
    (Type.UNSIGNED, 1): "B",
    (Type.UNSIGNED, 2): "H",
    (Type.UNSIGNED, 4): "I",
    (Type.UNSIGNED, 8): "Q",
    (Type.FLOATING, 4): "f",
    (Type.FLOATING, 8): "d",
    (Type.DATETIME, 8): "Q",
}


@dataclass(frozen=True)
class ObjectReference:
    """An object that lives in a module, and the module's codes that take and return a reference.

    The kernel calls the codes when a variant with the object is made, copied and destroyed. An
    empty module name is the kernel. The codes cannot be read back.
    """

    value: int
    module: str
    take: int = 0
    give_back: int = 0


Number = Union[int, float]
Element = Union[int, float, DateTime]
Moment = Union[DateTime, dt.datetime, dt.date, dt.time]
Plain = Union[
    None,
    Number,
    str,
    bytes,
    bytearray,
    memoryview,
    Moment,
    ObjectReference,
    "array.array[Any]",
    Sequence[Union[Number, Moment]],
    "Value",
]


@dataclass(frozen=True)
class Value:
    """What the kernel is told: type, size of an element or of the text, number of elements, data.

    Most arguments need not be given as one: None is the empty value, True and False become 1 and
    0, integers signed numbers of 8 bytes (unsigned ones above 2**63 - 1), floats floating numbers
    of 8 bytes, str wide text, bytes binary values; DateTime and the moments of `datetime` become
    date-times, `array.array` and sequences of one kind arrays.

    >>> with kernel.variant(qmsd7.Value.signed(5, size=2)) as small:
    ...     small.info().size
    2
    """

    type: int
    size: int = 0
    count: int = 0
    data: Optional["ctypes.Array[Any]"] = None
    kept: object = None  # what the data points to

    @classmethod
    def of(cls, value: Plain) -> "Value":
        """The value as described above. Errors: 34 one that the kernel has no number for.

        >>> qmsd7.Value.of(2**64)
        Traceback (most recent call last):
        qmsd7.errors.Error: 18446744073709551616 is no uint64
        """
        if isinstance(value, Value):
            return value
        if value is None:
            return cls(Type.EMPTY)
        if isinstance(value, bool):
            return cls.unsigned(int(value), 1)
        if isinstance(value, int):
            return cls.unsigned(value) if value >= 2**63 else cls.signed(value)
        if isinstance(value, float):
            return cls.floating(value)
        if isinstance(value, str):
            return cls.text(value)
        if isinstance(value, (bytes, bytearray, memoryview)):
            return cls.binary(bytes(value))
        if isinstance(value, (DateTime, dt.date, dt.time)):
            return cls._packed(Type.DATETIME, 8, 1, pack_element(Type.DATETIME, 8, value))
        if isinstance(value, ObjectReference):
            return cls._object(value)
        if isinstance(value, array.array):
            return cls._array(value)
        return cls._elements(value)

    @classmethod
    def signed(cls, value: int, size: int = 8) -> "Value":
        """A signed number of 1, 2, 4 or 8 bytes. Errors: 34 it does not fit."""
        return cls._packed(Type.SIGNED, size, 1, pack_element(Type.SIGNED, size, value))

    @classmethod
    def unsigned(cls, value: int, size: int = 8) -> "Value":
        """An unsigned number of 1, 2, 4 or 8 bytes. Errors: 34 it does not fit."""
        return cls._packed(Type.UNSIGNED, size, 1, pack_element(Type.UNSIGNED, size, value))

    @classmethod
    def floating(cls, value: float, size: int = 8) -> "Value":
        """A floating number of 4 or 8 bytes. Errors: 34 it is no such number."""
        return cls._packed(Type.FLOATING, size, 1, pack_element(Type.FLOATING, size, value))

    @classmethod
    def container(cls) -> "Value":
        """A container, to be filled with items."""
        return cls(Type.CONTAINER)

    @classmethod
    def text(cls, value: str) -> "Value":
        """Wide text."""
        return cls._wide(Type.WIDE_TEXT, value)

    @classmethod
    def narrow(cls, value: bytes) -> "Value":
        """Narrow text, as bytes in the runtime's current locale.

        >>> with kernel.variant(qmsd7.Value.narrow(b"abc")) as text:
        ...     text.info().type == qmsd7.Type.TEXT, text.as_str()
        (True, 'abc')
        """
        return cls._packed(Type.TEXT, len(value) + 1, 1, value + b"\0")

    @classmethod
    def recognised(cls, value: str) -> "Value":
        """Text that may turn out to be a number or a date-time.

        >>> with kernel.variant(qmsd7.Value.recognised("42")) as number:
        ...     number.value()
        42
        """
        return cls._wide(Type.WIDE_TEXT_AUTO, value)

    @classmethod
    def binary(cls, value: bytes) -> "Value":
        """Bytes as they are."""
        return cls._packed(Type.BINARY, len(value), 1, value)

    @classmethod
    def array_of(cls, type: int, size: int, values: Sequence[Union[Number, Moment]]) -> "Value":
        """An array of numbers or date-times of this type and size. Errors: 34 one does not fit.

        >>> with kernel.variant(qmsd7.Value.array_of(qmsd7.Type.SIGNED, 2, [1, -2])) as numbers:
        ...     numbers.info().size, numbers.value()
        (2, [1, -2])
        """
        data = b"".join(pack_element(type, size, value) for value in values)
        return cls._packed(type + ARRAY, size, len(values), data)

    @classmethod
    def _packed(cls, type: int, size: int, count: int, data: bytes) -> "Value":
        if len(data) > LARGEST:
            raise Error(ErrorCode.RANGE, "a value has at most 2 GB")
        # Even no bytes have an address; the terminator behind them is not told of.
        return cls(type, size, count, ctypes.create_string_buffer(data) if count else None)

    @classmethod
    def _wide(cls, type: int, value: str) -> "Value":
        data = text.encode(value)
        return cls._packed(type, len(data) // 2, 1, data)

    @classmethod
    def _object(cls, value: ObjectReference) -> "Value":
        name = text.wide(value.module)
        data = (records.ObjectData * 1)()
        data[0].value = value.value
        data[0].module = ctypes.addressof(name)
        data[0].codes[:2] = (value.take, value.give_back)
        return cls(Type.OBJECT, 4, 1, data, name)

    @classmethod
    def _array(cls, value: "array.array[Any]") -> "Value":
        kinds = {"f": Type.FLOATING, "d": Type.FLOATING}
        for code in "bhilq":
            kinds[code], kinds[code.upper()] = Type.SIGNED, Type.UNSIGNED
        if value.typecode not in kinds:
            raise Error(ErrorCode.ARGUMENT, f"an array of '{value.typecode}' has no numbers")
        type = kinds[value.typecode] + ARRAY
        return cls._packed(type, value.itemsize, len(value), value.tobytes())

    @classmethod
    def _elements(cls, values: Sequence[Union[Number, Moment]]) -> "Value":
        if all(isinstance(value, int) for value in values):
            return cls.array_of(Type.SIGNED, 8, values)
        if all(isinstance(value, (int, float)) for value in values):
            return cls.array_of(Type.FLOATING, 8, values)
        if all(isinstance(value, (DateTime, dt.date, dt.time)) for value in values):
            return cls.array_of(Type.DATETIME, 8, values)
        raise Error(ErrorCode.ARGUMENT, "an array has elements of one kind")


def name_of(type: int, size: int) -> str:
    """What messages call a type of numbers: "int8", "float64"."""
    kinds = {Type.SIGNED: "int", Type.UNSIGNED: "uint", Type.FLOATING: "float"}
    return f"{kinds[Type(type)]}{8 * size}" if type in kinds else "date-time"


def pack_element(type: int, size: int, value: Union[Number, Moment]) -> bytes:
    """The element's bytes, if it is exactly of this type and size.

    Errors: 22 no such type and size or another kind of value, 34 a value that does not fit.
    """
    form = FORMATS.get((type, size))
    if form is None:
        raise Error(ErrorCode.ARGUMENT, f"there are no elements of type {type} and size {size}")
    if type == Type.DATETIME:
        if isinstance(value, (dt.date, dt.time)):
            value = DateTime.of(value)
        if not isinstance(value, DateTime):
            raise Error(ErrorCode.ARGUMENT, f"{value!r} is no date-time")
        return struct.pack(f"={form}", value.packed)
    if not isinstance(value, (int, float)):
        raise Error(ErrorCode.ARGUMENT, f"{value!r} is no number")
    problem = Error(ErrorCode.RANGE, f"{value} is no {name_of(type, size)}")
    try:
        number: Number = float(value) if type == Type.FLOATING else int(value)
        data = struct.pack(f"={form}", number)
    except (struct.error, OverflowError, ValueError):
        raise problem from None
    if value == value and struct.unpack(f"={form}", data)[0] != value:
        raise problem
    return data


def unpack_elements(type: int, size: int, data: bytes) -> Sequence[Element]:
    """The numbers or date-times in the bytes."""
    numbers = struct.unpack(f"={len(data) // size}{FORMATS[type, size]}", data)
    return [DateTime(number) for number in numbers] if type == Type.DATETIME else list(numbers)
