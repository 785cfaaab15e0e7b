"""How variants are read: as the kernel converts them, and checked so that nothing is lost."""
import ctypes
import math
import re
import struct
from typing import TYPE_CHECKING, List, Union

from . import records, text
from .codes import Call, ErrorCode, Type
from .date_time import DateTime
from .errors import Error
from .values import ARRAY, FORMATS, Element, ObjectReference, Plain, Value
from .values import pack_element, unpack_elements

if TYPE_CHECKING:
    from .variant import Variant, VariantInfo

_INTEGER = re.compile(r"-?[0-9]+")
_FLOATING = re.compile(r"-?([0-9]+\.?[0-9]*|\.[0-9]+)([eE][-+]?[0-9]+)?")
_LONGEST_CHARACTER = 4  # UTF-8 is cut between characters
_TEXTS = (Type.TEXT, Type.WIDE_TEXT)


class _ObjectData(ctypes.Structure):
    """What the conversion of an object reference writes."""

    _fields_ = [("value", ctypes.c_uint32), ("module", ctypes.c_void_p)]


# ---- As the kernel converts ----------------------------------------------------------------------


def _convert(variant: "Variant", type: int, target: "ctypes.Array[ctypes.c_char]") -> int:
    size = len(target)
    record = records.VariantConvert(
        variant.raw, 0, type, size, 1, ctypes.addressof(target), size
    )
    variant.kernel.call(Call.VARIANTCONVERT, record)
    return record.size


def convert_number(variant: "Variant", type: int, size: int) -> Element:
    """As a number or date-time of this type and size."""
    if (type, size) not in FORMATS:
        raise Error(ErrorCode.ARGUMENT, f"there are no numbers of type {type} and size {size}")
    target = ctypes.create_string_buffer(size)
    _convert(variant, type, target)
    return unpack_elements(type, size, target.raw)[0]


def _convert_sequence(variant: "Variant", type: int, unit: int) -> bytes:
    """Converts into more and more room until nothing can have been cut; without a terminator."""
    length = 256
    while True:
        target = ctypes.create_string_buffer(length * unit)
        written = _convert(variant, type, target)
        if written + _LONGEST_CHARACTER <= length:
            end = written - 1 if written and type != Type.BINARY else written
            return target.raw[: end * unit]
        length *= 2


def convert_str(variant: "Variant") -> str:
    return text.decode(_convert_sequence(variant, Type.WIDE_TEXT, 2))


def convert_bytes(variant: "Variant") -> bytes:
    return _convert_sequence(variant, Type.BINARY, 1)


# ---- Without loss ------------------------------------------------------------------------------


def _other_kind(info: "VariantInfo", wanted: str) -> Error:
    return Error(ErrorCode.ARGUMENT, f"a variant of type {info.type} is no {wanted}")


def value(
    variant: "Variant",
) -> Union[Element, str, bytes, ObjectReference, List[Element], None]:
    info = variant.info()
    if info.type == Type.EMPTY:
        return None
    if info.type in (Type.SIGNED, Type.UNSIGNED, Type.FLOATING, Type.DATETIME):
        return convert_number(variant, info.type, 8)
    if info.type in _TEXTS:
        return convert_str(variant)
    if info.type == Type.BINARY:
        return convert_bytes(variant)
    if info.type == Type.OBJECT:
        return _object(variant)
    if info.is_array:
        return read_array(variant, 0, info.count)
    raise _other_kind(info, "value")


def _object(variant: "Variant") -> ObjectReference:
    data = _ObjectData()
    target = (ctypes.c_char * ctypes.sizeof(data)).from_buffer(data)
    _convert(variant, Type.OBJECT, target)
    return ObjectReference(data.value, text.text_at(data.module))


def _number(variant: "Variant") -> Union[int, float, str]:
    """A number, or the text that must be one."""
    info = variant.info()
    if info.type in (Type.SIGNED, Type.UNSIGNED, Type.FLOATING):
        number = convert_number(variant, info.type, 8)
        assert isinstance(number, (int, float))
        return number
    if info.type in _TEXTS:
        return convert_str(variant)
    raise _other_kind(info, "number")


def as_int(variant: "Variant") -> int:
    number = _number(variant)
    if isinstance(number, str):
        if not _INTEGER.fullmatch(number):
            raise Error(ErrorCode.ARGUMENT, f"'{number}' is no integer")
        return int(number)
    if isinstance(number, float) and not number.is_integer():
        raise Error(ErrorCode.RANGE, f"{number} is no integer")
    return int(number)


