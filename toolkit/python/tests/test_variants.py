"""Variants: what Python values become, how they are read, what is refused."""
import array
import datetime
import math
import sys
import unittest
from typing import Any

import qmsd7
from qmsd7 import Type, Value, Where
from surroundings import KernelCase, speak_english

speak_english()
LETTERS = "w" if sys.version_info >= (3, 13) else "u"  # no numbers


class Values(KernelCase):
    def test_become_the_kernels_types(self) -> None:
        moment = datetime.datetime(2024, 2, 29, 13, 5, 9, 123456)
        for value, type, size, count in (
            (None, Type.EMPTY, 0, 0),
            (True, Type.UNSIGNED, 1, 1),
            (-5, Type.SIGNED, 8, 1),
            (2**63, Type.UNSIGNED, 8, 1),
            (0.5, Type.FLOATING, 8, 1),
            ("abc", Type.WIDE_TEXT, 4, 1),
            ("\U0001F600", Type.WIDE_TEXT, 3, 1),
            (b"abc", Type.BINARY, 3, 1),
            (bytearray(b""), Type.BINARY, 0, 1),
            (memoryview(b"ab"), Type.BINARY, 2, 1),
            (moment, Type.DATETIME, 8, 1),
            (moment.date(), Type.DATETIME, 8, 1),
            (moment.time(), Type.DATETIME, 8, 1),
            ([], Type.SIGNED_ARRAY, 8, 0),
            ([1, -2], Type.SIGNED_ARRAY, 8, 2),
            ((1, 0.5), Type.FLOATING_ARRAY, 8, 2),
            ([moment, moment.date()], Type.DATETIME_ARRAY, 8, 2),
            (array.array("H", [1, 2, 3]), Type.UNSIGNED_ARRAY, 2, 3),
            (array.array("f", [1.5]), Type.FLOATING_ARRAY, 4, 1),
            (Value.container(), Type.CONTAINER, 0, 0),
            (Value.recognised("2024-02-29"), Type.DATETIME, 8, 1),
            (Value.narrow(b"abc"), Type.TEXT, 4, 1),
        ):
            with self.subTest(value=value):
                info = self.kernel.variant(value).info()
                self.assertEqual((info.type, info.size, info.count), (type, size, count))

    def test_read_back_as_they_were(self) -> None:
        values: Any = [None, 0, -(2**63), 2**63 - 1, 2**64 - 1, 0.1, -0.0, math.inf, "", "abc",
                       "\u00e9\U0001F600", "\ud83d", b"", b"a\0b", [1, -2], [0.5, 1e300], [],
                       "x" * 1000, b"y" * 1000, list(range(1000))]
        for value in values:
            with self.subTest(value=value):
                self.assertEqual(self.kernel.variant(value).value(), value)
        not_a_number = self.kernel.variant(math.nan)
        assert math.isnan(not_a_number.as_float())

    def test_that_the_kernel_has_no_number_for_are_refused(self) -> None:
        for value in (2**64, -(2**63) - 1, [2**63]):
            with self.subTest(value=value), self.fails(34):
                self.kernel.variant(value)
        with self.fails(34):
            Value.signed(128, size=1)
        with self.fails(34):
            Value.floating(1e300, size=4)
        with self.fails(34):
            Value.floating(0.1, size=4)
        for make in (lambda: Value.signed(1, size=3), lambda: Value.of(array.array(LETTERS, "a")),
                     lambda: Value.of([1, "a"])):  # type: ignore[list-item]
            with self.fails(22):
                make()

    def test_hold_no_terminator(self) -> None:
        for make in (lambda: self.kernel.variant("a\0b"), lambda: self.kernel.variant(1, "a\0b"),
                     lambda: self.kernel.variant(1).at("a\0b")):
            with self.assertRaises(ValueError):
                make()

    def test_of_an_object_read_as_value_and_module(self) -> None:
        nop = int(qmsd7.Call.NOP)
        reference = qmsd7.ObjectReference(7, "", nop, nop)
        self.assertEqual(self.kernel.variant(reference).value(), qmsd7.ObjectReference(7, ""))


