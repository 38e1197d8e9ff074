SELECT vu_domain(NULL), vu_classify(NULL)::VARCHAR, vu_host('a.b', NULL);
SELECT vu_domain('a.b');
SELECT vu_table('/no/such/table');
COPY (SELECT unnest(['co.uk 3', 'ltd.co.uk 4'])) TO 'suffixes.txt' (FORMAT csv, HEADER false);
SELECT vu_table('suffixes.txt'), vu_table(), vu_table(NULL);
CREATE TABLE urls AS SELECT unnest(['http://www.shop.co.uk:8080/a', 'http://a.shop.ltd.co.uk/', '10.1.2.3/x', '',
  'host', 'co.uk', 'a@b.uk', NULL, '12', 'http://bücher.de/', 'a.b/ü']) AS url;
SELECT url, vu_status(url), vu_reason(url), vu_host(url), vu_domain(url), vu_suffix(url), vu_rule(url),
  vu_domain(url, 'public-suffix') FROM urls;
SELECT unnest(vu_classify('http://10.1.2.3/'));
SELECT unnest(vu_classify('a.b.ltd.co.uk', 'public-suffix'));
SELECT count(*) FROM urls WHERE vu_classify(url).domain IS NOT DISTINCT FROM vu_domain(url)
  AND vu_classify(url).rule IS NOT DISTINCT FROM vu_rule(url);
SELECT vu_domain('a.b', 'longest');
SELECT vu_domain(7.5), vu_domain('a.b'::BLOB);
SELECT vu_table('/dev/null');
SELECT vu_domain('a.b.co.uk'), vu_table(), vu_table_version(), epoch(now()) - vu_table_made() < 3600;
SELECT m, count(*), count(DISTINCT d), count(c) FROM (SELECT m, vu_domain(u, m) AS d, vu_classify(u, m) AS c FROM (
  SELECT CASE WHEN i % 5 > 0 THEN 'http://x.shop' || i % 1000 || '.ltd.co.uk/' || i END AS u,
    CASE WHEN i % 2 > 0 THEN 'shortest' ELSE 'public-suffix' END AS m FROM range(100000) AS r(i)))
  GROUP BY m ORDER BY m;
SELECT vu_domain(repeat('a.', 50000000) || 'shop.co.uk'), vu_domain('shop.co.uk/' || repeat('x', 100000000));
