"""Names of objects."""

from __future__ import annotations

from typing import NamedTuple, Tuple, Union

from . import _native
from ._errors import InvalidArgumentError


class ObjectId(NamedTuple):
    """Names an object or, without an instance, a type; its text is the name that csctl takes."""

    component: str
    group: str
    key: str
    instance: str = ""

    @classmethod
    def parse(cls, text: str) -> ObjectId:
        """Returns the object that a text names. Raises InvalidArgumentError."""
        return from_parts(_native.parse_object_name(_encode(text)))

    def __str__(self) -> str:
        return _decode(_native.object_name(to_parts(self)))


#: How objects are named in calls: the text of a name, or a tuple of its parts.
Name = Union[str, Tuple[str, str, str], Tuple[str, str, str, str]]

Parts = Tuple[bytes, bytes, bytes, bytes]


def parts_of(name: Name) -> Parts:
    """Returns the parts of a name as the library takes them."""
    if isinstance(name, str):
        return _native.parse_object_name(_encode(name))
    if not isinstance(name, tuple) or len(name) not in (3, 4) or not all(isinstance(part, str) for part in name):
        raise InvalidArgumentError(
            f"an object is named by a text or by a tuple of three or four texts, not by {name!r}"
        )
    return to_parts(ObjectId(*name))


def to_parts(name: ObjectId) -> Parts:
    return (_encode(name.component), _encode(name.group), _encode(name.key), _encode(name.instance))


def from_parts(parts: Parts) -> ObjectId:
    return ObjectId(*(_decode(part) for part in parts))


# A name may hold any bytes; those that are no UTF-8 come and go as they are.
def _encode(text: str) -> bytes:
    try:
        return text.encode("utf-8", "surrogateescape")
    except UnicodeEncodeError as error:
        raise InvalidArgumentError(f"the name {text!r} cannot be written in UTF-8") from error


def _decode(data: bytes) -> str:
    return data.decode("utf-8", "surrogateescape")
