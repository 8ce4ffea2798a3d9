"""Pictures of sequences of any length: what is drawn is the smallest and the largest value of each column of pixels,
which `resample` finds. Needs matplotlib: the extra `plot`."""

from typing import Any

import numpy as np

from qvoseq.functions import range as range_of
from qvoseq.sequence import Sequence

COLUMNS = 1000  # of pixels; twice as many points are drawn at most, and a few where buckets are cut


def thinned(t: "Sequence | None", x: Sequence) -> tuple[np.ndarray, np.ndarray]:
    """Where and what to draw: all of a short sequence, else two points for each of about COLUMNS stretches of time.
    Without times the positions are on the axis."""
    n = len(x)
    if n <= 2 * COLUMNS:
        return np.arange(n) if t is None else t.to_numpy(), x.to_numpy()
    at = range_of(0, n).cast("timestamp") if t is None else t  # a microsecond for each position
    ends = at.slice(0, 1).to_numpy()[0], at.slice(-1).to_numpy()[0]
    microseconds = max(1, -(-int((ends[1] - ends[0]).astype("i8")) // COLUMNS))
    width = f"{microseconds} microseconds"
    buckets = at.resample_time(width).to_numpy()
    low, high = (at.resample(x, width, how).to_numpy() for how in ("min", "max"))
    drawn = np.empty(2 * buckets.size, low.dtype)
    drawn[0::2], drawn[1::2] = low, high
    places = np.repeat(buckets, 2)
    return places.astype("i8") if t is None else places, drawn


def plot(t: Any, *sequences: Any, labels: Any = None, ax: Any = None, **options: Any) -> Any:
    """Draws sequences over time stamps `t`, or over their positions if t is None, into `ax` or a new figure; returns
    the axes. labels: a name for each. Other options are those of matplotlib's plot."""
    try:
        from matplotlib import pyplot
    except ImportError:
        raise ImportError("plots need matplotlib: pip install 'qvoseq[plot]'") from None
    if ax is None:
        _, ax = pyplot.subplots()
    t = t if t is None or isinstance(t, Sequence) else Sequence(t)
    for i, x in enumerate(sequences):
        places, drawn = thinned(t, x if isinstance(x, Sequence) else Sequence(x))
        ax.plot(places, drawn, **({} if labels is None else {"label": labels[i]}), **options)
    if labels is not None:
        ax.legend()
    return ax
