"""Runs the conformance vectors of tests/vectors: each a sequence of calls with what they must do.

The format is described in the README.md beside the vectors.
"""
import ctypes
import json
import os
import pathlib
import re
import struct
import unittest
from typing import Any, Dict, List, Optional, Tuple

import qmsd7
from qmsd7 import records, text
from surroundings import KERNEL, WINDOWS, Scratch

Json = Any

POISON = 0xC3
FILL = 0x23
GUARD = 16
MARKER = (31415, "left by an earlier call")
NEVER_ISSUED = 0xABC
SYSTEM = "windows" if WINDOWS else "linux"
POINTER_FORMAT = "I" if ctypes.sizeof(ctypes.c_void_p) == 4 else "Q"
NUMBERS = {"i8": "b", "u8": "B", "i16": "h", "u16": "H", "i32": "i", "u32": "I", "i64": "q",
           "u64": "Q", "f32": "f", "f64": "d"}


class Tables:
    """records.json: what calls and records there are."""

    def __init__(self, folder: pathlib.Path) -> None:
        tables = json.loads((folder / "records.json").read_text(encoding="utf-8"))
        self.calls: Dict[str, Json] = tables["calls"]
        self.records: Dict[str, List[Tuple[str, str, str]]] = tables["records"]
        self.constants: Dict[str, int] = tables["constants"]

    def code_of(self, call: str) -> int:
        return int(self.calls[call]["code"] if call in self.calls else call, 0)

    def number(self, written: Json) -> Json:
        """A number as it may be written: 5, "0x10", "QM_FIND_INDEX|QM_FIND_LAST"."""
        if not isinstance(written, str):
            return written
        value = 0
        for part in written.split("|"):
            value |= self.constants[part] if part in self.constants else int(part, 0)
        return value

    @staticmethod
    def message(code: int, detail: Optional[str]) -> str:
        """The message of an error of the kernel's own: the runtime's words, its tag, the detail."""
        return f"{os.strerror(code)}  [qmsd]" + (f" {detail}" if detail is not None else "")


def structure_of(record: str) -> Any:
    """The package's class for a record of the header."""
    words = re.sub("_[wa]$", "", record)[len("qm_"):].split("_")
    return getattr(records, "".join(word.capitalize() for word in words))


class Memory:
    """What the pointers of a record lead to, with guards behind each piece."""

    def __init__(self, tables: Tables) -> None:
        self._tables = tables
        self._pieces: List[Tuple[Any, int]] = []

    def place(self, data: bytes) -> int:
        piece = ctypes.create_string_buffer(data + bytes([FILL]) * GUARD)
        self._pieces.append((piece, len(data)))
        return ctypes.addressof(piece)

    def guards_hold(self) -> bool:
        return all(piece.raw[size:size + GUARD] == bytes([FILL]) * GUARD
                   for piece, size in self._pieces)

    def place_value(self, written: Json) -> Optional[int]:
        if written is None:
            return None
        if "texts" in written:
            return self._place_texts(written["texts"])
        if "object" in written:
            return self._place_object(*written["object"])
        return self.place(bytes_of(self._tables, written))

    def _place_texts(self, pairs: Json) -> int:
        texts = [(code, self.place_value(None if words is None else {"wide": words}))
                 for code, words in pairs]
        array = (records.ErrorText * len(texts))(*texts)
        return self.place(bytes(array))

    def _place_object(self, value: Json, module: Optional[str], *codes: Json) -> int:
        data = records.ObjectData(self._tables.number(value))
        data.module = self.place_value(None if module is None else {"wide": module})
        data.codes[:len(codes)] = [self._tables.number(code) for code in codes]
        return self.place(bytes(data))


def bytes_of(tables: Tables, written: Json) -> bytes:
    """The bytes that typed data stands for."""
    if "wide" in written:
        return text.encode(written["wide"])
    if "narrow" in written:
        return str(written["narrow"]).encode("ascii") + b"\0"
    if "utf16" in written:
        return struct.pack(f"={len(written['utf16'])}H", *map(tables.number, written["utf16"]))
    if "bytes" in written:
        return bytes.fromhex(written["bytes"])
    if "room" in written:
        return bytes([written.get("fill", FILL)]) * int(written["room"])
    [(kind, numbers)] = written.items()
    return struct.pack(f"={len(numbers)}{NUMBERS[kind]}", *map(tables.number, numbers))