def as_float(variant: "Variant", size: int) -> float:
    form = FORMATS.get((Type.FLOATING, size))
    if form is None:
        raise Error(ErrorCode.ARGUMENT, f"there are no floating numbers of size {size}")
    number = _number(variant)
    if isinstance(number, str):
        return _nearest(number, form, f"'{number}' is no float{8 * size}")
    return float(struct.unpack(f"={form}", pack_element(Type.FLOATING, size, number))[0])


def _nearest(number: str, form: str, problem: str) -> float:
    """The nearest floating number to what the text says, which must not be beyond all of them."""
    if not _FLOATING.fullmatch(number):
        raise Error(ErrorCode.ARGUMENT, problem)
    try:
        nearest = float(struct.unpack(f"={form}", struct.pack(f"={form}", float(number)))[0])
    except OverflowError:
        nearest = math.inf
    if math.isinf(nearest):
        raise Error(ErrorCode.RANGE, problem)
    return nearest


def as_str(variant: "Variant") -> str:
    info = variant.info()
    if info.type in (Type.FLOATING, Type.DATETIME):
        return _as_exact_text(variant, info.type)
    if info.type in (Type.SIGNED, Type.UNSIGNED, *_TEXTS):
        return convert_str(variant)
    raise _other_kind(info, "text")


def _as_exact_text(variant: "Variant", type: int) -> str:
    shown = convert_str(variant)
    number = convert_number(variant, type, 8)
    with variant.kernel.variant(shown) as back:
        again = convert_number(back, type, 8)
    if again != number and again == again:
        raise Error(ErrorCode.RANGE, f"the value would read back differently from '{shown}'")
    return shown


def as_bytes(variant: "Variant") -> bytes:
    info = variant.info()
    if info.type != Type.BINARY:
        raise _other_kind(info, "binary value")
    return convert_bytes(variant)


def as_date_time(variant: "Variant") -> DateTime:
    info = variant.info()
    if info.type in _TEXTS:
        recognised = Value.recognised(convert_str(variant))
        with variant.kernel.variant(recognised) as found:
            if found.info().type == Type.DATETIME:
                return found.convert_date_time()
    if info.type != Type.DATETIME:
        raise _other_kind(info, "date-time")
    return variant.convert_date_time()


def as_list(variant: "Variant") -> List[Element]:
    info = variant.info()
    if not info.is_array:
        raise _other_kind(info, "array")
    return read_array(variant, 0, info.count)


def read_array(variant: "Variant", first: int, count: int) -> List[Element]:
    info = variant.info()
    if not info.is_array:
        raise _other_kind(info, "array")
    if count == 0 and first in range(info.count + 1):
        return []
    type, size = info.type - ARRAY, info.size
    within = first >= 0 and 0 < count <= info.count
    buffer = ctypes.create_string_buffer(max(1, size * count if within else 1))
    address = ctypes.addressof(buffer)
    record = records.VariantArray(variant.raw, size, type, first, count, address, len(buffer))
    variant.kernel.call(Call.VARIANTREADARRAY, record)
    return list(unpack_elements(type, size, buffer.raw))


# ---- For writing -------------------------------------------------------------------------------


def as_own_type(variant: "Variant", value: Plain, exact: bool) -> Value:
    """The value in the type and size that the variant has."""
    info = variant.info()
    with variant.kernel.variant(value) as source:
        if info.type in (Type.SIGNED, Type.UNSIGNED, Type.FLOATING, Type.DATETIME):
            if exact:
                return _exact_number(info, source)
            number = convert_number(source, info.type, info.size)
            return Value._packed(info.type, info.size, 1, _bytes_of(info, number))
        if info.type in _TEXTS:
            shown = as_str(source) if exact else convert_str(source)
            if info.type == Type.WIDE_TEXT:
                return Value.text(shown)
            return _narrow(variant, shown, exact)
    raise _other_kind(info, "number, date-time or text")


def _bytes_of(info: "VariantInfo", number: Element) -> bytes:
    return pack_element(info.type, info.size, number)


def _exact_number(info: "VariantInfo", source: "Variant") -> Value:
    number: Element
    if info.type == Type.DATETIME:
        number = as_date_time(source)
    elif info.type == Type.FLOATING:
        number = as_float(source, info.size)
    else:
        number = as_int(source)
    return Value._packed(info.type, info.size, 1, pack_element(info.type, info.size, number))


def _narrow(variant: "Variant", shown: str, exact: bool) -> Value:
    with variant.kernel.variant(shown) as wide:
        value = Value.narrow(_convert_sequence(wide, Type.TEXT, 1))
    with variant.kernel.variant(value) as back:
        again = convert_str(back)
    if exact and again != shown:
        raise Error(ErrorCode.RANGE, f"the variant would hold '{again}' instead")
    return value
