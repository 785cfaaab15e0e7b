"""The items and attributes of variants."""
import ctypes
from dataclasses import dataclass, replace
from typing import TYPE_CHECKING, Iterator, Optional, Union

from . import records, text
from .codes import Call, ErrorCode, Find, Type
from .errors import Error

if TYPE_CHECKING:
    from .values import Plain
    from .variant import Variant


@dataclass(frozen=True)
class Where:
    """Tells which child is meant: by its index, its name, its id, or as the last one.

    Where an argument is a Where, an int is an index and a str the first child with that name.

    >>> with kernel.container() as list:
    ...     for number in 1, 2, 3:
    ...         list.items.add(number, "n", 7).close()
    ...     list.items.get(qmsd7.Where.named("n", 1)).value()
    ...     list.items.get(qmsd7.Where.with_id(7, 2)).value()
    ...     list.items.get(qmsd7.Where.last()).value()
    2
    3
    3
    """

    flags: int
    index: int = 0
    id: int = 0
    name: Optional[str] = None

    @classmethod
    def at(cls, index: int) -> "Where":
        """The child with this index."""
        return cls(Find.INDEX, index)

    @classmethod
    def last(cls) -> "Where":
        """The last child; when inserting, the end of the list."""
        return cls(Find.LAST)

    @classmethod
    def named(cls, name: Optional[str], nth: int = 0) -> "Where":
        """Among the children with this name, or without one for None, the one at that place."""
        return cls(Find.INDEX | Find.NTH_OF_NAME, nth, name=name)

    @classmethod
    def with_id(cls, id: int, nth: int = 0) -> "Where":
        """Among the children with this id, the one at that place."""
        return cls(Find.INDEX | Find.NTH_OF_ID, nth, id)

    def after(self) -> "Where":
        """For inserting: behind that child instead of before it.

        >>> with kernel.container() as list:
        ...     list.items.add(1, "first").close()
        ...     list.items.add(3, "third").close()
        ...     with kernel.variant(2) as second:
        ...         list.items.insert(second, qmsd7.Where.named("first").after())
        1
        """
        return replace(self, flags=self.flags | Find.INSERT_AFTER)


Place = Union[Where, int, str]


def where(place: Place) -> Where:
    """The place as a Where."""
    if isinstance(place, int):
        return Where.at(place)
    return Where.named(place) if isinstance(place, str) else place


@dataclass(frozen=True)
class Codes:
    """The calls for one kind of children."""

    get: int
    take: int
    delete: int
    insert: int
    count: int


ITEMS = Codes(
    Call.VARIANTGETITEM,
    Call.VARIANTTAKEITEM,
    Call.VARIANTDELETEITEM,
    Call.VARIANTINSERTITEM,
    Call.VARIANTCOUNTITEMS,
)
ATTRIBUTES = Codes(
    Call.VARIANTGETATTRIBUTE,
    Call.VARIANTTAKEATTRIBUTE,
    Call.VARIANTDELETEATTRIBUTE,
    Call.VARIANTINSERTATTRIBUTE,
    Call.VARIANTCOUNTATTRIBUTES,
)


