-- Loads rows.ndjson in the current folder, which ../load writes.
--
-- All of it is loaded or nothing is. A document replaces the one of its name, unless that arrived later. One program at
-- a time has the database, and another fails to open it. A clock may be wrong by centuries: such times are left out.
BEGIN;
CREATE OR REPLACE TEMPORARY TABLE incoming AS
SELECT * REPLACE (CASE WHEN time >= '1970' AND time < '2106' THEN CAST(time AS timestamp) END AS time)
FROM read_ndjson('rows.ndjson', columns = {document: 'text', seq: 'integer', origin: 'text', family: 'text',
  product: 'text', version: 'text', build: 'text', language: 'text', user: 'text', session: 'text', file_index: 'integer',
  time: 'text', kind: 'text', group_id: 'integer', doc: 'text', category: 'text', subcategory: 'text', name: 'text',
  value: 'text', arrived: 'bigint'});
-- Of rows with one key, which only a made-up document has, the last one stays.
DELETE FROM incoming WHERE rowid NOT IN (SELECT max(rowid) FROM incoming GROUP BY document, seq);
DELETE FROM incoming
WHERE document IN (SELECT document FROM records WHERE arrived > (SELECT max(arrived) FROM incoming));
DELETE FROM records WHERE document IN (SELECT document FROM incoming);
INSERT INTO records SELECT * FROM incoming ORDER BY product, time, session, document, seq;
COMMIT;
