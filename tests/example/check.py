#!/usr/bin/env python3
"""Runs an example over its data file, compares the report with the golden file, and recomputes answers from the file.

    check.py engine PROGRAM DATA GOLDEN [--write]
    check.py sql EXTENSION DATA GOLDEN [--write]      the questions of examples/weather.sql, in the sqlite3 shell

--write takes the report as the new golden file.
"""
import csv
import difflib
import itertools
import math
import os
import re
import statistics
import subprocess
import sys
import tempfile


def load(path):
    """Rows by place, in the order of the file, with the numbers as numbers."""
    places = {}
    with open(path, newline="", encoding="utf-8") as file:
        for row in csv.DictReader(file):
            for column in ("precipitation", "temp_max", "temp_min", "wind"):
                row[column] = float(row[column])
            places.setdefault(row["location"], []).append(row)
    return places


def column(days, name):
    return [day[name] for day in days]


def mean(values):
    return statistics.fmean(values) if values else math.nan


def wet_highs(days):
    return [day["temp_max"] for day in days if day["precipitation"] > 5]


def expected_of_engine(places):
    """(question, answer) for what can be computed in a few lines without the library."""
    for place, days in places.items():
        rain, highs, lows = (column(days, name) for name in ("precipitation", "temp_max", "temp_min"))
        stored = [len(list(run)) for _, run in itertools.groupby(rain)]
        elements = sum(-(-n // 255) for n in stored)
        yield f"{place} precipitation", f"{elements} {len(days)}"
        yield "Mean high of days with more than 5 mm", f"{mean(wet_highs(days)):.2f} degrees in {place}"
        yield "Days with at least 50 mm", f"{sum(r >= 50 for r in rain)} in {place}"
        for position, day in enumerate(days):
            if day["precipitation"] >= 50:
                yield f"position {position}", f"{day['date']} {day['precipitation']} mm"
        yield "Share of days without rain", f"{100 * mean([r == 0 for r in rain]):.2f} % in {place}"
        wind = column(days, "wind")
        yield "Wind, least and most", f"{min(wind)} to {max(wind)} in {place}"
        yield ("Correlation of the high and the low of a day", f"{statistics.correlation(highs, lows):.4f} in {place}")
        for most in sorted(rain)[-5:]:
            yield f"position {rain.index(most)} {days[rain.index(most)]['date']}", f"{most} mm"
        yield "Highest temperature in Fahrenheit", f"{max(highs) * 1.8 + 32:.2f} degrees in {place}"
    for place, days in places.items():
        for month in sorted({day["date"][:7] for day in days})[-12:]:
            of_month = [day for day in days if day["date"].startswith(month)]
            yield (f"{month} {len(of_month)} days {mean(column(of_month, 'temp_max')):.2f} degrees",
                   f"{sum(column(of_month, 'precipitation')):.1f} mm")
        # The specified order is that of a sort whose ties are not stable, so only days without an equal are named.
        winds = column(days, "wind")
        for day in days:
            if day["wind"] in sorted(winds)[-5:] and winds.count(day["wind"]) == 1:
                yield f"{day['date']} {day['weather']}", f"{day['wind']}"
    wet = [{day["date"] for day in days if day["precipitation"] >= 10} for days in places.values()]
    yield "Days with at least 10 mm in both, aligned by date", f"{len(wet[0] & wet[1])}"
    both = [high for days in places.values() for high in wet_highs(days)]
    yield "the two merged", f"{mean(both):.2f} degrees in both"


def expected_of_sql(places):
    """(beginning of a row, rest of it), in columns."""
    for place, days in places.items():
        rain, highs, lows, wind = (column(days, name) for name in ("precipitation", "temp_max", "temp_min", "wind"))
        yield place, f"{mean(wet_highs(days)):.2f}"
        for day in days:
            if day["precipitation"] >= 50:
                yield f"{place} {day['date']}", f"{day['precipitation']}"
        yield (f"{place} {100 * mean([r == 0 for r in rain]):.2f} {min(wind)} {max(wind)}",
               f"{statistics.correlation(highs, lows):.4f}")
        yield place, f"{max(highs) * 1.8 + 32:.2f}"
        for most in sorted(rain)[-5:]:
            yield f"{place} {days[rain.index(most)]['date']}", f"{most}"
        # The count in between is an estimate, with an error of its own.
        whole = len({round(high) for high in highs})
        yield f"{place} {len(set(highs))}", (rf"\d+ {whole}$",)
        for month in sorted({day["date"][:7] for day in days})[-6:]:
            of_month = [day for day in days if day["date"].startswith(month)]
            yield (f"{place} {month} {len(of_month)}",
                   f"{mean(column(of_month, 'temp_max')):.2f} {sum(column(of_month, 'precipitation')):.1f}")
        steps = [b - a for a, b in zip(highs, highs[1:])]
        yield place, f"{min(steps):.1f} {max(steps):.1f} {sum(step > 0 for step in steps)}"
        kinds = column(days, "weather")
        yield place, f"{sum(kind.startswith('s') for kind in kinds)} {sum('i' in kind for kind in kinds)}"
        counts = [sum(low <= high < low + 5 for high in highs) for low in range(-10, 40, 5)]
        yield place, f"[0,{','.join(map(str, counts))},0]"
        yield place, " ".join(str(q) for q in statistics.quantiles(highs, n=4, method="inclusive"))
        year = rain[-365:]
        yield place, f"{sum(year[:90]):.1f} {sum(year[:180]):.1f} {sum(year):.1f}"
        weeks = {day: mean(highs[day - 6:day + 1]) for day in range(6, len(days))}
        warmest = max(weeks, key=weeks.get)
        yield place, f"{weeks[warmest]:.2f} {days[warmest]['date']}"
    everywhere = [day for days in places.values() for day in days]
    for kind in {day["weather"] for day in everywhere}:
        of_kind = [day["temp_max"] for day in everywhere if day["weather"] == kind]
        yield f"{kind} {len(of_kind)}", f"{mean(of_kind):.2f}"
    quarter = [day["precipitation"] for day in places["Seattle"] if "2014-04" <= day["date"] < "2014-07"]
    yield "Seattle 2014-04-01", f"{sum(quarter):.1f}"
    wet = [{day["date"] for day in days if day["precipitation"] >= 10} for days in places.values()]
    yield "", f"{len(wet[0] & wet[1])}"
    both = [high for days in places.values() for high in wet_highs(days)]
    yield "96", f"{mean(both):.2f}"


def report_of_engine(program, data):
    return subprocess.run([program, data], check=True, stdout=subprocess.PIPE, text=True).stdout


def report_of_sql(extension, data):
    script = os.path.join(os.path.dirname(data), "..", "weather.sql")
    with tempfile.TemporaryDirectory() as folder:
        commands = [f".import --csv \"{data}\" raw", ".mode column", ".echo on", f".read \"{script}\""]
        shell = ["sqlite3", "-bail", "-init", os.devnull, "-cmd", f".load \"{extension}\"", f"{folder}/weather.db"]
        return subprocess.run(shell + commands, check=True, stdout=subprocess.PIPE, text=True).stdout


def missing(kind, report, data):
    """What the report should say and does not."""
    lines = [" ".join(line.split()) for line in report.splitlines()]
    expected = {"engine": expected_of_engine, "sql": expected_of_sql}[kind](load(data))
    return [f"{question} {answer}" for question, answer in expected if not found(lines, question, answer)]


def write_edge(data, path, dry):
    """Less than a year, with a hot day; the places in `dry` have no rain."""
    with open(data, newline="", encoding="utf-8") as file:
        rows = [row for row in csv.DictReader(file) if row["date"] < "2012-03-10"]
    rows[5]["temp_max"] = "41.5"
    with open(path, "w", newline="", encoding="utf-8") as file:
        writer = csv.DictWriter(file, rows[0])
        writer.writeheader()
        writer.writerows({**row, "precipitation": "0.0"} if row["location"] in dry else row for row in rows)


def main():
    kind, program, data, golden = sys.argv[1:5]
    report_of = {"engine": report_of_engine, "sql": report_of_sql}[kind]
    report = report_of(program, data)
    if sys.argv[5:] == ["--write"]:
        with open(golden, "w", encoding="utf-8") as file:
            file.write(report)
    with open(golden, encoding="utf-8") as file:
        wrong = list(difflib.unified_diff(file.read().splitlines(), report.splitlines(), golden, "report", "", "", 1))
    wrong += missing(kind, report, data)
    if kind == "engine":
        with tempfile.TemporaryDirectory() as folder:
            for dry in ["Seattle"], ["New York"], ["Seattle", "New York"]:
                write_edge(data, f"{folder}/edge.csv", dry)
                wrong += missing(kind, report_of(program, f"{folder}/edge.csv"), f"{folder}/edge.csv")
    print("\n".join(wrong))
    return 1 if wrong else 0


def found(lines, question, answer):
    """True if a line begins so; an answer that is a tuple is a pattern."""
    start = f"{question} " if question else ""
    if isinstance(answer, tuple):
        return any(line.startswith(start) and re.match(answer[0], line[len(start):]) for line in lines)
    return any(line.startswith(start + answer) for line in lines)


if __name__ == "__main__":
    sys.exit(main())
