#!/usr/bin/env python3
"""Four years of weather in two cities as one page to look at: `report.py [weather.csv [report.html]]`. Needs
qvoseq[plot].

The file goes into chunk rows of an SQLite database; what is drawn is asked of sequences."""

import base64
import html
import io
import pathlib
import sys
import tempfile

import matplotlib

matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402

import qvoseq as qs  # noqa: E402

COLUMNS = ("date", "precipitation", "temp_max", "temp_min", "wind", "weather")
MONTHS = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec".split()


def load(path):
    """The columns of each city, in the order of days."""
    with tempfile.TemporaryDirectory() as folder:
        database = pathlib.Path(folder) / "weather.db"
        qs.read_csv(path, "weather", database, key="location", order="date", progress=False)
        db = qs.connect(database)
        joined = ", ".join(f"seq_join({name}, chunk)" for name in COLUMNS)
        rows = db.execute(f"SELECT location, {joined} FROM weather GROUP BY location").fetchall()
        db.close()
    return {city: qs.Columns(dict(zip(COLUMNS, map(qs.Sequence, values)))) for city, *values in rows}


def monthly_means(cities):
    figure, axes = pyplot.subplots(figsize=(9, 3.2))
    for city, days in cities.items():
        month = days["date"].month()
        rows = list(qs.group_rows(qs.group(month, days["temp_max"])))
        axes.plot([row.key for row in rows], [row.avg for row in rows], marker="o", label=city)
    axes.set_xticks(range(1, 13), MONTHS)
    axes.set_ylabel("mean high, °C")
    axes.legend()
    return figure


def rolling_week(cities):
    figure, axes = pyplot.subplots(figsize=(9, 3.2))
    for city, days in cities.items():
        qs.plot(days["date"], days["temp_max"].rolling_mean(7), ax=axes, label=city, linewidth=0.8)
    axes.set_ylabel("high, mean of 7 days, °C")
    axes.legend()
    return figure


def rain_calendar(days):
    """Weeks from left to right, days of the week downwards."""
    date, rain = days["date"], days["precipitation"]
    week = ((date.floor_time("1 week") - date.floor_time("1 week").min()) // (7 * 86_400_000_000)).to_numpy()
    weekday = date.weekday().to_numpy()
    figure, axes = pyplot.subplots(figsize=(9, 1.9))
    grid = [[float("nan")] * (int(week.max()) + 1) for _ in range(7)]
    for w, d, millimetres in zip(week, weekday, rain.clip(0, 30)):
        grid[d][w] = millimetres
    image = axes.imshow(grid, aspect="auto", cmap="Blues", interpolation="nearest")
    first_days = (date.year().diff().fill(1) != 0).positions()
    axes.set_xticks(week[first_days.to_numpy()], date.year().take(first_days))
    axes.set_yticks(range(7), "Mo Tu We Th Fr Sa Su".split())
    figure.colorbar(image, ax=axes, label="mm")
    return figure


def extremes(days):
    """The days that stand out, as rows of a table."""
    date = days["date"]
    for words, column, order in (
        ("hottest", "temp_max", "desc"),
        ("coldest", "temp_min", "asc"),
        ("wettest", "precipitation", "desc"),
        ("windiest", "wind", "desc"),
    ):
        at = days[column].argsort(order)[:3]
        for day, value in zip(date.take(at), days[column].take(at)):
            yield words, f"{day:%d %B %Y}", f"{value:g}"
            words = ""


def picture(figure, words):
    """A figure inside the page."""
    memory = io.BytesIO()
    figure.savefig(memory, format="png", dpi=110, bbox_inches="tight")
    pyplot.close(figure)
    return (
        f'<img alt="{html.escape(words)}" src="data:image/png;base64,{base64.b64encode(memory.getvalue()).decode()}">'
    )


def page(cities):
    parts = ["<h1>Weather</h1>", "<h2>The year</h2>", picture(monthly_means(cities), "Mean highs by month")]
    parts += ["<h2>Week by week</h2>", picture(rolling_week(cities), "Highs, rolling week")]
    for city, days in cities.items():
        rain = days["precipitation"]
        wet = (rain > 0).sum()
        parts.append(f"<h2>{html.escape(city)}</h2>")
        parts.append(
            f"<p>{len(rain)} days, {wet} with rain, {rain.sum():.0f} mm in all; "
            f"{days['wind'].mean():.1f} m/s of wind.</p>"
        )
        parts.append(picture(rain_calendar(days), f"Rain in {city}, a field for each day"))
        rows = "".join(f"<tr>{''.join(f'<td>{html.escape(cell)}</td>' for cell in row)}</tr>" for row in extremes(days))
        parts.append(f"<table>{rows}</table>")
    style = "body{font:15px sans-serif;max-width:60em;margin:2em auto}td{padding:.1em 1em .1em 0}img{max-width:100%}"
    head = f"<!doctype html><html lang=en><meta charset=utf-8><title>Weather</title><style>{style}</style>"
    return head + "\n".join(parts) + "</html>\n"


def main():
    data = pathlib.Path(__file__).with_name("data") / "weather.csv"
    source = sys.argv[1] if len(sys.argv) > 1 else data
    target = sys.argv[2] if len(sys.argv) > 2 else "report.html"
    pathlib.Path(target).write_text(page(load(source)), encoding="utf-8")
    print(target)


if __name__ == "__main__":
    main()
