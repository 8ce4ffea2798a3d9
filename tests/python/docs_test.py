"""What is written about the package is so: pages, docstrings, stubs and types, examples, and the report as a browser
shows it."""

import doctest
import inspect
import json
import pathlib
import re
import shutil
import subprocess
import sys

import numpy as np
import pandas as pd
import pytest

import python_stubs
import qvoseq as qs
from conftest import ROOT

PACKAGE = pathlib.Path(qs.__file__).parent
FLAGS = doctest.NORMALIZE_WHITESPACE


def run(text, names, where):
    test = doctest.DocTestParser().get_doctest(text, names, where, None, 0)
    assert test.examples, f"{where} has no examples"
    outcome = doctest.DocTestRunner(optionflags=FLAGS).run(test)
    assert outcome.failed == 0, f"{outcome.failed} of {outcome.attempted} examples of {where}"


def test_the_page_shows_what_happens(monkeypatch):
    monkeypatch.chdir(ROOT)
    text = (ROOT / "docs" / "python.md").read_text(encoding="utf-8")
    blocks = re.findall(r"^```python\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)
    run("\n".join(blocks), {}, "docs/python.md")


@pytest.mark.parametrize("name", qs.functions.__all__)
def test_docstrings(name):
    names = {n: getattr(qs.functions, n) for n in qs.functions.__all__} | {"Sequence": qs.Sequence}
    function = getattr(qs.functions, name)
    run(function.__doc__, names, name)
    if hasattr(qs.Sequence, name):
        assert getattr(qs.Sequence, name).__doc__ == function.__doc__


def test_stubs_follow_the_catalog():
    for name, text in python_stubs.render().items():
        assert (PACKAGE / name).read_text(encoding="utf-8") == text, f"{name}: {python_stubs.__doc__}"


TYPED = """
import qvoseq as qs
from qvoseq import functions
x = qs.Sequence([1.5, 2.5])
reveal_type((x + 1).filter(x > 1).mean())
reveal_type(functions.range(0, 5))
reveal_type(1 / x)
x.rolling_mean("a")
x.no_such_method()
"""


def test_types(tmp_path):
    pytest.importorskip("mypy")
    (tmp_path / "typed.py").write_text(TYPED)
    done = subprocess.run([sys.executable, "-m", "mypy", "typed.py"], cwd=tmp_path, capture_output=True, text=True)
    revealed = re.findall(r'Revealed type is "(.*?)"', done.stdout)
    assert revealed == ["float | None", "qvoseq.sequence.Sequence", "qvoseq.sequence.Sequence"], done.stdout
    errors = re.findall(r"typed.py:(\d+): error", done.stdout)
    assert errors == ["8", "9"], done.stdout


def rows_of_the_page():
    text = (ROOT / "docs" / "pandas.md").read_text(encoding="utf-8")
    return re.findall(r"^\| `(.*?)` \| `(.*?)` \|$", text, re.MULTILINE)


def data():
    rng = np.random.default_rng(3)
    n = 500
    columns = dict(
        x=np.where(rng.random(n) < 0.1, np.nan, rng.normal(size=n)),
        y=rng.normal(size=n),
        k=rng.choice(["ab", "b", "ca"], n),
        i=rng.integers(0, 9, n),
        t=np.datetime64("2026-01-01T10:00:00", "us") + np.cumsum(rng.integers(1, 300, n)).astype("m8[s]"),
    )
    series = {name: pd.Series(values) for name, values in columns.items()}
    series["c"], series["s"] = series["x"] > 0, pd.Series(columns["x"], index=pd.DatetimeIndex(columns["t"]))
    sequences = {name: qs.Sequence(values) for name, values in columns.items()}
    sequences["c"] = sequences["x"] > 0
    return series, sequences


@pytest.mark.parametrize("pandas_way, our_way", rows_of_the_page())
def test_idioms_of_pandas(pandas_way, our_way):
    series, sequences = data()
    expected = eval(pandas_way, {"pd": pd, "np": np, **series})
    result = eval(our_way, {"qs": qs, "json": json, **sequences})
    result = result.to_numpy() if isinstance(result, qs.Sequence) else np.asarray(result)
    expected = np.asarray(expected)
    assert result.shape == expected.shape
    if expected.dtype.kind in "biuf":
        np.testing.assert_allclose(result.astype("f8"), expected.astype("f8"), rtol=1e-9, atol=1e-12)
    else:
        np.testing.assert_array_equal(result, expected)


def test_signatures_are_shown():
    assert str(inspect.signature(qs.Sequence.rolling_mean)) == "(self, window, min_periods=None)"
    assert str(inspect.signature(qs.rows)) == "(x, *more)"


def test_the_folder_example(tmp_path):
    for part in range(3):
        values = "\n".join(map(str, range(part * 10, part * 10 + 10)))
        (tmp_path / f"{part}.csv").write_text(f"v\n{values}\n")
    command = [sys.executable, str(ROOT / "examples" / "folder.py"), str(tmp_path), "v"]
    printed = subprocess.run(command, capture_output=True, text=True, check=True).stdout.split()
    assert dict(zip(printed[::2], printed[1::2])) == dict(
        count="30", avg="14.5", stddev=str(np.std(np.arange(30), ddof=1)), min="0.0", max="29.0", median="14.5"
    )


SHOWN = """<script>addEventListener("load", () => {
  const drawn = i => i.complete && i.naturalWidth > 300 && i.getBoundingClientRect().width > 200;
  const pictures = [...document.images].map(drawn);
  document.title = "shown " + pictures.filter(Boolean).length + " of " + pictures.length;
})</script>"""


def test_the_report_in_a_browser(tmp_path):
    page = tmp_path / "report.html"
    command = [sys.executable, str(ROOT / "examples" / "report.py"), str(ROOT / "examples/data/weather.csv"), str(page)]
    subprocess.run(command, check=True, cwd=tmp_path)
    text = page.read_text(encoding="utf-8")
    assert "37.8" in text and "55.9" in text and text.count("<img") == 4
    browser = shutil.which("chromium")
    if browser is None:
        pytest.skip("no chromium to render it")
    page.write_text(text.replace("</html>", SHOWN + "</html>"), encoding="utf-8")
    options = ["--headless", "--no-sandbox", "--disable-gpu", f"--user-data-dir={tmp_path}", "--dump-dom"]
    shown = subprocess.run([browser, *options, page.as_uri()], capture_output=True, text=True, timeout=240).stdout
    assert "<title>shown 4 of 4</title>" in shown, re.findall("<title>.*?</title>", shown)


def test_the_source_distribution_can_be_built(tmp_path):
    """As far as CMake goes without a compiler: what it names is there."""
    code = f"import backend; print(backend.build_sdist({str(tmp_path)!r}))"
    options = {"capture_output": True, "text": True, "check": True}
    made = subprocess.run([sys.executable, "-B", "-c", code], cwd=ROOT / "hosts" / "python", **options).stdout
    shutil.unpack_archive(tmp_path / made.split()[-1], tmp_path)
    source = next(path for path in tmp_path.iterdir() if path.is_dir())
    assert "Name: qvoseq" in (source / "PKG-INFO").read_text()
    nanobind = subprocess.run([sys.executable, "-m", "nanobind", "--cmake_dir"], **options).stdout.strip()
    configure = ["cmake", "-S", source, "-B", tmp_path / "build", "-G", "Ninja", f"-Dnanobind_DIR={nanobind}"]
    subprocess.run([*configure, f"-DPython_EXECUTABLE={sys.executable}"], **options)
