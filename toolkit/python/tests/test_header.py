"""What is written twice, in the C header and here, is the same."""
import ctypes
import json
import re
import unittest
from enum import IntEnum
from typing import Dict, Type

import qmsd7
from qmsd7 import codes
from surroundings import PROJECT, VECTORS
from vectors import structure_of

HEADER = (PROJECT / "include" / "qmsd7.h").read_text(encoding="utf-8")
TABLES = json.loads((VECTORS / "records.json").read_text(encoding="utf-8"))
KINDS = {"i32": ctypes.c_int32, "u32": ctypes.c_uint32}


def defined(prefix: str) -> Dict[str, int]:
    """The header's constants that begin so."""
    found = re.findall(rf"\b{prefix}(\w+)(?: = | )(0x[0-9A-Fa-f]+|\d+)u?\b", HEADER)
    return {name: int(value, 0) for name, value in found}


def members(enumeration: Type[IntEnum]) -> Dict[str, int]:
    return {name: int(value) for name, value in enumeration.__members__.items()}


class Header(unittest.TestCase):
    maxDiff = None

    def test_function_codes_are_those_of_the_header(self) -> None:
        self.assertEqual(members(codes.Call), defined("QM_CALL_"))

    def test_other_constants_are_those_of_the_header(self) -> None:
        for prefix, enumeration in (
            ("QM_TYPE_", codes.Type),
            ("QM_ERROR_", codes.ErrorCode),
            ("QM_SET_ERROR_", codes.SetError),
            ("QM_FILE_NAME_", codes.FileName),
        ):
            self.assertEqual(members(enumeration), defined(prefix))  # type: ignore[arg-type]
        flags = dict(defined("QM_FIND_"), INSERT_AFTER=defined("QM_INSERT_")["AFTER"])
        self.assertEqual(members(codes.Find), flags)  # type: ignore[arg-type]
        self.assertEqual(codes.KERNEL_VERSION, defined("QM_KERNEL_")["VERSION"])
        self.assertEqual(codes.MODULE_ID, defined("QM_MODULE_")["ID"])
        self.assertEqual(codes.PROPERTY_READ, defined("QM_PROPERTY_")["READW"])
        self.assertEqual(codes.PROPERTY_LIST, defined("QM_PROPERTY_")["LISTW"])

    def test_the_package_has_the_version_of_the_kernel(self) -> None:
        self.assertEqual(qmsd7.__version__, str(qmsd7.Version(codes.KERNEL_VERSION)))

    def test_the_vectors_know_the_headers_calls_and_constants(self) -> None:
        calls = {name: int(call["code"], 0) for name, call in TABLES["calls"].items()}
        self.assertEqual(calls, {f"QM_CALL_{k}": v for k, v in defined("QM_CALL_").items()})
        for name, value in TABLES["constants"].items():
            self.assertEqual(defined("QM_")[name[len("QM_"):]], value, name)

    def test_records_have_the_headers_fields(self) -> None:
        for name, fields in TABLES["records"].items():
            with self.subTest(record=name):
                body = re.search(rf"typedef struct {name} \{{(.*?)\n\}}", HEADER, re.DOTALL)
                assert body is not None
                found = re.findall(r"^  [\w *]*?(\w+);", body[1], re.MULTILINE)
                self.assertEqual([field for field, _, _ in fields], found)
                declared = structure_of(name)._fields_
                expected = [(field, KINDS.get(kind, ctypes.c_void_p)) for field, kind, _ in fields]
                self.assertEqual(declared, expected)

    def test_every_call_has_a_record_that_is_known(self) -> None:
        for name, call in TABLES["calls"].items():
            self.assertIn(call["record"], {None, "variant", *TABLES["records"]}, name)


if __name__ == "__main__":
    unittest.main()
