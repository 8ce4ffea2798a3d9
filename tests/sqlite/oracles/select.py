"""Selecting and ordering. Orders are those of Python's stable sort, with missing values last."""

import numpy as np
import pandas as pd

from oracle import Fault, Oracle, comparable, same_length
from values import INTEGERS


def order_of(x, descending=False):
    """Positions in the order of the values: stable in both directions, missing ones last."""
    missing = np.isnan(x) if x.dtype.kind == "f" else np.zeros(x.size, bool)
    at = np.flatnonzero(~missing)
    ranks = np.unique(comparable(x[at]), return_inverse=True)[1] if at.size else at
    return np.concatenate([at[np.argsort(-ranks if descending else ranks, kind="stable")], np.flatnonzero(missing)])


def _order(give):
    def reference(x, order="asc"):
        return give(x, order_of(x, order == "desc"))

    return reference


def _rank(x):
    order = order_of(x)
    codes = np.zeros(x.size)
    codes[order] = np.cumsum(_first_of_equals(x[order]))
    codes[np.isnan(x) if x.dtype.kind == "f" else np.zeros(x.size, bool)] = np.nan
    return pd.Series(codes).rank().to_numpy()


def _first_of_equals(x):
    new = np.ones(x.size, bool)
    new[1:] = ~((x[1:] == x[:-1]) | ((x[1:] != x[1:]) & (x[:-1] != x[:-1]))) if x.size else False
    return new


def _unique(x):
    x = x[order_of(x)]
    return x[_first_of_equals(x)]


def _take(x, p):
    wrong = [not -x.size <= int(i) < x.size for i in p]
    if any(wrong):
        raise Fault(f"position {wrong.index(True)}")
    return x[p.astype("i8")]


def _positions_of(rng, case):
    x = case.given["x"]
    kind = INTEGERS[rng.integers(0, 8)]
    info = np.iinfo({"int": "i", "uin": "u"}[kind[:3]] + kind[-1])
    low, high = max(-x.size, info.min), min(x.size, info.max + 1)
    p = rng.integers(low, high, rng.integers(0, 600)) if high > low else np.zeros(0, int)
    if p.size and rng.random() < 0.1:
        p[rng.integers(0, p.size)] = min(x.size, info.max)
    return p.astype(info.dtype)


def _filter(x, c):
    same_length(x, c)
    return x[c]


def _mask(x, c):
    same_length(x, c)
    return np.where(c, x, np.nan).astype("f4" if x.dtype == np.float32 else "f8")


def _n(rng, case):
    return int([0, 1, 3, 200, case.n, case.n + 1, 2**40][rng.integers(0, 7)])


DIRECTION = {"order": lambda rng, case: ["asc", "desc"][rng.integers(0, 2)]}

ORACLES = {
    "filter": Oracle(_filter),
    "positions": Oracle(lambda c: np.flatnonzero(c).astype("i8")),
    "take": Oracle(_take, {"p": _positions_of}, good=[np.arange(5.0), np.array([1])]),
    "mask": Oracle(_mask),
    "sort": Oracle(_order(lambda x, order: x[order]), DIRECTION),
    "argsort": Oracle(_order(lambda x, order: order.astype("i8")), DIRECTION),
    "rank": Oracle(_rank),
    "reverse": Oracle(lambda x: x[::-1]),
    "unique": Oracle(_unique),
    "top": Oracle(lambda x, n: x[order_of(x, True)][:n], {"n": _n}),
    "bottom": Oracle(lambda x, n: x[order_of(x)][:n], {"n": _n}),
}
