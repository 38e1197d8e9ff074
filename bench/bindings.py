"""Measures the bindings beside their peers: tldextract, and SQLite's own length().

Usage: bindings.py BUILD-DIR URLS WORK-DIR FILTER >RESULTS.json

Prints what vu_bench prints with --benchmark_format=json, one entry a run, in processor time. Runs of
the same job take turns. Results are compared before anything is measured.
"""

import itertools
import json
import os
import re
import sqlite3
import subprocess
import sys
import time

LIST = "/usr/share/publicsuffix/public_suffix_list.dat"
ROWS = 1_000_000
RUNS = 5


def measure(jobs, note):
    for _ in range(RUNS):
        for name, (job, rows) in jobs.items():
            start = time.process_time()
            job()
            note(name, (time.process_time() - start) / rows)


def measure_python(build, table, urls, note):
    sys.path.insert(0, f"{build}/bindings/python")
    import tldextract
    import vu

    ours = vu.Suffixes(table, match="public-suffix")
    theirs = tldextract.TLDExtract(suffix_list_urls=["file://" + LIST], cache_dir=None,
                                   include_psl_private_domains=True)
    # tldextract has no rule for what is not listed, and takes the text for the host.
    plain = re.compile(r"[a-z]+://[a-z0-9.-]+\.[a-z]+/[^@]*").fullmatch
    some = [url for url in urls[:50000] if plain(url) and ours.classify(url).rule != "*"]
    for url, domain in zip(some, ours.domains(some)):
        if (domain or "") != theirs(url).registered_domain:
            sys.exit(f"bindings.py: {url} is {domain} or {theirs(url).registered_domain}")
    measure({"bindings/python-column/vu": (lambda: ours.domains(urls), len(urls)),
             "bindings/python-one/vu": (
                 lambda: [ours.classify(url).domain for url in some], len(some)),
             "bindings/python-one/tldextract": (
                 lambda: [theirs(url).registered_domain for url in some], len(some))}, note)


def measure_sqlite(build, table, urls, note):
    os.environ["VU_SUFFIXES"] = table
    database = sqlite3.connect(":memory:")
    database.enable_load_extension(True)
    database.load_extension(f"{build}/bindings/sqlite/libsqlite3-mod-vu")
    database.execute("CREATE TABLE hits(url)")
    database.executemany("INSERT INTO hits VALUES (?)", ((url,) for url in urls))

    def count(of):
        return database.execute(f"SELECT count({of}) FROM hits").fetchone()[0]

    if not count("vu_domain(url)") > 0.9 * count("length(url)") == 0.9 * len(urls):
        sys.exit("bindings.py: SQLite counts other rows")
    measure({"bindings/sqlite/vu_domain": (lambda: count("vu_domain(url)"), len(urls)),
             "bindings/sqlite/length": (lambda: count("length(url)"), len(urls))}, note)


def main():
    build, urls_file, work, wanted = sys.argv[1:]
    results = []

    def note(name, seconds):
        results.append({"name": name, "run_type": "iteration", "items_per_second": 1 / seconds})

    if re.search(wanted, "bindings/"):
        with open(urls_file, encoding="latin-1") as file:
            urls = [url for url in file.read().split("\n") if url.isascii()]
        urls = list(itertools.islice(itertools.cycle(urls), ROWS))
        table = f"{work}/suffixes.txt"
        subprocess.run([f"{build}/vu", "suffixes", "build", LIST, "-o", table], check=True,
                       capture_output=True)
        measure_python(build, table, urls, note)
        measure_sqlite(build, table, urls, note)
    json.dump({"benchmarks": results}, sys.stdout)


main()
