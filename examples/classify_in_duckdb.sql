-- Counts the URLs of each registered domain, in DuckDB: LOAD 'vu.duckdb_extension' comes first.
COPY (SELECT 'co.uk 3') TO 'suffixes.txt' (FORMAT csv, HEADER false);
SELECT 'table', vu_table('suffixes.txt');

CREATE TABLE hits AS SELECT unnest(['http://www.shop.co.uk:8080/index.html', 'http://a.shop.co.uk/',
                                    '192.0.2.17/x', 'user@shop.co.uk']) AS url;
SELECT vu_domain(url) AS domain, count(*) FROM hits WHERE domain IS NOT NULL GROUP BY domain ORDER BY 1;
SELECT vu_classify('user@shop.co.uk').reason;
