"""The registered domains of URLs, one at a time or in columns.

>>> import vu
>>> suffixes = vu.Suffixes("suffixes.txt")
>>> suffixes.classify("http://www.shop.co.uk:8080/index.html").domain
'shop.co.uk'
>>> suffixes.domains(["http://a.b.co.uk/", None, "10.1.2.3/x", "co.uk"])
['b.co.uk', None, '10.1.2.3', None]
"""

from __future__ import annotations

import sys
from typing import Any

from . import _vu
from ._vu import Result, StringColumn, library_version, status_text, system_path
from .errors import Error, TableError

__all__ = [
    "Error", "Result", "StringColumn", "Suffixes", "TableError", "library_version", "status_text",
    "system_path",
]
__version__ = library_version


class Suffixes(_vu.Suffixes):
    """A table of suffixes, and the rules that it is read by. Never changes; any thread may use it.

    ``path`` is the table's file; by default the one that VU_SUFFIXES names, else the system's.
    ``match`` is "shortest", the service's own rule, or "public-suffix", the one of the Public
    Suffix List. ``host`` is "browser", the host that a browser goes to, or "service", what
    reputation was always kept by. Raises TableError when the file does not open.

    >>> trick = "http://google.com:80@EVIL.co.uk/"
    >>> [vu.Suffixes("suffixes.txt", host=host).classify(trick).domain
    ...  for host in ("browser", "service")]
    ['evil.co.uk', 'google.com']

    >>> vu.Suffixes("no-such-file")
    Traceback (most recent call last):
    ...
    vu.errors.TableError: Top level domain definition file [no-such-file] open error : No such \
file or directory
    """

    def domains(self, column: Any) -> Any:
        """The registered domain of each URL of a column, and None where there is none or no URL.

        A list or another sequence gives a list, a NumPy array an array of objects of the same
        shape, a pandas Series one with the same index and name. Anything else that offers Arrow's
        C data interface (string or large_string, in one array or a stream) gives a StringColumn,
        which offers it too; the texts are read where they lie.

        Other threads run meanwhile, and Ctrl-C ends it.

        >>> import pandas
        >>> suffixes.domains(pandas.Series(["a.shop.co.uk", None], index=["x", "y"])).tolist()
        ['shop.co.uk', None]
        """
        numpy = sys.modules.get("numpy")
        pandas = sys.modules.get("pandas")
        if pandas is not None and isinstance(column, pandas.Series):
            dtype = column.dtype if isinstance(column.dtype, pandas.StringDtype) else object
            return pandas.Series(self._domains_of_list(column.tolist()), index=column.index,
                                 name=column.name, dtype=dtype)
        if numpy is not None and isinstance(column, numpy.ndarray):
            if column.dtype.kind not in "OSU":
                raise TypeError(f"an array of URLs holds texts or objects, not {column.dtype}")
            found = numpy.empty(column.size, dtype=object)
            found[:] = self._domains_of_list(column.ravel().tolist())
            return found.reshape(column.shape)
        if isinstance(column, (str, bytes)):
            raise TypeError("a column is not one URL; see classify")
        if hasattr(column, "__arrow_c_array__") or hasattr(column, "__arrow_c_stream__"):
            return self._domains_of_arrow(column)
        return self._domains_of_list(list(column))

    def __reduce__(self) -> Any:
        """Where the file is goes to other processes, not what is in it."""
        return _open, (self.path, self.match, self.host)

    def __repr__(self) -> str:
        return (f"<vu.Suffixes path={self.path!r} match={self.match!r} host={self.host!r} "
                f"rules={self.rules}>")


def _open(path: str, match: str, host: str) -> Suffixes:
    return Suffixes(path, match=match, host=host)
