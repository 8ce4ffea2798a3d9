"""The oracles, by the tables of the reference."""
from oracles import aggregates, element_wise, make

ORACLES = {**make.ORACLES, **element_wise.ORACLES, **aggregates.ORACLES}

# Functions that have an oracle and no entry in the catalog, or the other way round.
PENDING = set(
    """
    diff pct_change shift cumsum cumprod cummax cummin ffill bfill interpolate rolling_sum rolling_mean
    rolling_min rolling_max rolling_var rolling_std rolling_count rolling_median rolling_sum_time
    rolling_mean_time rolling_min_time rolling_max_time rolling_count_time ema wilder atr rsi filter positions
    take mask sort argsort rank reverse unique top bottom prod argmin argmax any all histogram cov corr slope
    intercept weighted_avg median quantile mode count_distinct approx_distinct resample resample_time asof
    align
    """.split()
)
