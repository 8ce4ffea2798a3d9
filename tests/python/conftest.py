"""Where the tests of the package find the oracles that all hosts share, and the tools."""

import pathlib
import sys

ROOT = pathlib.Path(__file__).parents[2]
sys.path[:0] = [str(ROOT / "tests" / "sqlite"), str(ROOT / "tools")]
