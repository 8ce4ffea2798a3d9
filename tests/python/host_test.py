"""The package as a guest of Python: laziness, indexing, threads and signals, states, pictures, SQLite and CSV."""

import copy
import datetime as dt
import os
import pickle
import signal
import sqlite3
import statistics
import subprocess
import sys
import threading
import time

import numpy as np
import pandas as pd
import pytest

import qvoseq as qs
from qvoseq import _catalog, plotting

S = qs.Sequence


def test_sequences_are_columns():
    values = np.arange(10) * 3
    x = S(values)
    for key in (slice(None), slice(2, 5), slice(-3, None), slice(None, None, -1), slice(8, 1, -2), slice(5, 5, -1)):
        assert x[key].to_list() == values[key].tolist(), key
    for i in (0, 9, -1, -10, np.int8(3)):
        assert x[i] == values[i]
    for i in (10, -11):
        with pytest.raises(IndexError):
            x[i]
    assert x[values > 9].to_list() == values[values > 9].tolist() and x[[3, -1]].to_list() == [9, 27]
    assert list(x) == values.tolist() and 27 in x and len(x) == 10 and x[[]].to_list() == []
    assert abs(-x).equals(x) and round(x / 7, 1).to_list() == np.round(values / 7, 1).tolist()
    assert S([True, False])[0] is True and S(["a", "é"])[1] == "é" and np.isnan(S([1.5, None])[1])
    assert S([dt.datetime(2026, 1, 2)])[0] == dt.datetime(2026, 1, 2) == S([dt.datetime(2026, 1, 2)]).max()
    assert copy.deepcopy(x).equals(x) and x.compute().equals(x)


def test_operators_are_those_of_numpy():
    a, b = np.array([5, -7, 2]), np.array([2.0, 3.0, -4.0])
    x = S(a)
    for f in (
        lambda p, q: p + q, lambda p, q: p - q, lambda p, q: p * q, lambda p, q: p / q, lambda p, q: p // q,
        lambda p, q: p % q, lambda p, q: abs(p) ** q, lambda p, q: p < q, lambda p, q: p <= q, lambda p, q: p > q,
        lambda p, q: p >= q, lambda p, q: p == q, lambda p, q: p != q, lambda p, q: (p > q) & (q > 0),
        lambda p, q: (p > q) | (q > 0), lambda p, q: (p > q) ^ (q > 0), lambda p, q: ~(p > q), lambda p, q: -p,
        lambda p, q: 2 - p, lambda p, q: 1 / p, lambda p, q: 3 > p,
    ):  # fmt: skip
        expected = f(a, b)
        for result in (f(x, S(b)), f(x, b)):
            assert result.to_numpy().dtype == expected.dtype
            np.testing.assert_allclose(result.to_numpy(), expected, rtol=1e-14)
    assert (x + b.tolist()).to_list() == (b + x).to_list() == (a + b).tolist() and (b > x).to_list() == (
        b > a
    ).tolist(), "an array on the left"
    with pytest.raises(ValueError, match="neither true nor false"):
        bool(x == a)
    with pytest.raises(TypeError):
        hash(x)


def test_equality_is_explicit():
    x = S([1.5, None])
    assert x.equals([1.5, float("nan")]) and not x.equals([1.5, 2]) and not x.equals([1.5])
    assert not S([1, 2]).equals([1.0, 2.0]) and S([]).equals(np.empty(0))


def test_repr():
    assert repr(S([1, 1, 20])) == "<Sequence int8, 3 positions, mean run 1.5: [1, 1, 20]>"
    assert repr(S(range(100)) * 0.5) == (
        "<Sequence double, 100 positions, mean run 1: [0.0, 0.5, 1.0, …, 48.5, 49.0, 49.5]>"
    )
    assert repr(S(np.array([], "i2"))) == "<Sequence int2, 0 positions: []>"
    assert repr(S(["a"])) == "<Sequence char(1), 1 position, mean run 1: ['a']>"
    assert repr(S([dt.date(2026, 1, 2)])) == "<Sequence timestamp, 1 position, mean run 1: [2026-01-02T00:00:00]>"


