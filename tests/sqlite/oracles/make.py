"""Making and reading sequences. What is no function of whole sequences (rows, pack, info, valid) has checks of its
own."""

import json
import math

import numpy as np

from oracle import Fault, Oracle, as_type, constant, is_time_like, meet
from values import DTYPES, TIME, TYPES, scalar_of, text_of, type_of

TYPE_NAMES = [*TYPES[:-1], "char(5)", "char(40)", "char"]


def _get(x, i):
    return scalar_of(x[i]) if -x.size <= i < x.size else None


def _json(x):
    """The text of to_json, element by element."""
    if x.dtype.kind == "b":
        return ["true" if v else "false" for v in x]
    if x.dtype.kind in "iu":
        return [str(v) for v in x]
    if x.dtype.kind == "f":
        return [_real(v) for v in x]
    return [json.dumps(text, ensure_ascii=False) for text in map(scalar_of, x)]


def _real(v):
    if np.isnan(v):
        return "null"
    if np.isinf(v):
        return "9e999" if v > 0 else "-9e999"
    digits = np.format_float_scientific(v, trim="-", exp_digits=1).replace("e+", "e")
    return digits


def _same_json(text, x):
    """Numbers are compared by value, as their shortest form is not the only one; all else by text."""
    parts = [] if text == "[]" else text[1:-1].split(",")
    if x.dtype.kind != "f":
        return parts == _json(x)
    shortest = all(len(p.strip("-").replace("e+", "e")) <= len(_real(v)) + 5 for p, v in zip(parts, x))
    marked = all(p == "null" or "." in p or "e" in p for p in parts)
    kind = x.dtype.type
    back = np.array([kind("nan") if p == "null" else kind(p) for p in parts], kind)
    return shortest and marked and back.tobytes() == np.where(np.isnan(x), kind("nan"), x).tobytes()


def check_json(test, host):
    """Every type goes out as JSON and comes back the same."""
    from oracle import SHAPES, Case

    rng = np.random.default_rng(3)
    for kind in TYPES:
        for shape in SHAPES:
            x = Case(rng, 600, shape).sequence(kind)
            text = host.call("to_json", x)
            test.assertTrue(_same_json(text, x), f"{kind} {shape}: {text[:200]}")
            back = host.call("from_json", text, type_of(x))
            test.assertEqual((back.dtype, back.tobytes()), (x.dtype, _canonical(x).tobytes()), f"{kind} {shape}")
    for text, expected in [
        ("[1, 2]", "int8"),
        ("[1, null]", "double"),
        ("[1, 2.0]", "double"),
        ("[]", "double"),
        ('["ab", "c"]', "char(2)"),
        ("[true,false]", "boolean"),
        (" [ 1e3 , -0.0 ] ", "double"),
        ('["\\u00e9\\ud83d\\ude00\\n"]', "char(7)"),
    ]:
        test.assertEqual(type_of(host.call("from_json", text)), expected, text)
    for text in (
        "",
        "[",
        "[1",
        "[1,]",
        "{}",
        "1",
        '["a", 1]',
        "[true, 1]",
        "[1] 2",
        "[nul]",
        '["\\ud800"]',
        '["\\udc00"]',
        '["a\tb"]',
        "[[1]]",
        "[01]",
    ):
        with test.assertRaisesRegex(Exception, "^seq_from_json: ", msg=text):
            host.call("from_json", text)


def _canonical(x):
    return np.where(np.isnan(x), x.dtype.type("nan"), x) if x.dtype.kind == "f" else x


def _cast(x, name):
    if name == type_of(x):
        return x
    to = np.dtype(DTYPES.get(name, f"S{name[5:-1]}" if "(" in name else "S255"))
    if to.kind == "S":
        return _to_text(x, to, name)
    if x.dtype.kind == "S":
        return _from_text(x, name)
    if to.kind == "f":
        # A timestamp is a number of microseconds.
        wide = (x.astype("i8") if is_time_like(x) else x).astype("f8")
        with np.errstate(over="ignore"):
            narrow = wide.astype(to)
        _refuse(np.isinf(narrow) & ~np.isinf(wide), "does not fit float")
        return narrow
    low, high = (
        (0, 1) if to.kind == "b" else (-(2**63), 2**63 - 1) if to == TIME else (np.iinfo(to).min, np.iinfo(to).max)
    )
    if x.dtype.kind == "f":
        _refuse_first(
            name,
            np.isnan(x),
            (np.rint(x.astype("f8")) < low) | (np.rint(x.astype("f8")) >= float(high) + (high > 2**53 or 1)),
        )
        x = np.rint(x.astype("f8"))
        return np.array([int(v) for v in x], "i8" if to == TIME else to).astype(to)
    if is_time_like(x):
        x = x.astype("i8")
    values = x.astype(object)
    _refuse([not low <= int(v) <= high for v in values], f"does not fit {name}")
    return np.array([int(v) for v in values], "i8" if to == TIME else to).astype(to)


