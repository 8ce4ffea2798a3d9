-- Four years of daily weather in two cities, packed into chunk rows and asked in SQL.
-- tools/example imports the file into the table raw before it reads this.

-- A row is a chunk: one city, one month, one sequence for each measured column, all of equal length.
CREATE TABLE weather AS
  SELECT location AS city, substr(date, 1, 7) AS month,
         seq_pack(date, date, 'timestamp') AS date,
         seq_pack(CAST(precipitation AS REAL), date) AS rain,
         seq_pack(CAST(temp_max AS REAL), date) AS high,
         seq_pack(CAST(temp_min AS REAL), date) AS low,
         seq_pack(CAST(wind AS REAL), date) AS wind,
         seq_pack(weather, date) AS kind
  FROM raw GROUP BY location, substr(date, 1, 7);

-- What looks at neighbours, or at the order of all, works on one sequence: the months of a city one after the other.
CREATE VIEW city AS
  SELECT city, seq_join(date, month) AS date, seq_join(rain, month) AS rain, seq_join(high, month) AS high,
         seq_join(low, month) AS low, seq_join(wind, month) AS wind, seq_join(kind, month) AS kind
  FROM weather GROUP BY city;

-- What is stored: the columns of one chunk.
SELECT city, month, seq_length(high) AS days, seq_type(kind) AS kinds, seq_to_json(seq_slice(rain, 0, 6)) AS rain
FROM weather WHERE month = '2012-01';

-- The mean high of days with more than 5 mm of rain, for each city and for both.
SELECT city, round(seq_avg(seq_filter(high, seq_gt(rain, 5))), 2) AS mean_high FROM weather GROUP BY city
UNION ALL
SELECT 'both', round(seq_avg(seq_filter(high, seq_gt(rain, 5))), 2) FROM weather;

-- The same from states: each month's is stored or shipped, and combined later.
WITH parts AS (
  SELECT city, seq_state('avg', seq_filter(high, seq_gt(rain, 5))) AS state FROM weather GROUP BY city, month)
SELECT count(*) AS parts, round(seq_finish(seq_merge(state)), 2) AS mean_high FROM parts;

-- Days with at least 50 mm.
SELECT city, date(r.v1) AS day, r.v2 AS rain
FROM weather, seq_rows(seq_filter(date, seq_ge(rain, 50)), seq_filter(rain, seq_ge(rain, 50))) AS r
ORDER BY city DESC, day;

-- The share of days without rain, the least and the most wind, the correlation of high and low.
SELECT city, round(100.0 * seq_sum(seq_eq(rain, 0)) / seq_count(rain), 2) AS dry_percent,
       seq_min(wind) AS least_wind, seq_max(wind) AS most_wind, round(seq_corr(high, low), 4) AS correlation
FROM weather GROUP BY city ORDER BY city DESC;

-- The highest temperature in Fahrenheit.
SELECT city, round(seq_max(seq_add(seq_mul(high, 1.8), 32)), 2) AS fahrenheit FROM weather GROUP BY city ORDER BY city DESC;

-- The five wettest days.
SELECT city, date(d.v1) AS day, d.v2 AS rain
FROM city, seq_rows(seq_slice(seq_take(date, seq_argsort(rain, 'desc')), 0, 5), seq_top(rain, 5)) AS d
ORDER BY city DESC, d.pos;

-- Kinds of days: their number and mean high.
SELECT g.key AS kind, g.count AS days, round(g.avg, 2) AS mean_high
FROM (SELECT seq_group(kind, high) AS groups FROM weather), seq_group_rows(groups) AS g ORDER BY days DESC;

-- Different highs, counted and estimated, and in whole degrees.
SELECT city, seq_count_distinct(high) AS highs, seq_approx_distinct(high) AS estimated,
       seq_count_distinct(seq_round(high)) AS whole_degrees
FROM weather GROUP BY city ORDER BY city DESC;

-- The last six months: days, mean high, rain.
SELECT city, month, seq_count(high) AS days, round(seq_avg(high), 2) AS mean_high, round(seq_sum(rain), 1) AS rain
FROM weather WHERE month >= '2015-07' GROUP BY city, month ORDER BY city DESC, month;

-- Changes of the high from day to day, and days of a rising high.
SELECT city, round(seq_min(seq_diff(high)), 1) AS largest_fall, round(seq_max(seq_diff(high)), 1) AS largest_rise,
       seq_sum(seq_gt(seq_diff(high), 0)) AS rising_days
FROM city GROUP BY city ORDER BY city DESC;

-- Kinds of days by pattern.
SELECT city, seq_sum(seq_like(kind, 's%')) AS "s%", seq_sum(seq_like(kind, '%i%')) AS "%i%"
FROM weather GROUP BY city ORDER BY city DESC;

-- The distribution of highs in steps of 5 degrees from -10 on, and its quartiles.
SELECT city, seq_histogram(high, -10, 40, 10) AS days FROM weather GROUP BY city ORDER BY city DESC;
SELECT city, seq_quantile(high, 0.25) AS lower, seq_median(high) AS median, seq_quantile(high, 0.75) AS upper
FROM weather GROUP BY city ORDER BY city DESC;

-- The rain of the last 365 days, summed up day by day.
SELECT city, round(seq_get(total, 89), 1) AS "90 days", round(seq_get(total, 179), 1) AS "180 days",
       round(seq_get(total, -1), 1) AS "365 days"
FROM (SELECT city, seq_cumsum(seq_slice(rain, -365)) AS total FROM city) ORDER BY city DESC;

-- The warmest seven days, by a rolling mean.
SELECT city, round(seq_max(week), 2) AS mean_high, date(seq_get(date, seq_argmax(week))) AS up_to
FROM (SELECT city, date, seq_rolling_mean(high, 7) AS week FROM city) GROUP BY city ORDER BY city DESC;

-- Rain by quarter.
SELECT city, date(q.v1) AS quarter, round(q.v2, 1) AS rain
FROM city, seq_rows(seq_resample_time(date, '3 months'), seq_resample(date, rain, '3 months', 'sum')) AS q
WHERE city = 'Seattle' AND q.v1 >= '2014';

-- Days with at least 10 mm in both cities: one city's rain, lined up with the days of the other.
SELECT seq_sum(seq_and(seq_ge(s.rain, 10), seq_ge(seq_asof(s.date, n.date, n.rain, 0), 10))) AS days
FROM city AS s, city AS n WHERE s.city = 'Seattle' AND n.city = 'New York';

-- What all this takes on the disk, in bytes: the columns as text in the table raw, and as sequences.
SELECT (SELECT sum(length(date) + length(precipitation) + length(temp_max) + length(temp_min) + length(wind)
                   + length(weather)) FROM raw) AS raw,
       (SELECT sum(length(date) + length(rain) + length(high) + length(low) + length(wind) + length(kind))
        FROM weather) AS chunks_of_a_month,
       (SELECT sum(length(date) + length(rain) + length(high) + length(low) + length(wind) + length(kind))
        FROM city) AS one_sequence;
