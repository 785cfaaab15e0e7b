"""Wide text, which is UTF-16 on every system, and its addresses."""
import ctypes
import sys
from typing import Optional

CODING = f"utf-16-{sys.byteorder[0]}e"

WideArray = ctypes.Array[ctypes.c_uint16]


def decode(data: bytes) -> str:
    """The text in these bytes; half a surrogate pair stays what it is."""
    return data.decode(CODING, "surrogatepass")


def encode(text: str) -> bytes:
    """The text's bytes and those of its terminator.

    A text that holds the terminator itself would end early and is refused with a ValueError.
    """
    if "\0" in text:
        raise ValueError("embedded null character")
    return (text + "\0").encode(CODING, "surrogatepass")


def wide(text: str) -> WideArray:
    """The text as a terminated array, to be kept while its address is in use."""
    data = encode(text)
    return (ctypes.c_uint16 * (len(data) // 2)).from_buffer_copy(data)


def room(length: int) -> WideArray:
    """An empty array of so many characters."""
    return (ctypes.c_uint16 * length)()


def text_in(array: WideArray) -> str:
    """The text in the array, up to its terminator."""
    data = bytes(array)
    end = next((at for at in range(len(array)) if array[at] == 0), len(array))
    return decode(data[: 2 * end])


def text_at(address: Optional[int]) -> str:
    """The terminated text at the address; "" for none."""
    if not address:
        return ""
    end = address
    while ctypes.c_uint16.from_address(end).value:
        end += 2
    return decode(ctypes.string_at(address, end - address))


def address_of(array: Optional[WideArray]) -> Optional[int]:
    """What goes into a record for the text."""
    return None if array is None else ctypes.addressof(array)


def optional_wide(text: Optional[str]) -> Optional[WideArray]:
    """The text as an array; None stays None."""
    return None if text is None else wide(text)
