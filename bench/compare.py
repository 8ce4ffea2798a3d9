"""Which rows of the benchmarks moved by more than noise, between two builds or against a saved baseline.

    compare.py OLD NEW              two builds (folders, or benchmark programs), run alternately
    compare.py --baseline FILE NEW  times as multiples of the plain loop beside each row, which a file keeps
    compare.py --save FILE NEW      writes that file, with the filter

    --filter REGEX   rows (all, or those of the file);  --runs N  of each build (7);  --seconds S  a row and run (0.02)

A row is a case of the program; its time is what an element takes, in CPU time, as the median of the runs. Old and new
alternate, so that what else the machine does hits both, and the ratio is taken pair by pair. A row has moved if its ratio
differs from 1 by more than three times the error of the median, by more than nearly all plain loops ("flat") seem
to have moved, which are the same code in both builds, and by more than 3 %. Ends with 1 if any row is slower.
"""
import argparse
import json
import math
import os
import statistics
import subprocess
import sys
import tempfile

LEAST = 0.03  # what is not worth a look, however sure
LEAST_OF_BASELINE = 0.25  # the same against a file: other machines have other caches


def program(path):
    """The benchmark program of a build."""
    return os.path.join(path, "bench", "qvoseq_bench") if os.path.isdir(path) else path


def times(path, options):
    """Nanoseconds an element by row, of one run."""
    with tempfile.NamedTemporaryFile(suffix=".json") as file:
        command = [program(path), f"--benchmark_filter={options.filter or '.'}", "--benchmark_out_format=json",
                   f"--benchmark_min_time={options.seconds}", f"--benchmark_out={file.name}"]
        subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        text = file.read()
    if not text:
        sys.exit(f"{path}: no rows match {options.filter or '.'}, or the program cannot start")
    rows = json.loads(text)["benchmarks"]
    for row in rows:
        if row.get("error_occurred"):
            print(f"{path}: {row['name']}: {row['error_message']}", file=sys.stderr)
    return {row["name"]: 1e9 / row["elements"] for row in rows if row.get("elements")}  # none where it failed


def median_and_error(values):
    """The median and its standard error, from the median distance to it."""
    middle = statistics.median(values)
    spread = 1.4826 * statistics.median(abs(value - middle) for value in values)
    return middle, 1.2533 * spread / math.sqrt(len(values))


def plain_loop(name):
    return name.rsplit("/", 1)[0] + "/flat"


def to_plain(row_times):
    """Times as multiples of the plain loop's in the same run, of rows that have one."""
    return {name: time / row_times[plain_loop(name)] for name, time in row_times.items()
            if plain_loop(name) in row_times and plain_loop(name) != name}


def report(moved, compared, floor):
    for sign, title in ((1, "slower"), (-1, "faster")):
        rows = sorted((row for row in moved if row[1] * sign > 0), key=lambda row: -abs(row[1]))
        print(f"{len(rows)} {title}")
        for name, log, old, new in rows:
            print(f"  {name:44} {old:9.3f} {new:9.3f}   {math.exp(log):5.2f}")
    print(f"of {compared} rows; noise of the plain loops {100 * math.expm1(floor):.1f} %")
    return any(row[1] > 0 for row in moved)


def compare_builds(old, new, options):
    runs = [(times(old, options), times(new, options)) for _ in range(options.runs)]
    rows = [name for name in runs[0][0] if all(name in a and name in b for a, b in runs)]
    logs = {name: [math.log(b[name] / a[name]) for a, b in runs] for name in rows}
    flat = sorted(abs(statistics.median(logs[name])) for name in rows if name.endswith("/flat"))
    floor = max(LEAST, flat[int(0.95 * (len(flat) - 1))] if flat else 0)
    moved = []
    for name in rows:
        log, error = median_and_error(logs[name])
        if abs(log) > max(3 * error, floor) and not name.endswith("/flat"):
            moved.append((name, log, *(statistics.median(run[k][name] for run in runs) for k in (0, 1))))
    return report(moved, len(rows), floor)


def ratios(build, options):
    """The ratio of each row to its plain loop: median and error of its logarithm."""
    runs = [to_plain(times(build, options)) for _ in range(options.runs)]
    return {name: median_and_error([math.log(run[name]) for run in runs])
            for name in runs[0] if all(name in run for run in runs)}


def compare_baseline(path, new, options):
    with open(path, encoding="utf-8") as file:
        saved = json.load(file)
    baseline = saved["rows"]
    options.filter = options.filter or saved["filter"]
    now = {name: at for name, at in ratios(new, options).items() if name in baseline}
    moved = [(name, log - math.log(baseline[name]), baseline[name], math.exp(log))
             for name, (log, error) in now.items()
             if abs(log - math.log(baseline[name])) > max(3 * error, LEAST_OF_BASELINE)]
    return report(moved, len(now), LEAST_OF_BASELINE)


def save(path, new, options):
    rows = {name: round(math.exp(log), 2) for name, (log, _) in sorted(ratios(new, options).items())}
    with open(path, "w", encoding="utf-8") as file:
        json.dump({"filter": options.filter, "rows": rows}, file, indent=0)
        file.write("\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("old", nargs="?")
    parser.add_argument("new")
    parser.add_argument("--baseline")
    parser.add_argument("--save")
    parser.add_argument("--filter", default="")
    parser.add_argument("--runs", type=int, default=7)
    parser.add_argument("--seconds", type=float, default=0.02)
    options = parser.parse_args()
    if options.save:
        save(options.save, options.new, options)
    elif options.baseline:
        sys.exit(compare_baseline(options.baseline, options.new, options))
    elif options.old:
        sys.exit(compare_builds(options.old, options.new, options))
    else:
        parser.error("two builds, or one and --baseline or --save")


if __name__ == "__main__":
    main()