def test_arguments_are_refused_where_they_are_given_and_values_where_they_are_read():
    x = S([2**62, 1])
    for call, error, words in (
        (lambda: x.rolling_mean(0), ValueError, "seq_rolling_mean: argument 2: window must be at least 1, got 0"),
        (
            lambda: x.filter(x),
            TypeError,
            "seq_filter: argument 2: c must be a sequence of boolean, got a sequence of int8",
        ),
        (lambda: x + "a", TypeError, "seq_add: argument 2: y must be numbers, got text 'a'"),
        (lambda: x + 2**64, OverflowError, "seq_add: argument 2: the integer does not fit int8"),
        (lambda: x.where(1, 2), TypeError, "seq_where: argument 1: c must be"),
        (lambda: x + object(), TypeError, "got object"),
        (lambda: qs.rows("x"), TypeError, "seq_rows: argument 1: x must be a sequence, got text 'x'"),
        (lambda: qs.pack(x), ValueError, "seq_pack: argument 1: v must be a number or text, got a sequence"),
    ):
        with pytest.raises(error, match=words):
            call()
    lazy = (x * 4).cumsum()
    with pytest.raises(OverflowError, match="^seq_mul: the result does not fit int8 at position 0$"):
        lazy.to_numpy()
    with pytest.raises(ValueError, match="^seq_add: sequences of different lengths: 2 and 3$"):
        (x + [1, 2, 3]).sum()
    with pytest.raises(ValueError, match="damaged|not a stored"):
        S.from_bytes(bytes(x)[:-3] + b"abc")


def test_scalars_of_any_library():
    t = S(pd.date_range("2026-01-01", periods=5))
    for time_ in (
        "2026-01-03",
        dt.datetime(2026, 1, 3),
        dt.date(2026, 1, 3),
        pd.Timestamp("2026-01-03"),
        np.datetime64("2026-01-03"),
    ):
        assert (t >= time_).sum() == 3, type(time_)
    for day in (dt.timedelta(days=1), pd.Timedelta("1D"), np.timedelta64(1, "D"), 86_400_000_000):
        assert (t + day)[0] == dt.datetime(2026, 1, 2), type(day)
    assert t.floor_time(dt.timedelta(days=2)).equals(t.floor_time("2 days"))
    assert (S([1, 2]) + np.float32(0.5)).to_list() == [1.5, 2.5] and (S([1]) + np.True_).to_list() == [2]
    assert S([1.5]).get(np.int64(0)) == 1.5 and S([1.0]).fill(pd.NA if False else 0).sum() == 1


def test_deep_expressions_and_long_ones():
    x = total = S(np.ones(10))
    for _ in range(500):
        total = total + x
    assert total.to_list() == [501.0] * 10
    before = qs.budget(1000)
    try:
        assert before == 2**31
        with pytest.raises(ValueError, match="more than 1000 positions"):
            qs.range(0, 1001).sort().to_numpy()
    finally:
        qs.budget(before)


def test_aggregates_and_their_states():
    parts = [S([1.0, 2.0]), S([4.0]), S([])]
    assert qs.aggregate("avg", parts) == 7 / 3 and qs.aggregate("count", []) == 0 and qs.aggregate("avg", []) is None
    states = [pickle.loads(pickle.dumps(qs.Aggregate("stddev").step(part).state())) for part in parts]
    merged = qs.Aggregate("stddev")
    for state in states:
        merged.merge(state)
    assert merged.result() == qs.finish(qs.aggregate("merge", states)) == pytest.approx(S([1.0, 2, 4]).std())
    assert qs.aggregate("corr", [(S([1, 2]), S([2, 4])), (S([3]), S([6]))]) == pytest.approx(1.0)
    assert qs.aggregate("join", parts).to_list() == [1.0, 2.0, 4.0]
    with pytest.raises(ValueError, match="one of this function, got one of stddev"):
        qs.Aggregate("max").merge(states[0])
    with pytest.raises(ValueError, match="not an aggregate"):
        qs.Aggregate("add")
    rows = list(qs.rows(S([1, 2]), S(["a", "b"])))
    assert rows == [(0, 1, "a"), (1, 2, "b")] and rows[1].v2 == "b"


