-- On every server: makes and packs the ticks of its symbols. :symbols is their list, :n ticks a day.
INSERT INTO ticks
SELECT symbol, day::date, seq_pack(m.time, m.time), seq_pack(m.price, m.time), seq_pack(m.volume, m.time, 'int4')
FROM unnest(:'symbols'::text[]) AS symbol, generate_series(date '2026-01-01', date '2026-01-10', '1 day') AS day,
     make_ticks(symbol, day::date, :n) AS m
GROUP BY symbol, day;
ANALYZE ticks;
