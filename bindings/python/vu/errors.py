"""What goes wrong."""

from __future__ import annotations


class Error(Exception):
    """Whatever this package raises of its own."""


class TableError(Error):
    """A table that does not open. Its text has the path and the reason."""

    def __init__(self, status: int, message: str) -> None:
        super().__init__(status, message)
        #: 2 when memory ran out, 3 when there is no table, 4 when a file cannot be read or is none.
        self.status = status

    def __str__(self) -> str:
        return self.args[1]
