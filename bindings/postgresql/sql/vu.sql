-- What the functions give and refuse; the session goes on after every error.
\set VERBOSITY terse
\getenv folder VU_FOLDER
\set files :folder '/'
CREATE EXTENSION IF NOT EXISTS vu;
CREATE TABLE urls(n serial, url text);
INSERT INTO urls(url) VALUES ('http://www.shop.co.uk:8080/a'), ('http://a.shop.ltd.co.uk/'),
  ('10.1.2.3/x'), (''), ('host'), ('co.uk'), ('a@b.uk'), (NULL), ('http://bücher.de/'), ('a.b/ü'),
  ('shop.üa.uk');
SELECT url, vu_status(url), vu_reason(url), vu_host(url), vu_domain(url), vu_suffix(url)
  FROM urls ORDER BY n;
SELECT vu_domain(url, 'public-suffix') FROM urls WHERE n = 2;
SELECT (vu_classify('http://10.1.2.3/')).*;
SELECT count(*) FROM urls, vu_classify(url) AS c WHERE (c.status, c.reason, c.host, c.domain, c.suffix, c.rule) IS NOT DISTINCT FROM
  (vu_status(url), vu_reason(url), vu_host(url), vu_domain(url), vu_suffix(url), vu_rule(url));
SELECT vu_rule('a.b.co.uk') AS a, vu_rule('a.b', 'public-suffix') AS b, vu_rule('a.b') IS NULL AS c;
SELECT vu_table() = :'files' || 'suffixes.txt' AS a, vu_table_version() AS b,
  now() - vu_table_made() BETWEEN '0' AND '1 hour' AS c;
SELECT vu_domain('a.b', 'longest');
SELECT vu_domain(7);
CREATE INDEX ON urls(vu_domain(url));
-- A table that does not open: an error at the first call, and the session goes on.
SET vu.suffixes = '/no/such/table';
SELECT vu_domain('a.b');
SELECT vu_domain('a.b');
RESET vu.suffixes;
SELECT vu_domain('a.b.co.uk');
-- Only a superuser says which table.
CREATE ROLE plain;
SET ROLE plain;
SET vu.suffixes = '/etc/passwd';
SELECT vu_domain('a.b.co.uk');
RESET ROLE;
DROP ROLE plain;
-- A new list, which the signal that reloads the configuration makes known.
SELECT format('COPY (SELECT %L) TO PROGRAM %L', 'b.co.uk 4',
              format('cat >%1$snew && mv %1$snew %1$ssuffixes.txt', :'files')) AS renew \gset
:renew;
SELECT vu_domain('z.a.b.co.uk'), vu_domain('z.b.co.uk');
SELECT pg_reload_conf();
SELECT pg_sleep(2);
SELECT vu_domain('z.a.b.co.uk', 'public-suffix'), vu_domain('z.b.co.uk', 'public-suffix');
-- A list that cannot be read leaves the one before, with a warning.
SELECT format('COPY (SELECT %L) TO PROGRAM %L', 'broken',
              format('cat >%1$snew && mv %1$snew %1$ssuffixes.txt', :'files')) AS renew \gset
:renew;
SELECT pg_reload_conf();
SELECT pg_sleep(2);
SET client_min_messages = error;  -- the warning has the name of a folder
SELECT vu_domain('z.a.b.co.uk', 'public-suffix');
RESET client_min_messages;
-- Every worker says the same.
SET parallel_setup_cost = 0;
SET parallel_tuple_cost = 0;
SET min_parallel_table_scan_size = 0;
CREATE TABLE many AS SELECT 'http://x.shop' || i % 1000 || '.b.co.uk/' || i AS url
  FROM generate_series(1, 50000) AS i;
EXPLAIN (COSTS OFF) SELECT count(vu_domain(url, 'public-suffix')) FROM many;
SELECT count(vu_domain(url, 'public-suffix')), count(DISTINCT vu_domain(url, 'public-suffix'))
  FROM many;
-- Long URLs, and an end in good time.
SELECT vu_domain(repeat('a.', 50000000) || 'shop.xy'),
       vu_domain('shop.xy/' || repeat('x', 100000000));
SET statement_timeout = '500ms';
SELECT clock_timestamp() AS began \gset
SELECT sum(length(vu_domain(repeat('a.', 5000000) || 'xy' || i)))
  FROM generate_series(1, 100000) AS i;
RESET statement_timeout;
SELECT clock_timestamp() - :'began' < interval '5 s' AS soon;
DROP EXTENSION vu CASCADE;
