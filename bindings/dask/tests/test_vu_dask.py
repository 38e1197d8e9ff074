import collections
import contextlib
import doctest
import os
import pickle
import subprocess
import sys
import time

import dask
import dask.bag
import dask.dataframe
import distributed
import pandas
import pytest
import vu
import vu_dask

RULES = "co.uk 3\nltd.co.uk 4\n"


@pytest.fixture
def table(tmp_path, monkeypatch):
    (tmp_path / "suffixes.txt").write_text(RULES)
    monkeypatch.chdir(tmp_path)
    return vu_dask.Table("suffixes.txt")


def test_help_tells_the_truth(table):
    failed, tried = doctest.testmod(vu_dask)
    assert (failed, tried) == (0, 5)


def test_series(table):
    urls = pandas.Series(["a.shop.co.uk", None, "co.uk", "b.shop.co.uk"], name="url")
    parts = dask.dataframe.from_pandas(urls, npartitions=2)
    with dask.config.set(scheduler="synchronous"):
        assert table.domains(parts).compute().tolist() == ["shop.co.uk", None, None, "shop.co.uk"]
        assert table.counts(parts).compute().to_dict() == {"shop.co.uk": 2}


def test_tables(table):
    with pytest.raises(vu.TableError):
        vu_dask.Table("no-such-file")
    os.remove("suffixes.txt")  # what was read is what decides
    copy = pickle.loads(pickle.dumps(table))
    assert copy.suffixes().domains(["a.b.co.uk"]) == ["b.co.uk"]
    vu_dask._opened.clear()
    copy._content = copy._content.replace(b"ltd", b"net")
    with pytest.raises(ValueError, match="the table has checksum"):
        copy.suffixes()


def wait_until(condition, seconds=60):
    end = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < end, "it takes too long"
        time.sleep(0.05)


@contextlib.contextmanager
def process(*command):
    started = subprocess.Popen([sys.executable, "-m", *command], stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    try:
        yield started
    finally:
        started.kill()
        started.wait()


@contextlib.contextmanager
def cluster(folder):
    """A scheduler and two workers, each a process, on loopback."""
    file = str(folder / "scheduler.json")
    worker = ["distributed.cli.dask_worker", "--scheduler-file", file, "--host", "127.0.0.1",
              "--no-nanny", "--no-dashboard", "--nthreads", "1", "--death-timeout", "60",
              "--local-directory", str(folder)]
    with process("distributed.cli.dask_scheduler", "--host", "127.0.0.1", "--port", "0",
                 "--no-dashboard", "--dashboard-address", "127.0.0.1:0", "--scheduler-file", file):
        wait_until(lambda: os.path.exists(file))
        with process(*worker, "--name", "lost") as lost, process(*worker, "--name", "left"):
            with distributed.Client(scheduler_file=file, timeout=60) as client:
                client.wait_for_workers(2, timeout=60)
                yield client, lost


@pytest.mark.skipif("VU_TOOL" not in os.environ, reason="VU_TOOL names no vu command")
def test_a_lost_worker_loses_nothing(table, tmp_path):
    count = 2000000 if "VU_TEST_LONG" in os.environ else 200000
    with open("urls.txt", "w") as file:
        for i in range(count):
            file.write(("http://www.shop%d.co.uk/%d\n", "a%d.ltd.co.uk\n", "user%d@x.co.uk/%d\n",
                        "10.0.0.%d/%d\n")[i % 4].replace("%d", str(i % 997), 1).replace("%d", str(i)))
    rows = subprocess.run([os.environ["VU_TOOL"], "classify", "--format", "tsv", "--suffixes",
                           "suffixes.txt", "--allow-refused", "--file", "urls.txt"],
                          capture_output=True, text=True, check=True).stdout.splitlines()
    expected = [row.split("\t")[2] or None for row in rows]
    assert len(expected) == count

    def slowly(urls):
        time.sleep(0.2)  # long enough to lose a worker meanwhile
        return urls

    with cluster(tmp_path) as (client, lost):
        urls = dask.bag.read_text("urls.txt", blocksize=os.path.getsize("urls.txt") // 40)
        urls = urls.map(str.rstrip).map_partitions(slowly)
        [domains, counts] = client.compute([table.domains(urls), table.counts(urls)])
        address = next(address for address, each in client.scheduler_info()["workers"].items()
                       if each["name"] == "lost")
        wait_until(lambda: len(client.has_what().get(address, ())) >= 3)
        assert not domains.done()
        lost.kill()
        assert domains.result(timeout=300) == expected
        assert dict(counts.result(timeout=300)) == collections.Counter(filter(None, expected))
        assert len(client.scheduler_info()["workers"]) == 1
