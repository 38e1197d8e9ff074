import doctest
import os
import pickle
import random
import signal
import subprocess
import time

import arrow
import numpy
import pandas
import pytest
import vu
import vu.errors

PIECES = ["http://", "www.", "shop", "blog.xy", "co.uk", "ltd.", "ck", ".", "10", "/p", "\u00fc", "@",
          "%2e", "XY", ":80", "_", "[::1]"]
FIELDS = ["status", "domain", "subdomain", "suffix", "address", "rule", "section"]


def made_up(count):
    random.seed(count)
    return ["".join(random.choices(PIECES, k=random.randrange(7))) for _ in range(count)]


@pytest.mark.skipif("VU_TOOL" not in os.environ, reason="VU_TOOL names no vu command")
def test_agrees_with_the_tool(suffixes):
    urls = [url for url in made_up(10000) if url]
    rows = subprocess.run(
        [os.environ["VU_TOOL"], "classify", "--suffixes", suffixes.path, "--match", suffixes.match,
         "--host", suffixes.host, "--format", "tsv", "--allow-refused", "--columns", ",".join(FIELDS)],
        input="\n".join(urls), capture_output=True, encoding="utf-8", errors="surrogateescape",
        check=True).stdout.splitlines()
    for url, row in zip(urls, rows, strict=True):
        found = suffixes.classify(url)
        fields = [getattr(found, field) for field in FIELDS]
        assert (url, ["" if field is None else str(field) for field in fields]) == (
            url, row.split("\t"))
        assert bool(found) == (found.status == 0) == (found.domain is not None)
        assert found == suffixes.classify(url) and hash(found) == hash(suffixes.classify(url))


def test_single(path):
    suffixes = vu.Suffixes(path, host="service")
    for url, domain in (("", ""), (b"shop.\xff.uk", "shop.\udcff.uk"), ("shop.xy/\udcff", "shop.xy"),
                        ("shop.xy/\u00fc".encode("latin-1"), "shop.xy"), (b"a.\0b.xy", "b.xy")):
        assert (suffixes.classify(url).url, suffixes.classify(url).domain) == (url, domain)
    assert suffixes.classify("co.uk").reason == "COUNTRY CODE - PURE DOMAIN"
    assert suffixes.classify("co.uk") != suffixes.classify("co.uk/")
    found = vu.Suffixes(path).classify("http://a@WWW.B\u00dccher.co.uk/")
    del suffixes
    assert (found.host, found.rule) == ("www.xn--bcher-kva.co.uk", "co.uk")  # its table lives on
    with pytest.raises(AttributeError):
        found.status = 0


def urls_and_domains(suffixes, count):
    """With missing ones, over the end of a chunk."""
    urls = made_up(count)
    urls[3::7] = [None] * len(urls[3::7])
    return urls, [None if url is None else suffixes.classify(url).domain for url in urls]


def test_columns_agree_with_single(suffixes):
    urls, expected = urls_and_domains(suffixes, 20000)
    assert suffixes.domains(urls) == suffixes.domains(iter(urls)) == expected
    assert suffixes.domains([]) == []
    assert suffixes.domains([float("nan"), pandas.NA, b"a.b.uk", numpy.str_("c.d.uk")]) == [
        None, None, "b.uk", "d.uk"]

    array = numpy.array(urls, dtype=object).reshape(100, 200)
    assert suffixes.domains(array).tolist() == numpy.array(expected, object).reshape(100, 200).tolist()
    texts = [url for url in urls if url]
    assert suffixes.domains(numpy.array(texts)[::-1]).tolist() == [
        suffixes.classify(url).domain for url in reversed(texts)]

    for dtype in (object, "string"):
        series = pandas.Series(urls, index=range(7, 20007), name="url", dtype=dtype)
        found = suffixes.domains(series)
        pandas.testing.assert_series_equal(
            found, pandas.Series(expected, series.index, dtype, "url"))

    for format in "uUzZ":
        column = arrow.Column(urls, format, skipped=5)
        found = suffixes.domains(column)
        assert arrow.read(found) == list(found) == found.to_pylist() == expected[5:]
        assert found[-1] == expected[-1] and len(found) == len(urls) - 5
        assert arrow.read(suffixes.domains(found)) == [
            domain and suffixes.classify(domain).domain for domain in expected[5:]]
        halves = [arrow.Column(urls[:9], format), arrow.Column(urls[9:], format)]
        assert list(suffixes.domains(arrow.Columns(halves))) == expected
        assert [half.released for half in halves] == [1, 1]


