# Counts the URLs of each registered domain on all cores of this machine, or on a cluster's workers.

import tempfile

import dask.bag
import vu_dask

if __name__ == "__main__":
    with tempfile.NamedTemporaryFile("w", suffix=".txt") as file:
        print("co.uk 3", file=file, flush=True)
        table = vu_dask.Table(file.name)
    urls = dask.bag.from_sequence(["http://www.shop.co.uk/", "a.shop.co.uk", "x.org"], npartitions=2)
    counts = table.counts(urls)
    # With a Client of distributed, the same line runs on its cluster.
    print(sorted(counts.compute(scheduler="threads")))
