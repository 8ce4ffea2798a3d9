"""Every function of the catalog, called from Python with columns of NumPy, pandas, Arrow and stored bytes, beside the
oracles in pandas and NumPy that the tests of all hosts share."""

import itertools
import re

import numpy as np
import pandas as pd
import pyarrow as pa
import pyarrow.compute
import pytest

import qvoseq as qs
from cases import bad_values, cases_of, cut, good, parameters_of, shown, wrong
from oracles import ORACLES
from oracles.groups import COLUMNS, _rows as groups_of
from oracle import SHAPES, Case, differs
from qvoseq import _catalog
from values import TYPES, text_of

REFUSALS = (ValueError, TypeError, OverflowError, MemoryError)
CASES = 4  # of those that the other hosts run, one in so many


def by_kind(*kinds):
    chosen = [f for f in _catalog.FUNCTIONS.values() if f.kind in kinds and ORACLES[f.name].reference is not None]
    return pytest.mark.parametrize("function", chosen, ids=lambda f: f.name)


def text(values):
    """Text of another library has no width of its own: the one it came with is named."""
    return lambda column: qs.Sequence(column, type=f"char({values.dtype.itemsize})")


def lists(values):
    if values.dtype.kind == "S" and values.size:
        return text(values)([v.decode() for v in values.tolist()])
    return values.tolist() if values.size and values.dtype in ("?", "i8", "f8") else qs.Sequence(values)


def as_pandas(values):
    return pd.Series(values) if values.dtype.kind in "biufM" else lists(values)


def as_arrow(values):
    if values.dtype.kind == "S" and values.size:
        return text(values)(pa.array(np.char.decode(values).tolist(), type=pa.string()))
    return pa.array(values) if values.dtype.kind in "biuf" else qs.Sequence(values)


def as_runs(values):
    array = as_arrow(values)
    if not isinstance(array, pa.Array) or values.dtype.kind == "b":
        return array
    return pyarrow.compute.run_end_encode(array, run_end_type=pa.int32())


# Ways in; what each cannot say of a column goes in as a sequence of NumPy's.
WAYS_IN = [lambda v: v, qs.Sequence, lists, as_pandas, as_arrow, as_runs, lambda v: bytes(qs.Sequence(v))]
WAYS_IN += [lambda v: qs.Sequence(np.repeat(v, 2)[::2])]


def back(sequence, way):
    """A sequence as an array, by way of NumPy, pandas or Arrow."""
    array = sequence.to_numpy()
    kind = array.dtype.kind
    if way == 1 and kind in "biufM":
        other = sequence.to_pandas().to_numpy()
    elif way == 2 and kind in "biufM":
        other = pa.array(sequence).to_numpy(zero_copy_only=False)
        other = other.astype(array.dtype) if kind in "f" else other
    elif way == 3:
        other = qs.Sequence(sequence.to_arrow(runs=True)).to_numpy() if array.size else array
    else:
        other = array
    np.testing.assert_array_equal(other, array)
    return array


class Host:
    """Calls as the oracles compare them: arrays in, arrays out, times as text."""

    def __init__(self, rng):
        self.rng = rng

    def argument(self, value):
        if not isinstance(value, np.ndarray):
            return value
        return WAYS_IN[int(self.rng.integers(len(WAYS_IN)))](value)

    def result(self, value):
        if isinstance(value, qs.Sequence):
            return back(value, int(self.rng.integers(4)))
        if isinstance(value, bool):
            return int(value)
        return (
            value.isoformat()
            if hasattr(value, "isoformat")
            else text_of(value)
            if isinstance(value, np.datetime64)
            else value
        )

    def call(self, function, *arguments):
        python = getattr(qs.functions, _catalog.names(function)[0])
        return self.answer(lambda: python(*map(self.argument, arguments)))

    def answer(self, call):
        try:
            result = call()
            return self.result(list(result) if hasattr(result, "__next__") else result)
        except REFUSALS as error:
            return error

    def fold(self, function, rows):
        rows = [tuple(self.argument(value) for value in row) for row in rows]
        return self.answer(lambda: qs.aggregate(function.name, rows))

    def merged(self, function, rows):
        """By way of states, each of some rows, merged two at a time."""

        def call():
            states = [qs.Aggregate(function.name).step(*map(self.argument, row)).state() for row in rows]
            while len(states) > 1:
                states[:2] = [qs.aggregate("merge", states[:2])]
            finished = qs.functions.finish(states[0])
            return finished

        return self.answer(call)


