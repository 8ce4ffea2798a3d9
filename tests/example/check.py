#!/usr/bin/env python3
"""Runs the example over its data file, compares the report with the golden file, and recomputes answers from the file.

    check.py PROGRAM DATA GOLDEN [--write]     --write: take the report as the new golden file
"""
import csv
import difflib
import itertools
import math
import subprocess
import sys


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
    return sum(values) / len(values)


def correlation(xs, ys):
    mx, my = mean(xs), mean(ys)
    sxy = sum((x - mx) * (y - my) for x, y in zip(xs, ys))
    return sxy / math.sqrt(sum((x - mx) ** 2 for x in xs) * sum((y - my) ** 2 for y in ys))


def wet_highs(days):
    return [day["temp_max"] for day in days if day["precipitation"] > 5]


def expected(places):
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
        yield ("Correlation of the high and the low of a day", f"{correlation(highs, lows):.4f} in {place}")
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


def main():
    program, data, golden = sys.argv[1:4]
    report = subprocess.run([program, data], check=True, stdout=subprocess.PIPE, text=True).stdout
    if sys.argv[4:] == ["--write"]:
        with open(golden, "w", encoding="utf-8") as file:
            file.write(report)
    with open(golden, encoding="utf-8") as file:
        difference = list(difflib.unified_diff(file.read().splitlines(), report.splitlines(), golden, "report", "", "", 1))
    print("\n".join(difference))

    lines = [" ".join(line.split()) for line in report.splitlines()]
    wrong = [(question, answer) for question, answer in expected(load(data))
             if not any(line.startswith(f"{question} {answer}") for line in lines)]
    for question, answer in wrong:
        print(f"expected, but not in the report: {question} {answer}")
    return 1 if difference or wrong else 0


if __name__ == "__main__":
    sys.exit(main())
