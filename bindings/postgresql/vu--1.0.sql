\echo Use "CREATE EXTENSION vu" to load this file. \quit

-- STABLE, not IMMUTABLE: what a URL comes to changes when the table does, and an index would keep
-- what the old one said.

CREATE FUNCTION vu_status(url text, match text DEFAULT 'shortest') RETURNS integer
  AS 'MODULE_PATHNAME' LANGUAGE C STABLE STRICT PARALLEL SAFE;
CREATE FUNCTION vu_reason(url text, match text DEFAULT 'shortest') RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C STABLE STRICT PARALLEL SAFE;
CREATE FUNCTION vu_host(url text, match text DEFAULT 'shortest') RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C STABLE STRICT PARALLEL SAFE;
CREATE FUNCTION vu_domain(url text, match text DEFAULT 'shortest') RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C STABLE STRICT PARALLEL SAFE;
CREATE FUNCTION vu_suffix(url text, match text DEFAULT 'shortest') RETURNS text
  AS 'MODULE_PATHNAME', 'vu_suffix_sql' LANGUAGE C STABLE STRICT PARALLEL SAFE;
CREATE FUNCTION vu_rule(url text, match text DEFAULT 'shortest') RETURNS text
  AS 'MODULE_PATHNAME', 'vu_rule_sql' LANGUAGE C STABLE STRICT PARALLEL SAFE;

CREATE TYPE vu_result AS (
  status integer, reason text, host text, domain text, suffix text, rule text, address inet);
CREATE FUNCTION vu_classify(url text, match text DEFAULT 'shortest') RETURNS vu_result
  AS 'MODULE_PATHNAME', 'vu_classify_sql' LANGUAGE C STABLE STRICT PARALLEL SAFE;

CREATE FUNCTION vu_table() RETURNS text
  AS 'MODULE_PATHNAME', 'vu_table_sql' LANGUAGE C STABLE PARALLEL SAFE;
CREATE FUNCTION vu_table_version() RETURNS text AS 'MODULE_PATHNAME' LANGUAGE C STABLE PARALLEL SAFE;
CREATE FUNCTION vu_table_made() RETURNS timestamptz
  AS 'MODULE_PATHNAME' LANGUAGE C STABLE PARALLEL SAFE;

COMMENT ON FUNCTION vu_status(text, text) IS '0, or why a URL has no domain: 201 to 204';
COMMENT ON FUNCTION vu_reason(text, text) IS 'the text of the status of a URL';
COMMENT ON FUNCTION vu_host(text, text) IS 'the host of a URL';
COMMENT ON FUNCTION vu_domain(text, text) IS 'the registered domain of a URL, or its address';
COMMENT ON FUNCTION vu_suffix(text, text) IS 'what the domain of a URL is registered under';
COMMENT ON FUNCTION vu_rule(text, text) IS 'the rule that decided about a URL, as it is listed';
COMMENT ON FUNCTION vu_classify(text, text) IS 'all that a URL comes to';
COMMENT ON FUNCTION vu_table() IS 'the file of the table in use';
COMMENT ON FUNCTION vu_table_version() IS 'the version of the list that the table was made of';
COMMENT ON FUNCTION vu_table_made() IS 'when that list was made, or else when its file was last changed';
