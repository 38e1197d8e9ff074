"""Makes the table of ratios of benchmark results, the page that holds it, and the plots.

Usage: report.py RESULTS-DIR [PAGE PLOTS-DIR]

Prints the table. With PAGE, writes that from bench/performance.md.in and draws the plots. Exits with
1 when a ratio misses its target or has not been measured, naming it; without PAGE only what was
measured is told.
"""

import collections
import datetime
import glob
import json
import os
import platform
import statistics
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
PACKAGES = (
    "libpsl-dev psl libre2-dev libpcre3-dev libpcre2-dev libssl-dev libtinyxml2-dev libpugixml-dev libcli11-dev "
    "libboost-program-options-dev libbenchmark-dev coreutils publicsuffix"
).split()


def read_results(folder):
    """Name of each benchmark to the median of its runs: nanoseconds an item, or bytes."""
    runs = collections.defaultdict(list)
    throughputs = collections.defaultdict(list)
    for path in sorted(glob.glob(f"{folder}/*.json")):
        with open(path, encoding="utf-8") as file:
            for run in json.load(file)["benchmarks"]:
                if run["run_type"] != "iteration":
                    continue
                name = run["name"].replace("/real_time", "")
                runs[name].append(run["bytes"] if "bytes" in run else 1e9 / run["items_per_second"])
                if "bytes_per_second" in run:
                    throughputs[name].append(run["bytes_per_second"])
    costs = {name: statistics.median(values) for name, values in runs.items()}
    return costs, {name: statistics.median(values) for name, values in throughputs.items()}


def read_targets():
    with open(f"{HERE}/targets.tsv", encoding="utf-8") as file:
        return [line.rstrip("\n").split("\t") for line in file if not line.startswith("#")]


def short(value):
    return f"{value:.3g}" if value < 100 else f"{value:,.0f}"


def cost_text(name, value):
    if name.startswith("domain/memory/"):
        return f"{value / 1024:,.0f} KiB"
    for unit, size in (("ms", 1e6), ("µs", 1e3)):
        if value >= size:
            return f"{short(value / size)} {unit}"
    return f"{short(value)} ns"


def without_absent_engines(targets, costs):
    """The rows whose engine was there, which one of the two was."""
    engines = ("pcre8", "pcre2")
    absent = [each for each in engines if not any(name.endswith("/vu-" + each) for name in costs)]
    if len(absent) == len(engines):
        return targets
    return [row for row in targets if not any(each in row[1] + row[2] for each in absent)]


class Row:
    """A target beside what was measured."""

    def __init__(self, job, ours, peers, kind, target, costs):
        peer = next((each for each in peers.split("|") if each in costs), peers)
        self.job, self.ours, self.peer, self.kind, self.target = job, ours, peer, kind, target
        self.measured = ours in costs and peer in costs
        if not self.measured:
            return
        a, b = costs[ours], costs[peer]
        self.ours_text = cost_text(ours, a)
        self.peer_text = f"{peer.split('/')[2]}: {cost_text(peer, b)}"
        self.value = {">=": b / a, "<=": a / b, "ms": (a - b) / 1e6, "ns": a - b, "-": b / a}[kind]

    def verdict(self):
        if not self.target:
            return "reported"
        limit = float(self.target)
        return "met" if (self.value >= limit if self.kind == ">=" else self.value <= limit) else "missed"

    def target_text(self):
        if not self.target:
            return ""
        sign = {">=": "≥ ", "<=": "≤ ", "ms": "≤ ", "ns": "≤ "}[self.kind]
        return sign + self.target + (f" {self.kind} more" if self.kind in ("ms", "ns") else "")

    def ratio_text(self):
        if self.kind in ("ms", "ns"):
            return f"{self.value:.2f} {self.kind} more"
        return f"{self.value:.2f} {'times the cost' if self.kind == '<=' else 'times as fast'}"

    def cells(self):
        verdict = self.verdict()
        return [self.job, self.ours_text, self.peer_text,
                self.ratio_text(), self.target_text(), f"**{verdict}**" if verdict == "missed" else verdict]


def markdown_table(rows):
    head = ["job", "ours", "peer or limit", "ratio", "target", ""]
    lines = [head, ["---"] * len(head)] + [row.cells() for row in rows]
    return "\n".join("| " + " | ".join(cells) + " |" for cells in lines)


def output_of(*command):
    try:
        return subprocess.run(command, check=True, capture_output=True, text=True).stdout
    except (OSError, subprocess.CalledProcessError):
        return ""


