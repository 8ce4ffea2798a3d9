-- Functions and operators: how arguments of all types find them, and what they refuse.
SET timezone = 'UTC';
SELECT x + 1, 1 + x, x * 1.5, 2::smallint - x, 3::real / x, x % 2, -x FROM (SELECT '[1,2,3]'::qvoseq AS x) AS one;
SELECT x < 2, x <= y, x = y, x <> 2.0, 2 >= x, 2::bigint > x FROM (SELECT '[1,2,3]'::qvoseq AS x, '[1,5,3]'::qvoseq AS y) AS one;
SELECT (x > 1) && (x < 3), (x = 1) || (x = 3), ! (x = 1), (x = 1) && true, false || (x = 1) FROM (SELECT '[1,2,3]'::qvoseq AS x) AS one;
SELECT t > '2026-01-01', '2026-01-01' < t, t - '2026-01-01', t + 1000000, t >= '2026-01-02 00:00+00'::timestamptz, t = date '2026-01-02',
       timestamp '2026-01-02' = t
FROM (SELECT 'timestamp["2026-01-01","2026-01-02"]'::qvoseq AS t) AS one;
SELECT t + interval '1 day 1 s' FROM (SELECT 'timestamp["2026-01-01"]'::qvoseq AS t) AS one;
SELECT seq_range('2026-01-01', 2, interval '36 h'), seq_asof(t, t, '[5.5]', interval '1 min'), seq_floor_time(t, interval '15 min'), seq_floor_time(t, '1 month'::text) FROM (SELECT 'timestamp["2026-01-01"]'::qvoseq AS t) AS one;
SELECT k = 'a', 'b' < k, seq_like(k, 'a%') FROM (SELECT '["a","bc"]'::qvoseq AS k) AS one;
SELECT seq_add(x, 1), seq_gt(1.5, x), seq_between(x, 2, 3), seq_where(x > 1, x, 0), seq_clip(x, 2, NULL) FROM (SELECT '[1,2,3]'::qvoseq AS x) AS one;
SELECT seq_range('2026-01-01', 2, '1 day'), seq_range(timestamptz '2026-01-01', 2, 60000000), seq_range(1, 3, 0.5), seq_repeat('é', 2);
SELECT seq_get('[5,6]', -1), seq_get_int('[5,6]', 0), seq_get_text('["a"]', 0), seq_get_time('timestamp["2026-01-01"]', 0), seq_get('[5]', 9);
SELECT seq_rolling_mean('[1,2,4]', 2), seq_slice('[1,2,3]', 1), seq_length('[1,2]');
-- A number that float8 does not hold is not rounded in silence.
SELECT seq_get('[9007199254740993]', 0);
SELECT seq_get_int('[9007199254740993]', 0), seq_get_int('uint8[7]', 0);
SELECT seq_get_int('[1.5]', 0);
SELECT seq_get('["a"]', 0);
-- Errors of the value library have its sentences.
SELECT '[1,2]'::qvoseq + '[1,2,3]'::qvoseq;
SELECT '[9000000000000000000]'::qvoseq * 2;
SELECT '[1]'::qvoseq + 'a';
SELECT seq_add(1, 2);
SELECT 'timestamp["2026-01-01"]'::qvoseq + interval '1 month';
SELECT '[1]'::qvoseq + '{1}'::int[];
SELECT seq_rolling_mean('[1]', 0);
-- Renamed functions in other schemas find their way.
ALTER FUNCTION seq_sqrt(qvoseq) RENAME TO root;
SELECT root('[4]');
ALTER FUNCTION root(qvoseq) RENAME TO seq_sqrt;
-- The budget of a session.
SELECT seq_budget(), seq_budget(1000), seq_budget();
SELECT seq_length(seq_reverse(seq_range(0, 1001)));
SELECT seq_budget(0);
RESET qvoseq.budget;
SELECT seq_budget();
