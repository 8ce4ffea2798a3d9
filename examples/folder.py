#!/usr/bin/env python3
"""Statistics over a folder of CSV files, a process for each processor: `folder.py FOLDER COLUMN`.

Every process folds its file into states of aggregates, some hundred bytes, which come back and are merged. The result
does not depend on who read what."""

import concurrent.futures
import csv
import pathlib
import sys

import qvoseq as qs

AGGREGATES = ("count", "avg", "stddev", "min", "max", "median")


def states_of(path, column):
    """The states over one file."""
    with open(path, newline="", encoding="utf-8") as file:
        values = qs.Sequence([float(row[column]) if row[column] else None for row in csv.DictReader(file)])
    return {name: qs.Aggregate(name).step(values).state() for name in AGGREGATES}


def over_folder(folder, column):
    paths = sorted(pathlib.Path(folder).glob("*.csv"))
    with concurrent.futures.ProcessPoolExecutor() as pool:
        per_file = list(pool.map(states_of, paths, [column] * len(paths)))
    merged = {name: qs.aggregate("merge", [states[name] for states in per_file]) for name in AGGREGATES}
    return {name: qs.finish(state) for name, state in merged.items()}


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    for name, value in over_folder(*sys.argv[1:]).items():
        print(f"{name:8} {value}")
