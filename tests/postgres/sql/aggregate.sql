-- Aggregates: over rows, groups, windows, states; and rows out of values.
SET extra_float_digits = 0;
CREATE TABLE chunks (k text, i int, x qvoseq);
INSERT INTO chunks VALUES ('a', 1, '[1,2,3]'), ('a', 2, '[4.5,null]'), ('b', 3, '[7]'), ('b', 4, NULL), ('c', 5, NULL);
SELECT k, seq_count(x), seq_sum(x), seq_avg(x), seq_min(x), seq_max(x), seq_stddev(x), seq_median(x) FROM chunks GROUP BY k ORDER BY k;
SELECT seq_count(x), seq_sum(x), seq_any(x > 1), seq_first(x) FROM chunks WHERE false;
SELECT seq_sum_int(x), seq_max_text(x), seq_sum(x) FILTER (WHERE i = 3) FROM chunks WHERE k = 'b';
SELECT i, seq_sum(x) OVER (ORDER BY i), seq_max(x) OVER (ORDER BY i ROWS 1 PRECEDING) FROM chunks;
SELECT seq_join(x ORDER BY i DESC), seq_join(x, i), seq_first(x ORDER BY i DESC), seq_last(x, i) FROM chunks WHERE x IS NOT NULL;
SELECT k FROM chunks GROUP BY k HAVING seq_any(x > 6);
SELECT seq_histogram(x, 0, 8, 2), seq_quantile(x, 0.5) FROM chunks;
-- What seq_pack makes follows the type of the values, unless one is named.
SELECT seq_pack(v), seq_pack(v::float8), seq_pack(v::text, -v), seq_pack(v > 1), seq_pack(v, v, 'int2'),
       seq_pack(date '2026-01-01' + v), seq_pack(timestamptz '2026-01-01 00:00+00' + v * interval '1 h', -v)
FROM generate_series(1, 2) AS v;
SELECT seq_pack(v) FROM (VALUES (1), (NULL)) AS t(v);
-- States are values of their own, and what parallel plans and other servers send.
CREATE TABLE states AS SELECT k, seq_state('avg', x) AS s FROM chunks GROUP BY k;
SELECT seq_finish(seq_merge(s)), (SELECT seq_avg(x) FROM chunks) FROM states;
SELECT pg_typeof(s), s::text::qvoseq_state::bytea = s::bytea FROM states LIMIT 1;
SELECT seq_merge(s) FROM (SELECT seq_state('sum', '[1]'::qvoseq) UNION ALL SELECT seq_state('max', '[1]'::qvoseq)) AS t(s);
SELECT seq_finish(seq_state('pack', 1));
-- Tables.
SELECT * FROM seq_rows('[1.5,null]', '[3,4]');
SELECT k, pos, v1 FROM chunks, seq_rows(x) ORDER BY i, pos;
SELECT * FROM seq_rows_as('timestamp["2026-01-01"]', '["a"]', '[5]') AS r(pos bigint, at timestamptz, k text, n bigint);
SELECT * FROM seq_rows_text('["a"]'), seq_rows_int('[1]'), seq_rows(NULL::qvoseq);
SELECT * FROM seq_rows('[1]', '[1,2]');
SELECT * FROM seq_rows_as('[1]') AS r(pos bigint, a float8, b float8, c float8, d float8, e float8, f float8, g float8, h float8, i float8);
SELECT * FROM seq_rows('["a"]');
SELECT g.* FROM (SELECT seq_group('["a","b","a"]', '[1,2,3]') AS groups) AS t, seq_group_rows_text(groups) AS g;
DROP TABLE chunks, states;
