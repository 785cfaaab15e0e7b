"""Variants: the kernel's typed, named, shared values."""
import ctypes
import datetime as dt
from dataclasses import dataclass
from typing import TYPE_CHECKING, List, Optional, Sequence, Union

from . import reading, records, text
from .children import ATTRIBUTES, ITEMS, Children
from .codes import Call, ErrorCode, Type
from .date_time import DateTime
from .errors import Error
from .owner import Owner
from .values import ARRAY, FORMATS, Element, Moment, Number, ObjectReference, Plain, Value
from .values import pack_element

if TYPE_CHECKING:
    from .kernel import Kernel


def _release(kernel: "Kernel", variant: int) -> None:
    kernel.call_raw(Call.VARIANTRELEASE, variant)


@dataclass(frozen=True)
class VariantInfo:
    """What the kernel tells about a variant."""

    id: int
    type: int
    size: int
    count: int
    attributes: int

    @property
    def is_array(self) -> bool:
        """Is it an array?"""
        return ARRAY < self.type <= Type.DATETIME_ARRAY


class Variant(Owner):
    """A reference to a variant: a value that the kernel keeps for everybody.

    It has a name, an id, attributes and, if it is a container, items. Others may hold references
    to the same variant and see what is assigned to it. Owner: of one reference. Threads: a Variant
    object is one thread's at a time, the variant behind it everybody's: each call is done as a
    whole, between two calls others may change it.

    >>> with kernel.variant(None, "car") as car:
    ...     color = car.attributes.add("red", "color")
    ...     speed = car.attributes.add(120, "speed")
    ...     speed.assign(130)
    ...     [(part.name, part.value()) for part in car.attributes]
    [('color', 'red'), ('speed', 130)]
    """

    def __init__(self, kernel: "Kernel", variant: int) -> None:
        super().__init__(kernel, variant, _release)

    @classmethod
    def create(
        cls, kernel: "Kernel", value: Plain = None, name: Optional[str] = None, id: int = 0
    ) -> "Variant":
        """A new variant; see `Kernel.variant`."""
        return cls(kernel, _create(kernel, Call.VARIANTCREATE, None, value, name, id))

    # ---- The variant as a whole ------------------------------------------------------------------

    def info(self) -> VariantInfo:
        """Type, size and counts.

        >>> with kernel.variant("abc", id=7) as word:
        ...     word.info()
        VariantInfo(id=7, type=131, size=4, count=1, attributes=0)
        """
        record = records.VariantInfo(self.raw)
        self.kernel.call(Call.VARIANTINFO, record)
        return VariantInfo(
            record.id, record.type, record.size, record.nitems, record.nattributes
        )

    @property
    def name(self) -> str:
        """The name; "" if there is none."""
        length = 64
        while True:
            buffer = text.room(length)
            record = records.VariantInfoName(self.raw, 0, ctypes.addressof(buffer), length)
            self.kernel.call(Call.VARIANTINFONAME, record)
            if buffer[length - 2] == 0:
                return text.text_in(buffer)
            length *= 2  # it may have been cut

    def share(self) -> "Variant":
        """One more reference to the same variant. Owner: the result.

        >>> with kernel.variant(120) as speed, speed.share() as same:
        ...     speed.assign(130)
        ...     same.value()
        130
        """
        self.kernel.call(Call.VARIANTREF, self.raw)
        return Variant(self.kernel, self.raw)

    def copy(self) -> "Variant":
        """A deep copy with its own items and attributes. Owner: the result. Errors: 12.

        >>> with kernel.variant(120) as speed, speed.copy() as other:
        ...     speed.assign(130)
        ...     other.value()
        120
        """
        record = records.VariantCopy(self.raw, None)
        self.kernel.call(Call.VARIANTCOPY, record)
        assert record.copy is not None
        return Variant(self.kernel, record.copy)

    def at(self, path: str) -> "Variant":
        """The variant that a path leads to: "color", "kids[2]", "L,N='two words'/size".

        An empty path leads here. Owner: the result. Errors: 22 a bad path, 2 nothing there; the
        message tells the position in the path.

        >>> with kernel.container() as list:
        ...     list.items.add(5).attributes.add("red", "color").close()
        ...     list.at("[0]/color").value()
        'red'
        """
        array = text.wide(path)
        record = records.VariantPath(self.raw, ctypes.addressof(array), None)
        self.kernel.call(Call.VARIANTPATHW, record)
        assert record.result is not None
        return Variant(self.kernel, record.result)

    @property
    def items(self) -> Children:
        """The items of a container."""
        return Children(self, ITEMS)

    @property
    def attributes(self) -> Children:
        """The attributes, which every variant may have."""
        return Children(self, ATTRIBUTES)

    # ---- Reading without loss ------------------------------------------------------------------

    def value(self) -> Union[Element, str, bytes, ObjectReference, List[Element], None]:
        """The value as Python's own, whatever its type; an array as a list.

        Errors: 22 a container, which has items and no value.

        >>> [kernel.variant(value).value() for value in (None, 5, 0.5, "text", b"bytes", [1, 2])]
        [None, 5, 0.5, 'text', b'bytes', [1, 2]]
        """
        return reading.value(self)

    def as_int(self, size: int = 0, signed: bool = True) -> int:
        """The value as an integer, of at most `size` bytes if that is given.

        Of a floating number that is whole, and of a text that is a number in decimal notation.
        Errors: 22 a value of another kind, 34 one that is no such integer.

        >>> with kernel.variant("300") as number:
        ...     number.as_int()
        ...     number.as_int(size=1)
        Traceback (most recent call last):
        qmsd7.errors.Error: 300 is no int8
        """
        number = reading.as_int(self)
        if size:
            pack_element(Type.SIGNED if signed else Type.UNSIGNED, size, number)
        return number

    def as_float(self, size: int = 8) -> float:
        """The value as a floating number of 8 bytes or 4. Errors: as for `as_int`.

        >>> with kernel.variant(2**53 + 1) as number:
        ...     number.as_float()
        Traceback (most recent call last):
        qmsd7.errors.Error: 9007199254740993 is no float64
        """
        return reading.as_float(self, size)

    def as_bool(self) -> bool:
        """The value as a truth value. Errors: as for `as_int`, 34 for others than 0 and 1."""
        number = reading.as_int(self)
        if number not in (0, 1):
            raise Error(ErrorCode.RANGE, f"{number} is no bool")
        return bool(number)

    def as_str(self) -> str:
        """The value as text. Numbers and date-times only if the text reads back as the same.

        Errors: 22 a value of another kind, 34 a number that its text is not exact for.

        >>> kernel.variant(0.5).as_str()
        '0.5'
        >>> kernel.variant(1 / 3).as_str()
        Traceback (most recent call last):
        qmsd7.errors.Error: the value would read back differently from '0.333333'
        """
        return reading.as_str(self)

    def as_bytes(self) -> bytes:
        """A binary value. Errors: 22 another kind."""
        return reading.as_bytes(self)

    def as_date_time(self) -> DateTime:
        """The value as a date-time, also of a text that is one as a whole. Errors: 22.

        >>> kernel.variant("2024-02-29").as_date_time().date
        datetime.date(2024, 2, 29)
        """
        return reading.as_date_time(self)

    def as_datetime(self) -> dt.datetime:
        """The value as Python's instant. Errors: 22 no date-time, or not a whole one; 34."""
        return self.as_date_time().to_datetime()

    def as_list(self) -> List[Element]:
        """The elements of an array. Errors: 22 no array."""
        return reading.as_list(self)

    def read_array(self, first: int, count: int) -> List[Element]:
        """Elements of an array, from the `first` on. Errors: 22 elements that it does not have.

        >>> kernel.variant([1, 2, 3]).read_array(1, 2)
        [2, 3]
        """
        return reading.read_array(self, first, count)

    # ---- Reading as the kernel converts --------------------------------------------------------

    def convert_int(self, size: int = 8, signed: bool = True) -> int:
        """As an integer, nothing checked: low bytes, fractions dropped, 0 for what is no number.

        >>> kernel.variant(300).convert_int(size=1)
        44
        """
        number = reading.convert_number(self, Type.SIGNED if signed else Type.UNSIGNED, size)
        assert isinstance(number, int)
        return number

    def convert_float(self, size: int = 8) -> float:
        """As a floating number, nothing checked."""
        number = reading.convert_number(self, Type.FLOATING, size)
        assert isinstance(number, float)
        return number

    def convert_date_time(self) -> DateTime:
        """As a date-time: numbers count milliseconds since 1970 or days since the end of 1899.

        >>> print(kernel.variant(2.5).convert_date_time())
        1900-01-01 12:00:00.000
        """
        date_time = reading.convert_number(self, Type.DATETIME, 8)
        assert isinstance(date_time, DateTime)
        return date_time

    def convert_str(self) -> str:
        """As text, nothing checked.

        >>> kernel.variant(1 / 3).convert_str()
        '0.333333'
        """
        return reading.convert_str(self)

    def convert_bytes(self) -> bytes:
        """The raw bytes of the value."""
        return reading.convert_bytes(self)

    # ---- Writing -----------------------------------------------------------------------------

    def assign(self, value: Plain) -> None:
        """Exchanges the value in place: all who hold the variant see it.

        Id, name and attributes stay; the variant takes the type of the value. Errors: 22 a value
        that the kernel does not know, 34, 12; nothing has changed then.

        >>> with kernel.variant(120, "speed") as speed:
        ...     speed.assign(1.5)
        ...     speed.value(), speed.name
        (1.5, 'speed')
        """
        _create(self.kernel, Call.VARIANTASSIGNVALUE, self.raw, value, None, 0)

    def rename(self, value: Plain, name: Optional[str], id: int = 0) -> None:
        """Exchanges value, name and id in place. Errors: as for `assign`.

        >>> with kernel.variant(120, "speed") as speed:
        ...     speed.rename("fast", "pace", 3)
        ...     speed.value(), speed.name
        ('fast', 'pace')
        """
        _create(self.kernel, Call.VARIANTASSIGN, self.raw, value, name, id)

    def set(self, value: Plain) -> None:
        """Sets a number, date-time or text and keeps the type: a 2-byte integer stays one.

        Errors: 22 a value of another kind, 34 one that would not read back as it was, 12; nothing
        has changed then.

        >>> with kernel.variant(qmsd7.Value.signed(100, size=1)) as speed:
        ...     speed.set(127)
        ...     speed.set(300)
        Traceback (most recent call last):
        qmsd7.errors.Error: 300 is no int8
        """
        self.assign(reading.as_own_type(self, value, exact=True))

    def set_converted(self, value: Plain) -> None:
        """Sets what the kernel makes of the value and keeps the type. Errors: 22, 12.

        >>> with kernel.variant(qmsd7.Value.signed(100, size=1)) as speed:
        ...     speed.set_converted(300)
        ...     speed.value()
        44
        """
        self.assign(reading.as_own_type(self, value, exact=False))

    def write_array(self, first: int, values: Sequence[Union[Number, Moment]]) -> None:
        """Writes elements of an array, from the `first` on, and keeps the array's type.

        Errors: 22 no array of that kind, or elements that it does not have; 34 an element that
        does not fit, and nothing has been written.

        >>> with kernel.variant([0, 0, 0]) as numbers:
        ...     numbers.write_array(1, [5, 6])
        ...     numbers.value()
        [0, 5, 6]
        """
        info = self.info()
        type = info.type - ARRAY
        if (type, info.size) not in FORMATS:
            raise Error(ErrorCode.ARGUMENT, f"a variant of type {info.type} is no array")
        data = b"".join(pack_element(type, info.size, value) for value in values)
        if not data:
            return
        buffer = ctypes.create_string_buffer(data, len(data))
        address = ctypes.addressof(buffer)
        record = records.VariantArray(
            self.raw, info.size, type, first, len(values), address, len(data)
        )
        self.kernel.call(Call.VARIANTWRITEARRAY, record)


def _create(
    kernel: "Kernel", call: Call, target: Optional[int], value: Plain, name: Optional[str], id: int
) -> int:
    told = Value.of(value)
    array = text.optional_wide(name)
    data = None if told.data is None else ctypes.addressof(told.data)
    record = records.VariantCreate(
        target, id, text.address_of(array), told.type, told.size, told.count, data
    )
    kernel.call(call, record)
    assert record.variant is not None
    return record.variant
