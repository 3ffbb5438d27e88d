"""The store, and what is known of its objects."""

from __future__ import annotations

import os
from enum import IntEnum
from types import TracebackType
from typing import Any, Dict, Iterable, List, NamedTuple, Optional, Tuple, Type, Union

from . import _native
from ._ids import Name, ObjectId, from_parts, parts_of
from ._values import from_json, to_json

Value = Dict[str, Any]


class Context(IntEnum):
    """Who writes: decides which layer takes the user part of an object."""

    EXTERNAL = 0  #: an outside client; refused while the host boots
    AUTOCONFIGURATION = 1  #: the host's own automatic configuration


class FieldOrigin(NamedTuple):
    """Why a field has the value that it has; None where there is none."""

    path: str  #: JSON pointer, instances by identifier: "/link/eth0/mtu"
    secret: bool
    effective: Any  #: what a read returns
    layer: str  #: and the layer that it comes from
    shadowed: List[Tuple[str, Any]]  #: layers below that it hides, uppermost first
    unconfirmed: Any  #: a user value that is not read yet
    desired: Any  #: the user value once it is confirmed
    staged: Any
    schema_default: Any
    package_default: Any


class Explanation(NamedTuple):
    """What is known of one object."""

    stored: bool
    confirmed: bool  #: while it is not, the user layer is not in force
    staged: bool
    version: str  #: of the schema that it was written with
    schema_version: str  #: of its type by now
    read_failure: str  #: why a read of it fails; empty when it does not
    damaged: List[Tuple[str, str]]  #: layers that cannot be read, and why
    fields: List[FieldOrigin]


class Transaction:
    """What is done inside a with block takes effect at its end, or not at all."""

    def __init__(self, native: _native.NativeStore) -> None:
        self._native = native

    def __enter__(self) -> Transaction:
        self._native.begin()
        return self

    def __exit__(
        self, kind: Optional[Type[BaseException]], error: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        if kind is not None:
            self._native.cancel()
            return
        try:
            self._native.commit()
        except BaseException:
            self._native.cancel()  # a commit that fails leaves the transaction open
            raise


class Store:
    """The open store of this host.

    Raises ConfigStoreError when there is none (storage is StorageFault.MISSING) or it
    cannot be opened. A store may be shared by threads, which then wait for each other;
    a transaction is of the store and not of a thread.
    """

    def __init__(self) -> None:
        self._native = _native.NativeStore()

    def __enter__(self) -> Store:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Closes the store; an open transaction is rolled back. A second call does nothing."""
        self._native.close()

    def get(self, name: Name) -> Optional[Value]:
        """Returns an object, its layers merged, or None when nothing is stored."""
        data = self._native.get(parts_of(name))
        return None if data is None else from_json(data)

    def instances(self, type_name: Name, match: Optional[Value] = None) -> Dict[ObjectId, Value]:
        """Returns the instances of a type, those with the values of `match` when it is given."""
        rows = self._native.instances(parts_of(type_name), to_json(match or {}))
        return {from_parts(parts): from_json(data) for parts, data in rows}

    def set(self, name: Name, value: Value, *, context: Context = Context.EXTERNAL) -> None:
        """Validates an object and stores it in place of what was there."""
        self._native.set(parts_of(name), to_json(value), context)

    def update(self, name: Name, value: Value, *, context: Context = Context.EXTERNAL) -> None:
        """Merges members into a stored object; creates it when there is none."""
        self._native.update(parts_of(name), to_json(value), context)

    def add(self, type_name: Name, value: Value, *, context: Context = Context.EXTERNAL) -> ObjectId:
        """Stores a new instance and returns its name: the store gives it one where the
        type has it so, else a member of the value does."""
        (parts,) = self._native.add(parts_of(type_name), to_json([value]), context)
        return from_parts(parts)

    def replace(self, type_name: Name, values: Iterable[Value], *, context: Context = Context.EXTERNAL) -> None:
        """Replaces the whole set of instances of a type."""
        self._native.replace(parts_of(type_name), to_json(list(values)), context)

    def delete(self, name: Name) -> None:
        """Deletes an object with all its layers; a missing one is no error."""
        self._native.delete(parts_of(name))

    def delete_instances(self, type_name: Name, match: Optional[Value] = None) -> None:
        """Deletes the instances of a type, those with the values of `match` when it is given."""
        self._native.delete_instances(parts_of(type_name), to_json(match or {}))

    def transaction(self) -> Transaction:
        """Returns a transaction for a with block: an exception rolls it back. They nest."""
        return Transaction(self._native)

    def explain(self, name: Name, *, show_secrets: bool = False) -> Explanation:
        """Returns for each field of an object where its value comes from."""
        known = _native.explain(parts_of(name))
        fields = [_origin(field, show_secrets) for field in known.pop("fields")]
        return Explanation(fields=fields, read_failure=_text(known.pop("read_failure")), **known)


class Change(NamedTuple):
    """One object whose stored row is not what it was."""

    kind: str  #: "created", "changed" or "deleted"
    id: ObjectId


class Watcher:
    """Tells which objects have changed since it was last asked.

    A selection is a list of tuples (component, group, key, instance), in which an empty
    or missing part stands for all, or of names; without one everything is watched.
    """

    _KINDS = ("created", "changed", "deleted")

    def __init__(self, selection: Iterable[Union[str, Tuple[str, ...]]] = ()) -> None:
        self._native = _native.NativeWatcher([_selected(each) for each in selection])

    def poll(self) -> List[Change]:
        """Returns what has changed since the last call; cheap while nothing has."""
        return [Change(self._KINDS[kind], from_parts(parts)) for kind, parts in self._native.poll()]


def pending(name: Name) -> Optional[Value]:
    """Returns the value of an object that waits to be confirmed, or is staged, or None."""
    data = _native.pending(parts_of(name))
    return None if data is None else from_json(data)


def confirm(name: Name) -> None:
    """Puts the pending value of an object in force, of all instances when a type is named."""
    _native.confirm(parts_of(name))


def is_boot() -> bool:
    """Whether the host is in its boot phase."""
    return _native.is_boot()


def set_host_root(root: Union[str, os.PathLike[str]]) -> None:
    """Uses the host found under a directory, an absolute path; call it first of all."""
    _native.set_host_root(os.fsencode(root))


def create_databases() -> None:
    """Creates what is missing of the store and the schema store."""
    _native.create_databases()


def register_schema_files(paths: Iterable[Union[str, os.PathLike[str]]]) -> None:
    """Checks schema files and registers their types, all or none."""
    _native.register_schema_files([os.fsencode(path) for path in paths])


def _selected(each: Union[str, Tuple[str, ...]]) -> Tuple[bytes, bytes, bytes, bytes]:
    if isinstance(each, str):
        return parts_of(each)
    return parts_of((*each, "", "", "", "")[:4])  # type: ignore[arg-type]


def _origin(field: Dict[str, Any], show_secrets: bool) -> FieldOrigin:
    secret = field["secret"]

    def value(data: Optional[bytes]) -> Any:
        if data is None:
            return None
        return _native.SECRET_MASK if secret and not show_secrets else from_json(data)

    return FieldOrigin(
        path=_text(field["path"]),
        secret=secret,
        layer=field["layer"],
        shadowed=[(layer, value(data)) for layer, data in field["shadowed"]],
        **{name: value(field[name]) for name in _VALUES},
    )


_VALUES = ("effective", "unconfirmed", "desired", "staged", "schema_default", "package_default")


def _text(data: bytes) -> str:
    return data.decode("utf-8", "surrogateescape")
