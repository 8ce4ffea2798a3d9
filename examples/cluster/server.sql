-- On every server: chunk rows of the symbols that belong here, a row for each symbol and day.
CREATE EXTENSION qvoseq;
CREATE TABLE ticks (symbol text, day date, time qvoseq, price qvoseq, volume qvoseq, PRIMARY KEY (symbol, day));
-- TOAST keeps the sequences apart from the rows: the planner sees a small table, and is told that it is work for two.
ALTER TABLE ticks SET (parallel_workers = 2);
