"""What goes wrong, and how the messages of the library become exceptions and warnings."""

from __future__ import annotations

import re
import warnings


class StructureError(ValueError):
    """A file that holds no structure which could be compared.

    Attributes
    ----------
    file : str
        The file as it was named.
    line : int or None
        The number of the line at fault, where one line is.
    """

    def __init__(self, message: str, file: str = "", line: int | None = None) -> None:
        super().__init__(message)
        self.file = file
        self.line = line

    def __reduce__(self):
        return type(self), (str(self), self.file, self.line)


class TervolandaWarning(UserWarning):
    """What was wrong with an input that could be used all the same."""


def warn_of(messages: list[str], stacklevel: int) -> None:
    """Warns of each message, in the name of the caller `stacklevel` calls up."""
    for message in messages:
        warnings.warn(message, TervolandaWarning, stacklevel=stacklevel + 1)


def structure_error(messages: list[str], file: str, exclude: str = "") -> StructureError:
    """The exception for a file that could not be read, or for the exclusion file beside it."""
    text = "\n".join(messages) or f"'{file}' names no structure file"
    if messages and "residue exclusion file" in messages[0]:
        file = exclude
    line = re.search(r"\bline (\d+)\b", text)
    return StructureError(text, file, int(line[1]) if line else None)
