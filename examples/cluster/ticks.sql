-- Ticks that are the same wherever and whenever they are made: of a symbol and a day, n of them.
CREATE FUNCTION make_ticks(symbol text, day date, n int, OUT "time" timestamptz, OUT price float8, OUT volume int)
    RETURNS SETOF record LANGUAGE SQL STABLE AS $$
    SELECT (day + interval '8 hours' + (i * (28800000000 / n) + (h & 4095)) * interval '1 microsecond')
               AT TIME ZONE 'UTC',
           round(10000 + 500 * sin(i / 800.0::float8) + (h >> 12 & 63)) / 100,
           (h >> 20 & 1023)::int
    FROM (SELECT i, hashint8extended(i, hashtext(symbol) + (day - date '2026-01-01')) & 9223372036854775807 AS h
          FROM generate_series(0, n - 1) AS i) AS made
$$;
