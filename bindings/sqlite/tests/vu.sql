-- What the functions give, and what they refuse; the session goes on after every error.
.headers off
.mode list
.nullvalue NULL
SELECT vu_domain(NULL), vu_host(NULL, 'no match'), (SELECT count(*) FROM vu_classify(NULL));
SELECT vu_domain('a.b');
SELECT vu_table('/no/such/table');
SELECT vu_table('suffixes.txt');
CREATE TABLE urls(url, domain AS (vu_domain(url, 'public-suffix')) STORED);
INSERT INTO urls(url) VALUES ('http://www.shop.co.uk:8080/a'), ('http://a.shop.ltd.co.uk/'),
  ('10.1.2.3/x'), (''), ('host'), ('co.uk'), ('a@b.uk'), (NULL), (12), (x'612e62ff2e6363'),
  ('http://bücher.de/'), ('a.b/ü');
SELECT url, vu_status(url), vu_reason(url), vu_host(url), vu_domain(url), vu_suffix(url), domain
  FROM urls;
-- The same as a table, row by row.
SELECT count(*) FROM urls, vu_classify(urls.url) AS c
  WHERE c.status IS vu_status(urls.url) AND c.reason IS vu_reason(urls.url)
    AND c.host IS vu_host(urls.url) AND c.domain IS vu_domain(urls.url)
    AND c.suffix IS vu_suffix(urls.url) AND c.rule IS vu_rule(urls.url);
SELECT * FROM vu_classify('http://10.1.2.3/');
SELECT domain FROM vu_classify('a.b.ltd.co.uk', 'public-suffix');
SELECT domain FROM vu_classify WHERE url = 'a.b.ltd.co.uk';
SELECT count(*) FROM vu_classify;
SELECT vu_rule('a.b.ltd.co.uk'), vu_rule('a.b.ltd.co.uk', 'public-suffix'),
  vu_rule('a.b', 'public-suffix'), vu_rule('a.b'), vu_rule('10.1.2.3'), vu_rule(NULL);
-- Deterministic: an index serves.
CREATE INDEX by_domain ON urls(vu_domain(url));
EXPLAIN QUERY PLAN SELECT url FROM urls WHERE vu_domain(url) = 'shop.co.uk';
SELECT url FROM urls WHERE vu_domain(url) = 'shop.co.uk';
SELECT vu_domain('a.b', 'longest');
SELECT * FROM vu_classify('a.b', NULL);
-- A table that does not open leaves the one before.
SELECT vu_table('/dev/null');
SELECT vu_domain('a.b.co.uk'), vu_table() = 'suffixes.txt', vu_table_version(),
  strftime('%s') - vu_table_made() < 3600;
-- Not for views, which may be somebody else's.
CREATE VIEW opened AS SELECT vu_table('suffixes.txt');
SELECT * FROM opened;
SELECT vu_domain(replace(hex(zeroblob(50000000)), '00', 'a.') || 'shop.co.uk');
SELECT vu_domain('shop.co.uk/' || hex(zeroblob(50000000)));
