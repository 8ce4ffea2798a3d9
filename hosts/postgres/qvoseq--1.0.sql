-- The extension qvoseq, version 1.0: written by tools/postgres_script.py from the catalog.
\echo Use "CREATE EXTENSION qvoseq" to load this file. \quit

CREATE TYPE qvoseq;
CREATE FUNCTION qvoseq_in(cstring) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_in' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qvoseq_out(qvoseq) RETURNS cstring
    AS 'MODULE_PATHNAME', 'qvoseq_out' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qvoseq_recv(internal) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_recv' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qvoseq_send(qvoseq) RETURNS bytea
    AS 'MODULE_PATHNAME', 'qvoseq_send' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE TYPE qvoseq (INPUT = qvoseq_in, OUTPUT = qvoseq_out, RECEIVE = qvoseq_recv, SEND = qvoseq_send,
    ALIGNMENT = double, STORAGE = external);
COMMENT ON TYPE qvoseq IS 'a sequence of values of one type';
CREATE TYPE qvoseq_state;
CREATE FUNCTION qvoseq_state_in(cstring) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_state_in' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qvoseq_state_out(qvoseq_state) RETURNS cstring
    AS 'MODULE_PATHNAME', 'qvoseq_state_out' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qvoseq_state_recv(internal) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_state_recv' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qvoseq_state_send(qvoseq_state) RETURNS bytea
    AS 'MODULE_PATHNAME', 'qvoseq_state_send' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE TYPE qvoseq_state (INPUT = qvoseq_state_in, OUTPUT = qvoseq_state_out, RECEIVE = qvoseq_state_recv, SEND = qvoseq_state_send,
    ALIGNMENT = double, STORAGE = external);
COMMENT ON TYPE qvoseq_state IS 'the running state of an aggregate over sequences';
CREATE FUNCTION qvoseq_of_bytes(bytea) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_of_bytes' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qvoseq_as_bytes(qvoseq) RETURNS bytea
    AS 'MODULE_PATHNAME', 'qvoseq_as_bytes' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (bytea AS qvoseq) WITH FUNCTION qvoseq_of_bytes(bytea);
CREATE CAST (qvoseq AS bytea) WITH FUNCTION qvoseq_as_bytes(qvoseq);
CREATE FUNCTION qvoseq_state_of_bytes(bytea) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_state_of_bytes' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qvoseq_state_as_bytes(qvoseq_state) RETURNS bytea
    AS 'MODULE_PATHNAME', 'qvoseq_state_as_bytes' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (bytea AS qvoseq_state) WITH FUNCTION qvoseq_state_of_bytes(bytea);
CREATE CAST (qvoseq_state AS bytea) WITH FUNCTION qvoseq_state_as_bytes(qvoseq_state);
CREATE FUNCTION qvoseq_of_array(boolean[]) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_of_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (boolean[] AS qvoseq) WITH FUNCTION qvoseq_of_array(boolean[]) AS ASSIGNMENT;
CREATE FUNCTION qvoseq_of_array(smallint[]) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_of_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (smallint[] AS qvoseq) WITH FUNCTION qvoseq_of_array(smallint[]) AS ASSIGNMENT;
CREATE FUNCTION qvoseq_of_array(integer[]) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_of_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (integer[] AS qvoseq) WITH FUNCTION qvoseq_of_array(integer[]) AS ASSIGNMENT;
CREATE FUNCTION qvoseq_of_array(bigint[]) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_of_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (bigint[] AS qvoseq) WITH FUNCTION qvoseq_of_array(bigint[]) AS ASSIGNMENT;
CREATE FUNCTION qvoseq_of_array(real[]) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_of_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (real[] AS qvoseq) WITH FUNCTION qvoseq_of_array(real[]) AS ASSIGNMENT;
CREATE FUNCTION qvoseq_of_array(float8[]) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_of_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (float8[] AS qvoseq) WITH FUNCTION qvoseq_of_array(float8[]) AS ASSIGNMENT;
CREATE FUNCTION qvoseq_of_array(numeric[]) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_of_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (numeric[] AS qvoseq) WITH FUNCTION qvoseq_of_array(numeric[]) AS ASSIGNMENT;
CREATE FUNCTION qvoseq_of_array(timestamptz[]) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_of_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (timestamptz[] AS qvoseq) WITH FUNCTION qvoseq_of_array(timestamptz[]) AS ASSIGNMENT;
CREATE FUNCTION qvoseq_of_array(text[]) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_of_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (text[] AS qvoseq) WITH FUNCTION qvoseq_of_array(text[]) AS ASSIGNMENT;
CREATE FUNCTION qvoseq_as_booleans(qvoseq) RETURNS boolean[]
    AS 'MODULE_PATHNAME', 'qvoseq_as_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (qvoseq AS boolean[]) WITH FUNCTION qvoseq_as_booleans(qvoseq) AS ASSIGNMENT;
CREATE FUNCTION qvoseq_as_bigints(qvoseq) RETURNS bigint[]
    AS 'MODULE_PATHNAME', 'qvoseq_as_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (qvoseq AS bigint[]) WITH FUNCTION qvoseq_as_bigints(qvoseq) AS ASSIGNMENT;
CREATE FUNCTION qvoseq_as_float8s(qvoseq) RETURNS float8[]
    AS 'MODULE_PATHNAME', 'qvoseq_as_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (qvoseq AS float8[]) WITH FUNCTION qvoseq_as_float8s(qvoseq) AS ASSIGNMENT;
CREATE FUNCTION qvoseq_as_timestamptzs(qvoseq) RETURNS timestamptz[]
    AS 'MODULE_PATHNAME', 'qvoseq_as_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (qvoseq AS timestamptz[]) WITH FUNCTION qvoseq_as_timestamptzs(qvoseq) AS ASSIGNMENT;
CREATE FUNCTION qvoseq_as_texts(qvoseq) RETURNS text[]
    AS 'MODULE_PATHNAME', 'qvoseq_as_array' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (qvoseq AS text[]) WITH FUNCTION qvoseq_as_texts(qvoseq) AS ASSIGNMENT;
CREATE FUNCTION seq_budget() RETURNS bigint
    AS $$SELECT current_setting('qvoseq.budget')::bigint$$ LANGUAGE SQL STABLE PARALLEL SAFE;
