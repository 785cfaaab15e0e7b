"""What the owners of the kernel's things have in common."""
import weakref
from types import TracebackType
from typing import TYPE_CHECKING, Callable, Optional, Type, TypeVar

from .codes import ErrorCode
from .errors import Error

if TYPE_CHECKING:
    from .kernel import Kernel

Self = TypeVar("Self", bound="Owner")
# Gives a raw value back to the kernel.
GiveBack = Callable[["Kernel", int], None]


def _give_back(kernel: "Kernel", action: GiveBack, raw: int) -> None:
    # This may run in the middle of anything, so it must not disturb the thread's error state.
    with kernel.saved_error():
        action(kernel, raw)


class Owner:
    """Owns one reference, block or use of the kernel's, and gives it back exactly once.

    That happens at the end of a `with` block, by `close()`, or when the last Python reference to
    the owner goes; at the latest when the Kernel is closed. To give it back leaves the thread's
    error state as it is.
    """

    def __init__(self, kernel: "Kernel", raw: int, action: GiveBack) -> None:
        self._kernel = kernel
        self._raw = raw
        self._finalizer = weakref.finalize(self, _give_back, kernel, action, raw)
        kernel._owners.add(self)

    @property
    def kernel(self) -> "Kernel":
        """The kernel that this came from."""
        return self._kernel

    @property
    def closed(self) -> bool:
        """Has it been given back or released?"""
        return not self._finalizer.alive

    @property
    def raw(self) -> int:
        """The kernel's own value, for calls of one's own; it stays this owner's."""
        if self.closed:
            raise Error(ErrorCode.ARGUMENT, f"this {type(self).__name__} is closed")
        return self._raw

    def close(self) -> None:
        """Gives back what is owned; does nothing the second time."""
        self._finalizer()

    def release(self) -> int:
        """Hands the raw value over to the caller, who gives it back from now on."""
        raw = self.raw
        self._finalizer.detach()
        return raw

    def __repr__(self) -> str:
        state = "closed" if self.closed else f"{self._raw:#x}"
        return f"<{type(self).__module__}.{type(self).__qualname__} {state}>"

    def __enter__(self: Self) -> Self:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        self.close()