def machine():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        models = [line.split(":", 1)[1].strip() for line in file if line.startswith("model name")]
    system = platform.freedesktop_os_release().get("PRETTY_NAME", "Linux")
    return f"{models[0] if models else platform.machine()}, {os.cpu_count()} cores, {system}"


def peers():
    """Names and versions as the packages tell them."""
    listing = output_of("dpkg-query", "-W", "-f", "${Package} ${Version}\n", *PACKAGES)
    return ", ".join(listing.split("\n")[:-1]) or "unknown"


def write_page(path, rows, command):
    with open(f"{HERE}/performance.md.in", encoding="utf-8") as file:
        text = file.read()
    compiler = output_of(os.environ.get("CXX", "c++"), "--version").split("\n", maxsplit=1)[0]
    missed = sum(row.verdict() == "missed" for row in rows)
    for key, value in {
        "MACHINE": machine(),
        "COMPILER": compiler or "unknown",
        "PEERS": peers(),
        "DATE": datetime.date.today().isoformat(),
        "COMMAND": command,
        "TABLE": markdown_table(rows),
        "MISSED": f"{missed} of {len(rows)} are missed in this run." if missed else "All are met in this run.",
    }.items():
        text = text.replace(f"@{key}@", value)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


# ----------------------------------------------------------------------------------------------
# Plots: the data of a figure is a file of columns, x and one a line, drawn by bench/plots.gp.


def write_series(folder, figure, values, job, who, scale):
    """`values` of job/WHO/x, a row an x."""
    columns = [
        {float(name.rsplit("/", 1)[1].split(":")[-1]): value
         for name, value in values.items() if name.startswith(f"{job}/{each}/")}
        for each in who
    ]
    with open(f"{folder}/{figure}.dat", "w", encoding="utf-8") as file:
        for x in sorted(set().union(*columns)):
            cells = [str(scale(column[x])) if x in column else "?" for column in columns]
            print(x, *cells, file=file)


def write_bars(folder, figure, costs, bars):
    with open(f"{folder}/{figure}.dat", "w", encoding="utf-8") as file:
        for label, name in bars:
            print(f'"{label}"', costs[name], file=file)


def draw(work, folder, costs, throughputs):
    def same(value):
        return value

    write_bars(work, "lookup", costs, [
        ("host cut", "domain/classify/host-cut"),
        ("classify", "domain/classify/vu"),
        ("lookup", "domain/lookup/vu"),
        ("to string", "domain/lookup-string/vu"),
        ("public suffix", "domain/public-suffix/vu"),
        ("libpsl", "domain/classify/libpsl"),
    ])
    for job in ("labels", "table-size", "host-length"):
        write_series(work, job, costs, f"domain/{job}", ("vu", "libpsl"), same)
    write_series(work, "threads", costs, "domain/threads", ("vu",), lambda ns: 1e3 / ns)
    ciphers = ("vu", "evp-message", "evp-update")
    for way in ("encipher", "decipher"):
        write_series(work, way, throughputs, f"crypto/{way}", ciphers, lambda rate: rate / 1e6)
    parsers = ("vu", "tinyxml2", "pugixml")
    for job in ("xml", "xml-depth"):
        write_series(work, job, throughputs, f"pattern/{job}", parsers, lambda rate: rate / 1e6)
    os.makedirs(folder, exist_ok=True)
    variables = f"data='{os.path.abspath(work)}'; plots='{os.path.abspath(folder)}'"
    subprocess.run(["gnuplot", "-e", variables, f"{HERE}/plots.gp"], check=True)


def main():
    results = sys.argv[1]
    costs, throughputs = read_results(results)
    if not costs:
        sys.exit("report.py: nothing was measured")
    rows = [Row(*target, costs) for target in without_absent_engines(read_targets(), costs)]
    whole = len(sys.argv) > 2
    missing = [row for row in rows if not row.measured] if whole else []
    for row in missing:
        print(f"not measured: {row.job} ({row.ours}, {row.peer})", file=sys.stderr)
    rows = [row for row in rows if row.measured]
    if not rows:
        for name, value in costs.items():
            print(f"{name}: {cost_text(name, value)}")
        return 0
    print(markdown_table(rows))
    if whole and not missing:
        write_page(sys.argv[2], rows, os.environ.get("VU_BENCH_COMMAND", "scripts/bench"))
        draw(results, sys.argv[3], costs, throughputs)
    missed = [row for row in rows if row.verdict() == "missed"]
    for row in missed:
        print(f"missed: {row.job}, {row.peer_text}: {row.ratio_text()}, target {row.target_text()}",
              file=sys.stderr)
    return 1 if missed or missing else 0


sys.exit(main())