def _refuse(wrong, *words):
    if np.any(wrong):
        raise Fault(*words, f"position {int(np.argmax(wrong))}")


def _refuse_first(name, missing, beyond):
    wrong = missing | beyond
    if wrong.any():
        # Which of several is found first depends on the steps that a conversion takes.
        first = int(np.argmax(wrong))
        kinds = ["fill"] * (not beyond.any()) + [f"does not fit {name}"] * (not missing.any())
        raise Fault(*kinds, *[f"position {first}"] * len(kinds))


def _to_text(x, to, name):
    texts = [v if x.dtype.kind == "S" else json_text.strip('"').encode() for v, json_text in zip(x, _shown(x))]
    if name == "char":
        return np.array(texts, f"S{max([1, *map(len, texts)])}")
    _refuse([len(t) > to.itemsize for t in texts], "does not fit")
    return np.array(texts, to)


def _shown(x):
    if x.dtype.kind != "f":
        return _json(x)
    with np.errstate(over="ignore"):
        return [_real(v) if not np.isfinite(v) else _short(v) for v in x]


def _short(v):
    """Of the forms with and without an exponent, the shorter, the latter if they are as long; with a mark of a real."""
    plain = np.format_float_positional(v, trim="-", unique=True)
    scientific = np.format_float_scientific(v, trim="-", unique=True, exp_digits=2)
    best = plain if len(plain) <= len(scientific) else scientific
    if len(plain) > len(scientific) or len(plain) < 17 or "." in plain:
        return best if "." in best or "e" in best else best + ".0"
    return np.format_float_positional(v, unique=True, trim="0") if len(plain) <= len(scientific) else scientific


def _from_text(x, name):
    raise Fault()


def check_cast_text(test, host):
    """Text and other types meet in the text of to_json."""
    words = np.array([b"1.5", b"9e999", b"null", b"-0.0", b"12"])
    np.testing.assert_array_equal(host.call("cast", words, "double"), [1.5, math.inf, math.nan, -0.0, 12.0])
    np.testing.assert_array_equal(host.call("cast", np.array([b"-7", b"12"]), "int1"), [-7, 12])
    np.testing.assert_array_equal(host.call("cast", np.array([b"true", b"false"]), "boolean"), [True, False])
    np.testing.assert_array_equal(
        host.call("cast", np.array([b"2026-01-01T00:00:00.5"]), "timestamp"), np.array(["2026-01-01T00:00:00.5"], TIME)
    )
    for bad, name in (
        ("1.5", "int4"),
        ("x", "double"),
        ("300", "uint1"),
        ("2", "boolean"),
        ("2026", "timestamp"),
        ("", "int8"),
    ):
        with test.assertRaisesRegex(Exception, "^seq_cast: .*does not fit .* at position 1", msg=bad):
            host.call(
                "cast", np.array([{"boolean": b"true", "timestamp": b"2026-01-01"}.get(name, b"1"), bad.encode()]), name
            )


def _range(start, n, step=1):
    if isinstance(start, str):
        units = {"15 minutes": 900_000_000, "1 day": 86_400_000_000}
        return (np.int64(np.datetime64(start, "us").astype("i8")) + np.arange(n) * units.get(step, step)).astype(TIME)
    if isinstance(start, int) and isinstance(step, int):
        if n and not -(2**63) <= start + step * (n - 1) < 2**63:
            raise Fault("does not fit int8")
        return np.array([start + i * step for i in range(n)], "i8")
    return float(start) + np.arange(n) * float(step)


def _append(x, y):
    dtype = meet(x, y)
    return np.concatenate([as_type(x, dtype), as_type(y, dtype)])


