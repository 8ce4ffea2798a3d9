\timing on
-- Grouped by what the table is partitioned by: each server computes its groups.
SELECT symbol, seq_avg(seq_filter(price, volume > 900)) AS average FROM ticks GROUP BY symbol ORDER BY symbol LIMIT 3;
EXPLAIN (VERBOSE, COSTS OFF)
SELECT symbol, seq_avg(seq_filter(price, volume > 900)) AS average FROM ticks GROUP BY symbol;

-- Grouped otherwise: the servers send states, which are merged here.
SELECT * FROM price_by_day ORDER BY day LIMIT 3;
EXPLAIN (VERBOSE, COSTS OFF) SELECT * FROM price_by_day;

-- One symbol is one server's.
SELECT seq_length(seq_join(price, day)) AS ticks, seq_max_time(time) AS up_to FROM ticks WHERE symbol = 'S042';