@pytest.mark.parametrize(
    "rows, refused, packed",
    [
        ([(1, 1), ("x", 2), (5, 0)], ["all numbers or all text"], [5, 1]),
        ([("a",), (None,), (7,), ("bcd",)], ["NULL", "all numbers"], ["a", "bcd"]),
        ([(None,), ("a",), (3.5,)], ["NULL"], [float("nan"), 3.5]),
        ([(1, 3), (2,), (3, None), (4, b"x"), (5, 1)], ["for every row, or for none", "not be NULL", "key must"], [5, 1]),
        ([(1,), (2, 5), (), (3,)], ["for every row, or for none", "wrong number of arguments: 0"], [1, 3]),
        ([(1, 3, "int4"), (2.5, 0, "int4"), (2, 1, "int4")], ["2.5 does not fit int4"], [2, 1]),
        ([(2.5, 3, "int4"), (2.5, 2), (1.5, 1)], ["2.5 does not fit int4"], [1.5, 2.5]),
        ([(1, 5), (2, 2.5), (3, "t"), (4, 2), (5, "s")], [], [4, 2, 1, 5, 3]),
    ],
)
def test_rows_that_are_refused_are_left_out(rows, refused, packed):
    aggregate, messages = qs.Aggregate("pack"), []
    for row in rows:
        try:
            aggregate.step(*row)
        except (TypeError, ValueError) as error:
            messages.append(str(error))
    assert len(messages) == len(refused) and all(map(str.__contains__, messages, refused)), messages
    assert str(aggregate.result().to_list()) == str(packed)


def test_threads_run_at_once():
    """Two threads on two sequences take as much processor time as wall time allows: the lock is let go."""
    x = [S(np.random.default_rng(i).normal(size=3_000_000)) for i in range(2)]
    finished = []

    def work(i):
        finished.append(x[i].sort().rolling_median(50).sum())

    beats, stop = [], threading.Event()

    def beat():
        while not stop.is_set():
            beats.append(time.monotonic())
            time.sleep(0.01)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(2)]
    observer = threading.Thread(target=beat)
    observer.start()
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    stop.set()
    observer.join()
    gaps = np.diff(beats)
    assert len(finished) == 2 and len(beats) > 10 and np.median(gaps) < 0.2, "Python went on meanwhile"