CREATE FUNCTION seq_budget(n bigint) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_set_budget' LANGUAGE C VOLATILE STRICT;
COMMENT ON FUNCTION seq_budget() IS 'How many positions a call may read or expand for one result.';
COMMENT ON FUNCTION seq_budget(bigint) IS 'Sets qvoseq.budget for the session, and returns the budget before.';
CREATE FUNCTION seq_step_pack(running qvoseq_state, v "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_pack' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_step_pack(running qvoseq_state, v "any", key "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_pack' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_step_pack(running qvoseq_state, v "any", key "any", type "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_pack' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_pack(state qvoseq_state, v "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_final_pack' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_pack(v "any") (
    SFUNC = seq_step_pack,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_pack,
    FINALFUNC_EXTRA,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_pack("any") IS 'The values of the rows as a sequence, ordered by a key.';
CREATE FUNCTION seq_final_pack(state qvoseq_state, v "any", key "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_final_pack' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_pack(v "any", key "any") (
    SFUNC = seq_step_pack,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_pack,
    FINALFUNC_EXTRA,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_pack("any", "any") IS 'The values of the rows as a sequence, ordered by a key.';
CREATE FUNCTION seq_final_pack(state qvoseq_state) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_final_pack' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_pack(v "any", key "any", type "any") (
    SFUNC = seq_step_pack,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_pack,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_pack("any", "any", "any") IS 'The values of the rows as a sequence, ordered by a key.';
CREATE FUNCTION seq_rows(x qvoseq) RETURNS TABLE(pos bigint, v1 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows(qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_int(x qvoseq) RETURNS TABLE(pos bigint, v1 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_int(qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_time(x qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_time(qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_text(x qvoseq) RETURNS TABLE(pos bigint, v1 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_text(qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_as(x qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_as(qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows(qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_int(qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_time(qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_text(qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_as(qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq, x3 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8, v3 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows(qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq, x3 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint, v3 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_int(qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq, x3 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz, v3 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_time(qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq, x3 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text, v3 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_text(qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq, x3 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_as(qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8, v3 float8, v4 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows(qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint, v3 bigint, v4 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_int(qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz, v3 timestamptz, v4 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_time(qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text, v3 text, v4 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_text(qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_as(qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8, v3 float8, v4 float8, v5 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint, v3 bigint, v4 bigint, v5 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_int(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz, v3 timestamptz, v4 timestamptz, v5 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_time(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text, v3 text, v4 text, v5 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_text(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_as(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8, v3 float8, v4 float8, v5 float8, v6 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint, v3 bigint, v4 bigint, v5 bigint, v6 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_int(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz, v3 timestamptz, v4 timestamptz, v5 timestamptz, v6 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_time(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text, v3 text, v4 text, v5 text, v6 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_text(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_as(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8, v3 float8, v4 float8, v5 float8, v6 float8, v7 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint, v3 bigint, v4 bigint, v5 bigint, v6 bigint, v7 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_int(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz, v3 timestamptz, v4 timestamptz, v5 timestamptz, v6 timestamptz, v7 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_time(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text, v3 text, v4 text, v5 text, v6 text, v7 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_text(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_as(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq, x8 qvoseq) RETURNS TABLE(pos bigint, v1 float8, v2 float8, v3 float8, v4 float8, v5 float8, v6 float8, v7 float8, v8 float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_int(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq, x8 qvoseq) RETURNS TABLE(pos bigint, v1 bigint, v2 bigint, v3 bigint, v4 bigint, v5 bigint, v6 bigint, v7 bigint, v8 bigint)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_int(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_time(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq, x8 qvoseq) RETURNS TABLE(pos bigint, v1 timestamptz, v2 timestamptz, v3 timestamptz, v4 timestamptz, v5 timestamptz, v6 timestamptz, v7 timestamptz, v8 timestamptz)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_time(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_text(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq, x8 qvoseq) RETURNS TABLE(pos bigint, v1 text, v2 text, v3 text, v4 text, v5 text, v6 text, v7 text, v8 text)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_text(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_rows_as(x1 qvoseq, x2 qvoseq, x3 qvoseq, x4 qvoseq, x5 qvoseq, x6 qvoseq, x7 qvoseq, x8 qvoseq) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_rows_as(qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq, qvoseq) IS 'The positions and values of sequences of equal length, a row each.';
CREATE FUNCTION seq_from_json(text text) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_from_json' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_from_json(text) IS 'A JSON array as a sequence.';
CREATE FUNCTION seq_from_json(text text, type "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_from_json' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_from_json(text, "any") IS 'A JSON array as a sequence.';
CREATE FUNCTION seq_to_json(x qvoseq) RETURNS text
    AS 'MODULE_PATHNAME', 'qvoseq_call_to_json' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_to_json(qvoseq) IS 'The sequence as a JSON array.';
CREATE FUNCTION seq_length(x qvoseq) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_call_length' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_length(qvoseq) IS 'The number of positions, missing values included.';
CREATE FUNCTION seq_type(x qvoseq) RETURNS text
    AS 'MODULE_PATHNAME', 'qvoseq_call_type' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_type(qvoseq) IS 'The name of the type.';
CREATE FUNCTION seq_get(x qvoseq, i bigint) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_call_get' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_get(qvoseq, bigint) IS 'The value at a position.';
CREATE FUNCTION seq_get_int(x qvoseq, i bigint) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_call_get' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_get_int(qvoseq, bigint) IS 'The value at a position.';
CREATE FUNCTION seq_get_time(x qvoseq, i bigint) RETURNS timestamptz
    AS 'MODULE_PATHNAME', 'qvoseq_call_get' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_get_time(qvoseq, bigint) IS 'The value at a position.';
CREATE FUNCTION seq_get_text(x qvoseq, i bigint) RETURNS text
    AS 'MODULE_PATHNAME', 'qvoseq_call_get' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_get_text(qvoseq, bigint) IS 'The value at a position.';
CREATE FUNCTION seq_slice(x qvoseq, start bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_slice' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_slice(qvoseq, bigint) IS 'The positions from start up to, not including, stop.';
CREATE FUNCTION seq_slice(x qvoseq, start bigint, stop bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_slice' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_slice(qvoseq, bigint, bigint) IS 'The positions from start up to, not including, stop.';
CREATE FUNCTION seq_info(x qvoseq) RETURNS text
    AS 'MODULE_PATHNAME', 'qvoseq_call_info' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_info(qvoseq) IS 'What is known of a stored sequence without reading its values.';
CREATE FUNCTION seq_valid(blob "any") RETURNS boolean
    AS 'MODULE_PATHNAME', 'qvoseq_call_valid' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_valid("any") IS '1 if the bytes are a sound sequence in every part, else 0.';
CREATE FUNCTION seq_range(start "any", n bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_range' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_range("any", bigint) IS 'start, start + step, start + 2 step …: n values.';
CREATE FUNCTION seq_range(start "any", n bigint, step "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_range' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_range("any", bigint, "any") IS 'start, start + step, start + 2 step …: n values.';
CREATE FUNCTION seq_repeat(v "any", n bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_repeat' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_repeat("any", bigint) IS 'A value n times.';
CREATE FUNCTION seq_step_join(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_join' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_step_join(running qvoseq_state, x qvoseq, key "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_join' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_join(state qvoseq_state) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_final_join' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_join(x qvoseq) (
    SFUNC = seq_step_join,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_join,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_join(qvoseq) IS 'The sequences of the rows one behind the other, ordered by a key.';
CREATE AGGREGATE seq_join(x qvoseq, key "any") (
    SFUNC = seq_step_join,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_join,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_join(qvoseq, "any") IS 'The sequences of the rows one behind the other, ordered by a key.';
CREATE FUNCTION seq_append(x qvoseq, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_append' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_append(qvoseq, qvoseq) IS 'x, and y behind it.';
CREATE FUNCTION seq_cast(x qvoseq, type "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_cast' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_cast(qvoseq, "any") IS 'Every value as another type.';
CREATE FUNCTION seq_compress(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_compress' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_compress(qvoseq) IS 'The same sequence in fewer bytes, slower to read.';
CREATE FUNCTION seq_decompress(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_decompress' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_decompress(qvoseq) IS 'The sequence without compression.';
CREATE FUNCTION seq_add(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_add' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_add("any", "any") IS 'x + y.';
CREATE FUNCTION seq_sub(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sub' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_sub("any", "any") IS 'x - y.';
CREATE FUNCTION seq_mul(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mul' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_mul("any", "any") IS 'x · y.';
CREATE FUNCTION seq_div(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_div' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_div("any", "any") IS 'x / y.';
CREATE FUNCTION seq_floordiv(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_floordiv' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_floordiv("any", "any") IS 'x / y rounded down.';
CREATE FUNCTION seq_mod(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mod' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_mod("any", "any") IS 'The remainder of x // y.';
CREATE FUNCTION seq_neg(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_neg' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_neg(qvoseq) IS '-x.';
CREATE FUNCTION seq_abs(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_abs' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_abs(qvoseq) IS 'The absolute value.';
CREATE FUNCTION seq_sign(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sign' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_sign(qvoseq) IS '-1, 0 or 1, as x is below, at or above 0.';
CREATE FUNCTION seq_sqrt(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sqrt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_sqrt(qvoseq) IS 'The square root.';
CREATE FUNCTION seq_exp(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_exp' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_exp(qvoseq) IS 'e to the power of x.';
CREATE FUNCTION seq_ln(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ln' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_ln(qvoseq) IS 'The natural logarithm.';
CREATE FUNCTION seq_log10(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_log10' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_log10(qvoseq) IS 'The decimal logarithm.';
CREATE FUNCTION seq_pow(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_pow' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_pow("any", "any") IS 'x to the power of y.';
CREATE FUNCTION seq_round(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_round' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_round(qvoseq) IS 'Rounded to a number of decimal digits, half to even.';
CREATE FUNCTION seq_round(x qvoseq, digits bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_round' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_round(qvoseq, bigint) IS 'Rounded to a number of decimal digits, half to even.';
CREATE FUNCTION seq_floor(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_floor' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_floor(qvoseq) IS 'The largest whole number not above x.';
CREATE FUNCTION seq_ceil(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ceil' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_ceil(qvoseq) IS 'The smallest whole number not below x.';
CREATE FUNCTION seq_least(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_least' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_least("any", "any") IS 'The smaller of x and y.';
CREATE FUNCTION seq_greatest(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_greatest' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_greatest("any", "any") IS 'The larger of x and y.';
CREATE FUNCTION seq_clip(x "any", lo "any", hi "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_clip' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_clip("any", "any", "any") IS 'x, but not below lo and not above hi.';
CREATE FUNCTION seq_eq(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_eq("any", "any") IS 'x = y.';
CREATE FUNCTION seq_ne(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_ne("any", "any") IS 'x ≠ y.';
CREATE FUNCTION seq_lt(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_lt("any", "any") IS 'x < y.';
CREATE FUNCTION seq_le(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_le("any", "any") IS 'x ≤ y.';
CREATE FUNCTION seq_gt(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_gt("any", "any") IS 'x > y.';
CREATE FUNCTION seq_ge(x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_ge("any", "any") IS 'x ≥ y.';
CREATE FUNCTION seq_between(x "any", lo "any", hi "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_between' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_between("any", "any", "any") IS 'lo ≤ x and x ≤ hi.';
CREATE FUNCTION seq_and(c "any", d "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_and' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_and("any", "any") IS 'True where both are.';
CREATE FUNCTION seq_or(c "any", d "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_or' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_or("any", "any") IS 'True where one or both are.';
CREATE FUNCTION seq_xor(c "any", d "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_xor' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_xor("any", "any") IS 'True where exactly one is.';
CREATE FUNCTION seq_not(c qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_not' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_not(qvoseq) IS 'True where c is false.';
CREATE FUNCTION seq_like(x qvoseq, pattern "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_like' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_like(qvoseq, "any") IS 'True where the text matches a pattern.';
CREATE FUNCTION seq_is_missing(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_is_missing' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_is_missing(qvoseq) IS 'True where the value is missing.';
CREATE FUNCTION seq_fill(x "any", v "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_fill' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_fill("any", "any") IS 'x, with v where it is missing.';
CREATE FUNCTION seq_where(c "any", x "any", y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_where' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_where("any", "any", "any") IS 'x where c is true, else y.';
CREATE FUNCTION seq_year(t qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_year' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_year(qvoseq) IS 'The year.';
CREATE FUNCTION seq_month(t qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_month' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_month(qvoseq) IS 'The month, from 1.';
CREATE FUNCTION seq_day(t qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_day' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_day(qvoseq) IS 'The day of the month, from 1.';
CREATE FUNCTION seq_hour(t qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_hour' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_hour(qvoseq) IS 'The hour, from 0.';
CREATE FUNCTION seq_minute(t qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_minute' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_minute(qvoseq) IS 'The minute, from 0.';
CREATE FUNCTION seq_second(t qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_second' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_second(qvoseq) IS 'The second, from 0, without its fraction.';
CREATE FUNCTION seq_weekday(t qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_weekday' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_weekday(qvoseq) IS 'The day of the week: Monday is 0.';
CREATE FUNCTION seq_floor_time(t qvoseq, width "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_floor_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_floor_time(qvoseq, "any") IS 'The start of the bucket of time that holds t.';
CREATE FUNCTION seq_diff(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_diff' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_diff(qvoseq) IS 'The difference to the value n positions before.';
CREATE FUNCTION seq_diff(x qvoseq, n bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_diff' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_diff(qvoseq, bigint) IS 'The difference to the value n positions before.';
CREATE FUNCTION seq_pct_change(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_pct_change' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_pct_change(qvoseq) IS 'The relative change from the value n positions before.';
CREATE FUNCTION seq_pct_change(x qvoseq, n bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_pct_change' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_pct_change(qvoseq, bigint) IS 'The relative change from the value n positions before.';
CREATE FUNCTION seq_shift(x qvoseq, n bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_shift' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_shift(qvoseq, bigint) IS 'The value n positions before.';
CREATE FUNCTION seq_shift(x qvoseq, n bigint, v "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_shift' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_shift(qvoseq, bigint, "any") IS 'The value n positions before.';
CREATE FUNCTION seq_cumsum(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_cumsum' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_cumsum(qvoseq) IS 'The sum of all values up to each position.';
CREATE FUNCTION seq_cumprod(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_cumprod' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_cumprod(qvoseq) IS 'The product of all values up to each position.';
CREATE FUNCTION seq_cummax(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_cummax' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_cummax(qvoseq) IS 'The largest value up to each position.';
CREATE FUNCTION seq_cummin(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_cummin' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_cummin(qvoseq) IS 'The smallest value up to each position.';
CREATE FUNCTION seq_ffill(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ffill' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_ffill(qvoseq) IS 'Missing values replaced with the last value before them.';
CREATE FUNCTION seq_ffill(x qvoseq, "limit" bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ffill' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_ffill(qvoseq, bigint) IS 'Missing values replaced with the last value before them.';
CREATE FUNCTION seq_bfill(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_bfill' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_bfill(qvoseq) IS 'Missing values replaced with the next value behind them.';
CREATE FUNCTION seq_bfill(x qvoseq, "limit" bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_bfill' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_bfill(qvoseq, bigint) IS 'Missing values replaced with the next value behind them.';
CREATE FUNCTION seq_interpolate(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_interpolate' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_interpolate(qvoseq) IS 'Missing values replaced with the straight line between the values around them.';
CREATE FUNCTION seq_rolling_sum(x qvoseq, "window" bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_sum' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_sum(qvoseq, bigint) IS 'The sum of the last values at each position.';
CREATE FUNCTION seq_rolling_sum(x qvoseq, "window" bigint, min_periods bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_sum' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_sum(qvoseq, bigint, bigint) IS 'The sum of the last values at each position.';
CREATE FUNCTION seq_rolling_mean(x qvoseq, "window" bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_mean' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_mean(qvoseq, bigint) IS 'The mean of the last values at each position.';
CREATE FUNCTION seq_rolling_mean(x qvoseq, "window" bigint, min_periods bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_mean' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_mean(qvoseq, bigint, bigint) IS 'The mean of the last values at each position.';
CREATE FUNCTION seq_rolling_min(x qvoseq, "window" bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_min' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_min(qvoseq, bigint) IS 'The smallest of the last values at each position.';
CREATE FUNCTION seq_rolling_min(x qvoseq, "window" bigint, min_periods bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_min' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_min(qvoseq, bigint, bigint) IS 'The smallest of the last values at each position.';
CREATE FUNCTION seq_rolling_max(x qvoseq, "window" bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_max' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_max(qvoseq, bigint) IS 'The largest of the last values at each position.';
CREATE FUNCTION seq_rolling_max(x qvoseq, "window" bigint, min_periods bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_max' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_max(qvoseq, bigint, bigint) IS 'The largest of the last values at each position.';
CREATE FUNCTION seq_rolling_var(x qvoseq, "window" bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_var' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_var(qvoseq, bigint) IS 'The sample variance of the last values at each position.';
CREATE FUNCTION seq_rolling_var(x qvoseq, "window" bigint, min_periods bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_var' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_var(qvoseq, bigint, bigint) IS 'The sample variance of the last values at each position.';
CREATE FUNCTION seq_rolling_std(x qvoseq, "window" bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_std' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_std(qvoseq, bigint) IS 'The sample standard deviation of the last values at each position.';
CREATE FUNCTION seq_rolling_std(x qvoseq, "window" bigint, min_periods bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_std' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_std(qvoseq, bigint, bigint) IS 'The sample standard deviation of the last values at each position.';
CREATE FUNCTION seq_rolling_count(x qvoseq, "window" bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_count' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_count(qvoseq, bigint) IS 'The number of values present among the last ones at each position.';
CREATE FUNCTION seq_rolling_count(x qvoseq, "window" bigint, min_periods bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_count' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_count(qvoseq, bigint, bigint) IS 'The number of values present among the last ones at each position.';
CREATE FUNCTION seq_rolling_median(x qvoseq, "window" bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_median' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_median(qvoseq, bigint) IS 'The median of the last values at each position.';
CREATE FUNCTION seq_rolling_median(x qvoseq, "window" bigint, min_periods bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_median' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_median(qvoseq, bigint, bigint) IS 'The median of the last values at each position.';
CREATE FUNCTION seq_rolling_sum_time(x qvoseq, t qvoseq, width "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_sum_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_sum_time(qvoseq, qvoseq, "any") IS 'The sum of the values of the last width of time at each position.';
CREATE FUNCTION seq_rolling_sum_time(x qvoseq, t qvoseq, width "any", min_periods bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_sum_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_sum_time(qvoseq, qvoseq, "any", bigint) IS 'The sum of the values of the last width of time at each position.';
CREATE FUNCTION seq_rolling_mean_time(x qvoseq, t qvoseq, width "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_mean_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_mean_time(qvoseq, qvoseq, "any") IS 'The mean of the values of the last width of time at each position.';
CREATE FUNCTION seq_rolling_mean_time(x qvoseq, t qvoseq, width "any", min_periods bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_mean_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_mean_time(qvoseq, qvoseq, "any", bigint) IS 'The mean of the values of the last width of time at each position.';
CREATE FUNCTION seq_rolling_min_time(x qvoseq, t qvoseq, width "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_min_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_min_time(qvoseq, qvoseq, "any") IS 'The smallest of the values of the last width of time at each position.';
CREATE FUNCTION seq_rolling_min_time(x qvoseq, t qvoseq, width "any", min_periods bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_min_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_min_time(qvoseq, qvoseq, "any", bigint) IS 'The smallest of the values of the last width of time at each position.';
CREATE FUNCTION seq_rolling_max_time(x qvoseq, t qvoseq, width "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_max_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_max_time(qvoseq, qvoseq, "any") IS 'The largest of the values of the last width of time at each position.';
CREATE FUNCTION seq_rolling_max_time(x qvoseq, t qvoseq, width "any", min_periods bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_max_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_max_time(qvoseq, qvoseq, "any", bigint) IS 'The largest of the values of the last width of time at each position.';
CREATE FUNCTION seq_rolling_count_time(x qvoseq, t qvoseq, width "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_count_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_count_time(qvoseq, qvoseq, "any") IS 'The number of values present in the last width of time at each position.';
CREATE FUNCTION seq_rolling_count_time(x qvoseq, t qvoseq, width "any", min_periods bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rolling_count_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rolling_count_time(qvoseq, qvoseq, "any", bigint) IS 'The number of values present in the last width of time at each position.';
CREATE FUNCTION seq_ema(x qvoseq, span float8) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ema' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_ema(qvoseq, float8) IS 'The exponential moving average of a span.';
CREATE FUNCTION seq_wilder(x qvoseq, n bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_wilder' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_wilder(qvoseq, bigint) IS 'Wilder''s moving average over n positions.';
CREATE FUNCTION seq_atr(high qvoseq, low qvoseq, close qvoseq, n bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_atr' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_atr(qvoseq, qvoseq, qvoseq, bigint) IS 'Wilder''s average true range over n positions.';
CREATE FUNCTION seq_rsi(x qvoseq, n bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rsi' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rsi(qvoseq, bigint) IS 'Wilder''s relative strength index over n positions.';
CREATE FUNCTION seq_filter(x qvoseq, c qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_filter' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_filter(qvoseq, qvoseq) IS 'The values of x where c is true.';
CREATE FUNCTION seq_positions(c qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_positions' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_positions(qvoseq) IS 'The positions at which c is true.';
CREATE FUNCTION seq_take(x qvoseq, p qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_take' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_take(qvoseq, qvoseq) IS 'The values of x at the positions in p.';
CREATE FUNCTION seq_mask(x qvoseq, c qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mask' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_mask(qvoseq, qvoseq) IS 'The values of x where c is true, missing where it is false.';
CREATE FUNCTION seq_sort(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sort' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_sort(qvoseq) IS 'The values in ascending or descending order.';
CREATE FUNCTION seq_sort(x qvoseq, "order" "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sort' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_sort(qvoseq, "any") IS 'The values in ascending or descending order.';
CREATE FUNCTION seq_argsort(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_argsort' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_argsort(qvoseq) IS 'The positions of the values in ascending or descending order.';
CREATE FUNCTION seq_argsort(x qvoseq, "order" "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_argsort' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_argsort(qvoseq, "any") IS 'The positions of the values in ascending or descending order.';
CREATE FUNCTION seq_rank(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_rank' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_rank(qvoseq) IS 'The place of each value in ascending order.';
CREATE FUNCTION seq_reverse(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_reverse' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_reverse(qvoseq) IS 'The values from the last to the first.';
CREATE FUNCTION seq_unique(x qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_unique' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_unique(qvoseq) IS 'The different values, in ascending order.';
CREATE FUNCTION seq_top(x qvoseq, n bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_top' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_top(qvoseq, bigint) IS 'The n largest values, the largest first.';
CREATE FUNCTION seq_bottom(x qvoseq, n bigint) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_bottom' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_bottom(qvoseq, bigint) IS 'The n smallest values, the smallest first.';
CREATE FUNCTION seq_step_count(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_count' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_count(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_count' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_count(state qvoseq_state) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_final_count' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_count(x qvoseq) (
    SFUNC = seq_step_count,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_count,
    COMBINEFUNC = seq_combine_count,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_count(qvoseq) IS 'The number of values that are present.';
CREATE FUNCTION seq_step_sum(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_sum' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_sum(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_sum' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_sum(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_sum' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_sum(x qvoseq) (
    SFUNC = seq_step_sum,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_sum,
    COMBINEFUNC = seq_combine_sum,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_sum(qvoseq) IS 'The sum.';
CREATE FUNCTION seq_final_sum_int(state qvoseq_state) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_final_sum' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_sum_int(x qvoseq) (
    SFUNC = seq_step_sum,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_sum_int,
    COMBINEFUNC = seq_combine_sum,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_sum_int(qvoseq) IS 'The sum.';
CREATE FUNCTION seq_step_prod(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_prod' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_prod(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_prod' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_prod(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_prod' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_prod(x qvoseq) (
    SFUNC = seq_step_prod,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_prod,
    COMBINEFUNC = seq_combine_prod,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_prod(qvoseq) IS 'The product.';
CREATE FUNCTION seq_step_avg(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_avg' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_avg(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_avg' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_avg(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_avg' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_avg(x qvoseq) (
    SFUNC = seq_step_avg,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_avg,
    COMBINEFUNC = seq_combine_avg,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_avg(qvoseq) IS 'The mean.';
CREATE FUNCTION seq_step_min(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_min' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_min(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_min' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_min(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_min' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_min(x qvoseq) (
    SFUNC = seq_step_min,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_min,
    COMBINEFUNC = seq_combine_min,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_min(qvoseq) IS 'The smallest value.';
CREATE FUNCTION seq_final_min_int(state qvoseq_state) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_final_min' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_min_int(x qvoseq) (
    SFUNC = seq_step_min,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_min_int,
    COMBINEFUNC = seq_combine_min,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_min_int(qvoseq) IS 'The smallest value.';
CREATE FUNCTION seq_final_min_time(state qvoseq_state) RETURNS timestamptz
    AS 'MODULE_PATHNAME', 'qvoseq_final_min' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_min_time(x qvoseq) (
    SFUNC = seq_step_min,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_min_time,
    COMBINEFUNC = seq_combine_min,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_min_time(qvoseq) IS 'The smallest value.';
CREATE FUNCTION seq_final_min_text(state qvoseq_state) RETURNS text
    AS 'MODULE_PATHNAME', 'qvoseq_final_min' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_min_text(x qvoseq) (
    SFUNC = seq_step_min,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_min_text,
    COMBINEFUNC = seq_combine_min,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_min_text(qvoseq) IS 'The smallest value.';
CREATE FUNCTION seq_step_max(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_max' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_max(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_max' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_max(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_max' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_max(x qvoseq) (
    SFUNC = seq_step_max,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_max,
    COMBINEFUNC = seq_combine_max,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_max(qvoseq) IS 'The largest value.';
CREATE FUNCTION seq_final_max_int(state qvoseq_state) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_final_max' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_max_int(x qvoseq) (
    SFUNC = seq_step_max,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_max_int,
    COMBINEFUNC = seq_combine_max,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_max_int(qvoseq) IS 'The largest value.';
CREATE FUNCTION seq_final_max_time(state qvoseq_state) RETURNS timestamptz
    AS 'MODULE_PATHNAME', 'qvoseq_final_max' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_max_time(x qvoseq) (
    SFUNC = seq_step_max,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_max_time,
    COMBINEFUNC = seq_combine_max,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_max_time(qvoseq) IS 'The largest value.';
CREATE FUNCTION seq_final_max_text(state qvoseq_state) RETURNS text
    AS 'MODULE_PATHNAME', 'qvoseq_final_max' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_max_text(x qvoseq) (
    SFUNC = seq_step_max,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_max_text,
    COMBINEFUNC = seq_combine_max,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_max_text(qvoseq) IS 'The largest value.';
CREATE FUNCTION seq_step_argmin(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_argmin' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_argmin(state qvoseq_state) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_final_argmin' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_argmin(x qvoseq) (
    SFUNC = seq_step_argmin,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_argmin,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_argmin(qvoseq) IS 'The position of the smallest value.';
CREATE FUNCTION seq_step_argmax(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_argmax' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_argmax(state qvoseq_state) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_final_argmax' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_argmax(x qvoseq) (
    SFUNC = seq_step_argmax,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_argmax,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_argmax(qvoseq) IS 'The position of the largest value.';
CREATE FUNCTION seq_step_any(running qvoseq_state, c qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_any' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_any(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_any' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_any(state qvoseq_state) RETURNS boolean
    AS 'MODULE_PATHNAME', 'qvoseq_final_any' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_any(c qvoseq) (
    SFUNC = seq_step_any,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_any,
    COMBINEFUNC = seq_combine_any,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_any(qvoseq) IS '1 if some condition is true, else 0.';
CREATE FUNCTION seq_step_all(running qvoseq_state, c qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_all' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_all(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_all' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_all(state qvoseq_state) RETURNS boolean
    AS 'MODULE_PATHNAME', 'qvoseq_final_all' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_all(c qvoseq) (
    SFUNC = seq_step_all,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_all,
    COMBINEFUNC = seq_combine_all,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_all(qvoseq) IS '1 if every condition is true, else 0.';
CREATE FUNCTION seq_step_first(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_first' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_step_first(running qvoseq_state, x qvoseq, key "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_first' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_first(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_first' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_first(x qvoseq) (
    SFUNC = seq_step_first,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_first,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_first(qvoseq) IS 'The first value that is present.';
CREATE AGGREGATE seq_first(x qvoseq, key "any") (
    SFUNC = seq_step_first,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_first,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_first(qvoseq, "any") IS 'The first value that is present.';
CREATE FUNCTION seq_final_first_int(state qvoseq_state) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_final_first' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_first_int(x qvoseq) (
    SFUNC = seq_step_first,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_first_int,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_first_int(qvoseq) IS 'The first value that is present.';
CREATE AGGREGATE seq_first_int(x qvoseq, key "any") (
    SFUNC = seq_step_first,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_first_int,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_first_int(qvoseq, "any") IS 'The first value that is present.';
CREATE FUNCTION seq_final_first_time(state qvoseq_state) RETURNS timestamptz
    AS 'MODULE_PATHNAME', 'qvoseq_final_first' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_first_time(x qvoseq) (
    SFUNC = seq_step_first,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_first_time,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_first_time(qvoseq) IS 'The first value that is present.';
CREATE AGGREGATE seq_first_time(x qvoseq, key "any") (
    SFUNC = seq_step_first,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_first_time,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_first_time(qvoseq, "any") IS 'The first value that is present.';
CREATE FUNCTION seq_final_first_text(state qvoseq_state) RETURNS text
    AS 'MODULE_PATHNAME', 'qvoseq_final_first' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_first_text(x qvoseq) (
    SFUNC = seq_step_first,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_first_text,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_first_text(qvoseq) IS 'The first value that is present.';
CREATE AGGREGATE seq_first_text(x qvoseq, key "any") (
    SFUNC = seq_step_first,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_first_text,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_first_text(qvoseq, "any") IS 'The first value that is present.';
CREATE FUNCTION seq_step_last(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_last' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_step_last(running qvoseq_state, x qvoseq, key "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_last' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_last(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_last' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_last(x qvoseq) (
    SFUNC = seq_step_last,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_last,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_last(qvoseq) IS 'The last value that is present.';
CREATE AGGREGATE seq_last(x qvoseq, key "any") (
    SFUNC = seq_step_last,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_last,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_last(qvoseq, "any") IS 'The last value that is present.';
CREATE FUNCTION seq_final_last_int(state qvoseq_state) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_final_last' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_last_int(x qvoseq) (
    SFUNC = seq_step_last,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_last_int,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_last_int(qvoseq) IS 'The last value that is present.';
CREATE AGGREGATE seq_last_int(x qvoseq, key "any") (
    SFUNC = seq_step_last,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_last_int,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_last_int(qvoseq, "any") IS 'The last value that is present.';
CREATE FUNCTION seq_final_last_time(state qvoseq_state) RETURNS timestamptz
    AS 'MODULE_PATHNAME', 'qvoseq_final_last' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_last_time(x qvoseq) (
    SFUNC = seq_step_last,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_last_time,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_last_time(qvoseq) IS 'The last value that is present.';
CREATE AGGREGATE seq_last_time(x qvoseq, key "any") (
    SFUNC = seq_step_last,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_last_time,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_last_time(qvoseq, "any") IS 'The last value that is present.';
CREATE FUNCTION seq_final_last_text(state qvoseq_state) RETURNS text
    AS 'MODULE_PATHNAME', 'qvoseq_final_last' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_last_text(x qvoseq) (
    SFUNC = seq_step_last,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_last_text,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_last_text(qvoseq) IS 'The last value that is present.';
CREATE AGGREGATE seq_last_text(x qvoseq, key "any") (
    SFUNC = seq_step_last,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_last_text,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_last_text(qvoseq, "any") IS 'The last value that is present.';
CREATE FUNCTION seq_step_var(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_var' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_var(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_var' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_var(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_var' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_var(x qvoseq) (
    SFUNC = seq_step_var,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_var,
    COMBINEFUNC = seq_combine_var,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_var(qvoseq) IS 'The sample variance.';
CREATE FUNCTION seq_step_stddev(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_stddev' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_stddev(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_stddev' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_stddev(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_stddev' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_stddev(x qvoseq) (
    SFUNC = seq_step_stddev,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_stddev,
    COMBINEFUNC = seq_combine_stddev,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_stddev(qvoseq) IS 'The sample standard deviation.';
CREATE FUNCTION seq_step_var_pop(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_var_pop' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_var_pop(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_var_pop' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_var_pop(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_var_pop' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_var_pop(x qvoseq) (
    SFUNC = seq_step_var_pop,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_var_pop,
    COMBINEFUNC = seq_combine_var_pop,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_var_pop(qvoseq) IS 'The population variance.';
CREATE FUNCTION seq_step_stddev_pop(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_stddev_pop' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_stddev_pop(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_stddev_pop' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_stddev_pop(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_stddev_pop' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_stddev_pop(x qvoseq) (
    SFUNC = seq_step_stddev_pop,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_stddev_pop,
    COMBINEFUNC = seq_combine_stddev_pop,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_stddev_pop(qvoseq) IS 'The population standard deviation.';
CREATE FUNCTION seq_step_histogram(running qvoseq_state, x qvoseq, lo float8, hi float8, n bigint) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_histogram' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_histogram(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_histogram' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_histogram(state qvoseq_state) RETURNS text
    AS 'MODULE_PATHNAME', 'qvoseq_final_histogram' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_histogram(x qvoseq, lo float8, hi float8, n bigint) (
    SFUNC = seq_step_histogram,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_histogram,
    COMBINEFUNC = seq_combine_histogram,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_histogram(qvoseq, float8, float8, bigint) IS 'How many values lie in each of n buckets of equal width between lo and hi.';
CREATE FUNCTION seq_step_state(running qvoseq_state, name "any", x "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_state' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_step_state(running qvoseq_state, name "any", x2 "any", x3 "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_state' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_step_state(running qvoseq_state, name "any", x2 "any", x3 "any", x4 "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_state' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_step_state(running qvoseq_state, name "any", x2 "any", x3 "any", x4 "any", x5 "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_state' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_step_state(running qvoseq_state, name "any", x2 "any", x3 "any", x4 "any", x5 "any", x6 "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_state' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_step_state(running qvoseq_state, name "any", x2 "any", x3 "any", x4 "any", x5 "any", x6 "any", x7 "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_state' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_step_state(running qvoseq_state, name "any", x2 "any", x3 "any", x4 "any", x5 "any", x6 "any", x7 "any", x8 "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_state' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_step_state(running qvoseq_state, name "any", x2 "any", x3 "any", x4 "any", x5 "any", x6 "any", x7 "any", x8 "any", x9 "any") RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_state' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_state(state qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_final_state' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_state(name "any", x "any") (
    SFUNC = seq_step_state,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_state,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_state("any", "any") IS 'The running state of an aggregate, as bytes.';
CREATE AGGREGATE seq_state(name "any", x2 "any", x3 "any") (
    SFUNC = seq_step_state,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_state,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_state("any", "any", "any") IS 'The running state of an aggregate, as bytes.';
CREATE AGGREGATE seq_state(name "any", x2 "any", x3 "any", x4 "any") (
    SFUNC = seq_step_state,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_state,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_state("any", "any", "any", "any") IS 'The running state of an aggregate, as bytes.';
CREATE AGGREGATE seq_state(name "any", x2 "any", x3 "any", x4 "any", x5 "any") (
    SFUNC = seq_step_state,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_state,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_state("any", "any", "any", "any", "any") IS 'The running state of an aggregate, as bytes.';
CREATE AGGREGATE seq_state(name "any", x2 "any", x3 "any", x4 "any", x5 "any", x6 "any") (
    SFUNC = seq_step_state,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_state,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_state("any", "any", "any", "any", "any", "any") IS 'The running state of an aggregate, as bytes.';
CREATE AGGREGATE seq_state(name "any", x2 "any", x3 "any", x4 "any", x5 "any", x6 "any", x7 "any") (
    SFUNC = seq_step_state,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_state,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_state("any", "any", "any", "any", "any", "any", "any") IS 'The running state of an aggregate, as bytes.';
CREATE AGGREGATE seq_state(name "any", x2 "any", x3 "any", x4 "any", x5 "any", x6 "any", x7 "any", x8 "any") (
    SFUNC = seq_step_state,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_state,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_state("any", "any", "any", "any", "any", "any", "any", "any") IS 'The running state of an aggregate, as bytes.';
CREATE AGGREGATE seq_state(name "any", x2 "any", x3 "any", x4 "any", x5 "any", x6 "any", x7 "any", x8 "any", x9 "any") (
    SFUNC = seq_step_state,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_state,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_state("any", "any", "any", "any", "any", "any", "any", "any", "any") IS 'The running state of an aggregate, as bytes.';
CREATE FUNCTION seq_step_merge(running qvoseq_state, state qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_merge' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_merge(state qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_final_merge' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_merge(state qvoseq_state) (
    SFUNC = seq_step_merge,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_merge,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_merge(qvoseq_state) IS 'The states of the rows combined.';
CREATE FUNCTION seq_finish(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_call_finish' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_finish(qvoseq_state) IS 'The result of the aggregate whose state it is.';
CREATE FUNCTION seq_finish_int(state qvoseq_state) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_call_finish' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_finish_int(qvoseq_state) IS 'The result of the aggregate whose state it is.';
CREATE FUNCTION seq_finish_time(state qvoseq_state) RETURNS timestamptz
    AS 'MODULE_PATHNAME', 'qvoseq_call_finish' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_finish_time(qvoseq_state) IS 'The result of the aggregate whose state it is.';
CREATE FUNCTION seq_finish_text(state qvoseq_state) RETURNS text
    AS 'MODULE_PATHNAME', 'qvoseq_call_finish' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_finish_text(qvoseq_state) IS 'The result of the aggregate whose state it is.';
CREATE FUNCTION seq_step_cov(running qvoseq_state, y qvoseq, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_cov' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_cov(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_cov' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_cov(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_cov' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_cov(y qvoseq, x qvoseq) (
    SFUNC = seq_step_cov,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_cov,
    COMBINEFUNC = seq_combine_cov,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_cov(qvoseq, qvoseq) IS 'The sample covariance.';
CREATE FUNCTION seq_step_corr(running qvoseq_state, y qvoseq, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_corr' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_corr(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_corr' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_corr(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_corr' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_corr(y qvoseq, x qvoseq) (
    SFUNC = seq_step_corr,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_corr,
    COMBINEFUNC = seq_combine_corr,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_corr(qvoseq, qvoseq) IS 'The correlation (Pearson).';
CREATE FUNCTION seq_step_slope(running qvoseq_state, y qvoseq, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_slope' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_slope(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_slope' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_slope(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_slope' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_slope(y qvoseq, x qvoseq) (
    SFUNC = seq_step_slope,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_slope,
    COMBINEFUNC = seq_combine_slope,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_slope(qvoseq, qvoseq) IS 'The slope of the line of least squares through y over x.';
CREATE FUNCTION seq_step_intercept(running qvoseq_state, y qvoseq, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_intercept' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_intercept(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_intercept' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_intercept(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_intercept' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_intercept(y qvoseq, x qvoseq) (
    SFUNC = seq_step_intercept,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_intercept,
    COMBINEFUNC = seq_combine_intercept,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_intercept(qvoseq, qvoseq) IS 'Where the line of least squares through y over x is at x = 0.';
CREATE FUNCTION seq_step_weighted_avg(running qvoseq_state, x qvoseq, w qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_weighted_avg' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_weighted_avg(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_weighted_avg' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_weighted_avg(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_weighted_avg' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_weighted_avg(x qvoseq, w qvoseq) (
    SFUNC = seq_step_weighted_avg,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_weighted_avg,
    COMBINEFUNC = seq_combine_weighted_avg,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_weighted_avg(qvoseq, qvoseq) IS 'The mean of x, each value counted as often as its weight w says.';
CREATE FUNCTION seq_step_median(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_median' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_median(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_median' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_median(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_median' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_median(x qvoseq) (
    SFUNC = seq_step_median,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_median,
    COMBINEFUNC = seq_combine_median,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_median(qvoseq) IS 'The middle value, or the mean of the two in the middle.';
CREATE FUNCTION seq_step_quantile(running qvoseq_state, x qvoseq, q float8) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_quantile' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_quantile(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_quantile' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_quantile(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_quantile' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_quantile(x qvoseq, q float8) (
    SFUNC = seq_step_quantile,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_quantile,
    COMBINEFUNC = seq_combine_quantile,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_quantile(qvoseq, float8) IS 'The value below which a part q of the values lies.';
CREATE FUNCTION seq_step_mode(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_mode' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_mode(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_mode' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_mode(state qvoseq_state) RETURNS float8
    AS 'MODULE_PATHNAME', 'qvoseq_final_mode' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_mode(x qvoseq) (
    SFUNC = seq_step_mode,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_mode,
    COMBINEFUNC = seq_combine_mode,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_mode(qvoseq) IS 'The most frequent value.';
CREATE FUNCTION seq_final_mode_int(state qvoseq_state) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_final_mode' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_mode_int(x qvoseq) (
    SFUNC = seq_step_mode,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_mode_int,
    COMBINEFUNC = seq_combine_mode,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_mode_int(qvoseq) IS 'The most frequent value.';
CREATE FUNCTION seq_final_mode_time(state qvoseq_state) RETURNS timestamptz
    AS 'MODULE_PATHNAME', 'qvoseq_final_mode' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_mode_time(x qvoseq) (
    SFUNC = seq_step_mode,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_mode_time,
    COMBINEFUNC = seq_combine_mode,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_mode_time(qvoseq) IS 'The most frequent value.';
CREATE FUNCTION seq_final_mode_text(state qvoseq_state) RETURNS text
    AS 'MODULE_PATHNAME', 'qvoseq_final_mode' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_mode_text(x qvoseq) (
    SFUNC = seq_step_mode,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_mode_text,
    COMBINEFUNC = seq_combine_mode,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_mode_text(qvoseq) IS 'The most frequent value.';
CREATE FUNCTION seq_step_count_distinct(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_count_distinct' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_count_distinct(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_count_distinct' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_count_distinct(state qvoseq_state) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_final_count_distinct' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_count_distinct(x qvoseq) (
    SFUNC = seq_step_count_distinct,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_count_distinct,
    COMBINEFUNC = seq_combine_count_distinct,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_count_distinct(qvoseq) IS 'The number of different values.';
CREATE FUNCTION seq_step_approx_distinct(running qvoseq_state, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_approx_distinct' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_combine_approx_distinct(running qvoseq_state, other qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_combine_approx_distinct' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_approx_distinct(state qvoseq_state) RETURNS bigint
    AS 'MODULE_PATHNAME', 'qvoseq_final_approx_distinct' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_approx_distinct(x qvoseq) (
    SFUNC = seq_step_approx_distinct,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_approx_distinct,
    COMBINEFUNC = seq_combine_approx_distinct,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_approx_distinct(qvoseq) IS 'An estimate of the number of different values.';
CREATE FUNCTION seq_step_group(running qvoseq_state, k qvoseq, x qvoseq) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_step_group' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
CREATE FUNCTION seq_final_group(state qvoseq_state) RETURNS qvoseq_state
    AS 'MODULE_PATHNAME', 'qvoseq_final_group' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE seq_group(k qvoseq, x qvoseq) (
    SFUNC = seq_step_group,
    STYPE = qvoseq_state,
    SSPACE = 2048,
    FINALFUNC = seq_final_group,
    PARALLEL = SAFE
);
COMMENT ON AGGREGATE seq_group(qvoseq, qvoseq) IS 'The values of x by the keys at the same positions of k.';
CREATE FUNCTION seq_group_rows(value qvoseq_state) RETURNS TABLE(key float8, count bigint, sum float8, avg float8, min float8, max float8, first float8, last float8, var float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_group_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_group_rows(qvoseq_state) IS 'The groups of a value that group gives, a row each, ordered by key.';
CREATE FUNCTION seq_group_rows_int(value qvoseq_state) RETURNS TABLE(key bigint, count bigint, sum float8, avg float8, min float8, max float8, first float8, last float8, var float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_group_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_group_rows_int(qvoseq_state) IS 'The groups of a value that group gives, a row each, ordered by key.';
CREATE FUNCTION seq_group_rows_time(value qvoseq_state) RETURNS TABLE(key timestamptz, count bigint, sum float8, avg float8, min float8, max float8, first float8, last float8, var float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_group_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_group_rows_time(qvoseq_state) IS 'The groups of a value that group gives, a row each, ordered by key.';
CREATE FUNCTION seq_group_rows_text(value qvoseq_state) RETURNS TABLE(key text, count bigint, sum float8, avg float8, min float8, max float8, first float8, last float8, var float8)
    AS 'MODULE_PATHNAME', 'qvoseq_rows_group_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_group_rows_text(qvoseq_state) IS 'The groups of a value that group gives, a row each, ordered by key.';
CREATE FUNCTION seq_group_rows_as(value qvoseq_state) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'qvoseq_rows_group_rows' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 10000;
COMMENT ON FUNCTION seq_group_rows_as(qvoseq_state) IS 'The groups of a value that group gives, a row each, ordered by key.';
CREATE FUNCTION seq_resample(t qvoseq, x qvoseq, width "any", how "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_resample' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_resample(qvoseq, qvoseq, "any", "any") IS 'A value for each bucket of time.';
CREATE FUNCTION seq_resample(t qvoseq, x qvoseq, width "any", how "any", fill "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_resample' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_resample(qvoseq, qvoseq, "any", "any", "any") IS 'A value for each bucket of time.';
CREATE FUNCTION seq_resample_time(t qvoseq, width "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_resample_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_resample_time(qvoseq, "any") IS 'The start of each bucket of time.';
CREATE FUNCTION seq_resample_time(t qvoseq, width "any", fill "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_resample_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_resample_time(qvoseq, "any", "any") IS 'The start of each bucket of time.';
CREATE FUNCTION seq_asof(t qvoseq, u qvoseq, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_asof' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_asof(qvoseq, qvoseq, qvoseq) IS 'For every t the y of the last u that is not after it, or of the next or the nearest.';
CREATE FUNCTION seq_asof(t qvoseq, u qvoseq, y qvoseq, tolerance "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_asof' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_asof(qvoseq, qvoseq, qvoseq, "any") IS 'For every t the y of the last u that is not after it, or of the next or the nearest.';
CREATE FUNCTION seq_asof(t qvoseq, u qvoseq, y qvoseq, tolerance "any", direction "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_asof' LANGUAGE C IMMUTABLE PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_asof(qvoseq, qvoseq, qvoseq, "any", "any") IS 'For every t the y of the last u that is not after it, or of the next or the nearest.';
CREATE FUNCTION seq_align(t qvoseq, u qvoseq, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_align' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_align(qvoseq, qvoseq, qvoseq) IS 'y where u is equal to t, else v.';
CREATE FUNCTION seq_align(t qvoseq, u qvoseq, y qvoseq, v "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_align' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
COMMENT ON FUNCTION seq_align(qvoseq, qvoseq, qvoseq, "any") IS 'y where u is equal to t, else v.';
CREATE FUNCTION seq_op_add(x qvoseq, y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_add' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR + (FUNCTION = seq_op_add, LEFTARG = qvoseq, RIGHTARG = "any");
CREATE FUNCTION seq_op_add(x smallint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_add' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR + (FUNCTION = seq_op_add, LEFTARG = smallint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_add(x integer, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_add' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR + (FUNCTION = seq_op_add, LEFTARG = integer, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_add(x bigint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_add' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR + (FUNCTION = seq_op_add, LEFTARG = bigint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_add(x real, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_add' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR + (FUNCTION = seq_op_add, LEFTARG = real, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_add(x float8, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_add' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR + (FUNCTION = seq_op_add, LEFTARG = float8, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_add(x numeric, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_add' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR + (FUNCTION = seq_op_add, LEFTARG = numeric, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_add(x text, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_add' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR + (FUNCTION = seq_op_add, LEFTARG = text, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_add(x date, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_add' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR + (FUNCTION = seq_op_add, LEFTARG = date, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_add(x timestamp, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_add' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR + (FUNCTION = seq_op_add, LEFTARG = timestamp, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_add(x timestamptz, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_add' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR + (FUNCTION = seq_op_add, LEFTARG = timestamptz, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_sub(x qvoseq, y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sub' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR - (FUNCTION = seq_op_sub, LEFTARG = qvoseq, RIGHTARG = "any");
CREATE FUNCTION seq_op_sub(x smallint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sub' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR - (FUNCTION = seq_op_sub, LEFTARG = smallint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_sub(x integer, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sub' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR - (FUNCTION = seq_op_sub, LEFTARG = integer, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_sub(x bigint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sub' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR - (FUNCTION = seq_op_sub, LEFTARG = bigint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_sub(x real, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sub' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR - (FUNCTION = seq_op_sub, LEFTARG = real, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_sub(x float8, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sub' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR - (FUNCTION = seq_op_sub, LEFTARG = float8, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_sub(x numeric, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sub' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR - (FUNCTION = seq_op_sub, LEFTARG = numeric, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_sub(x text, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sub' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR - (FUNCTION = seq_op_sub, LEFTARG = text, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_sub(x date, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sub' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR - (FUNCTION = seq_op_sub, LEFTARG = date, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_sub(x timestamp, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sub' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR - (FUNCTION = seq_op_sub, LEFTARG = timestamp, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_sub(x timestamptz, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_sub' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR - (FUNCTION = seq_op_sub, LEFTARG = timestamptz, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_mul(x qvoseq, y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mul' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR * (FUNCTION = seq_op_mul, LEFTARG = qvoseq, RIGHTARG = "any");
CREATE FUNCTION seq_op_mul(x smallint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mul' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR * (FUNCTION = seq_op_mul, LEFTARG = smallint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_mul(x integer, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mul' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR * (FUNCTION = seq_op_mul, LEFTARG = integer, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_mul(x bigint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mul' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR * (FUNCTION = seq_op_mul, LEFTARG = bigint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_mul(x real, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mul' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR * (FUNCTION = seq_op_mul, LEFTARG = real, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_mul(x float8, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mul' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR * (FUNCTION = seq_op_mul, LEFTARG = float8, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_mul(x numeric, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mul' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR * (FUNCTION = seq_op_mul, LEFTARG = numeric, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_div(x qvoseq, y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_div' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR / (FUNCTION = seq_op_div, LEFTARG = qvoseq, RIGHTARG = "any");
CREATE FUNCTION seq_op_div(x smallint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_div' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR / (FUNCTION = seq_op_div, LEFTARG = smallint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_div(x integer, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_div' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR / (FUNCTION = seq_op_div, LEFTARG = integer, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_div(x bigint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_div' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR / (FUNCTION = seq_op_div, LEFTARG = bigint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_div(x real, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_div' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR / (FUNCTION = seq_op_div, LEFTARG = real, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_div(x float8, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_div' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR / (FUNCTION = seq_op_div, LEFTARG = float8, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_div(x numeric, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_div' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR / (FUNCTION = seq_op_div, LEFTARG = numeric, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_mod(x qvoseq, y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mod' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR % (FUNCTION = seq_op_mod, LEFTARG = qvoseq, RIGHTARG = "any");
CREATE FUNCTION seq_op_mod(x smallint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mod' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR % (FUNCTION = seq_op_mod, LEFTARG = smallint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_mod(x integer, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mod' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR % (FUNCTION = seq_op_mod, LEFTARG = integer, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_mod(x bigint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mod' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR % (FUNCTION = seq_op_mod, LEFTARG = bigint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_mod(x real, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mod' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR % (FUNCTION = seq_op_mod, LEFTARG = real, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_mod(x float8, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mod' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR % (FUNCTION = seq_op_mod, LEFTARG = float8, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_mod(x numeric, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_mod' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR % (FUNCTION = seq_op_mod, LEFTARG = numeric, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_lt(x qvoseq, y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR < (FUNCTION = seq_op_lt, LEFTARG = qvoseq, RIGHTARG = "any");
CREATE FUNCTION seq_op_lt(x smallint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR < (FUNCTION = seq_op_lt, LEFTARG = smallint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_lt(x integer, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR < (FUNCTION = seq_op_lt, LEFTARG = integer, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_lt(x bigint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR < (FUNCTION = seq_op_lt, LEFTARG = bigint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_lt(x real, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR < (FUNCTION = seq_op_lt, LEFTARG = real, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_lt(x float8, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR < (FUNCTION = seq_op_lt, LEFTARG = float8, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_lt(x numeric, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR < (FUNCTION = seq_op_lt, LEFTARG = numeric, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_lt(x text, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR < (FUNCTION = seq_op_lt, LEFTARG = text, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_lt(x date, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR < (FUNCTION = seq_op_lt, LEFTARG = date, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_lt(x timestamp, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR < (FUNCTION = seq_op_lt, LEFTARG = timestamp, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_lt(x timestamptz, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR < (FUNCTION = seq_op_lt, LEFTARG = timestamptz, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_le(x qvoseq, y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <= (FUNCTION = seq_op_le, LEFTARG = qvoseq, RIGHTARG = "any");
CREATE FUNCTION seq_op_le(x smallint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <= (FUNCTION = seq_op_le, LEFTARG = smallint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_le(x integer, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <= (FUNCTION = seq_op_le, LEFTARG = integer, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_le(x bigint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <= (FUNCTION = seq_op_le, LEFTARG = bigint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_le(x real, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <= (FUNCTION = seq_op_le, LEFTARG = real, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_le(x float8, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <= (FUNCTION = seq_op_le, LEFTARG = float8, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_le(x numeric, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <= (FUNCTION = seq_op_le, LEFTARG = numeric, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_le(x text, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <= (FUNCTION = seq_op_le, LEFTARG = text, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_le(x date, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <= (FUNCTION = seq_op_le, LEFTARG = date, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_le(x timestamp, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <= (FUNCTION = seq_op_le, LEFTARG = timestamp, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_le(x timestamptz, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <= (FUNCTION = seq_op_le, LEFTARG = timestamptz, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_eq(x qvoseq, y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR = (FUNCTION = seq_op_eq, LEFTARG = qvoseq, RIGHTARG = "any");
CREATE FUNCTION seq_op_eq(x smallint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR = (FUNCTION = seq_op_eq, LEFTARG = smallint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_eq(x integer, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR = (FUNCTION = seq_op_eq, LEFTARG = integer, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_eq(x bigint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR = (FUNCTION = seq_op_eq, LEFTARG = bigint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_eq(x real, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR = (FUNCTION = seq_op_eq, LEFTARG = real, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_eq(x float8, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR = (FUNCTION = seq_op_eq, LEFTARG = float8, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_eq(x numeric, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR = (FUNCTION = seq_op_eq, LEFTARG = numeric, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_eq(x text, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR = (FUNCTION = seq_op_eq, LEFTARG = text, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_eq(x date, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR = (FUNCTION = seq_op_eq, LEFTARG = date, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_eq(x timestamp, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR = (FUNCTION = seq_op_eq, LEFTARG = timestamp, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_eq(x timestamptz, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR = (FUNCTION = seq_op_eq, LEFTARG = timestamptz, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ne(x qvoseq, y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <> (FUNCTION = seq_op_ne, LEFTARG = qvoseq, RIGHTARG = "any");
CREATE FUNCTION seq_op_ne(x smallint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <> (FUNCTION = seq_op_ne, LEFTARG = smallint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ne(x integer, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <> (FUNCTION = seq_op_ne, LEFTARG = integer, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ne(x bigint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <> (FUNCTION = seq_op_ne, LEFTARG = bigint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ne(x real, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <> (FUNCTION = seq_op_ne, LEFTARG = real, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ne(x float8, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <> (FUNCTION = seq_op_ne, LEFTARG = float8, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ne(x numeric, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <> (FUNCTION = seq_op_ne, LEFTARG = numeric, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ne(x text, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <> (FUNCTION = seq_op_ne, LEFTARG = text, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ne(x date, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <> (FUNCTION = seq_op_ne, LEFTARG = date, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ne(x timestamp, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <> (FUNCTION = seq_op_ne, LEFTARG = timestamp, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ne(x timestamptz, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR <> (FUNCTION = seq_op_ne, LEFTARG = timestamptz, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ge(x qvoseq, y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR >= (FUNCTION = seq_op_ge, LEFTARG = qvoseq, RIGHTARG = "any");
CREATE FUNCTION seq_op_ge(x smallint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR >= (FUNCTION = seq_op_ge, LEFTARG = smallint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ge(x integer, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR >= (FUNCTION = seq_op_ge, LEFTARG = integer, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ge(x bigint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR >= (FUNCTION = seq_op_ge, LEFTARG = bigint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ge(x real, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR >= (FUNCTION = seq_op_ge, LEFTARG = real, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ge(x float8, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR >= (FUNCTION = seq_op_ge, LEFTARG = float8, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ge(x numeric, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR >= (FUNCTION = seq_op_ge, LEFTARG = numeric, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ge(x text, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR >= (FUNCTION = seq_op_ge, LEFTARG = text, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ge(x date, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR >= (FUNCTION = seq_op_ge, LEFTARG = date, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ge(x timestamp, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR >= (FUNCTION = seq_op_ge, LEFTARG = timestamp, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_ge(x timestamptz, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR >= (FUNCTION = seq_op_ge, LEFTARG = timestamptz, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_gt(x qvoseq, y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR > (FUNCTION = seq_op_gt, LEFTARG = qvoseq, RIGHTARG = "any");
CREATE FUNCTION seq_op_gt(x smallint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR > (FUNCTION = seq_op_gt, LEFTARG = smallint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_gt(x integer, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR > (FUNCTION = seq_op_gt, LEFTARG = integer, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_gt(x bigint, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR > (FUNCTION = seq_op_gt, LEFTARG = bigint, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_gt(x real, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR > (FUNCTION = seq_op_gt, LEFTARG = real, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_gt(x float8, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR > (FUNCTION = seq_op_gt, LEFTARG = float8, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_gt(x numeric, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR > (FUNCTION = seq_op_gt, LEFTARG = numeric, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_gt(x text, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR > (FUNCTION = seq_op_gt, LEFTARG = text, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_gt(x date, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR > (FUNCTION = seq_op_gt, LEFTARG = date, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_gt(x timestamp, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR > (FUNCTION = seq_op_gt, LEFTARG = timestamp, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_gt(x timestamptz, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR > (FUNCTION = seq_op_gt, LEFTARG = timestamptz, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_and(x qvoseq, y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_and' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR && (FUNCTION = seq_op_and, LEFTARG = qvoseq, RIGHTARG = "any");
CREATE FUNCTION seq_op_and(x boolean, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_and' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR && (FUNCTION = seq_op_and, LEFTARG = boolean, RIGHTARG = qvoseq);
CREATE FUNCTION seq_op_or(x qvoseq, y "any") RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_or' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR || (FUNCTION = seq_op_or, LEFTARG = qvoseq, RIGHTARG = "any");
CREATE FUNCTION seq_op_or(x boolean, y qvoseq) RETURNS qvoseq
    AS 'MODULE_PATHNAME', 'qvoseq_call_or' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE OPERATOR || (FUNCTION = seq_op_or, LEFTARG = boolean, RIGHTARG = qvoseq);
CREATE OPERATOR - (FUNCTION = seq_neg, RIGHTARG = qvoseq);
CREATE OPERATOR ! (FUNCTION = seq_not, RIGHTARG = qvoseq);
