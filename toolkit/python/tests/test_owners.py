"""Owners: what is handed out is given back exactly once, whatever happens."""
import gc
import subprocess
import sys
import threading
import unittest

import qmsd7
from qmsd7 import records
from surroundings import KERNEL, KernelCase, speak_english

speak_english()


class Owners(KernelCase):
    def live_blocks(self) -> int:
        return len(self.kernel.live_blocks())

    def test_give_back_at_the_end_of_a_with_block(self) -> None:
        with self.kernel.allocate(5) as block:
            self.assertEqual(self.live_blocks(), 1)
        self.assertTrue(block.closed)
        self.assertEqual(self.live_blocks(), 0)

    def test_give_back_when_an_exception_passes(self) -> None:
        with self.assertRaises(KeyError):
            with self.kernel.allocate(5):
                raise KeyError
        self.assertEqual(self.live_blocks(), 0)

    def test_give_back_when_nobody_refers_to_them(self) -> None:
        self.kernel.allocate(5)
        gc.collect()
        self.assertEqual(self.live_blocks(), 0)

    def test_give_back_once(self) -> None:
        block = self.kernel.allocate(5)
        address = block.address
        block.close()
        other = self.kernel.allocate(5)
        block.close()
        del block
        gc.collect()
        self.assertEqual(len(other), 5)
        self.assertEqual(self.live_blocks(), 1)
        self.assertNotEqual(address, 0)

    def test_give_nothing_back_after_a_release(self) -> None:
        address = self.kernel.allocate(5).release()
        gc.collect()
        self.assertEqual(self.live_blocks(), 1)
        qmsd7.Buffer.adopt(self.kernel, address).close()
        self.assertEqual(self.live_blocks(), 0)

    def test_refuse_to_be_used_when_closed(self) -> None:
        closed = self.kernel.variant(5)
        closed.close()
        uses = (closed.info, closed.value, closed.share, closed.copy, closed.release)
        for use in uses:
            with self.subTest(use=use.__name__), self.fails(22, "this Variant is closed"):
                use()
        block = self.kernel.allocate(5)
        block.close()
        with self.fails(22, "this Buffer is closed"):
            block.resize(7)
        self.assertEqual(len(block), 0)

    def test_leave_the_error_state_when_they_give_back(self) -> None:
        counter = self.kernel.open("excounter")
        self.kernel.set_error(34, "the first failure")
        counter.close()
        self.assertEqual(self.kernel.error().text, "the first failure")
        handle = self.kernel.open("excounter")
        record = records.HandleRef(handle.handle)
        self.kernel.call(qmsd7.Call.CLOSEHANDLE, record)
        self.kernel.set_error(34, "the first failure")
        handle.close()  # refused by the kernel, which is not this caller's failure
        self.assertEqual(self.kernel.error().text, "the first failure")

    def test_are_given_back_before_the_kernel_is_unloaded(self) -> None:
        kernel = qmsd7.Kernel.load(KERNEL)
        owners = [kernel.allocate(5), kernel.variant([1]), kernel.create_slot()]
        owners.append(kernel.open("excounter"))
        kernel.close()
        self.assertTrue(all(owner.closed for owner in owners))
        for owner in owners:
            owner.close()
        with self.fails(22, "this Kernel is closed"):
            kernel.call(qmsd7.Call.NOP)
        kernel.close()

    def test_may_be_used_by_several_threads(self) -> None:
        speed = self.kernel.variant(0, "speed")
        problems = []

        def work(number: int) -> None:
            try:
                for _ in range(200):
                    with speed.share() as same:
                        same.assign(number)
                        same.value()
                    with self.fails(2):
                        speed.at("nowhere")
                    self.kernel.set_error(number, "mine")
                    assert self.kernel.error().code == number
            except BaseException as problem:
                problems.append(problem)

        threads = [threading.Thread(target=work, args=(number,)) for number in range(1, 5)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(problems, [])

    def test_are_shown_with_their_raw_value(self) -> None:
        with self.kernel.open("excounter") as counter:
            self.assertEqual(repr(counter), "<qmsd7.module.Module 0x10000>")
        self.assertEqual(repr(counter), "<qmsd7.module.Module closed>")

    def test_that_are_left_open_do_not_keep_a_program_from_ending(self) -> None:
        program = """
import sys, threading, qmsd7
kernel = qmsd7.Kernel.load(sys.argv[1])
left = [kernel.open("excounter"), kernel.variant([1]), kernel.allocate(5), kernel.create_slot()]
cycle = [kernel.container()]
cycle.append(cycle)
def call():
    while True:
        kernel.call(qmsd7.Call.NOP)
threading.Thread(target=call, daemon=True).start()
print("left", len(left))
"""
        command = [sys.executable, "-c", program, str(KERNEL)]
        ended = subprocess.run(command, capture_output=True, text=True, timeout=60, check=False)
        self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (0, "left 4\n", ""))

    def test_errors_stay_as_they_were_captured(self) -> None:
        with self.assertRaises(qmsd7.Error) as first:
            self.kernel.call(0x1000ABCD)
        with self.fails(2):
            self.kernel.join_slot(99)
        self.assertEqual(first.exception.code, qmsd7.ErrorCode.ARGUMENT)
        self.assertTrue(first.exception.text.endswith("(function=1000abcd?,handle=00000000)"))
        self.assertEqual(str(first.exception), first.exception.text)

    def test_the_library_may_be_loaded_more_than_once(self) -> None:
        with qmsd7.Kernel.load(KERNEL) as other, other.create_slot() as slot:
            with self.kernel.join_slot(slot.id) as same:
                same.value = 7
                self.assertEqual(slot.value, 7)