def test_a_state_is_of_one_thread_at_a_time():
    aggregate, long_one, errors = qs.Aggregate("median"), S(np.random.default_rng(1).normal(size=4_000_000)), []

    def work():
        try:
            aggregate.step(long_one)
        except RuntimeError as error:
            errors.append(str(error))

    threads = [threading.Thread(target=work) for _ in range(3)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert all("another thread" in error for error in errors) and aggregate.result() is not None


INTERRUPTED = """
import signal, threading, time, os, sys
import qvoseq as qs
x = qs.range(0.5, 30_000_000)
def later():
    time.sleep(float(sys.argv[1]))
    print(time.process_time(), flush=True)
    os.kill(os.getpid(), signal.SIGINT)
threading.Thread(target=later).start()
try:
    for _ in range(1000): (x.sqrt() * 3).sort().rank().sum()
except KeyboardInterrupt:
    print(time.process_time(), qs.Sequence([1, 2]).sum())
"""


def test_ctrl_c_ends_an_evaluation():
    """Within a tenth of a second, at most moments: the system may be slow to take its memory back."""
    took = []
    for moment in ("0.4", "0.8", "1.2"):
        done = subprocess.run([sys.executable, "-c", INTERRUPTED, moment], capture_output=True, text=True, timeout=120)
        sent, ended, total = done.stdout.split()
        assert total == "3", done
        took.append(float(ended) - float(sent))
    assert statistics.median(took) < 0.1, took


def test_handlers_of_other_signals_raise_what_they_raise():
    class Alarm(Exception):
        pass

    def handler(number, frame):
        raise Alarm

    before = signal.signal(signal.SIGALRM, handler)
    try:
        signal.setitimer(signal.ITIMER_REAL, 0.1)
        with pytest.raises(Alarm):
            for _ in range(1000):
                qs.range(0.5, 5_000_000).sqrt().sort().sum()
    finally:
        signal.signal(signal.SIGALRM, before)


def test_import_and_first_result_are_quick():
    """By the processor's time, so that other programs make no difference."""
    program = "import time; t = time.process_time(); import qvoseq as qs; "
    program += "qs.Sequence([1.5, 2]).rolling_mean(2).sum(); print(time.process_time() - t)"
    best = min(
        float(subprocess.run([sys.executable, "-c", program], capture_output=True, text=True).stdout) for _ in range(5)
    )
    assert best < 0.3


def test_pictures_are_thinned():
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("Agg")
    n = 1_000_000
    x = np.sin(np.arange(n) / 5e4)
    x[123_456], x[777_777] = 9, -9
    t = S(np.datetime64("2026-01-01", "us") + np.arange(n) * np.timedelta64(1, "s"))
    for axis in (None, t):
        places, drawn = plotting.thinned(axis, S(x))
        assert places.size == drawn.size <= 2 * plotting.COLUMNS + 4 and drawn.max() == 9 and drawn.min() == -9
        assert (np.diff(places.astype("i8")) >= 0).all()
    axes = qs.plot(t, S(x), x * 2, labels=["one", "two"])
    assert len(axes.lines) == 2 and axes.get_legend() is not None
    assert np.ptp(axes.lines[1].get_ydata()) == 36 and len(S([1, 2, 3]).plot().lines) == 1
    matplotlib.pyplot.close("all")


def test_sqlite_is_at_hand():
    if not hasattr(sqlite3.Connection, "enable_load_extension"):
        with pytest.raises(sqlite3.NotSupportedError, match="another Python"):
            qs.connect()
        return
    db = qs.connect()
    x = S(np.arange(1000) / 4)
    db.execute("CREATE TABLE t AS SELECT ? AS x", (x,))
    assert db.execute("SELECT seq_avg(x), seq_length(x) FROM t").fetchone() == (x.mean(), 1000)
    assert S(db.execute("SELECT seq_rolling_max(x, 5) FROM t").fetchone()[0]).equals(x.rolling_max(5))
    with pytest.raises(sqlite3.OperationalError, match="seq_add: sequences of different lengths"):
        db.execute("SELECT seq_add(x, seq_range(0, 5)) FROM t").fetchall()
    with pytest.raises(sqlite3.OperationalError, match="not authorized"):
        db.load_extension(qs.loadable_path())
    assert os.path.exists(qs.loadable_path())


def test_csv_becomes_chunks(tmp_path):
    rng = np.random.default_rng(4)
    n = 5000
    frame = pd.DataFrame({
        "city": rng.choice(["A", "B", "Ö, x"], n),
        "at": pd.to_datetime("2026-01-01") + pd.to_timedelta(rng.permutation(n), unit="s"),
        "whole": rng.integers(-5, 5, n), "real": np.round(rng.normal(size=n), 3), "gaps": rng.integers(0, 9, n),
        "code": [f"{i:04}" for i in rng.integers(0, 99, n)], "none": None,
    }).astype({"gaps": "Int64"})  # fmt: skip
    frame.loc[::7, "gaps"] = pd.NA
    frame.loc[0, "whole"] = 2**62
    frame.to_csv(tmp_path / "file.csv", index=False)
    database = tmp_path / "file.db"
    types = qs.read_csv(
        tmp_path / "file.csv",
        "t",
        database,
        key="city",
        order="at",
        chunk_rows=700,
        progress=False,
        types={"code": "char"},
    )
    assert types == dict(at="timestamp", whole="int8", real="double", gaps="double", code="char", none="double")
    db = qs.connect(database)
    for city, rows in frame.groupby("city"):
        rows = rows.sort_values("at")
        columns = ", ".join(f"seq_join({name}, chunk)" for name in ("at", "whole", "gaps", "code"))
        columns += ", max(seq_length(at))"
        at, whole, gaps, code, longest = db.execute(f"SELECT {columns} FROM t WHERE city = ?", (city,)).fetchone()
        assert longest == 700
        np.testing.assert_array_equal(S(at).to_numpy(), rows["at"].to_numpy().astype("M8[us]"))
        np.testing.assert_array_equal(S(whole).to_numpy(), rows["whole"].to_numpy())
        np.testing.assert_array_equal(S(gaps).to_numpy(), rows["gaps"].to_numpy("f8", na_value=np.nan))
        assert S(code).to_list() == rows["code"].tolist()
    odd = tmp_path / "odd.csv"
    odd.write_text("a,b,c,d,e\ninf,1_0,\u0663,2026-W01-1,2026-01-02T03:04Z\n")
    types = qs.read_csv(odd, "odd", database, progress=False)
    assert types == dict(a="char", b="char", c="char", d="char", e="timestamp"), (
        "what SQLite would read otherwise is text"
    )
    for text, words in (
        ("", "first line"),
        ("a,a\n", "first line"),
        ("a,b\n1\n", "line 2 has 1 cells"),
        ("a\n1\n", "no column 'k'"),
    ):
        (tmp_path / "bad.csv").write_text(text)
        with pytest.raises(ValueError, match=words):
            qs.read_csv(tmp_path / "bad.csv", "bad", database, key="k", progress=False)
    assert db.execute("SELECT count(*) FROM sqlite_master WHERE name = 'bad'").fetchone() == (0,)


def test_every_operator_of_the_catalog_is_spelled():
    spelled = {"+": "add", "-": "sub", "==": "eq", "~": "invert", "**": "pow"}
    for function in _catalog.FUNCTIONS.values():
        if function.python in spelled and len(function.parameters) == 2:
            assert hasattr(S, f"__{spelled[function.python]}__")
