"""Every function of the catalog as a function: `functions.add(x, y)` is `x.add(y)` is `x + y`."""

from qvoseq import _catalog
from qvoseq._methods import python_function

__all__ = []
for _name, _entry in _catalog.all_names():
    globals()[_name] = python_function(_entry, _name)
    __all__.append(_name)
