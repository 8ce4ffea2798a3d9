"""Every function of the catalog as a function: `functions.add(x, y)` is `x.add(y)` is `x + y`. Each is made when it is
first asked for."""

from typing import Any

from qvoseq import _catalog
from qvoseq._methods import python_function

_ENTRIES = dict(_catalog.all_names())
__all__ = list(_ENTRIES)


def __getattr__(name: str) -> Any:
    if name not in _ENTRIES:
        raise AttributeError(f"module 'qvoseq.functions' has no attribute {name!r}")
    return globals().setdefault(name, python_function(_ENTRIES[name], name))


def __dir__() -> list[str]:
    return sorted(__all__)