def _join(rows):
    rows = sorted(rows, key=lambda row: _key(row[1])) if len(rows[0]) > 1 else rows
    arrays = [row[0] for row in rows]
    dtype = meet(*arrays)
    return np.concatenate([as_type(a, dtype) for a in arrays])


def _key(key):
    return (isinstance(key, str), key)


KEYS = [3, 1, 2.5, -7, "b", "a", "2026-01-01", "2026-01-01 12:30:00", "2026-01-01 12:30:01", 10**17, 1e17, 10**17 + 1]


def _any_key(rng, case):
    return KEYS[int(rng.integers(0, len(KEYS)))]


def check_pack(test, host):
    """Types by what the rows hold, named types, keys, and what does not fit."""
    nan, inf = math.nan, math.inf
    for values, name, expected in [
        ([1, -2, 3], None, np.array([1, -2, 3])),
        ([1, None, 2.5], None, np.array([1, nan, 2.5])),
        ([None, None], None, np.array([nan, nan])),
        (["a", "", "bcd"], None, np.array([b"a", b"", b"bcd"])),
        ([2**53 + 1, 0.5], None, np.array([2.0**53, 0.5])),
        ([-0.0, inf], None, np.array([-0.0, inf])),
        ([0, 1, 1.0], "boolean", np.array([False, True, True])),
        ([2.0, -128], "int1", np.array([2, -128], "i1")),
        ([255, 0], "uint1", np.array([255, 0], "u1")),
        ([2.0**63, 5], "uint8", np.array([2**63, 5], "u8")),
        ([0.1, None], "float", np.array([0.1, nan], "f4")),
        ([1, None], "double", np.array([1, nan])),
        (
            ["2026-01-01", 5, "1969-12-31 23:59:59.5Z", "2026-01-01T01:00+01:00"],
            "timestamp",
            np.array(["2026-01-01", "1970-01-01T00:00:00.000005", "1969-12-31T23:59:59.5", "2026-01-01"], TIME),
        ),
        (["ab", "c"], "char(4)", np.array([b"ab", b"c"], "S4")),
        (["ab", "c"], "char", np.array([b"ab", b"c"])),
    ]:
        rows = [(v, i, name)[: 3 if name else 1] for i, v in enumerate(values)]
        result = host.fold("seq_pack(a, b, c)" if name else "seq_pack(a)", rows)
        test.assertEqual(
            (result.dtype, result.tobytes()), (expected.dtype, _canonical(expected).tobytes()), f"{values} as {name}"
        )
    for values, name, word in [
        ([1, None], None, "coalesce"),
        (["a", None], None, "coalesce"),
        (["a", 1], None, "text"),
        ([b"x"], None, "v must be"),
        ([None], "int4", "coalesce"),
        ([2.5], "int8", "2.5"),
        ([300], "uint1", "300"),
        ([-1], "uint8", "-1"),
        ([2], "boolean", "2"),
        ([1e300], "float", "1e"),
        (["5"], "int4", "'5'"),
        ([5], "char(2)", "5"),
        (["abc"], "char(2)", "'abc'"),
        (["x" * 256], None, "does not fit"),
        (["a\0b"], None, "does not fit"),
        (["0000-01-01"], "timestamp", "0000"),
        (["2026-13-01"], "timestamp", "2026-13"),
        ([1], "integer", "type must be"),
    ]:
        rows = [(v, i, name)[: 3 if name else 1] for i, v in enumerate(values)]
        with test.assertRaisesRegex(Exception, "^seq_pack: argument", msg=f"{values} as {name}") as caught:
            host.fold("seq_pack(a, b, c)" if name else "seq_pack(a)", rows)
        test.assertIn(word, str(caught.exception))
    with test.assertRaisesRegex(Exception, r"^seq_pack: argument 1: '\\xffA' does not fit char"):
        host.db.execute("SELECT seq_pack(CAST(x'ff41' AS TEXT))").fetchall()  # the sentence is UTF-8 all the same
    with test.assertRaisesRegex(Exception, "key must not be NULL"):
        host.fold("seq_pack(a, b)", [(1, 1), (2, None)])
    rng = np.random.default_rng(5)
    for kinds in ((int, float, str), (int,), (float,), (str,)):
        keys = [key for key in KEYS if isinstance(key, kinds)]
        for n in (1, 455, 5000):
            for value in (float, int, "{:b}".format):
                rows = [(value(i), keys[int(rng.integers(0, len(keys)))]) for i in range(n)]
                expected = np.array([row[0] for row in sorted(rows, key=lambda row: _key(row[1]))])
                expected = expected.astype("S") if expected.dtype.kind == "U" else expected
                np.testing.assert_array_equal(host.fold("seq_pack(a, b)", rows), expected)


