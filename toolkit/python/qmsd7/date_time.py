"""The kernel's date-time, and the way between it and the module `datetime`."""
import datetime as dt
from dataclasses import dataclass
from typing import Optional, Union

from .codes import ErrorCode
from .errors import Error

_NO_YEAR = 127  # of a century
_NO_TIME = (1 << 37) - 1  # microseconds since midnight
_NOTHING = 0xFFFFFFFFF803F800
_NO_DATE = _NOTHING & 0x7FFFFFF


@dataclass(frozen=True)
class DateTime:
    """A calendar date, a time of day in microseconds, or both; each part may be absent.

    So "some 17th of May" is one. The calendar is the Gregorian one, also before its time, and
    there are no time zones. Years 0 to 99 do not exist.

    >>> lunch = qmsd7.DateTime.of(datetime.datetime(2024, 2, 29, 13, 5))
    >>> print(lunch, lunch.date, lunch.time)
    2024-02-29 13:05:00.000 2024-02-29 13:05:00
    >>> lunch.to_datetime()
    datetime.datetime(2024, 2, 29, 13, 5)
    """

    packed: int = _NOTHING

    @classmethod
    def of(cls, moment: Union[dt.datetime, dt.date, dt.time]) -> "DateTime":
        """An instant, a date alone or a time of day alone.

        Errors: 34 a year that does not exist here, 22 a moment with a time zone: what it would
        be worth in another one is for the caller to decide.

        >>> qmsd7.DateTime.of(datetime.date(44, 3, 15))
        Traceback (most recent call last):
        qmsd7.errors.Error: date-times have no year 44
        """
        if isinstance(moment, (dt.datetime, dt.time)) and moment.tzinfo is not None:
            raise Error(ErrorCode.ARGUMENT, "date-times have no time zone")
        if isinstance(moment, dt.datetime):
            return cls(_packed_date(moment.date()) | _packed_time(moment.time()) << 27)
        if isinstance(moment, dt.date):
            return cls(_packed_date(moment) | _NO_TIME << 27)
        return cls(_NO_DATE | _packed_time(moment) << 27)

    @property
    def century(self) -> Optional[int]:
        """The century, if it is present: year 1234 is century 12 and its year 34."""
        field = ((self.packed & 0x7FF) ^ 0x400) - 0x400
        return field or None

    @property
    def year_of_century(self) -> Optional[int]:
        """The year of the century, if it is present."""
        return self._part(11, 7, _NO_YEAR)

    @property
    def month(self) -> Optional[int]:
        """The month, if it is present."""
        return self._part(18, 4, 0)

    @property
    def day(self) -> Optional[int]:
        """The day of the month, if it is present."""
        return self._part(22, 5, 0)

    @property
    def microseconds(self) -> Optional[int]:
        """The time of day, if it is present; up to 137438953470, which is more than a day."""
        return self._part(27, 37, _NO_TIME)

    @property
    def has_date(self) -> bool:
        """Is any part of a date present?"""
        return self.packed & 0x7FFFFFF != _NO_DATE

    @property
    def has_time(self) -> bool:
        """Is a time of day present?"""
        return self.microseconds is not None

    @property
    def date(self) -> Optional[dt.date]:
        """The whole date, if no part of it is absent and Python's calendar has the day."""
        if None in (self.century, self.year_of_century, self.month, self.day):
            return None
        year = (self.century or 0) * 100 + (self.year_of_century or 0)
        try:
            return dt.date(year, self.month or 0, self.day or 0)
        except ValueError:
            return None

    @property
    def time(self) -> Optional[dt.time]:
        """The time of day, if it is present and below 24 hours."""
        if self.microseconds is None or self.microseconds >= 86400 * 10**6:
            return None
        return (dt.datetime.min + dt.timedelta(microseconds=self.microseconds)).time()

    def to_datetime(self) -> dt.datetime:
        """The instant; a day that the month does not have counts on into the next one.

        Errors: 22 without time or with an incomplete date, 34 beyond Python's years 1 to 9999.

        >>> qmsd7.DateTime.of(datetime.date(2024, 1, 1)).to_datetime()
        Traceback (most recent call last):
        qmsd7.errors.Error: the date-time '2024-01-01' is no instant
        """
        parts = (self.century, self.year_of_century, self.month, self.day, self.microseconds)
        century, year_of_century, month, day, microseconds = (part or 0 for part in parts)
        if None in parts or month > 12:
            raise Error(ErrorCode.ARGUMENT, f"the date-time '{self}' is no instant")
        try:
            first = dt.datetime(century * 100 + year_of_century, month, 1)
            return first + dt.timedelta(days=day - 1, microseconds=microseconds)
        except (ValueError, OverflowError):
            raise Error(ErrorCode.RANGE, f"Python has no year of '{self}'") from None

    def __str__(self) -> str:
        """The kernel's own form, with milliseconds and XX for absent parts."""
        parts = [self._date_text()] if self.has_date else []
        if self.microseconds is not None:
            seconds, rest = divmod(self.microseconds, 10**6)
            hours, minutes = divmod(seconds // 60, 60)
            parts.append(f"{hours:02}:{minutes:02}:{seconds % 60:02}.{rest // 1000:03}")
        return " ".join(parts)

    def __repr__(self) -> str:
        return f"DateTime({self.packed:#018x})"

    def _part(self, first: int, width: int, absent: int) -> Optional[int]:
        field = self.packed >> first & ((1 << width) - 1)
        return field if field != absent else None

    def _date_text(self) -> str:
        century, year, month, day = (
            "XX" if part is None else f"{part:02}"
            for part in (self.century, self.year_of_century, self.month, self.day)
        )
        return f"{century}{year}-{month}-{day}"


def _packed_date(date: dt.date) -> int:
    if date.year < 100:
        raise Error(ErrorCode.RANGE, f"date-times have no year {date.year}")
    century, year = divmod(date.year, 100)
    return century | year << 11 | date.month << 18 | date.day << 22


def _packed_time(time: dt.time) -> int:
    return ((time.hour * 60 + time.minute) * 60 + time.second) * 10**6 + time.microsecond
