-- Values of the type: what they look like, what they are made of and become.
CREATE EXTENSION qvoseq;

-- The text is JSON, with the type in front where JSON alone would be read as another.
SELECT '[1,2,3]'::qvoseq, ' [1.5, null]'::qvoseq, '["a","bc"]'::qvoseq, '[true,false]'::qvoseq, '[]'::qvoseq;
SELECT text, text::qvoseq::text = text AS same, seq_type(text::qvoseq)
FROM unnest(ARRAY['int1[-1]', 'uint8[18446744073709551615]', 'float[0.1,null]', '[1.0]', '[null]', '[1]', 'int8[]', '[]',
                  'boolean[]', '["a"]', 'char(3)["a"]', 'char(1)[""]', 'timestamp["2026-01-31T12:00:00.500000"]',
                  'timestamp[]', '[-0.0,9e999,-9e999]']) AS text;
SELECT '[1,"a"]'::qvoseq;
SELECT 'int1[300]'::qvoseq;
SELECT 'what[1]'::qvoseq;
SELECT 'none'::qvoseq;

-- Arrays.
SELECT '{1,2}'::int[]::qvoseq, '{1.5,null}'::float8[]::qvoseq, '{1.5,2}'::numeric[]::qvoseq, '{a,NULLS,ß}'::text[]::qvoseq,
       '{t,f}'::boolean[]::qvoseq, '{2026-01-01 00:00+00}'::timestamptz[]::qvoseq, '{}'::bigint[]::qvoseq;
SET timezone = 'UTC';
SELECT x::float8[], seq_cast(x, 'int8')::bigint[], x::text[] FROM (SELECT '[1.0,2.0]'::qvoseq AS x) AS one;
SELECT '[1.5,null]'::qvoseq::float8[], '[true]'::qvoseq::boolean[], 'timestamp["1969-12-31T23:59:59.5"]'::qvoseq::timestamptz[];
SELECT '{1,null}'::int[]::qvoseq;
SELECT '{{1,2},{3,4}}'::int[]::qvoseq;
SELECT '{infinity}'::timestamptz[]::qvoseq;
SELECT ARRAY[repeat('x', 256)]::qvoseq;
SELECT '["a"]'::qvoseq::float8[];
CREATE TABLE arrays (x qvoseq);
INSERT INTO arrays VALUES (ARRAY[1,2]);
SELECT * FROM arrays;

-- Bytes are looked at as a whole before they become a value.
SELECT '[1,2]'::qvoseq::bytea::qvoseq, seq_valid('[1,2]'::qvoseq::bytea), seq_valid('\x00'::bytea), seq_valid(5), seq_valid(NULL);
SELECT '\x00112233'::bytea::qvoseq;
SELECT '\x00'::qvoseq_state;