def some(function, oracle):
    return itertools.islice(cases_of(function, oracle, seed=7), 0, None, CASES)


@by_kind("scalar")
def test_scalars_equal_their_oracles(function):
    oracle = ORACLES[function.name]
    for case, arguments in some(function, oracle):
        result = Host(case.rng).call(function, *arguments)
        assert not wrong(function, result, oracle.reference, *arguments), f"{case.shape}: {shown(arguments)}"


@by_kind("aggregate")
def test_aggregates_equal_their_oracles_over_any_cut(function):
    oracle = ORACLES[function.name]
    for case, arguments in some(function, oracle):
        rows, host = cut(case, arguments), Host(case.rng)
        message = f"{case.shape}: {shown(arguments)} in rows of {[shown(row) for row in rows][:4]}"
        assert not wrong(function, host.fold(function, rows), oracle.of_rows(), rows), message
        if function.has_state and not isinstance(host.fold(function, rows), Exception):
            merged = host.merged(function, rows)
            assert not wrong(function, merged, oracle.of_rows(), rows), f"states: {message}"


def test_groups():
    rng = np.random.default_rng(11)
    for i, kind in enumerate(TYPES * 2):
        n = [0, 1, 820, 4097][i % 4]
        keys = Case(rng, n, list(SHAPES)[i % len(SHAPES)]).sequence(kind)
        x = Case(rng, n, "missing").sequence("double")
        rows = list(qs.group_rows(qs.group(keys, x)))
        expected = list(groups_of(keys, x))
        assert len(rows) == len(expected), kind
        for row, wanted in zip(rows, expected):
            for name, result, value in zip(["key", *COLUMNS], row, wanted):
                assert not differs(result, value), f"{name} of {row} over {kind}"


def test_every_function_has_its_names():
    for name, function in _catalog.all_names():
        assert callable(getattr(qs, name))
        assert hasattr(qs.Sequence, name) == _catalog.is_method(function)
    x = qs.Sequence([1.5, 2.5])
    assert x.mean() == x.avg() == 2 and x.rolling_mean(window=1).equals(x)
    assert qs.asof(t=x, u=x, y=x, direction="forward").equals(x)
    with pytest.raises(TypeError):
        x.rolling_mean(windows=1)


@pytest.mark.parametrize(
    "function", [f for f in _catalog.FUNCTIONS.values() if f.kind != "table"], ids=lambda f: f.name
)
def test_bad_arguments_are_refused_in_a_sentence(function):
    host = Host(np.random.default_rng(5))
    if function.name in ("state", "merge", "finish", "pack", "valid", "group"):
        pytest.skip("takes anything, or is refused by what reads it")
    arguments = good(function, ORACLES[function.name], host)
    for i, parameter in enumerate(parameters_of(function)[: len(arguments)]):
        for bad in bad_values(parameter):
            error = host.call(function, *arguments[:i], bad, *arguments[i + 1 :])
            assert isinstance(error, REFUSALS), f"{parameter.name}: {shown([bad])}"
            sentence = rf"seq_{function.name}: argument {i + 1}: {parameter.name} must be .+(, got |: ).+"
            assert re.match(sentence, str(error), re.DOTALL), (bad, error)
            if isinstance(bad, bytes):
                continue
            kind = not isinstance(bad, (int, float)) or parameter.takes not in ("integer", "real")
            if kind and parameter.takes in ("sequence", "integer", "text"):
                assert isinstance(error, TypeError), error
    wrong_number = host.call(function, *(arguments * 10)[: function.most + 1])
    assert isinstance(wrong_number, TypeError) and f"seq_{function.name}: wrong number" in str(wrong_number)