def test_other_columns_are_refused(suffixes):
    released = arrow.Column(["a.b"], "u")
    released.array.release = arrow.RELEASE_ARRAY()
    short = arrow.Column(["a.b"], "u")
    short.array.n_buffers = 2
    failing = arrow.Columns([arrow.Column(["a.b"], "u")], b"disk on fire")
    for wrong, kind, text in (
            (["a.b", 7], TypeError, "not int"), (7, TypeError, "not iterable"),
            ("a.b", TypeError, "not one URL"), (numpy.array([1.5]), TypeError, "not float64"),
            (arrow.Column(["a.b"], "vu"), TypeError, 'format "vu"'),
            (short, ValueError, "three buffers"), (released, ValueError, "released before"),
            (failing, RuntimeError, "disk on fire")):
        with pytest.raises(kind, match=text):
            suffixes.domains(wrong)
    for wrong in (None, 7, ["a.b"]):
        with pytest.raises(TypeError, match="a URL is a str or bytes"):
            suffixes.classify(wrong)
    with pytest.raises(UnicodeEncodeError):
        suffixes.classify("\ud800")
    assert suffixes.classify("a.shop.xy").domain == "shop.xy"  # all goes on


def test_tables(path, suffixes, monkeypatch):
    for argument in (str(path), bytes(path), path):
        assert vu.Suffixes(argument).rules == 5
    assert suffixes.version is None and int(path.stat().st_mtime) == suffixes.made.timestamp()
    listed = path.with_name("listed")
    listed.write_text("// VERSION: 2024-05-01_07-09-51_UTC\n// ===BEGIN ICANN DOMAINS===\nuk\n")
    told = vu.Suffixes(listed)
    assert told.version == "2024-05-01_07-09-51_UTC"
    assert told.made.isoformat() == "2024-05-01T07:09:51+00:00"
    monkeypatch.setenv("VU_SUFFIXES", str(path))
    assert vu.Suffixes().path == str(path)
    copy = pickle.loads(pickle.dumps(suffixes))
    assert repr(copy) == repr(suffixes)
    with pytest.raises(vu.TableError, match=r"\[/no/table\] open error") as failure:
        vu.Suffixes("/no/table")
    assert failure.value.status == 4
    for wrong, kind in (("", ValueError), ("a\0b", ValueError), (7, TypeError)):
        with pytest.raises(kind):
            vu.Suffixes(wrong)
    with pytest.raises(ValueError, match="not \"longest\""):
        vu.Suffixes(path, match="longest")


def test_long_urls_and_interrupts(suffixes):
    for url in ("http://www.shop.co.uk/" + "x" * 10**8, "A." * (5 * 10**6) + "shop.co.uk"):
        began = time.monotonic()
        assert suffixes.classify(url).domain == suffixes.domains([url])[0] == "shop.co.uk"
        assert time.monotonic() - began < 10
    urls = ["http://www.shop.co.uk/"] * 10**7
    signal.signal(signal.SIGALRM, signal.default_int_handler)
    signal.setitimer(signal.ITIMER_REAL, 0.05)
    with pytest.raises(KeyboardInterrupt):
        suffixes.domains(urls)


def test_help_tells_the_truth(path, monkeypatch):
    monkeypatch.chdir(path.parent)
    tried = 0
    for module in (vu, vu._vu, vu.errors):
        for test in doctest.DocTestFinder(recurse=True).find(module, extraglobs={
                "vu": vu, "suffixes": vu.Suffixes("suffixes.txt")}):
            assert doctest.DocTestRunner().run(test).failed == 0
            tried += len(test.examples)
    assert tried >= 9
