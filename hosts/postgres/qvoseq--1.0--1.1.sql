-- The extension qvoseq, version 1.1: written by tools/postgres_script.py from the catalog.
\echo Use "ALTER EXTENSION qvoseq UPDATE" to load this file. \quit

CREATE FUNCTION seq_rows_support(internal) RETURNS internal
    AS 'MODULE_PATHNAME', 'qvoseq_rows_support' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE OR REPLACE FUNCTION seq_rows(x qvoseq) RETURNS TABLE(pos bigint, v1 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_int(x qvoseq) RETURNS TABLE(pos bigint, v1 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_time(x qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_text(x qvoseq) RETURNS TABLE(pos bigint, v1 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_as(x qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq, x3 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8, v3 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq, x3 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint, v3 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq, x3 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz, v3 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq, x3 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text, v3 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq, x3 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8, v3 float8, v4 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint, v3 bigint, v4 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz, v3 timestamptz, v4 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text, v3 text, v4 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8, v3 float8, v4 float8, v5 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint, v3 bigint, v4 bigint, v5 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz, v3 timestamptz, v4 timestamptz, v5 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text, v3 text, v4 text, v5 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8, v3 float8, v4 float8, v5 float8, v6 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint, v3 bigint, v4 bigint, v5 bigint, v6 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz, v3 timestamptz, v4 timestamptz, v5 timestamptz, v6 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text, v3 text, v4 text, v5 text, v6 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8, v3 float8, v4 float8, v5 float8, v6 float8, v7 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint, v3 bigint, v4 bigint, v5 bigint, v6 bigint, v7 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz, v3 timestamptz, v4 timestamptz, v5 timestamptz, v6 timestamptz, v7 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text, v3 text, v4 text, v5 text, v6 text, v7 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq, x8 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8, v3 float8, v4 float8, v5 float8, v6 float8, v7 float8, v8 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq, x8 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint, v3 bigint, v4 bigint, v5 bigint, v6 bigint, v7 bigint, v8 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq, x8 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz, v3 timestamptz, v4 timestamptz, v5 timestamptz, v6 timestamptz, v7 timestamptz, v8 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq, x8 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text, v3 text, v4 text, v5 text, v6 text, v7 text, v8 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
CREATE OR REPLACE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq, x8 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000 SUPPORT seq_rows_support;
COMMENT ON AGGREGATE seq_join(qvoseq) IS 'The sequences of the rows one after the other, ordered by a key.';
COMMENT ON AGGREGATE seq_join(qvoseq, "any") IS 'The sequences of the rows one after the other, ordered by a key.';
COMMENT ON FUNCTION seq_append(qvoseq, qvoseq) IS 'x, and y after it.';
COMMENT ON FUNCTION seq_bfill(qvoseq) IS 'Missing values replaced with the next value after them.';
COMMENT ON FUNCTION seq_bfill(qvoseq, bigint) IS 'Missing values replaced with the next value after them.';
