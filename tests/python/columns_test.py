"""Columns of other libraries in and out: what hypothesis thinks of, the libraries themselves as producers and
consumers, and what has to be refused before anything is read."""

import array
import datetime as dt
import gc
import pickle
import sys
import weakref

import duckdb
import numpy as np
import pandas as pd
import polars as pl
import pyarrow as pa
import pyarrow.compute as pc
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp

import qvoseq as qs

S = qs.Sequence
FIXED = ["?", "i1", "i2", "i4", "i8", "u1", "u2", "u4", "u8", "f4", "f8"]
TIMES = st.integers(-(10**15), 10**15)


def same(a, b):
    assert a.dtype == b.dtype, (a.dtype, b.dtype)
    np.testing.assert_array_equal(a, b)


@st.composite
def arrays(draw):
    """Arrays of any type of ours, some of them views: reversed, with a step, within another, of the other byte
    order."""
    dtype = draw(st.sampled_from(FIXED))
    values = draw(hnp.arrays(np.dtype(dtype), st.integers(0, 300)))
    if draw(st.booleans()):
        values = np.repeat(values, draw(st.integers(1, 300)))
    start, step = draw(st.integers(0, 5)), draw(st.sampled_from([1, 1, 2, -1]))
    values = values[start:][::step]
    return values.astype(values.dtype.newbyteorder()) if draw(st.booleans()) else values


@settings(max_examples=150, deadline=None)
@given(arrays())
def test_arrays_come_back_by_every_way(values):
    native = values.astype(values.dtype.newbyteorder("="))
    x = S(values)
    same(x.to_numpy(), native)
    same(np.asarray(x), native)
    same(S(bytes(x)).to_numpy(), native)
    assert bytes(S(bytes(x.compress()))) == bytes(x.compress())  # what is stored stays as it is
    same(pickle.loads(pickle.dumps(x)).to_numpy(), native)
    same(x.to_pandas().to_numpy(), native)
    same(S(pd.Series(values)).to_numpy(), native)
    same(S(x.to_arrow()).to_numpy(), native)
    same(S(pa.chunked_array([x.to_arrow(), x.to_arrow()])).to_numpy(), np.concatenate([native, native]))
    same(S(pl.Series(x)).to_numpy(), native)
    assert len(x) == values.size and x.equals(values)
    runs = x.to_arrow(runs=True)
    runs.validate(full=True)
    same(S(runs).to_numpy(), native)
    if values.size > 2:
        same(S(runs[1:-1]).to_numpy(), native[1:-1])
        same(S(x.to_arrow()[1:-1]).to_numpy(), native[1:-1])


@settings(max_examples=100, deadline=None)
@given(st.lists(st.text(st.characters(exclude_characters="\0", exclude_categories=["Cs"]), max_size=60), max_size=50))
def test_text_comes_back_by_every_way(texts):
    x = S(pa.array(texts, pa.string()))
    ways = [texts, np.array(texts, object), pd.Series(texts, dtype="str"), pd.Series(texts, dtype="string")]
    ways += [pd.Categorical(texts), pa.array(texts, pa.large_string()), pa.array(texts, pa.string_view())]
    ways += [pa.array(texts, pa.string()).dictionary_encode(), pl.Series(texts, dtype=pl.String)]
    for way in ways if texts else []:
        assert S(way).to_list() == texts and S(way).equals(x), type(way)
    assert x.to_list() == texts
    assert x.to_pandas().tolist() == texts and x.to_arrow().to_pylist() == texts
    assert S(x.to_arrow(runs=True)).to_list() == texts if texts else True


