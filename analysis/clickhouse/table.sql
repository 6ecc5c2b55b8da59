-- Run it on each shard:
--
--     clickhouse-client --multiquery < table.sql
--
-- Rows go into usage.incoming, on any shard, and from there to the shard of their session.

CREATE DATABASE IF NOT EXISTS usage;

-- A row replaces the one with the same key when parts are merged, or when it is read with FINAL.
CREATE TABLE IF NOT EXISTS usage.records_local
(
    document String,
    seq Int32,
    origin String,
    family String,
    product String,
    version Nullable(String),
    build Nullable(String),
    language Nullable(String),
    user Nullable(String),
    session String,               -- empty for documents of a changed opt-in
    file_index Nullable(Int32),
    time Nullable(DateTime),
    kind String,
    group_id Nullable(Int32),
    doc Nullable(String),
    category Nullable(String),
    subcategory Nullable(String),
    name Nullable(String),
    value Nullable(String),
    day Date,                     -- of time, in UTC; 1970-01-01 without one
    arrived UInt64                -- nanoseconds since 1970; 0 without
)
ENGINE = ReplacingMergeTree(arrived)
PARTITION BY toYYYYMM(day)
ORDER BY (product, day, session, document, seq);

CREATE TABLE IF NOT EXISTS usage.records AS usage.records_local
ENGINE = Distributed(usage, usage, records_local, cityHash64(if(session = '', document, session)));

-- Keeps nothing itself: the view below passes on what is inserted.
CREATE TABLE IF NOT EXISTS usage.incoming
(
    document String,
    seq Int32,
    origin String,
    family Nullable(String),
    product Nullable(String),
    version Nullable(String),
    build Nullable(String),
    language Nullable(String),
    user Nullable(String),
    session Nullable(String),
    file_index Nullable(Int32),
    time Nullable(String),
    kind String,
    group_id Nullable(Int32),
    doc Nullable(String),
    category Nullable(String),
    subcategory Nullable(String),
    name Nullable(String),
    value Nullable(String),
    arrived UInt64
)
ENGINE = Null;

-- A clock may be wrong by centuries, and a DateTime ends in 2106: such times are left out.
CREATE MATERIALIZED VIEW IF NOT EXISTS usage.arrivals TO usage.records AS
SELECT
    document,
    seq,
    origin,
    ifNull(family, '') AS family,
    ifNull(product, '') AS product,
    version,
    build,
    language,
    user,
    ifNull(session, '') AS session,
    file_index,
    if(time >= '1970' AND time < '2106', parseDateTimeBestEffortOrNull(ifNull(time, ''), 'UTC'), NULL) AS time,
    kind,
    group_id,
    doc,
    category,
    subcategory,
    name,
    value,
    ifNull(toDate(time, 'UTC'), toDate(0)) AS day,
    arrived
FROM usage.incoming;
