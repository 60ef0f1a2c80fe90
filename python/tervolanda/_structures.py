"""Structures: read from files, or made of arrays."""

from __future__ import annotations

import operator
import os
from typing import Iterable, Sequence

import numpy as np
from numpy.typing import ArrayLike

from . import _core
from ._arrays import real_array, thread_count, whole_array
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


def _text(path: str | os.PathLike | None) -> str:
    return "" if path is None else os.fsdecode(path)


def _choice(chain, model, altloc, format, atoms, exclude):
    """What to read of files, as the library takes it."""
    if atoms not in _ATOMS:
        raise ValueError(f"atoms is one of {_ATOMS}, not {atoms!r}")
    if format not in ("auto", "entry"):
        raise ValueError(f"format is 'auto' or 'entry', not {format!r}")
    if model is None:
        number = None
    elif model == "all":
        number = -1
    elif (number := operator.index(model)) < 0:
        raise ValueError("model is a number from 0 on")
    is_entry = format == "entry" or not (chain is model is altloc is None)
    return _core.ReadChoice(
        atoms, b"" if exclude is None else _path(exclude), is_entry, chain or "", number,
        altloc or "best",
    )  # fmt: skip


def read(
    path: str | os.PathLike,
    chain: str | None = None,
    model: int | None = None,
    altloc: str | None = None,
    format: str = "auto",
    *,
    atoms: str = "all",
    exclude: str | os.PathLike | None = None,
) -> Structure:
    """Reads one chain from a PDB or mmCIF file, plain or gzip-compressed.

    mmCIF files, and PDB files where `chain`, `model`, `altloc` or ``format="entry"`` is given, are
    read as databanks and predictors write them: the protein residues, modified ones too, of one
    chain, one model and one conformer.  Other PDB files are those of one chain and one model:
    their ATOM records are taken, and two atoms of one name are an error.

    Parameters
    ----------
    path : path
    chain : str, optional
        By its author's name, or by mmCIF's own after "label:"; without it there has to be one only.
        "all" takes all protein chains as one complex.
    model : int, optional
        Its number in a file of several; the first without.
    altloc : {"best", "first"} or a letter, optional
        Which alternate locations: of the highest occupancy, as without it, the first in the file,
        or those of a letter.
    format : {"auto", "entry"}
    atoms : {"all", "backbone", "calpha"}
        What is kept: "backbone" is N, CA, C, O and CB.  Only what is kept is checked.
    exclude : path, optional
        A file whose lines name residues to be left out by the columns 23 to 27 of their records.

    Returns
    -------
    Structure

    Raises
    ------
    StructureError
        The file cannot be read, and the message says why; or it holds no such chain or several.
        `file` and, where a line is at fault, `line` say where.

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
    >>> len(tervolanda.read("entry.pdb", chain="A"))
    61
    """
    if model == "all":
        raise ValueError("read() reads one model, read_models() all of them")
    name = _path(path)
    structure, messages = _core.read(
        name, _choice(chain, model, altloc, format, atoms, exclude)
    )
    if structure is None:
        raise structure_error(messages, os.fsdecode(name), _text(exclude))
    warn_of(messages, 2)
    return structure


def read_models(
    models: str | os.PathLike | Iterable[str | os.PathLike],
    chain: str | None = None,
    model: int | str | None = None,
    altloc: str | None = None,
    format: str = "auto",
    *,
    atoms: str = "calpha",
    exclude: str | os.PathLike | None = None,
    threads: int | None = None,
) -> list[Structure]:
    """Reads many structures.

    Parameters
    ----------
    models : path, or paths
        A folder of structures, a pattern ("models/*.cif"), a structure file, a list file with a
        path a line (relative ones count from its folder), or the paths of structures.
    chain, model, altloc, format, atoms, exclude
        As for `read`; with ``model="all"`` every model of a file is a structure of its own.
        Comparisons need the atoms "calpha", contacts "backbone".
    threads : int, optional
        That read side by side; without it as many as there are processors.

    Returns
    -------
    list of Structure
        Those that could be read, in their order; by a folder or a pattern in natural order.

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
    choice = _choice(chain, model, altloc, format, atoms, exclude)
    if isinstance(models, (str, bytes, os.PathLike)):
        path = _path(models)
        name = os.fsdecode(path)
        structures, messages = _core.read_list(path, choice, thread_count(threads))
    else:
        name = ""
        paths = [_path(path) for path in models]
        if not paths:
            raise ValueError("there are no paths")
        structures, messages = _core.read_files(paths, choice, thread_count(threads))
    if not structures:
        raise structure_error(messages, name, _text(exclude))
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
    members = {
        "__module__": "tervolanda",
        "from_arrays": staticmethod(from_arrays),
        "chain_names": property(
            lambda self: np.array(self._chain_names(), dtype="U"),
            doc="The name of each residue's chain, (n,): of complexes there are several.",
        ),
        "insertion_codes": property(
            lambda self: np.array(self._insertion_codes(), dtype="U1"),
            doc="Letters where residues share a number, (n,); else empty.",
        ),
        "residue_names": property(
            lambda self: np.array(self._residue_names(), dtype="U3"),
            doc="Three-letter names, (n,).",
        ),
        "atom_names": property(
            lambda self: np.array(self._atom_names(), dtype="U4"),
            doc="Names of all atoms that were kept, (m,).",
        ),
        "__repr__": lambda self: f"Structure({self.name!r}, {len(self)} residues)",
    }
    for name, member in members.items():
        setattr(Structure, name, member)


_add_methods()

__all__ = ["Structure", "StructureError", "read", "read_models"]
