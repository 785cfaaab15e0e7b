"""Modules, properties, files: what the package does with the kernel's other services."""
import ctypes
import unittest

import qmsd7
from qmsd7 import records
from surroundings import KernelCase, speak_english

speak_english()
ADD = 0x12000000
RESET = 0x12000001
LIMIT_REACHED = 0x8101


class Add(ctypes.Structure):
    """excounter_add"""

    _fields_ = [("step", ctypes.c_int32), ("value", ctypes.c_int32)]


class Modules(KernelCase):
    def test_instances_are_apart(self) -> None:
        with self.kernel.open("excounter") as first, self.kernel.open("excounter") as second:
            self.assertEqual((first.handle, second.handle), (0x10000, 0x10001))
            record = Add(5)
            first.call(ADD, record)
            first.call(ADD, record)
            self.assertEqual(record.value, 10)
            second.call(ADD, record)
            self.assertEqual(record.value, 5)

    def test_references_share_an_instance(self) -> None:
        first = self.kernel.open("excounter")
        first.call(ADD, Add(5))
        with first.share() as same, same.resolve() as direct:
            first.close()
            record = Add(1)
            direct.call(ADD, record)
            self.assertEqual(record.value, 6)
            self.assertEqual(direct.call_raw(ADD, Add(100000)), 0)
        with self.fails(22, "this DirectModule is closed"):
            direct.call(ADD, record)

    def test_failures_are_the_modules_own(self) -> None:
        with self.kernel.open("excounter") as counter:
            with self.fails(LIMIT_REACHED):
                counter.call(ADD, Add(1001))
            with counter.resolve() as direct, self.fails(LIMIT_REACHED):
                direct.call(ADD, Add(1001))
            with self.fails(22):
                counter.call(0x12FF0000)

    def test_that_are_not_there_are_refused(self) -> None:
        with self.fails(qmsd7.ErrorCode.LOAD):
            self.kernel.open("no_such_module")

    def test_are_opened_by_an_alias_and_called_by_group(self) -> None:
        with self.kernel.open("welcome") as greeter:
            self.assertEqual(greeter.info().description, "Example module: greets")
        record = Add(3)
        self.kernel.call(RESET, None, qmsd7.group_handle(0x1200))
        self.kernel.call(ADD, record, qmsd7.group_handle(0x1200))
        self.assertEqual(record.value, 3)

    def test_hand_out_blocks(self) -> None:
        class Greet(ctypes.Structure):
            _fields_ = [("name", ctypes.c_void_p), ("text", ctypes.c_void_p)]

        name = qmsd7.text.wide("Ada")
        with self.kernel.open("exgreeter") as greeter:
            record = Greet(ctypes.addressof(name))
            greeter.call(0x12010000, record)
        with qmsd7.Buffer.adopt(self.kernel, record.text):
            self.assertEqual(qmsd7.text.text_at(record.text), "Hello, Ada!")

    def test_tell_about_themselves(self) -> None:
        with self.kernel.open("excounter") as counter:
            info = counter.info()
            self.assertEqual((info.id, str(info.version)), (0x716D0000, "1.0.0.0"))
            texts = dict(counter.version_texts())
            self.assertEqual(texts["FileDescription"], info.description)
        [listed] = self.kernel.list_modules("excounter")
        self.assertEqual(str(listed.version), "1.0.0.0")
        self.assertEqual(dict(self.kernel.version_texts(listed.path)), texts)


class Properties(KernelCase):
    def test_are_read(self) -> None:
        self.assertEqual(self.kernel.read_property("/formal/greeting"), "Good evening")
        with self.assertRaises(qmsd7.Error):
            self.kernel.read_property("/no/such/value")

    def test_of_any_length_are_read(self) -> None:
        for length in (254, 255, 256, 257, 1000):
            path, value = qmsd7.text.wide("/long/value"), qmsd7.text.wide("v" * length)
            pair = (ctypes.c_void_p * 2)(ctypes.addressof(path), ctypes.addressof(value))
            self.kernel.call(0x11000002, pair, qmsd7.codes.PROPERTY_HANDLE)
            self.assertEqual(self.kernel.read_property("/long/value"), "v" * length)


class Files(KernelCase):
    def test_are_written_and_read(self) -> None:
        for contents in (b"", b"x", bytes(range(256)) * 5000):
            self.kernel.write_file("new/deep/file.bin", contents)
            self.assertEqual(self.kernel.read_file("new/deep/file.bin"), contents)
        self.assertEqual(self.kernel.live_blocks(), [])

    def test_that_are_not_there_are_refused(self) -> None:
        with self.fails(2, "(file)"):
            self.kernel.read_file("missing")
        with self.assertRaises(ValueError):
            self.kernel.read_file("a\0b")


class Slots(KernelCase):
    def test_hold_eight_bytes(self) -> None:
        with self.kernel.create_slot() as slot:
            slot.value = 2**64 - 1
            self.assertEqual(slot.read(), b"\xff" * 8)
            for first, data in ((1, b"12345678"), (-1, b"1"), (9, b"")):
                with self.subTest(first=first), self.fails(34):
                    slot.write(data, first)
            self.assertEqual(slot.address % 8, 0)

    def test_end_with_their_last_use(self) -> None:
        slot = self.kernel.create_slot()
        same = self.kernel.join_slot(slot.id)
        number = slot.id
        slot.close()
        self.kernel.join_slot(number).close()
        same.close()
        with self.fails(2, "(slot)"):
            self.kernel.join_slot(number)


class ErrorState(KernelCase):
    def test_is_set_and_read(self) -> None:
        for message in ("", "100 %s", "\u00e9\U0001F600", "x" * 2000):
            self.kernel.set_error(7, message)
            self.assertEqual((self.kernel.error().code, self.kernel.error().text), (7, message))

    def test_is_kept_while_other_calls_fail(self) -> None:
        self.kernel.set_error(7, "first")
        with self.assertRaises(KeyError), self.kernel.saved_error():
            self.kernel.call_raw(qmsd7.Call.MEMSIZE, records.MemSize())
            raise KeyError
        self.assertEqual(self.kernel.error().text, "first")


if __name__ == "__main__":
    unittest.main()