class Run:
    """One vector on a kernel of its own."""

    def __init__(self, case: unittest.TestCase, tables: Tables, kernel: qmsd7.Kernel) -> None:
        self._case = case
        self._tables = tables
        self._kernel = kernel
        self._kept: Dict[str, int] = {}

    def run(self, vector: Json) -> None:
        for number, step in enumerate(vector["steps"], 1):
            calls = step["call"] if isinstance(step["call"], list) else [step["call"]]
            for call in calls:
                with self._case.subTest(step=number, call=call):
                    self._step(call, step, vector.get("plants", True))
        self._expect_nothing_left()

    def _step(self, call: str, step: Json, plants: bool) -> None:
        code = self._tables.code_of(call)
        memory = Memory(self._tables)
        layout = self._tables.calls.get(call, {}).get("record")
        record = self._record(layout, step.get("record"), memory)
        before = bytes(record) if isinstance(record, ctypes.Structure) else b""
        if plants:
            self._kernel.set_error(*MARKER)
        handle = self._value(step.get("through", 0))
        result = self._kernel.call_raw(code, record, handle)
        self._expect_result(step, result, plants)
        if isinstance(record, ctypes.Structure):
            self._expect_record(layout, record, type(record).from_buffer_copy(before), step)
            for name, field in step.get("keep", {}).items():
                self._kept[name] = self._found(record, field)
        self._case.assertTrue(memory.guards_hold(), "written behind a buffer")

    # ---- Before the call -----------------------------------------------------------------------

    def _record(self, layout: Optional[str], written: Json, memory: Memory) -> Any:
        if written is None:
            return None
        if isinstance(written, str):
            return self._kept[written[1:]]
        assert layout is not None
        record = structure_of(layout)()
        fields = self._tables.records[layout]
        unknown = set(written) - {field for field, _, _ in fields}
        self._case.assertFalse(unknown, "no such fields")
        for field, kind, direction in fields:
            value = written.get(field, "poison" if direction == "out" else None)
            setattr(record, field, self._field(kind, value, memory))
        return record

    def _field(self, kind: str, written: Json, memory: Memory) -> Optional[int]:
        if written == "poison":
            return self._poison(kind)
        if isinstance(written, str) and written.startswith("$"):
            return self._kept[written[1:]]
        if kind in ("i32", "u32"):
            return int(self._tables.number(written) or 0)
        if isinstance(written, str):
            written = {kind: written}
        return memory.place_value(written)

    @staticmethod
    def _poison(kind: str) -> int:
        form = {"i32": "i", "u32": "I"}.get(kind, POINTER_FORMAT)
        return int(struct.unpack(f"={form}", bytes([POISON]) * struct.calcsize(form))[0])

    def _value(self, written: Json) -> int:
        if isinstance(written, str) and written.startswith("$"):
            return self._kept[written[1:]]
        return int(self._tables.number(written))

    @staticmethod
    def _found(record: Any, field: str) -> int:
        """A field's value, or for "field[0]" what an array of pointers leads to."""
        if not field.endswith("[0]"):
            return getattr(record, field) or 0
        first = ctypes.c_void_p.from_address(getattr(record, field[:-3]))
        return first.value or 0

    # ---- After the call ------------------------------------------------------------------------

    def _expect_result(self, step: Json, result: int, plants: bool) -> None:
        error = step.get("error")
        expected = step.get("result", 0 if error else 1)
        found = self._kernel.error()
        self._case.assertEqual(result, expected, f"the result; error state: {found!r}")
        if error:
            self._case.assertEqual(found.code, error[0])
            if len(error) > 1:
                message = self._tables.message(error[0], self._filled(error[1]))
                self._case.assertEqual(found.text, message)
        elif "leaves" in step:
            self._case.assertEqual([found.code, found.text], step["leaves"])
        elif plants:
            self._case.assertEqual((found.code, found.text), MARKER)

    def _filled(self, detail: Optional[str]) -> Optional[str]:
        """The detail with kept values in place: {block} as a pointer, {handle:08x} by format."""
        def shown(found: "re.Match[str]") -> str:
            value = self._kept[found[1]]
            form = found[2] or f"0{2 * ctypes.sizeof(ctypes.c_void_p)}X"
            return format(value, form)
        return None if detail is None else re.sub(r"\{(\w+)(?::(\w+))?\}", shown, detail)

    def _expect_record(self, layout: str, record: Any, before: Any, step: Json) -> None:
        out = step.get("out", {})
        for field, kind, direction in self._tables.records[layout]:
            found = getattr(record, field)
            if field in out:
                self._expect_field(field, kind, found, out[field])
            elif direction == "in" or "error" in step:
                self._case.assertEqual(found, getattr(before, field), f"{field} was changed")

    def _expect_field(self, field: str, kind: str, found: Optional[int], expected: Json) -> None:
        if expected == "poison":
            self._case.assertEqual(found, self._poison(kind), field)
        elif expected == {"not": None}:
            self._case.assertTrue(found, field)
        elif isinstance(expected, dict):
            assert found is not None
            self._expect_data(field, found, expected)
        elif expected is None:
            self._case.assertIsNone(found, field)
        else:
            self._case.assertEqual(found, self._value(expected), field)

    def _expect_data(self, field: str, address: int, expected: Json) -> None:
        if "wide" in expected:
            self._case.assertEqual(text.text_at(address), expected["wide"], field)
        elif "narrow" in expected:
            self._case.assertEqual(ctypes.string_at(address).decode("ascii"), expected["narrow"])
        else:
            data = bytes_of(self._tables, expected)
            self._case.assertEqual(ctypes.string_at(address, len(data)).hex(" "), data.hex(" "))

    def _expect_nothing_left(self) -> None:
        self._case.assertEqual(self._kernel.live_blocks(), [], "tracked blocks left behind")
        self._kernel.call_raw(qmsd7.Call.NOP, None, NEVER_ISSUED)
        self._case.assertRegex(self._kernel.error().text, r"nhs: 0\)$", "handles left behind")


def is_for_this_system(vector: Json) -> bool:
    return vector.get("only", SYSTEM) == SYSTEM


def run_vector(case: unittest.TestCase, tables: Tables, vector: Json) -> None:
    with Scratch(vector.get("modules", [])):
        for name, contents in vector.get("files", {}).items():
            pathlib.Path(name).write_text(contents, encoding="ascii")
        with qmsd7.Kernel.load(KERNEL) as kernel:
            Run(case, tables, kernel).run(vector)