class Loading(KernelCase):
    def test_a_file_that_is_no_library_is_refused(self) -> None:
        self.kernel.write_file("text.so", b"text")
        for name in ("text.so", "./text.so", "no/such/file"):
            with self.fails(qmsd7.ErrorCode.LOAD):
                qmsd7.Kernel.load(name)

    def test_a_library_without_a_call_entry_is_refused(self) -> None:
        import _ctypes

        with self.fails(qmsd7.ErrorCode.NOT_FOUND, "exports no qm_call"):
            qmsd7.Kernel.load(getattr(_ctypes, "__file__", "libm.so.6"))


class Blocks(KernelCase):
    def test_keep_their_contents_when_they_are_resized(self) -> None:
        with self.kernel.allocate(4) as block:
            block.write(b"abcd")
            block.resize(5000)
            self.assertEqual(block.read(0, 4), b"abcd")
            block.resize(2)
            self.assertEqual(bytes(block), b"ab")

    def test_are_not_read_or_written_beyond_their_end(self) -> None:
        with self.kernel.allocate(4) as block:
            for first, count in ((-1, 2), (0, 5), (5, 0), (4, 1), (0, -1)):
                with self.subTest(first=first, count=count), self.fails(34):
                    block.read(first, count)
            for first, data in ((-1, b"a"), (1, b"abcd"), (5, b"")):
                with self.subTest(first=first, data=data), self.fails(34):
                    block.write(data, first)

    def test_are_known_by_the_line_that_asked_for_them(self) -> None:
        with self.kernel.allocate(4):
            [block] = self.kernel.live_blocks()
        self.assertTrue(block.file.endswith("test_owners.py"), block.file)
        self.assertGreater(block.line, 100)

    def test_have_a_size(self) -> None:
        for size in (0, -1, 2**31):
            with self.subTest(size=size), self.fails(34):
                self.kernel.allocate(size)
        with self.fails(22):
            qmsd7.Buffer.adopt(self.kernel, 4096)
        self.assertEqual(len(qmsd7.Buffer.adopt(self.kernel, None)), 0)


if __name__ == "__main__":
    unittest.main()
