-- Writes the table as Parquet, a folder a day: lake/day=2026-11-24/data_0.parquet. What is in the folder is replaced.
COPY (SELECT *, coalesce(CAST(CAST(time AS date) AS text), 'unknown') AS day FROM records)
TO 'lake' (FORMAT parquet, COMPRESSION zstd, PARTITION_BY (day), OVERWRITE);
