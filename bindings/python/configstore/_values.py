"""Between Python's values and JSON texts, without loss."""

from __future__ import annotations

import json
import math
from typing import Any, Dict, List, Tuple

from ._errors import InvalidArgumentError

# The library's bounds: refused here, a value that contains itself comes to an end.
_MOST_LEVELS = 512
_MOST_VALUES = 8 << 20

_LEAST_INTEGER = -(1 << 63)
_MOST_INTEGER = (1 << 64) - 1


def to_json(value: Any) -> bytes:
    """Returns a value as JSON. Raises InvalidArgumentError for what JSON or the store
    cannot hold, with the place of it."""
    _check(value)
    text = json.dumps(value, ensure_ascii=False, allow_nan=False, check_circular=False, separators=(",", ":"))
    try:
        return text.encode("utf-8", "surrogateescape")
    except UnicodeEncodeError as error:
        raise InvalidArgumentError(f"a text cannot be written in UTF-8: {error}") from error


def from_json(data: bytes) -> Any:
    """Returns the value of a JSON text."""
    return json.loads(data.decode("utf-8", "surrogateescape"))


def _check(root: Any) -> None:
    left: List[Tuple[Any, str, int]] = [(root, "", 0)]
    count = 0
    while left:
        value, path, level = left.pop()
        count += 1
        if level > _MOST_LEVELS:
            raise InvalidArgumentError(f"a value is nested deeper than {_MOST_LEVELS} levels, or contains itself")
        if count > _MOST_VALUES:
            raise InvalidArgumentError("a value is larger than the store takes")
        if isinstance(value, dict):
            left.extend(_members(value, path, level))
        elif isinstance(value, (list, tuple)):
            left.extend((element, f"{path}/{index}", level + 1) for index, element in enumerate(value))
        else:
            _check_scalar(value, path)


def _members(value: Dict[Any, Any], path: str, level: int) -> List[Tuple[Any, str, int]]:
    members = []
    for key, member in value.items():
        if not isinstance(key, str):
            raise InvalidArgumentError(f"{path or '/'}: the name of a member must be a text, not {key!r}")
        members.append((member, f"{path}/{key}", level + 1))
    return members


def _check_scalar(value: Any, path: str) -> None:
    where = path or "/"
    if value is None or isinstance(value, (str, bool)):
        return
    if isinstance(value, int):
        if not _LEAST_INTEGER <= value <= _MOST_INTEGER:
            raise InvalidArgumentError(f"{where}: the integer {value} does not fit 64 bits")
    elif isinstance(value, float):
        if not math.isfinite(value):
            raise InvalidArgumentError(f"{where}: {value} is no number that JSON can hold")
    else:
        raise InvalidArgumentError(f"{where}: a {type(value).__name__} is no value that JSON can hold")
