-- The questions, a view each. Run it on each shard after table.sql:
--
--     clickhouse-client --multiquery < questions.sql
--     clickhouse-client --database usage --query 'SELECT * FROM stability'
--
-- No view counts rows, so rows that are there twice until they are merged change no answer.

-- A digest of each document and its last arrival. Rows of any other have been replaced.
CREATE VIEW IF NOT EXISTS usage.latest_local AS
SELECT cityHash64(document, max(arrived)) FROM usage.records_local GROUP BY document;

-- One row a session. All of a session is on one shard, which puts it together by itself.
CREATE VIEW IF NOT EXISTS usage.sessions_local AS
SELECT
    session,
    max(family) AS family,
    max(product) AS product,
    ifNull(max(version), '') AS version,
    max(user) AS user,
    min(time) AS start,
    uniqExactIf(seq, origin = 'session') AS records,
    uniqExactIf(seq, kind = 'event') AS events,
    -- A killed host leaves a document without a last record of these kinds.
    multiIf(
        countIf(origin = 'crash') > 0, 'crashed',
        countIf(kind = 'end' AND origin = 'session') = 0
            AND uniqExactIf(document, origin = 'session')
                > uniqExactIf(document, kind IN ('split', 'end') AND origin = 'session'), 'abandoned',
        countIf(kind = 'end' AND origin = 'session') = 0
            OR uniqExactIf(document, origin = 'session') != max(file_index) + 1, 'incomplete',
        'complete') AS state
FROM usage.records_local
WHERE session != '' AND origin != 'optin' AND cityHash64(document, arrived) IN (SELECT * FROM usage.latest_local)
GROUP BY session;

CREATE TABLE IF NOT EXISTS usage.sessions AS usage.sessions_local
ENGINE = Distributed(usage, usage, sessions_local);

-- Sessions and users a day by version.
CREATE VIEW IF NOT EXISTS usage.activity AS
SELECT family, product, version, toDate(start, 'UTC') AS day, count() AS sessions, uniqExact(user) AS users
FROM usage.sessions
GROUP BY family, product, version, day;

-- Events per session by version.
CREATE VIEW IF NOT EXISTS usage.intensity AS
SELECT family, product, version, count() AS sessions, sum(events) AS all_events, max(events) AS most_events,
    round(all_events / sessions, 4) AS events_per_session
FROM usage.sessions
GROUP BY family, product, version;

-- Adoption of a version: the share of the product's users of a day who had it, by days since it was first seen.
CREATE VIEW IF NOT EXISTS usage.adoption AS
SELECT family, product, version, toInt32(day - first_day) AS age, users, product_users,
    round(users / product_users, 4) AS share
FROM
(
    SELECT family, product, version, day, users, product_users
    FROM (SELECT * FROM usage.activity WHERE day > toDate(0))
    ANY INNER JOIN
    (
        SELECT family, product, toDate(start, 'UTC') AS day, uniqExact(user) AS product_users
        FROM usage.sessions
        GROUP BY family, product, day
    ) USING (family, product, day)
)
ANY INNER JOIN
(
    SELECT family, product, version, toDate(min(start), 'UTC') AS first_day
    FROM usage.sessions
    GROUP BY family, product, version
) USING (family, product, version);

-- Sessions that crashed, and those that were abandoned: the host was killed, or the machine went down.
CREATE VIEW IF NOT EXISTS usage.stability AS
SELECT family, product, version, count() AS sessions, countIf(state = 'crashed') AS crashed,
    countIf(state = 'abandoned') AS abandoned, round(crashed / sessions, 4) AS crash_rate,
    round(abandoned / sessions, 4) AS abandoned_rate
FROM usage.sessions
GROUP BY family, product, version;

-- Of those who were asked, how many are in. Each change of a choice is a document of its own.
CREATE VIEW IF NOT EXISTS usage.consent AS
SELECT family, product, version, sum(base) AS asked, sum(opt_in) AS opted_in,
    if(asked = 0, NULL, round(opted_in / asked, 4)) AS rate
FROM
(
    SELECT document, max(family) AS family, max(product) AS product, max(ifNull(version, '')) AS version,
        maxIf(value = '1', name = 'BaseCount') AS base,
        toInt32(maxIf(value = '1', name = 'OptInCount')) - maxIf(value = '-1', name = 'OptInCount') AS opt_in
    FROM usage.records
    WHERE origin = 'optin' AND cityHash64(document, arrived) IN (SELECT * FROM usage.latest_local)
    GROUP BY document
)
GROUP BY family, product, version;

-- What a host does wrong: texts that were cut or refused, group numbers that name no group.
CREATE VIEW IF NOT EXISTS usage.mistakes AS
SELECT family, product, version, error, text, count() AS times
FROM
(
    SELECT session, maxIf(value, name = 'ErrorType') AS error, maxIf(value, name = 'Value') AS text
    FROM usage.records
    WHERE session != '' AND (kind = 'value' AND name IN ('ErrorType', 'Value')
        OR kind = 'group' AND category = 'Skylamp' AND name = 'ValidationErrors')
        AND cityHash64(document, arrived) IN (SELECT * FROM usage.latest_local)
    GROUP BY session, group_id
    HAVING countIf(kind = 'group') > 0 AND countIf(name = 'ErrorType') > 0
)
ANY INNER JOIN (SELECT session, family, product, version FROM usage.sessions) USING (session)
GROUP BY family, product, version, error, text;

-- Users of a feature in the last four weeks and in the four weeks before: the slowest first.
CREATE VIEW IF NOT EXISTS usage.growth AS
SELECT family, product, category, subcategory, name,
    uniqExactIf(user, day <= toDate(now(), 'UTC') - 28) AS users_before,
    uniqExactIf(user, day > toDate(now(), 'UTC') - 28) AS users_now,
    if(users_before = 0, NULL, round(users_now / users_before - 1, 4)) AS change
FROM usage.records
WHERE kind = 'event' AND day > toDate(now(), 'UTC') - 56 AND day <= toDate(now(), 'UTC')
    AND cityHash64(document, arrived) IN (SELECT * FROM usage.latest_local)
GROUP BY family, product, category, subcategory, name
ORDER BY change, family, product, category, subcategory, name;
