-- The questions, a view each, for PostgreSQL and DuckDB alike. clickhouse/questions.sql has the same with the same
-- answers. Run it once after table.sql, then SELECT * FROM stability.

-- One row a session.
CREATE OR REPLACE VIEW sessions AS
SELECT session, coalesce(max(family), '') AS family, coalesce(max(product), '') AS product,
  coalesce(max(version), '') AS version, max("user") AS "user", min(start) AS start,
  coalesce(sum(records) FILTER (WHERE origin = 'session'), 0) AS records,
  coalesce(sum(events) FILTER (WHERE origin = 'session'), 0) AS events,
  -- A killed host leaves a document without a last record of its own.
  CASE
    WHEN count(*) FILTER (WHERE origin = 'crash') > 0 THEN 'crashed'
    WHEN count(*) FILTER (WHERE origin = 'session' AND has_end) = 0
      AND count(*) FILTER (WHERE origin = 'session' AND NOT is_closed) > 0 THEN 'abandoned'
    WHEN count(*) FILTER (WHERE origin = 'session' AND has_end) = 0
      OR count(*) FILTER (WHERE origin = 'session') <> max(file_index) + 1 THEN 'incomplete'
    ELSE 'complete'
  END AS state
FROM (
  SELECT session, document, origin, max(family) AS family, max(product) AS product, max(version) AS version,
    max("user") AS "user", max(file_index) AS file_index, min(time) AS start, count(*) AS records,
    count(*) FILTER (WHERE kind = 'event') AS events, bool_or(kind = 'end') AS has_end,
    bool_or(kind IN ('split', 'end')) AS is_closed
  FROM records
  WHERE session IS NOT NULL AND origin <> 'optin'
  GROUP BY session, document, origin
) AS documents
GROUP BY session;

-- Sessions and users a day by version.
CREATE OR REPLACE VIEW activity AS
SELECT family, product, version, CAST(start AS date) AS day, count(*) AS sessions,
  count(DISTINCT "user") AS users
FROM sessions
GROUP BY family, product, version, CAST(start AS date);

-- Events per session by version.
CREATE OR REPLACE VIEW intensity AS
SELECT family, product, version, count(*) AS sessions, sum(events) AS all_events, max(events) AS most_events,
  round(sum(events) / (1.0 * count(*)), 4) AS events_per_session
FROM sessions
GROUP BY family, product, version;

-- Adoption of a version: the share of the product's users of a day who had it, by days since it was first seen.
CREATE OR REPLACE VIEW adoption AS
WITH product_days AS (
  SELECT family, product, CAST(start AS date) AS day, count(DISTINCT "user") AS product_users
  FROM sessions
  GROUP BY family, product, CAST(start AS date)
)
SELECT family, product, version, day - min(day) OVER (PARTITION BY family, product, version) AS age, users,
  product_users, round(users / nullif(1.0 * product_users, 0), 4) AS share
FROM activity JOIN product_days USING (family, product, day);

-- Sessions that crashed, and those that were abandoned: the host was killed, or the machine went down.
CREATE OR REPLACE VIEW stability AS
SELECT family, product, version, count(*) AS sessions, count(*) FILTER (WHERE state = 'crashed') AS crashed,
  count(*) FILTER (WHERE state = 'abandoned') AS abandoned,
  round(count(*) FILTER (WHERE state = 'crashed') / (1.0 * count(*)), 4) AS crash_rate,
  round(count(*) FILTER (WHERE state = 'abandoned') / (1.0 * count(*)), 4) AS abandoned_rate
FROM sessions
GROUP BY family, product, version;

-- Of those who were asked, how many are in. Each change of a choice is a document of its own.
CREATE OR REPLACE VIEW consent AS
SELECT family, product, version, sum(base) AS asked, sum(opt_in) AS opted_in,
  round(sum(opt_in) / nullif(1.0 * sum(base), 0), 4) AS rate
FROM (
  SELECT coalesce(max(family), '') AS family, coalesce(max(product), '') AS product,
    coalesce(max(version), '') AS version,
    max(CASE WHEN name = 'BaseCount' AND value = '1' THEN 1 ELSE 0 END) AS base,
    max(CASE WHEN name = 'OptInCount' AND value = '1' THEN 1 ELSE 0 END)
      - max(CASE WHEN name = 'OptInCount' AND value = '-1' THEN 1 ELSE 0 END) AS opt_in
  FROM records
  WHERE origin = 'optin'
  GROUP BY document
) AS choices
GROUP BY family, product, version;

-- What a host does wrong: texts that were cut or refused, group numbers that name no group.
CREATE OR REPLACE VIEW mistakes AS
SELECT family, product, version, error, text, count(*) AS times
FROM (
  SELECT session, max(value) FILTER (WHERE name = 'ErrorType') AS error,
    max(value) FILTER (WHERE name = 'Value') AS text
  FROM records
  WHERE kind = 'value' AND name IN ('ErrorType', 'Value')
    OR kind = 'group' AND category = 'Skylamp' AND name = 'ValidationErrors'
  GROUP BY session, group_id
  HAVING count(*) FILTER (WHERE kind = 'group') > 0 AND count(*) FILTER (WHERE name = 'ErrorType') > 0
) AS errors JOIN sessions USING (session)
GROUP BY family, product, version, error, text;

-- Users of a feature in the last four weeks and in the four weeks before: the slowest first.
CREATE OR REPLACE VIEW growth AS
SELECT family, product, category, subcategory, name, users_before, users_now,
  round(users_now / nullif(1.0 * users_before, 0) - 1, 4) AS change
FROM (
  SELECT family, product, category, subcategory, name,
    count(DISTINCT "user") FILTER (WHERE age >= 28) AS users_before,
    count(DISTINCT "user") FILTER (WHERE age < 28) AS users_now
  FROM (
    SELECT *, CAST(now() AT TIME ZONE 'UTC' AS date) - CAST(time AS date) AS age FROM records
    WHERE kind = 'event'
  ) AS events
  WHERE age BETWEEN 0 AND 55
  GROUP BY family, product, category, subcategory, name
) AS features
ORDER BY change, family, product, category, subcategory, name;
