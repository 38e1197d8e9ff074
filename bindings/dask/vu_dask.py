"""Registered domains of more URLs than one machine should read, by Dask.

A Table is the bytes of a table's file and their checksum. It travels with the work, once to each
worker, and every worker compares the checksum before it classifies: one list decides everywhere.

>>> import dask.bag
>>> table = Table("suffixes.txt")
>>> urls = dask.bag.from_sequence(["http://a.shop.co.uk/", "b.shop.co.uk", "co.uk", None])
>>> table.domains(urls).compute(scheduler="synchronous")
['shop.co.uk', 'shop.co.uk', None, None]
>>> table.counts(urls).compute(scheduler="synchronous")
[('shop.co.uk', 2)]
"""

from __future__ import annotations

import hashlib
import tempfile
import threading
from typing import Any, Dict, Iterable, List, Optional, Tuple

import dask
import dask.bag
import vu

__all__ = ["Table"]

# What this process has opened. Kept, since a worker runs many parts with one table.
_opened: Dict[Tuple[str, str, str], vu.Suffixes] = {}
_opening = threading.Lock()


class Table:
    """A table of suffixes for any number of workers.

    ``path``, ``match`` and ``host`` are those of vu.Suffixes, which reads the file here and now: a
    table that does not open raises vu.TableError before any work is sent.
    """

    def __init__(self, path: Any = None, *, match: str = "shortest",
                 host: str = "browser") -> None:
        with open(vu.Suffixes(path, match=match, host=host).path, "rb") as file:
            self._content = file.read()
        #: SHA-256 of the file, in hexadecimal digits.
        self.checksum = hashlib.sha256(self._content).hexdigest()
        self.match = match
        self.host = host
        self.suffixes()  # what was read, in case the file was replaced meanwhile

    def suffixes(self) -> vu.Suffixes:
        """The table, opened in this process. Raises ValueError when it is not the one that was sent."""
        key = (self.checksum, self.match, self.host)
        with _opening:
            if key not in _opened:
                found = hashlib.sha256(self._content).hexdigest()
                if found != self.checksum:
                    raise ValueError(f"the table has checksum {found}, not {self.checksum}")
                with tempfile.NamedTemporaryFile(prefix="vu-") as file:
                    file.write(self._content)
                    file.flush()
                    _opened[key] = vu.Suffixes(file.name, match=self.match, host=self.host)
            return _opened[key]

    def __dask_tokenize__(self) -> Tuple[str, str, str, str]:
        return "vu_dask.Table", self.checksum, self.match, self.host

    def domains(self, urls: Any) -> Any:
        """The registered domain of each URL, None where there is none: a Bag of a Bag, a Series of
        a Series, in the same parts and order."""
        table = dask.delayed(self, pure=True)
        if isinstance(urls, dask.bag.Bag):
            return urls.map_partitions(_domains_of_part, table)
        return urls.map_partitions(_domains_of_series, table, meta=(urls.name, object))

    def counts(self, urls: Any) -> Any:
        """How many URLs each registered domain has: a Bag of pairs, or a Series by domain."""
        domains = self.domains(urls)
        if isinstance(domains, dask.bag.Bag):
            return domains.filter(_is_there).frequencies()
        return domains.value_counts()


def _domains_of_part(urls: Iterable[Any], table: Table) -> List[Optional[str]]:
    return table.suffixes().domains(list(urls))


def _domains_of_series(urls: Any, table: Table) -> Any:
    return table.suffixes().domains(urls).astype(object)


def _is_there(domain: Optional[str]) -> bool:
    return domain is not None
