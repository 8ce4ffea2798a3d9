-- Where one asks: a table whose partitions lie on the servers, by a hash of the symbol. :folder holds their sockets.
CREATE EXTENSION qvoseq;
CREATE EXTENSION postgres_fdw;
SET cluster.folder TO :'folder';

CREATE TABLE ticks (symbol text, day date, time qvoseq, price qvoseq, volume qvoseq) PARTITION BY HASH (symbol);
DO $$
BEGIN
    FOR i IN 0..3 LOOP
        -- extensions: the functions of qvoseq are the same there, and may be computed there.
        EXECUTE format('CREATE SERVER s%s FOREIGN DATA WRAPPER postgres_fdw
                        OPTIONS (host %L, dbname ''ticks'', extensions ''qvoseq'', async_capable ''true'',
                                 fdw_tuple_cost ''10'')', -- a row is a chunk, and dear to ship
                       i, current_setting('cluster.folder') || '/' || i);
        EXECUTE format('CREATE USER MAPPING FOR PUBLIC SERVER s%s
                        OPTIONS (user ''postgres'', password_required ''false'')', i);
        EXECUTE format('CREATE FOREIGN TABLE ticks_%s PARTITION OF ticks FOR VALUES WITH (MODULUS 4, REMAINDER %s)
                        SERVER s%s OPTIONS (table_name ''ticks'')', i, i, i);
    END LOOP;
END $$;

-- A group that lies in one partition is computed there as a whole.
ALTER DATABASE cluster SET enable_partitionwise_aggregate = on;

-- For other groups: states of each symbol, made where it lies; above them, seq_merge. By day, for instance:
CREATE VIEW price_by_day AS
    SELECT day, seq_finish(seq_merge(average)) AS average, seq_finish(seq_merge(spread)) AS spread
    FROM (SELECT symbol, day, seq_state('avg', price) AS average, seq_state('stddev', price) AS spread
          FROM ticks GROUP BY symbol, day) AS states
    GROUP BY day;
