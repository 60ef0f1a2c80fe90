"""Many structures compared."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Callable, Iterable

import numpy as np

from . import _core
from ._comparing import is_by_sequence, search_parameters
from ._core import Structure

Progress = Callable[[int, int], object]


@dataclass(frozen=True)
class Matrices:
    """All models of a list compared with each other.

    Attributes
    ----------
    measure : str
    values : (n, n) array of float32
        The measure.  TM-score and MaxSub: row i is relative to the length of model i.  RMSD: Å, -1
        where no rotation fits.
    names : tuple of str
    pairs : (n, n) array of uint32, or None
        Residue pairs of the subsets; of RMSD those that were fitted.
    rmsd : (n, n) array of float32, or None
        RMSD of the subsets, Å.
    """

    measure: str
    values: np.ndarray
    names: tuple[str, ...] = field(repr=False)
    pairs: np.ndarray | None = field(default=None, repr=False)
    rmsd: np.ndarray | None = field(default=None, repr=False)

    @property
    def are_similarities(self) -> bool:
        """Whether a higher value is a better one."""
        return self.measure in ("tm", "maxsub", "gdt")

    @property
    def distances(self) -> np.ndarray:
        """What is clustered, as the program's ``--npy`` writes it: 1 - s of similarities (GDT from
        0 to 1), 0 on the diagonal, -1 for none; (n, n) of float32."""
        found = self.values
        if self.measure == "gdt":
            found = found / np.float32(100.0)
        if self.are_similarities:
            found = (1.0 - found.astype(np.float64)).astype(np.float32)
        found = np.where(np.isfinite(found), found + np.float32(0.0), np.float32(-1.0))
        np.fill_diagonal(found, 0.0)
        return found


def _models(models: Iterable[Structure], at_least: int) -> list[Structure]:
    models = list(models)
    if len(models) < at_least:
        raise ValueError(f"there have to be at least {at_least} models")
    for model in models:
        if not isinstance(model, Structure):
            raise TypeError(f"models are Structures, not {type(model).__name__}")
    return models


def all_pairs(
    models: Iterable[Structure],
    measure: str = "tm",
    *,
    atoms: str = "calpha",
    threads: int | None = None,
    progress: Progress | None = None,
    **search,
) -> Matrices:
    """Compares all models with each other.

    Parameters
    ----------
    models : Structures, at least 2
    measure : {"tm", "maxsub", "gdt", "rmsd", "urmsd"}
    atoms : {"calpha", "backbone"}
        Of "rmsd".
    threads : int, optional
        As many as there are processors without it; the values are the same.
    progress : callable, optional
        Called with the number of comparisons done and that of all, now and then.
    **search
        Arguments of `compare`; for "gdt" those of `gdt`, for "rmsd" and "urmsd" `align` only.

    Returns
    -------
    Matrices

    Raises
    ------
    KeyboardInterrupt
        And whatever else a signal handler or `progress` raises: it ends the comparison.

    Examples
    --------
    >>> import tervolanda
    >>> models = tervolanda.read_models("models.txt")
    >>> tervolanda.all_pairs(models, "rmsd").values.shape
    (8, 8)
    """
    models = _models(models, 2)
    names = tuple(model.name for model in models)
    if measure in ("tm", "maxsub"):
        found = _core.all_by_maxsub(models, search_parameters(**search), measure == "tm", _threads(threads), progress)
    elif measure == "gdt":
        found = _core.all_by_gdt(models, search_parameters(**search), _threads(threads), progress)
    elif measure in ("rmsd", "urmsd"):
        fit = _fit(atoms, **search)
        found = _core.all_by_rmsd(models, *fit, measure == "urmsd", _threads(threads), progress)
        return Matrices(measure, found[measure], names, found["pairs"])
    else:
        raise ValueError(f"measure is none of tm, maxsub, gdt, rmsd, urmsd: {measure!r}")
    return Matrices(measure, found["values"], names, found.get("pairs"), found.get("rmsd"))


def _threads(threads: int | None) -> int:
    if threads is None:
        return 0
    if threads < 1:
        raise ValueError("threads is at least 1")
    return threads


def _fit(atoms: str, align: str = "number") -> tuple[bool, bool]:
    """Whether the fit of all pairs is of the backbone, and whether they pair by sequence."""
    if atoms not in ("calpha", "backbone"):
        raise ValueError(f"atoms is 'calpha' or 'backbone', not {atoms!r}")
    return atoms == "backbone", is_by_sequence(align)


def against(
    experiment: Structure,
    models: Iterable[Structure],
    measure: str = "tm",
    *,
    atoms: str = "calpha",
    threads: int | None = None,
    progress: Progress | None = None,
    **search,
) -> dict[str, np.ndarray]:
    """Compares every model with an experiment.

    Parameters
    ----------
    experiment : Structure
    models : Structures
    measure : {"tm", "maxsub", "gdt", "rmsd"}
        "tm" and "maxsub" give the same table.
    atoms, threads, progress, **search
        As for `all_pairs`.

    Returns
    -------
    dict of (n,) arrays
        A table, in the order of the models: ``pandas.DataFrame(against(...))``.

    Examples
    --------
    >>> import tervolanda
    >>> experiment = tervolanda.read("experiment.pdb")
    >>> table = tervolanda.against(experiment, tervolanda.read_models("models.txt"))
    >>> sorted(table)
    ['maxsub', 'msi', 'name', 'pairs', 'rmsd', 'tm']
    >>> str(table["name"][table["tm"].argmax()])
    'near_1.pdb'
    """
    models = _models(models, 1)
    if measure in ("tm", "maxsub"):
        found = _core.list_by_maxsub(experiment, models, search_parameters(**search), _threads(threads), progress)
    elif measure == "gdt":
        found = _core.list_by_gdt(experiment, models, search_parameters(**search), _threads(threads), progress)
    elif measure == "rmsd":
        found = _core.list_by_rmsd(experiment, models, *_fit(atoms, **search), True, _threads(threads), progress)
    else:
        raise ValueError(f"measure is none of tm, maxsub, gdt, rmsd: {measure!r}")
    return {"name": np.array([model.name for model in models], dtype=object), **found}
