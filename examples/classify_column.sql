-- Counts the URLs of each registered domain, in SQLite: `.load libsqlite3-mod-vu` comes first.
.shell printf 'co.uk 3\n' >suffixes.txt
SELECT 'table', vu_table('suffixes.txt');

CREATE TABLE hits(url TEXT);
INSERT INTO hits VALUES ('http://www.shop.co.uk:8080/index.html'), ('http://a.shop.co.uk/'),
                        ('192.0.2.17/x'), ('user@shop.co.uk');
CREATE INDEX hits_by_domain ON hits(vu_domain(url));

SELECT vu_domain(url) AS domain, count(*) FROM hits WHERE domain IS NOT NULL GROUP BY domain;
SELECT status, reason FROM vu_classify('user@shop.co.uk');
