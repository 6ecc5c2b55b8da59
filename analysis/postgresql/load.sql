-- Loads what ../load writes into it.
--
-- All of it is loaded or nothing is. A document replaces the one of its name, unless that arrived later. A row that is
-- the same is left alone.
\set ON_ERROR_STOP on
BEGIN;
CREATE TEMPORARY TABLE incoming (line bigint GENERATED ALWAYS AS IDENTITY, row json) ON COMMIT DROP;
-- A line a row: neither the delimiter nor the quote can be in JSON.
\copy incoming (row) FROM pstdin WITH (FORMAT csv, DELIMITER E'\x02', QUOTE E'\x01')
CREATE TEMPORARY TABLE written (document text) ON COMMIT DROP;
-- In the order of the keys, so that concurrent loads cannot deadlock. A clock may be wrong by centuries: such times are
-- left out.
WITH changed AS (
  INSERT INTO records
  SELECT DISTINCT ON (document, seq) document, seq, origin, family, product, version, build, language, "user", session,
    file_index, CASE WHEN time >= '1970' AND time < '2106' THEN CAST(time AS timestamp) END, kind, group_id, doc,
    category, subcategory, name, value, arrived
  FROM incoming, json_to_record(row) AS (document text, seq integer, origin text, family text, product text,
    version text, build text, language text, "user" text, session text, file_index integer, time text, kind text,
    group_id integer, doc text, category text, subcategory text, name text, value text, arrived bigint)
  ORDER BY document, seq, line DESC
  ON CONFLICT (document, seq) DO UPDATE
  SET (origin, family, product, version, build, language, "user", session, file_index, time, kind, group_id, doc,
    category, subcategory, name, value, arrived) = (EXCLUDED.origin, EXCLUDED.family, EXCLUDED.product,
    EXCLUDED.version, EXCLUDED.build, EXCLUDED.language, EXCLUDED."user", EXCLUDED.session, EXCLUDED.file_index,
    EXCLUDED.time, EXCLUDED.kind, EXCLUDED.group_id, EXCLUDED.doc, EXCLUDED.category, EXCLUDED.subcategory,
    EXCLUDED.name, EXCLUDED.value, EXCLUDED.arrived)
  WHERE records.arrived <= EXCLUDED.arrived AND records IS DISTINCT FROM EXCLUDED
  RETURNING document
)
INSERT INTO written SELECT DISTINCT document FROM changed;
-- What the longer one of two documents had more, when the shorter one arrived last. The window keeps the look-up one by
-- the key, document for document, however large the table is.
DELETE FROM records WHERE ctid IN (
  SELECT there.ctid
  FROM written, LATERAL (
    SELECT ctid, arrived, max(arrived) OVER () AS latest FROM records WHERE records.document = written.document
  ) AS there
  WHERE arrived < latest);
COMMIT;
