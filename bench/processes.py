"""Measures whole processes: vu classify beside cut and psl, with a million URLs and with one, and
what linking libvu adds to a start.

Usage: processes.py BUILD-DIR URLS WORK-DIR FILTER >RESULTS.json

Prints what vu_bench prints with --benchmark_format=json, one entry a run. Runs of the same job take
turns. Costs of the long jobs are processor time, which other work on the machine changes least;
starts are wall time.
"""

import json
import os
import random
import re
import shutil
import subprocess
import sys
import time

LIST = "/usr/share/publicsuffix/public_suffix_list.dat"
LINES = 1_000_000
RUNS = 5
STARTS = 400


def host_of(url):
    """The host cut of the library, so that psl is fed with what it has to look up."""
    scheme = url.find("://", 0, 17)
    return re.split("[/:]", url[scheme + 3 if scheme >= 0 else 0 :], maxsplit=1)[0]


def write_inputs(urls_file, work):
    with open(urls_file, encoding="latin-1") as file:
        urls = [url for url in file.read().split("\n") if "." in host_of(url)]
    urls *= LINES // len(urls) + 1
    random.Random(1).shuffle(urls)
    urls = urls[:LINES]
    for name, lines in (("urls", urls), ("hosts", map(host_of, urls))):
        with open(f"{work}/million-{name}.txt", "w", encoding="latin-1") as file:
            file.writelines(line + "\n" for line in lines)


def cost(command, stdin=None, stdout=subprocess.DEVNULL):
    """Processor and wall seconds of a command. Status 1 of vu says that a URL was refused."""
    start = time.perf_counter()
    child = subprocess.Popen(command, stdin=stdin, stdout=stdout, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    wall = time.perf_counter() - start
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode not in (0, 1):
        sys.exit(f"processes.py: {command[0]} ended with status {child.returncode}")
    return usage.ru_utime + usage.ru_stime, wall


def count_lines(command, stdin, path):
    with open(path, "wb") as out:
        cost(command, stdin and open(stdin, "rb"), out)
    with open(path, "rb") as out:
        return sum(1 for _ in out)


def compile_table(build, work):
    """The table as the packages make it of the system's list."""
    table = f"{work}/suffixes.vut"
    build_table = [f"{build}/vu", "suffixes", "build", "--compiled", LIST, "-o", table]
    subprocess.run(build_table, check=True, capture_output=True)
    return table


def measure_classify(build, work, note):
    table = compile_table(build, work)
    urls = f"{work}/million-urls.txt"
    hosts = f"{work}/million-hosts.txt"

    def classify(form="tsv", threads="1", host="service"):
        options = ["--format", form, "--threads", threads, "--host", host, "--suffixes", table]
        return [f"{build}/vu", "classify", *options, "--file", urls], None

    jobs = {
        "vu": classify(),  # by the rule that the hosts for psl are cut with
        "vu-jsonl": classify(form="jsonl"),
        "vu-two-threads": classify(threads="2"),
        "vu-browser": classify(host="browser"),
        "cut": (["cut", "-d/", "-f3", urls], None),
        "psl": (["psl", "--batch", "--load-psl-file", LIST, "--print-reg-domain"], hosts),
    }
    for name, (command, stdin) in jobs.items():
        lines = count_lines(command, stdin, f"{work}/out.txt")
        if lines != LINES:
            sys.exit(f"processes.py: {name} printed {lines} lines of {LINES}")
    for _ in range(RUNS):
        for name, (command, stdin) in jobs.items():
            with open(stdin or os.devnull, "rb") as file:
                note(f"process/classify/{name}", cost(command, file)[0] / LINES)


def measure_node(work, note):
    """Node's URL in a process of its own, without the time of its start."""
    if shutil.which("node") is None:
        return
    script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "url.mjs")
    for _ in range(RUNS):
        command = ["node", script, f"{work}/million-urls.txt", "65536", "5"]
        out = subprocess.run(command, check=True, capture_output=True, text=True).stdout
        parse, check = (float(nanoseconds) / 1e9 for nanoseconds in out.split())
        note("url/browser/node", parse)
        note("url/host/node-can-parse", check)


def measure_start(build, work, note):
    one_url = [f"{build}/vu", "classify", "--suffixes", compile_table(build, work)]
    programs = {
        "with-libvu": [f"{build}/bench/vu_bench_start_with"],
        "without": [f"{build}/bench/vu_bench_start_without"],
        "bare": [f"{build}/bench/vu_bench_start_bare"],
        "vu-one-url": one_url + ["http://www.bbc.co.uk/"],
        "psl-one-host": ["psl", "--print-reg-domain", "www.bbc.co.uk"],
    }
    for _ in range(STARTS):
        for name, command in programs.items():
            note(f"process/start/{name}", cost(command)[1])


def main():
    build, urls_file, work, wanted = sys.argv[1:]
    results = []

    def note(name, seconds):
        results.append({"name": name, "run_type": "iteration", "items_per_second": 1 / seconds})

    if re.search(wanted, "process/classify"):
        write_inputs(urls_file, work)
        measure_classify(build, work, note)
    if re.search(wanted, "url/browser") or re.search(wanted, "url/host"):
        write_inputs(urls_file, work)
        measure_node(work, note)
    if re.search(wanted, "process/start"):
        measure_start(build, work, note)
    json.dump({"benchmarks": results}, sys.stdout)


main()
