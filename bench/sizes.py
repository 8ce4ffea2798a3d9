"""Sizes of real columns as stored sequences, beside their raw values, a Parquet file with zstd and a DuckDB file.

    sizes.py WEATHER.csv DATASETS SENSORS     DATASETS: the data folder of vega-datasets; SENSORS: the package river, unpacked

Prints bytes a value for each column by itself. tools/sizes brings what it takes.
"""
import csv
import os
import sys
import tempfile

import duckdb
import numpy as np
import pandas as pd
import pyarrow as pa
import pyarrow.parquet as pq
import qvoseq as qs

def weather(path):
    with open(path, newline="", encoding="utf-8") as file:
        rows = list(csv.DictReader(file))
    yield "weather: day", np.array([row["date"] for row in rows], "datetime64[us]")
    for name in ("precipitation", "temp_max", "wind"):
        yield f"weather: {name}", np.array([float(row[name]) for row in rows])
    yield "weather: kind", np.array([row["weather"] for row in rows], "S")


def flights(folder):
    table = pq.read_table(os.path.join(folder, "flights-3m.parquet")).to_pandas()
    for name in table.columns:
        column = table[name]
        if column.dtype.kind == "M":
            yield f"flights: {name}", column.to_numpy().astype("datetime64[us]")
        elif column.dtype.kind == "f":
            yield f"flights: {name}", column.to_numpy().astype("float64")
        elif column.dtype.kind == "i":
            yield f"flights: {name}", column.to_numpy()
        else:
            yield f"flights: {name}", column.astype(str).to_numpy().astype("S")


def prices(folder):
    table = pd.read_csv(os.path.join(folder, "sp500-2000.csv"))
    yield "daily prices: date", pd.to_datetime(table["date"]).to_numpy().astype("datetime64[us]")
    yield "daily prices: close", table["close"].to_numpy()
    yield "daily prices: volume", table["volume"].to_numpy().astype("int64")


def sensors(folder):
    shuttle = pd.read_csv(os.path.join(folder, "datasets", "shuttle.csv.gz"))
    for name in ("f1", "f2", "f9"):
        yield f"shuttle: {name}", shuttle[name].to_numpy().astype("int32")
    yield "shuttle: anomaly", shuttle["anomaly"].to_numpy().astype("int8")
    room = pd.read_csv(os.path.join(folder, "drift", "datasets", "occupancy.csv"))
    yield "room: time", pd.to_datetime(room["time"]).to_numpy().astype("datetime64[us]")
    for name, sensor in (("temperature", "V1"), ("humidity", "V2"), ("light", "V3")):
        yield f"room: {name}", room[sensor].to_numpy().astype("float64")
    flow = pd.read_csv(os.path.join(folder, "datasets", "water-flow.csv"))
    yield "water: time", pd.to_datetime(flow["Time"], utc=True).dt.tz_localize(None).to_numpy().astype("datetime64[us]")
    yield "water: flow", flow["Water flow [l/s]"].to_numpy().astype("float64")


def others(column):
    """Bytes of a Parquet file with zstd and of a DuckDB file, what an empty one takes left out."""
    text = column.dtype.kind == "S"
    table = pa.table({"v": pa.array([v.decode() for v in column.tolist()] if text else column)})
    with tempfile.TemporaryDirectory() as folder:
        parquet = os.path.join(folder, "v.parquet")
        pq.write_table(table, parquet, compression="zstd")
        sizes = []
        for rows in (table.slice(0, 0), table):
            path = os.path.join(folder, f"v{len(rows)}.duckdb")
            database = duckdb.connect(path)
            database.register("source", rows)
            database.execute("CREATE TABLE t AS SELECT * FROM source")
            database.execute("CHECKPOINT")
            database.close()
            sizes.append(os.path.getsize(path))
        return os.path.getsize(parquet), sizes[1] - sizes[0]


def main():
    weather_file, datasets, readings = sys.argv[1:]
    print("Bytes a value. A DuckDB file grows in blocks of 256 KiB: short columns say nothing there.")
    print(f"{'column':26} {'values':>8} {'raw':>6} {'sequence':>9} {'compressed':>11} {'Parquet':>8} {'DuckDB':>8}")
    for name, column in (*weather(weather_file), *sensors(readings), *prices(datasets), *flights(datasets)):
        column = np.ascontiguousarray(column)
        n = len(column)
        stored = qs.Sequence(column).compute()
        compressed = stored.compress()
        parquet, database = others(column)
        in_blocks = f"{database / n:8.3f}" if n > 1_000_000 else f"{'–':>8}"
        print(f"{name:26} {n:8} {column.dtype.itemsize:6} {len(bytes(stored)) / n:9.3f} {len(bytes(compressed)) / n:11.3f} {parquet / n:8.3f} "
              f"{in_blocks}")


if __name__ == "__main__":
    main()
