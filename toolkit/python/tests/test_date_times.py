"""Date-times: Python's moments and the kernel's, to the microsecond."""
import datetime
import json
import random
import unittest

from qmsd7 import DateTime, Value
from surroundings import VECTORS, KernelCase, speak_english

speak_english()


class DateTimes(KernelCase):
    def test_keep_every_moment(self) -> None:
        chosen = random.Random(7)
        first = datetime.datetime(100, 1, 1)
        span = (datetime.datetime.max - first) // datetime.timedelta(microseconds=1)
        moments = [first, datetime.datetime.max, datetime.datetime(2000, 2, 29)]
        moments += [first + datetime.timedelta(microseconds=chosen.randrange(span))
                    for _ in range(500)]
        for moment in moments:
            packed = DateTime.of(moment)
            self.assertEqual(packed.to_datetime(), moment)
            self.assertEqual((packed.date, packed.time), (moment.date(), moment.time()))
            self.assertEqual(DateTime.of(moment.date()).date, moment.date())
            self.assertEqual(DateTime.of(moment.time()).time, moment.time())

    def test_count_as_the_kernel_counts(self) -> None:
        epoch = datetime.datetime(1970, 1, 1)
        chosen = random.Random(8)
        for _ in range(200):
            milliseconds = chosen.randrange(-(10**13), 10**14)
            moment = epoch + datetime.timedelta(milliseconds=milliseconds)
            with self.kernel.variant(moment) as variant:
                self.assertEqual(variant.convert_int(), milliseconds)
            with self.kernel.variant(milliseconds) as variant:
                self.assertEqual(variant.convert_date_time(), DateTime.of(moment))

    def test_print_as_the_kernel_prints(self) -> None:
        steps = json.loads((VECTORS / "date_times.json").read_text(encoding="utf-8"))["vectors"][0]
        values = [step["record"]["data"]["u64"][0] for step in steps["steps"]
                  if step["call"] == "QM_CALL_VARIANTCREATE"]
        self.assertGreater(len(values), 20)
        for packed in values:
            date_time = DateTime(int(packed, 0))
            self.assertEqual(str(date_time), self.kernel.variant(date_time).convert_str())

    def test_have_parts(self) -> None:
        some_may = self.kernel.variant(Value.recognised("XXXX-05-17")).as_date_time()
        self.assertEqual((some_may.century, some_may.year_of_century), (None, None))
        self.assertEqual((some_may.month, some_may.day, some_may.time), (5, 17, None))
        self.assertTrue(some_may.has_date and not some_may.has_time)
        self.assertIsNone(some_may.date)
        self.assertFalse(DateTime().has_date or DateTime().has_time)
        self.assertEqual(DateTime(), self.kernel.variant("nothing").convert_date_time())

    def test_that_python_or_the_kernel_lacks_are_refused(self) -> None:
        for moment in (datetime.date(99, 12, 31), datetime.datetime(1, 1, 1)):
            with self.fails(34):
                DateTime.of(moment)
        with self.fails(22):
            DateTime.of(datetime.datetime.now(datetime.timezone.utc))
        with self.fails(22):
            DateTime.of(datetime.date(2024, 2, 29)).to_datetime()
        far = self.kernel.variant(Value.recognised("+12024-01-02 00:00")).as_date_time()
        self.assertIsNone(far.date)
        with self.fails(34):
            far.to_datetime()

    def test_beyond_the_month_count_on(self) -> None:
        day = self.kernel.variant(Value.recognised("2023-02-29 00:00")).as_date_time()
        self.assertIsNone(day.date)
        self.assertEqual(day.to_datetime(), datetime.datetime(2023, 3, 1))


if __name__ == "__main__":
    unittest.main()
