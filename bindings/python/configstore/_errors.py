"""What goes wrong, in the classes of the library."""

from __future__ import annotations

from enum import Enum
from typing import List, NamedTuple, Tuple


class StorageFault(Enum):
    """Why the last call to the database failed."""

    NONE = 0  #: it did not
    MISSING = 1  #: there is no such file, or it has no tables
    BUSY = 2  #: another program holds the store
    READ_ONLY = 3  #: the file or its directory cannot be written
    DAMAGED = 4  #: the file is corrupt or no database
    OTHER = 5  #: anything else, a full disk for one


class Violation(NamedTuple):
    """Where in an object, and what is wrong."""

    field: str  #: path of the value, "/network/mtu"; empty for the root
    error: str  #: the rule that it breaks


class ConfigStoreError(Exception):
    """Every failure of the library. What was stored is then as it was."""

    code: int = 2000  #: the library's number of the failure
    storage: StorageFault = StorageFault.NONE
    storage_message: str = ""  #: what the database said
    errors: List[Violation]  #: every violation, in the order found; mostly none

    def __init__(self, message: str = "") -> None:
        super().__init__(message)
        self.errors = []

    @classmethod
    def _of(
        cls, message: bytes, code: int, errors: List[Tuple[bytes, bytes]], storage: int, storage_message: bytes
    ) -> ConfigStoreError:
        error = cls(_text(message))
        error.code = code
        error.storage = StorageFault(storage)
        error.storage_message = _text(storage_message)
        error.errors = [Violation(_text(field), _text(text)) for field, text in errors]
        return error

    def __str__(self) -> str:
        lines = [super().__str__()]
        lines += [f"  {violation.field or '/'}: {violation.error}" for violation in self.errors]
        return "\n".join(lines)


class InvalidArgumentError(ConfigStoreError, ValueError):
    """A bad argument: a name that is none, a value that JSON cannot hold."""


class InvalidTypeError(ConfigStoreError, TypeError):
    """A value of another kind than the one asked for."""


class ValidationError(ConfigStoreError, ValueError):
    """An object or a name that the schema of its type does not allow."""


def _text(data: bytes) -> str:
    return data.decode("utf-8", "replace")