def check_rows(test, host):
    """Positions and values side by side; conditions on pos read only what they allow."""
    from oracle import Case

    rng = np.random.default_rng(6)
    columns = [Case(rng, 3000, "mean 3").sequence(kind) for kind in ("double", "int4", "timestamp", "char", "uint8")]
    expected = [(i, *[scalar_of(c[i]) for c in columns], *[None] * 3) for i in range(3000)]
    test.assertEqual(host.rows("rows", *columns), expected)
    stored = [host.argument(c) for c in columns]
    for condition, chosen in [
        ("pos = 2047", expected[2047:2048]),
        ("pos >= 2990", expected[2990:]),
        ("pos < 5", expected[:5]),
        ("pos > 454 AND pos <= 456", expected[455:457]),
        ("pos BETWEEN 7 AND 6", []),
        ("pos = -1", []),
        ("pos > 1e9", []),
        ("pos >= '0'", []),
        ("pos < 2.5", expected[:3]),
        ("pos IN (1, 2999, 5000)", [expected[1], expected[2999]]),
        ("pos = NULL", []),
        ("pos >= -5 AND pos < 1", expected[:1]),
        ("v2 > 900", [r for r in expected if r[2] > 900]),
    ]:
        rows = host.db.execute(f"SELECT * FROM seq_rows(?,?,?,?,?) WHERE {condition}", stored).fetchall()
        test.assertEqual(rows, chosen, condition)
    descending = host.db.execute("SELECT pos FROM seq_rows(?) ORDER BY pos DESC LIMIT 2", stored[:1]).fetchall()
    test.assertEqual(descending, [(2999,), (2998,)])
    with test.assertRaisesRegex(Exception, "^seq_rows: .*lengths.*3000.*2"):
        host.rows("rows", columns[0], columns[1][:2])


def check_info(test, host):
    """What is said of a value agrees with what it holds."""
    from oracle import SHAPES, Case

    rng = np.random.default_rng(7)
    for kind in TYPES:
        for shape in SHAPES:
            x = Case(rng, 20_000, shape).sequence(kind)
            stored = host.argument(x)
            info = json.loads(host.call("info", stored).replace("9e999", "Infinity"))
            present = x[~np.isnan(x)] if x.dtype.kind == "f" else x
            test.assertEqual((info["type"], info["length"], info["bytes"]), (type_of(x), 20_000, len(stored)))
            test.assertEqual(info["bytes_raw"], x.nbytes)
            test.assertLessEqual(len(stored), x.nbytes * 1.01 + 256, f"{kind} {shape}")
            test.assertAlmostEqual(info["mean_run"] * info["elements"], 20_000, delta=1e-6)
            runs = 1 + np.count_nonzero(x[1:] != x[:-1]) if x.dtype.kind != "f" else 0
            test.assertGreaterEqual(20_000 / info["mean_run"] + 1e-6, runs / 255)
            if kind == "char":
                test.assertEqual((info["min"], info["max"]), (None, None))
            elif kind == "timestamp":
                test.assertEqual((info["min"], info["max"]), (text_of(x.min()), text_of(x.max())))
            else:
                test.assertEqual(
                    (kind in ("float",) or info["min"] == present.min())
                    and (kind in ("float",) or info["max"] == present.max()),
                    True,
                    f"{kind} {shape} {info}",
                )


def check_valid(test, host):
    x = host.argument(np.arange(3000.0) ** 0.5)
    test.assertEqual(
        [host.call("valid", v) for v in (x, b"", b"x" * 200, None, 5, "text", x[:-1], x + b"\0" * 8)], [1] + [0] * 7
    )
    wrong = [i for i in range(0, len(x), 7) if host.call("valid", x[:i] + bytes([x[i] ^ 4]) + x[i + 1 :]) != 0]
    test.assertEqual(wrong, [], "changed bytes that are taken for sound")