class Reading(KernelCase):
    def test_is_exact(self) -> None:
        variant = self.kernel.variant
        self.assertEqual(variant(300).as_int(2), 300)
        self.assertEqual(variant(1.0).as_int(), 1)
        self.assertEqual(variant("-12").as_int(), -12)
        self.assertEqual(variant("1e3").as_float(), 1000.0)
        self.assertEqual(variant("0.1").as_float(4), 0.10000000149011612)
        self.assertEqual(variant(2**53).as_float(), 2.0**53)
        self.assertEqual([variant(value).as_bool() for value in (0, 1, "1", True)],
                         [False, True, True, True])
        self.assertEqual(variant(12).as_str(), "12")
        self.assertEqual(variant(b"ab").as_bytes(), b"ab")
        self.assertEqual(variant([1, 2]).as_list(), [1, 2])
        noon = datetime.datetime(2024, 2, 29, 12)
        self.assertEqual(variant(noon).as_datetime(), noon)
        self.assertEqual(variant("2024-02-29 12:00").as_datetime(), noon)

    def test_refuses_what_would_be_lost(self) -> None:
        variant = self.kernel.variant
        for read in (
            lambda: variant(300).as_int(1),
            lambda: variant(-1).as_int(8, signed=False),
            lambda: variant(1.5).as_int(),
            lambda: variant(math.inf).as_int(),
            lambda: variant(2**53 + 1).as_float(),
            lambda: variant(0.1).as_float(4),
            lambda: variant("1e400").as_float(),
            lambda: variant(2).as_bool(),
            lambda: variant(0.1234567).as_str(),
            lambda: variant(datetime.time(0, 0, 0, 1)).as_str(),
        ):
            with self.fails(34):
                read()

    def test_refuses_other_kinds(self) -> None:
        variant = self.kernel.variant
        for read in (
            lambda: variant(None).as_int(),
            lambda: variant("").as_int(),
            lambda: variant(" 5").as_int(),
            lambda: variant("0x10").as_int(),
            lambda: variant("five").as_float(),
            lambda: variant("nan").as_float(),
            lambda: variant(5).as_float(3),
            lambda: variant([1]).as_str(),
            lambda: variant("ab").as_bytes(),
            lambda: variant(5).as_date_time(),
            lambda: variant("yesterday").as_date_time(),
            lambda: variant(datetime.date(2024, 2, 29)).as_datetime(),
            lambda: variant(5).as_list(),
            lambda: self.kernel.container().value(),
            lambda: variant([1, 2]).read_array(1, 2),
            lambda: variant([1, 2]).read_array(-1, 1),
            lambda: variant([1, 2]).read_array(3, 0),
        ):
            with self.fails(22):
                read()

    def test_converts_as_the_kernel_does(self) -> None:
        variant = self.kernel.variant
        self.assertEqual(variant(300).convert_int(1), 44)
        self.assertEqual(variant(-1).convert_int(2, signed=False), 65535)
        self.assertEqual(variant("12abc").convert_int(), 12)
        self.assertEqual(variant("1e3z").convert_float(), 1000.0)
        self.assertEqual(variant(1.5).convert_float(4), 1.5)
        self.assertEqual(variant(0x41).convert_bytes(), b"A\0\0\0\0\0\0\0")
        self.assertEqual(str(variant("hello").convert_date_time()), "")
        with self.fails(22):
            variant(5).convert_int(3)


class Writing(KernelCase):
    def test_keeps_the_type(self) -> None:
        number = self.kernel.variant(Value.signed(1, size=2), "n", 5)
        number.set(-300)
        self.assertEqual((number.value(), number.info().size, number.name), (-300, 2, "n"))
        number.set("77")
        number.set(78.0)
        self.assertEqual(number.value(), 78)
        text = self.kernel.variant(Value.narrow(b"abc"))
        text.set(12)
        self.assertEqual((text.value(), text.info().type), ("12", Type.TEXT))
        moment = self.kernel.variant(datetime.time(12))
        moment.set(datetime.date(2024, 2, 29))
        self.assertEqual(str(moment.value()), "2024-02-29")

    def test_refuses_what_would_not_read_back(self) -> None:
        number = self.kernel.variant(Value.signed(1, size=2))
        for value, code in ((40000, 34), (1.5, 34), ("x", 22), (None, 22), (b"ab", 22)):
            with self.subTest(value=value), self.fails(code):
                number.set(value)
        self.assertEqual(number.value(), 1)
        with self.fails(34):
            self.kernel.variant(Value.narrow(b"abc")).set("\u20ac")
        with self.fails(22):
            self.kernel.container().set(1)

    def test_converts_as_the_kernel_does(self) -> None:
        number = self.kernel.variant(Value.signed(1, size=1))
        number.set_converted(300)
        self.assertEqual(number.value(), 44)
        number.set_converted("hello")
        self.assertEqual(number.value(), 0)
        text = self.kernel.variant("")
        text.set_converted(1 / 3)
        self.assertEqual(text.value(), "0.333333")

    def test_of_elements_is_exact(self) -> None:
        numbers = self.kernel.variant(array.array("h", [0, 0, 0]))
        numbers.write_array(1, [5, -6])
        numbers.write_array(0, [])
        self.assertEqual(numbers.value(), [0, 5, -6])
        for first, values, code in ((0, [40000], 34), (2, [1, 2], 22), (-1, [1], 22)):
            with self.fails(code):
                numbers.write_array(first, values)
        with self.fails(22):
            self.kernel.variant(5).write_array(0, [1])
        self.assertEqual(numbers.value(), [0, 5, -6])


