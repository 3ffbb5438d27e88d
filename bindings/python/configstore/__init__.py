"""The configuration store of a host, for Python.

    import configstore

    with configstore.Store() as store:
        settings = store.get("netd/ipstack/stack_settings")
        with store.transaction():
            store.update("netd/ipstack/stack_settings", {"mtu": 9000})

Values are plain dicts, lists, strings, numbers and booleans. Objects are named by
text, "COMPONENT/GROUP/KEY" or "COMPONENT/GROUP/KEY@INSTANCE", or by a tuple of these
parts. What a value must be is the business of the schema: what it does not allow is
raised as ValidationError with every violation, and nothing is written.
"""

from ._errors import (
    ConfigStoreError,
    InvalidArgumentError,
    InvalidTypeError,
    StorageFault,
    ValidationError,
    Violation,
)
from ._ids import ObjectId
from ._store import (
    Change,
    Context,
    Explanation,
    FieldOrigin,
    Store,
    Watcher,
    confirm,
    create_databases,
    is_boot,
    pending,
    register_schema_files,
    set_host_root,
)

__all__ = [
    "Change",
    "ConfigStoreError",
    "Context",
    "Explanation",
    "FieldOrigin",
    "InvalidArgumentError",
    "InvalidTypeError",
    "ObjectId",
    "StorageFault",
    "Store",
    "ValidationError",
    "Violation",
    "Watcher",
    "confirm",
    "create_databases",
    "is_boot",
    "pending",
    "register_schema_files",
    "set_host_root",
]