class Children:
    """The items or the attributes of one variant, in their order.

    Owner: of nothing; it keeps the Variant that it came from. Threads: as Variant.

    >>> with kernel.variant(None, "car") as car:
    ...     car.attributes.add("red", "color").close()
    ...     len(car.attributes), "size" in car.attributes, car.attributes["color"].value()
    (1, False, 'red')
    """

    def __init__(self, holder: "Variant", codes: Codes) -> None:
        self._holder = holder
        self._codes = codes

    def __len__(self) -> int:
        """How many there are. Errors: 22 items of what is no container."""
        info = self._holder.info()
        if self._codes is ATTRIBUTES:
            return info.attributes
        if info.type != Type.CONTAINER:
            raise Error(ErrorCode.ARGUMENT, "this variant is no container")
        return info.count

    def count(self, name: Optional[str]) -> int:
        """How many have this name, or none for None; leaves no error behind when there is none."""
        return self._call(self._codes.count, Where(0, name=name)).id

    def __contains__(self, name: object) -> bool:
        """Has any child this name?"""
        return (name is None or isinstance(name, str)) and self.count(name) != 0

    def get(self, place: Place) -> "Variant":
        """The child. Owner: the result. Errors: 2 no such child; 22 a negative index.

        >>> with kernel.container() as list:
        ...     list.items.get(1)
        Traceback (most recent call last):
        qmsd7.errors.Error: No such file or directory  [qmsd]
        """
        return self._child(self._codes.get, place)

    def __getitem__(self, place: Place) -> "Variant":
        """The child as `get` tells it; negative indices count from the end."""
        return self.get(self._from_start(place))

    def take(self, place: Place) -> "Variant":
        """Takes the child out of the list. Owner: the result, of the list's reference.

        >>> with kernel.container() as list:
        ...     for number in 1, 2, 3:
        ...         list.items.add(number).close()
        ...     list.items.take(1).value(), len(list.items)
        (2, 2)
        """
        return self._child(self._codes.take, place)

    def remove(self, place: Place) -> None:
        """Removes the child and gives the list's reference back. Errors: as for `get`."""
        self._call(self._codes.delete, where(place))

    def __delitem__(self, place: Place) -> None:
        """Removes the child; negative indices count from the end."""
        self.remove(self._from_start(place))

    def insert(self, child: "Variant", place: Place = Where.last()) -> int:
        """Inserts a variant before the place, at the end unless told otherwise.

        Returns its index. Owner: the list takes a reference of its own. Errors: 22 items of what
        is no container, or an index behind the end; 12.
        """
        return self._call(self._codes.insert, where(place), child.raw).index

    def add(self, value: "Plain" = None, name: Optional[str] = None, id: int = 0) -> "Variant":
        """Creates a variant and appends it. Owner: the list, and the result of another reference.

        >>> with kernel.container() as list:
        ...     list.items.add(5, "five").name
        'five'
        """
        child = self._holder.kernel.variant(value, name, id)
        try:
            self.insert(child)
        except Error:
            child.close()
            raise
        return child

    def move(self, source: Place, to: Place) -> None:
        """Moves a child to another place of the list, counted without that child.

        Between the two steps other threads see it nowhere. Errors: as for `take` and `insert`; if
        the new place is refused the child is at its old place.

        >>> with kernel.container() as list:
        ...     for number in 1, 2, 3:
        ...         list.items.add(number).close()
        ...     list.items.move(0, qmsd7.Where.last())
        ...     [item.value() for item in list.items]
        [2, 3, 1]
        """
        record = self._call(self._codes.take, where(source))
        assert record.child is not None
        with type(self._holder)(self._holder.kernel, record.child) as child:
            try:
                self.insert(child, to)
            except Error:
                self.insert(child, record.index)
                raise

    def position(self, child: "Variant") -> int:
        """The index of this very variant among the children. Errors: 2 it is none of them.

        >>> with kernel.container() as list:
        ...     first, second = list.items.add(1), list.items.add(2)
        ...     list.items.position(second)
        1
        """
        if self._codes is ITEMS:
            return self._call(Call.VARIANTITEMPOSITION, Where(0), child.raw).index
        record = records.VariantAttributePosition(self._holder.raw, child.raw)
        self._holder.kernel.call(Call.VARIANTATTRIBUTEPOSITION, record)
        return record.index

    def __iter__(self) -> Iterator["Variant"]:
        """Goes through as many children as there were at the start, or as are left of them."""
        for index in range(len(self)):
            try:
                child = self.get(index)
            except Error as problem:
                if problem.code == ErrorCode.NOT_FOUND:
                    return
                raise
            yield child

    def _from_start(self, place: Place) -> Place:
        return place + len(self) if isinstance(place, int) and place < 0 else place

    def _call(
        self, function: int, place: Where, child: Optional[int] = None
    ) -> records.VariantChild:
        name = text.optional_wide(place.name)
        record = records.VariantChild(
            self._holder.raw,
            place.flags,
            place.id,
            max(-1, min(place.index, 0x7FFFFFFF)),
            None if name is None else ctypes.addressof(name),
            child,
        )
        self._holder.kernel.call(function, record)
        return record

    def _child(self, function: int, place: Place) -> "Variant":
        record = self._call(function, where(place))
        assert record.child is not None
        return type(self._holder)(self._holder.kernel, record.child)