class Lists(KernelCase):
    def setUp(self) -> None:
        super().setUp()
        self.list = self.kernel.container().items
        for number, name in enumerate("aba"):
            self.list.add(number, name, number % 2).close()

    def values(self) -> "list[object]":
        return [child.value() for child in self.list]

    def test_are_read_by_place(self) -> None:
        for place, value in ((0, 0), (2, 2), ("a", 0), ("b", 1), (Where.named("a", 1), 2),
                             (Where.with_id(1), 1), (Where.last(), 2)):
            with self.subTest(place=place):
                self.assertEqual(self.list[place].value(), value)
        for place in (3, "c", Where.named("a", 2), Where.named(None)):
            with self.subTest(place=place), self.fails(2):
                self.list.get(place)
        self.assertEqual((self.list[-1].value(), self.list[-3].value()), (2, 0))
        for read in (lambda: self.list.get(-1), lambda: self.list[-4]):
            with self.fails(22, "(ix)"):
                read()

    def test_are_counted(self) -> None:
        self.assertEqual(len(self.list), 3)
        self.assertEqual((self.list.count("a"), self.list.count(None)), (2, 0))
        self.assertTrue("b" in self.list and "c" not in self.list and 5 not in self.list)
        with self.fails(22):
            len(self.kernel.variant(5).items)

    def test_are_changed(self) -> None:
        del self.list[-3]
        self.list.remove("b")
        self.assertEqual(self.values(), [2])
        with self.kernel.variant(7, "new") as child:
            self.assertEqual(self.list.insert(child, 0), 0)
            self.assertEqual(self.list.insert(child, Where.at(0).after()), 1)
            self.assertEqual(self.list.position(child), 0)
            with self.fails(22, "(ix)"):
                self.list.insert(child, 9)
        self.assertEqual(self.list.take(1).value(), 7)
        self.assertEqual(self.values(), [7, 2])

    def test_are_moved(self) -> None:
        self.list.move(2, 0)
        self.assertEqual(self.values(), [2, 0, 1])
        with self.fails(22, "(ix)"):
            self.list.move(0, 9)
        self.assertEqual(self.values(), [2, 0, 1])

    def test_of_attributes_work_alike(self) -> None:
        car = self.kernel.variant("car")
        with car.attributes.add("red", "color") as color:
            self.assertEqual(car.attributes.position(color), 0)
        self.assertEqual(car.at("color").value(), "red")
        with self.fails(2), self.kernel.variant(1) as other:
            car.attributes.position(other)

    def test_end_where_others_removed_children(self) -> None:
        seen = []
        for child in self.list:
            seen.append(child.value())
            if len(seen) == 1:
                self.list.remove(2)
        self.assertEqual(seen, [0, 1])

    def test_release_a_child_that_cannot_be_added(self) -> None:
        with self.fails(22, "(type)"):
            self.kernel.variant(5).items.add(1)


class Trees(KernelCase):
    def test_are_copied_with_all_below(self) -> None:
        root = self.kernel.container("root")
        leaf = root.items.add(1, "leaf")
        copy = root.copy()
        leaf.assign(2)
        self.assertEqual((root.at("leaf").value() if "leaf" in root.attributes else None,
                          copy.at("[0]").value(), root.at("[0]").value()), (None, 1, 2))

    def test_have_names_of_any_length(self) -> None:
        for length in (0, 1, 62, 63, 64, 65, 1000):
            name = "n" * length
            self.assertEqual(self.kernel.variant(1, name).name, name)

    def test_are_renamed(self) -> None:
        variant = self.kernel.variant(1, "old", 3)
        variant.rename(2, None, 4)
        self.assertEqual((variant.name, variant.info().id, variant.value()), ("", 4, 2))


if __name__ == "__main__":
    unittest.main()
