"""Sequences as values: see docs/python.md."""

from qvoseq.sequence import Sequence

__all__ = ["Sequence"]
