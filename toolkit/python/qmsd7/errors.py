"""What a failed call left behind."""


class Error(Exception):
    """A failure: the error code and its message, as they were right after the failing call.

    The code is one of `ErrorCode`, an errno value or a module's own.

    >>> try:
    ...     kernel.call(0x1000ABCD)
    ... except qmsd7.Error as error:
    ...     print(error.code, error.text)
    22 Invalid argument  [qmsd] (function=1000abcd?,handle=00000000)
    """

    def __init__(self, code: int, text: str) -> None:
        super().__init__(code, text)
        self.code = code
        self.text = text

    def __str__(self) -> str:
        return self.text
