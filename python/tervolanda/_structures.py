"""Structures: read from files, or made of arrays."""

from __future__ import annotations

import os
from typing import Iterable, Sequence

import numpy as np
from numpy.typing import ArrayLike

from . import _core
from ._arrays import real_array, whole_array
from ._core import Structure
from ._errors import StructureError, structure_error, warn_of

_NAMES = {
    "A": "ALA", "C": "CYS", "D": "ASP", "E": "GLU", "F": "PHE", "G": "GLY", "H": "HIS",
    "I": "ILE", "K": "LYS", "L": "LEU", "M": "MET", "N": "ASN", "P": "PRO", "Q": "GLN",
    "R": "ARG", "S": "SER", "T": "THR", "V": "VAL", "W": "TRP", "Y": "TYR",
}  # fmt: skip
_ATOMS = ("all", "backbone", "calpha")


def _path(path: str | os.PathLike) -> bytes:
    """A path for the library, for which "-" is the standard input: in Python it is a file."""
    name = os.fsencode(path)
    if b"\0" in name:
        raise ValueError("a path has no null characters")
    return b"./-" if name == b"-" else name


def _choice(atoms: str, exclude: str | os.PathLike | None):
    if atoms not in _ATOMS:
        raise ValueError(f"atoms is one of {_ATOMS}, not {atoms!r}")
    return _core.ReadChoice(atoms, b"" if exclude is None else _path(exclude))


def read(
    path: str | os.PathLike,
    *,
    atoms: str = "all",
    exclude: str | os.PathLike | None = None,
) -> Structure:
    """Reads a structure of one chain from a PDB file, plain or gzip-compressed (".gz").

    Parameters
    ----------
    path : path
    atoms : {"all", "backbone", "calpha"}
        What is kept: "backbone" is N, CA, C, O and CB.  Only what is kept is checked, so that
        "calpha" reads files whose side chains have alternate locations.
    exclude : path, optional
        A file whose lines name residues to be left out by the columns 23 to 27 of their records.

    Returns
    -------
    Structure

    Raises
    ------
    StructureError
        The file cannot be read, or holds no chain or several; `file` names it.

    Warns
    -----
    TervolandaWarning
        Something of the file was skipped.

    Examples
    --------
    >>> import tervolanda
    >>> experiment = tervolanda.read("experiment.pdb")
    >>> len(experiment), experiment.sequence[:10]
    (61, 'MSEELKRLAE')
    """
    name = _path(path)
    structure, messages = _core.read(name, _choice(atoms, exclude))
    if structure is None:
        raise structure_error(messages, os.fsdecode(name))
    warn_of(messages, 2)
    return structure


def read_models(
    models: str | os.PathLike | Iterable[str | os.PathLike],
    *,
    atoms: str = "calpha",
    exclude: str | os.PathLike | None = None,
) -> list[Structure]:
    """Reads models: those that a list file names, one path a line, or the paths given.

    Parameters
    ----------
    models : path of a list file, or paths of structures
    atoms, exclude
        As for `read`.  Comparisons need "calpha", contacts "backbone".

    Returns
    -------
    list of Structure
        Those that could be read, in their order.

    Raises
    ------
    StructureError
        None could be read.

    Warns
    -----
    TervolandaWarning
        A model could not be read, or something of it was skipped.

    Examples
    --------
    >>> import tervolanda
    >>> [model.name for model in tervolanda.read_models("models.txt")][:2]
    ['near_1.pdb', 'near_2.pdb']
    """
    choice = _choice(atoms, exclude)
    if isinstance(models, (str, bytes, os.PathLike)):
        name = os.fsdecode(_path(models))
        structures, messages = _core.read_list(_path(models), choice)
    else:
        name, structures, messages = "", [], []
        for path in models:
            structure, lines = _core.read(_path(path), choice)
            messages += lines
            if structure is not None:
                structures.append(structure)
    if not structures:
        raise structure_error(messages, name)
    warn_of(messages, 2)
    return structures


def _texts(values: Sequence[str] | str | None, n: int, default: str, what: str) -> list[str]:
    """One text an atom."""
    if values is None:
        return [default] * n
    texts = [str(value) for value in values]
    if len(texts) != n:
        raise ValueError(f"{what} has {len(texts)} entries, the coordinates have {n}")
    return texts


def from_arrays(
    coordinates: ArrayLike,
    residue_numbers: ArrayLike | None = None,
    *,
    sequence: Sequence[str] | None = None,
    insertion_codes: Sequence[str] | None = None,
    atom_names: Sequence[str] | None = None,
    b_factors: ArrayLike | None = None,
    name: str = "",
) -> Structure:
    """A structure of coordinates that come from elsewhere.

    Parameters
    ----------
    coordinates : (n, 3) array
        Å (MDTraj has nm: multiply by 10), at most 1e7 in size.
    residue_numbers : (n,) array of int, optional
        By these, and the insertion codes, residues of two structures are paired; 1 to n without.
    sequence : n residue names or letters, optional
        Three-letter names, or one-letter codes; "X" without.
    insertion_codes : n characters, optional
    atom_names : n names, optional
        Without them all atoms are C-alpha atoms.  With them the other arrays have an entry an
        atom, and the atoms of a residue follow each other.
    b_factors : (n,) array, optional
    name : str
        What stands for a file's name.

    Returns
    -------
    Structure

    Raises
    ------
    ValueError
        A wrong shape or length, a coordinate that is not finite, a residue number that is out of
        range (it has 16 bits), two atoms of one name in a residue, or no C-alpha atom.
    TypeError
        An array of another kind.

    Examples
    --------
    >>> import numpy, tervolanda
    >>> line = tervolanda.Structure.from_arrays(numpy.arange(30.0).reshape(10, 3))
    >>> line.residue_numbers[-1], line.coordinates.shape
    (10, (10, 3))
    """
    places = real_array(coordinates, "coordinates")
    n = len(places) if places.ndim == 2 else 0
    numbers = (
        np.arange(1, n + 1)
        if residue_numbers is None
        else whole_array(residue_numbers, "residue_numbers")
    )
    factors = np.zeros(n) if b_factors is None else real_array(b_factors, "b_factors")
    if not np.isfinite(factors).all():
        raise ValueError("b_factors are finite numbers")
    names = [
        _NAMES.get(residue, "UNK") if len(residue) == 1 else residue.rjust(3)
        for residue in _texts(sequence, n, "X", "sequence")
    ]
    atoms = [
        atom if len(atom) == 4 else f" {atom:3}"
        for atom in _texts(atom_names, n, "CA", "atom_names")
    ]
    codes = _texts(insertion_codes, n, " ", "insertion_codes")
    return _core.structure_of_arrays(places, numbers, codes, atoms, names, factors, name)


def _add_methods() -> None:
    """What is easier said in Python."""
    Structure.__module__ = "tervolanda"
    Structure.from_arrays = staticmethod(from_arrays)
    Structure.insertion_codes = property(
        lambda self: np.array(self._insertion_codes(), dtype="U1"),
        doc="Letters where residues share a number, (n,); else empty.",
    )
    Structure.residue_names = property(
        lambda self: np.array(self._residue_names(), dtype="U3"),
        doc="Three-letter names, (n,).",
    )
    Structure.atom_names = property(
        lambda self: np.array(self._atom_names(), dtype="U4"),
        doc="Names of all atoms that were kept, (m,).",
    )
    Structure.__repr__ = lambda self: (
        f"Structure({self.name!r}, {len(self)} residues)"
    )


_add_methods()

__all__ = ["Structure", "StructureError", "read", "read_models"]
