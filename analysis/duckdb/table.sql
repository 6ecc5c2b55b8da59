-- Run it once in the database, then ../questions.sql.
CREATE TABLE IF NOT EXISTS records (
  document text NOT NULL,
  seq integer NOT NULL,
  origin text NOT NULL,
  family text,
  product text,
  version text,
  build text,
  language text,
  "user" text,
  session text,
  file_index integer,
  time timestamp,  -- UTC
  kind text NOT NULL,
  group_id integer,
  doc text,
  category text,
  subcategory text,
  name text,
  value text,
  arrived bigint NOT NULL  -- nanoseconds since 1970
);
