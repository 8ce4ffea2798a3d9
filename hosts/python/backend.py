"""The build backend: scikit-build-core's, whose source distributions get the sources of the library too. In the checkout
these lie two folders above; in a distribution, in its folder `library`."""

import pathlib
import tarfile
import tempfile

from scikit_build_core import build as _backend
from scikit_build_core.build import (
    build_editable,
    build_wheel,
    get_requires_for_build_editable,
    get_requires_for_build_sdist,
    get_requires_for_build_wheel,
)

__all__ = [
    "build_editable",
    "build_sdist",
    "build_wheel",
    "get_requires_for_build_editable",
    "get_requires_for_build_sdist",
    "get_requires_for_build_wheel",
]

_HERE = pathlib.Path(__file__).parent
_LIBRARY = ["CMakeLists.txt", "LICENSE", "cmake", "include", "target", "value", "hosts/sqlite"]


def build_sdist(folder, settings=None):
    if (_HERE / "library").is_dir():
        return _backend.build_sdist(folder, settings)
    with tempfile.TemporaryDirectory() as scratch:
        name = _backend.build_sdist(scratch, settings)
        with tarfile.open(pathlib.Path(scratch, name)) as plain:
            plain.extractall(scratch)
        root = pathlib.Path(scratch, name.removesuffix(".tar.gz"))
        for path in (root / "pyproject.toml", root / "CMakeLists.txt"):
            path.write_text(path.read_text().replace("../..", "library"))
        with tarfile.open(pathlib.Path(folder, name), "w:gz") as whole:
            whole.add(root, root.name)
            for part in _LIBRARY:
                whole.add(_HERE.parents[1] / part, f"{root.name}/library/{part}")
    return name