@pytest.mark.parametrize("unit", ["s", "ms", "us", "ns", "D", "h"])
@settings(max_examples=25, deadline=None)
@given(st.lists(TIMES, min_size=1, max_size=40))
def test_times_of_any_unit(unit, microseconds):
    times = np.array(microseconds, "M8[us]").astype(f"M8[{unit}]")
    expected = times.astype("M8[us]")
    same(S(times).to_numpy(), expected)
    assert S(times).type() == "timestamp" and S(times).to_list() == expected.tolist()
    if unit in ("s", "ms", "us", "ns"):
        zoned = pd.Series(times).dt.tz_localize("UTC").dt.tz_convert("Asia/Tokyo")
        for column in (pd.Series(times), pd.DatetimeIndex(times), zoned, pa.array(times), pa.Array.from_pandas(zoned)):
            same(S(column).to_numpy(), expected)
        same(S(pl.Series(pa.array(expected))).to_numpy(), expected)
        same(S(np.diff(times)).to_numpy(), np.diff(times).astype("m8[us]").view("i8"))


def test_missing_values():
    gaps = [1.5, None, 3.0]
    columns = [gaps, np.array(gaps, object), pd.Series(gaps), pd.Series(gaps, dtype="Float64"), pa.array(gaps)]
    columns += [pl.Series(gaps), np.ma.masked_invalid([1.5, np.nan, 3.0]), pd.Series([1.5, pd.NA, 3.0], dtype=object)]
    columns += [pc.run_end_encode(pa.array(gaps)), pd.Series(gaps, dtype="double[pyarrow]")]
    for column in columns:
        x = S(column)
        assert x.type() == "double" and x.count() == 2 and x.sum() == 4.5, type(column)
        assert pa.array(x).null_count == 1 and pl.Series(x).null_count() == 1 and x.to_pandas().isna().sum() == 1
    whole = [1, None, 3]
    for column in (
        pd.Series(whole, dtype="Int64"),
        pa.array(whole),
        pl.Series(whole),
        pd.Series(whole, dtype="int8[pyarrow]"),
    ):
        with pytest.raises(ValueError, match="a missing value at position 1: int"):
            S(column)
        assert S(column, type="double").sum() == 4
    assert S([1, None]).type() == "double" and S(pd.Series([True, False], dtype="boolean")).type() == "boolean"
    for column in (
        pd.Series([None, "a"]),
        pa.array([None, "a"]),
        pd.Series([pd.NaT, pd.Timestamp("2026-01-01")]),
        [None, "a"],
    ):
        with pytest.raises(ValueError, match="a missing value at position 0: (char|timestamp)"):
            S(column)


def test_other_columns():
    assert S(array.array("h", [1, 2])).type() == "int2" and S(memoryview(b"ab")).type() == "uint1"
    assert S(range(5)).to_list() == [0, 1, 2, 3, 4] and S(v / 2 for v in range(3)).to_list() == [0, 0.5, 1]
    assert S(np.array([1.5], "f2")).type() == "float" and S(pa.array([1.5], pa.float16())).type() == "float"
    assert S(["2026-01-31", "2026-02-01T10:00"], type="timestamp").month().to_list() == [1, 2]
    assert S([dt.date(2026, 1, 31)]).to_list() == [dt.datetime(2026, 1, 31)]
    tokyo = dt.timezone(dt.timedelta(hours=9))
    assert S([dt.datetime(2026, 1, 31, 9, tzinfo=tokyo)]).to_list() == [dt.datetime(2026, 1, 31)]
    assert S([2**64 - 1, 0]).to_list() == [2**64 - 1, 0] and S([-(2**63)]).to_list() == [-(2**63)]
    assert S([1, 2], type="int1").type() == "int1" and S(S([1, 2]), type="double").type() == "double"
    assert (
        S([]).type() == "double"
        and S(np.array([], "S3")).type() == "char(3)"
        and S(pa.array([], pa.int8())).type() == "int1"
    )
    assert S(np.array([2, 0, 1], "u1").view("?")).to_list() == [True, False, True]
    assert S(pa.array([dt.date(2026, 1, 2)])).day().to_list() == [2] and S(pa.nulls(2)).to_list() != [None]
    nothing = pa.chunked_array([], pa.int16())
    assert S(nothing).type() == "int2" and len(S(nothing)) == 0


