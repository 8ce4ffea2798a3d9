"""SQLite with the extension: the one that is a part of this package."""

import pathlib
import sqlite3
from typing import Any


def loadable_path() -> str:
    """The extension's file, for any driver of SQLite that loads extensions."""
    return str(pathlib.Path(__file__).with_name("qvosqlite.so"))


def connect(database: Any = ":memory:", **options: Any) -> sqlite3.Connection:
    """A connection of sqlite3 with the extension loaded; options are those of sqlite3.connect. Sequences are arguments
    of statements as they are; in rows they come as bytes, which Sequence takes."""
    connection = sqlite3.connect(database, **options)
    if not hasattr(connection, "enable_load_extension"):
        connection.close()
        raise sqlite3.NotSupportedError(
            "this Python's sqlite3 was built without loadable extensions; take another Python (Debian's and Homebrew's "
            "have them), or another driver with the file that qvoseq.loadable_path() names"
        )
    connection.enable_load_extension(True)
    try:
        connection.load_extension(loadable_path())
    except BaseException:
        connection.close()
        raise
    connection.enable_load_extension(False)
    return connection
