-- Counts the URLs of each registered domain, in PostgreSQL; vu.suffixes names a table with "co.uk 3".
CREATE EXTENSION vu;
CREATE TABLE hits(url text);
INSERT INTO hits VALUES ('http://www.shop.co.uk:8080/index.html'), ('http://a.shop.co.uk/'),
                        ('192.0.2.17/x'), ('user@shop.co.uk');

SELECT vu_domain(url) AS domain, count(*) FROM hits WHERE vu_domain(url) IS NOT NULL
  GROUP BY domain ORDER BY domain;
SELECT status, reason FROM vu_classify('user@shop.co.uk');