@pytest.mark.parametrize(
    "column, error, words",
    [
        (np.zeros((2, 2)), ValueError, "one dimension"),
        (np.zeros(2, complex), TypeError, "complex128"),
        ([1, "a"], TypeError, "char and int8"),
        ([object()], TypeError, "object"),
        (5, TypeError, "int"),
        ("abc", TypeError, "str"),
        ([2**64], OverflowError, "do not fit 64 bits"),
        ([-1, 2**63], OverflowError, "do not fit 64 bits"),
        (["x" * 256], ValueError, "256 bytes"),
        ([b"\xff"], ValueError, "utf-8"),
        (b"no sequence", ValueError, "not a stored sequence"),
        (pa.array([[1], [2]]), TypeError, r"format '\+l'"),
        (pa.array([b"x"]), TypeError, "format 'z'"),
        (pa.table({"a": [1]}), TypeError, "columns takes them"),
        (np.array(["9999-01-01", "999999-01-01"], "M8[D]"), OverflowError, "does not fit"),
    ],
)
def test_refused(column, error, words):
    with pytest.raises(error, match=words):
        S(column)


def test_tables_of_other_libraries():
    frame = pd.DataFrame({"t": pd.date_range("2026-01-01", periods=5), "x": [1.5, 2, 3, 4, np.nan], "s": list("abcde")})
    tables = [frame, pa.Table.from_pandas(frame), pl.from_pandas(frame), duckdb.sql("SELECT * FROM frame"), dict(frame)]
    for table in tables:
        columns = qs.columns(table)
        assert list(columns) == ["t", "x", "s"] and columns["x"].mean() == 2.625, type(table)
        assert columns["s"].to_list() == list("abcde") and columns["t"].day().sum() == 15
        assert duckdb.sql("SELECT sum(x), count(x), max(s), max(t) FROM columns").fetchall() == [
            (10.5, 4, "e", dt.datetime(2026, 1, 5))
        ]
        assert pa.table(columns).num_rows == 5 and pl.DataFrame(columns).height == 5
        assert columns.to_pandas(index="t").x.iloc[1] == 2.0
    with pytest.raises(ValueError, match="different lengths"):
        pa.table(qs.Columns(a=[1], b=[1, 2]))
    with pytest.raises(TypeError, match="a mapping"):
        qs.columns(5)


def test_runs_are_neither_expanded_nor_copied():
    ends, values = pa.array([10**9, 2 * 10**9], pa.int32()), pa.array([1.5, 2.5])
    x = S(pa.RunEndEncodedArray.from_arrays(ends, values))
    assert len(x) == 2 * 10**9 and x.mean() == 2.0 and (x * 2).max() == 5.0
    assert len((x + 1).to_arrow(runs=True).values) == 2
    for kind in (pa.int16(), pa.int64()):
        assert S(pc.run_end_encode(pa.array([7, 7, 8]), run_end_type=kind)).to_list() == [7, 7, 8]
    wanted = pa.run_end_encoded(pa.int16(), pa.int64())
    assert pa.array(S([5, 5, 6]), type=wanted).type == wanted
    capsules = S([1, 1]).__arrow_c_array__(pa.field("x", wanted).__arrow_c_schema__())
    assert pa.Array._import_from_c_capsule(*capsules).type == wanted


def test_memory_is_read_in_place_and_kept_as_long_as_needed():
    class Kept(np.ndarray):
        """An array that can be watched."""

    values = np.arange(1000.0).view(Kept)
    x = S(values)
    values[0] = 500.0
    assert x.get(0) == 500.0, "no copy"
    watched = weakref.ref(values)
    y = (x + 1).filter(x > 2)
    del values, x
    gc.collect()
    assert y.count() == 998
    del y
    gc.collect()
    assert watched() is None
    before = pa.total_allocated_bytes()
    for _ in range(20):
        x = S(pa.array(np.arange(100_000.0) + 0.0))
        table = pa.table(qs.Columns(a=x))
        assert x.max() == 99_999 and table.num_rows == 100_000
        del x, table
    gc.collect()
    assert pa.total_allocated_bytes() - before < 2_000_000
    result = S([1.5, 2.5]).to_numpy()
    assert result.flags.owndata or result.base is not None
    assert sys.getrefcount(result) < 5