def check_large_and_lazy(test, host):
    """What takes a few bytes at any number; -0.0 and the text of times."""
    test.assertEqual(
        host.call("get", host.db.execute("SELECT seq_range(0, 1 << 40, 3)").fetchone()[0], -1), ((1 << 40) - 1) * 3
    )
    for n in (1 << 61, (1 << 61) + 5, 1 << 62):
        query = "SELECT seq_get(x, -1), seq_info(x) FROM (SELECT seq_range(7, ?) AS x)"
        last, info = host.db.execute(query, [n]).fetchone()
        test.assertEqual((last, float(json.loads(info)["bytes_raw"])), (n + 6, 8.0 * n))
    test.assertLess(host.db.execute("SELECT length(seq_repeat('ab', 1 << 50))").fetchone()[0], 400)
    test.assertEqual(str(host.call("get", np.array([-0.0]), 0)), "-0.0")
    test.assertEqual(host.call("get", np.array(["1969-12-31T23:59:59.000001"], TIME), 0), "1969-12-31T23:59:59.000001")
    day = host.call("range", "2026-01-01", 3, "1 day")
    np.testing.assert_array_equal(day, np.array(["2026-01-01", "2026-01-02", "2026-01-03"], TIME))
    for bad in (("2026-01-01", 3), ("x", 3, 5), ("2026-01-01", 3, "1 month"), (1, 3, "1 day"), (1, -1)):
        with test.assertRaisesRegex(Exception, "^seq_range: ", msg=bad):
            host.call("range", *bad)


def _compressed_is_smaller(test, host):
    x = np.repeat(np.random.default_rng(1).normal(size=40), 3)[np.random.default_rng(2).integers(0, 120, 20_000)]
    stored = host.db.execute("SELECT seq_compress(?)", [host.argument(x)]).fetchone()[0]
    test.assertLess(len(stored), len(host.argument(x)))
    np.testing.assert_array_equal(host.library.load(stored), x)
    test.assertEqual(host.call("valid", stored), 1)


def _bound(rng, case):
    n = case.n
    return int([0, 1, -1, n, -n, n + 5, -n - 5, n // 2, -(n // 3), 2**62, -(2**63)][rng.integers(0, 11)])


def _start(rng, case):
    return [5, -7, 2.5, 2**63 - 9, "2026-01-01T10:00"][rng.integers(0, 5)]


def _step(rng, case):
    return (
        ["15 minutes", 250_000][rng.integers(0, 2)]
        if isinstance(case.given["start"], str)
        else [3, -2, 0, 0.1][rng.integers(0, 4)]
    )


def _needs_step(start, n, step=None):
    if step is None:
        if isinstance(start, str):
            raise Fault("step")
        step = 1
    return _range(start, n, step)


ORACLES = {
    "pack": Oracle(None, {"v": lambda *_: 2.0, "key": lambda *_: 1, "type": lambda *_: "double"}, checks=(check_pack,)),
    "rows": Oracle(None, checks=(check_rows,), good=[np.arange(3), np.arange(3.0)]),
    "from_json": Oracle(None, checks=(check_json,), good=["[1,2]", "int4"]),
    "to_json": Oracle(None),
    "length": Oracle(lambda x: int(x.size)),
    "type": Oracle(type_of),
    "get": Oracle(_get, {"i": _bound}),
    "slice": Oracle(lambda x, start, stop=None: x[start:stop], {"start": _bound, "stop": _bound}),
    "info": Oracle(None, checks=(check_info,)),
    "valid": Oracle(
        lambda x: 1, {"blob": lambda rng, case: case.sequence(TYPES[rng.integers(0, 13)])}, checks=(check_valid,)
    ),
    "range": Oracle(
        _needs_step,
        {"start": _start, "n": lambda rng, case: case.n, "step": _step},
        checks=(check_large_and_lazy,),
        good=[5, 3, 2],
    ),
    "repeat": Oracle(
        lambda v, n: np.full(n, constant(v)),
        {"v": lambda rng, case: [5, -0.0, "äb", ""][rng.integers(0, 4)], "n": lambda rng, case: case.n},
    ),
    "join": Oracle(_join, {"key": _any_key}, rows=True),
    "append": Oracle(_append),
    "cast": Oracle(_cast, {"type": lambda rng, case: str(rng.choice(TYPE_NAMES))}, checks=(check_cast_text,)),
    "compress": Oracle(lambda x: x, checks=(_compressed_is_smaller,)),
    "decompress": Oracle(lambda x: x),
}
