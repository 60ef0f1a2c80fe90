"""Many structures compared."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Callable, Dict, Iterable

import numpy as np

from . import _core
from ._arrays import thread_count
from ._comparing import fit_choice, search_parameters
from ._core import Structure

Progress = Callable[[int, int], object]

# The measures that the program's --measure knows.
_ON_DEMAND = ("lddt", "lddt_all", "gdt_ts", "gdt_ha")


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
    models : tuple of Structure
        Empty when it was pickled.
    """

    measure: str
    values: np.ndarray
    names: tuple[str, ...] = field(repr=False)
    pairs: np.ndarray | None = field(default=None, repr=False)
    rmsd: np.ndarray | None = field(default=None, repr=False)
    models: tuple[Structure, ...] = field(default=(), repr=False)

    def __getstate__(self):
        return {**self.__dict__, "models": ()}

    @property
    def are_similarities(self) -> bool:
        """Whether a higher value is a better one."""
        return self.measure in ("tm", "maxsub", "gdt", *_ON_DEMAND)

    @property
    def are_percentages(self) -> bool:
        """Whether the values go from 0 to 100."""
        return self.measure in ("gdt", "gdt_ts", "gdt_ha")

    @property
    def distances(self) -> np.ndarray:
        """What is clustered, as the program's ``--npy`` writes it: 1 - s of similarities (GDT from
        0 to 1), 0 on the diagonal, -1 for none; (n, n) of float32."""
        found = self.values
        if self.are_percentages:
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


def _measure_choice(measure: str, atoms: str, search: dict) -> _core.FitChoice:
    """How pairs are measured on demand; TypeError for arguments that have no say in it."""
    if unknown := sorted(search.keys() - {"align", "map_chains"}):
        raise TypeError(f"{measure} takes align and map_chains, not {', '.join(unknown)}")
    if atoms != "calpha":
        raise ValueError(f"atoms is of 'rmsd'; for {measure} leave it out")
    return fit_choice(**search, urmsd=False, measure=measure)


def _no_measure(measure, names: tuple[str, ...]) -> ValueError:
    return ValueError(f"measure is one of {', '.join((*names, *_ON_DEMAND))}, not {measure!r}")


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
    measure : {"tm", "maxsub", "gdt", "rmsd", "urmsd", "lddt", "lddt_all", "gdt_ts", "gdt_ha"}
        Of the lDDTs of two models the mean of both ways: neither is the truth.
    atoms : {"calpha", "backbone"}
        Of "rmsd".
    threads : int, optional
        As many as there are processors without it; the values are the same.
    progress : callable, optional
        Called with the number of comparisons done and that of all, now and then.
    **search
        Arguments of `compare`; for "gdt" those of `gdt`, for "rmsd", "urmsd" and the last four
        `align` and `map_chains`.

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
        found = _core.all_by_maxsub(models, search_parameters(**search), measure == "tm", thread_count(threads), progress)
    elif measure == "gdt":
        found = _core.all_by_gdt(models, search_parameters(**search), thread_count(threads), progress)
    elif measure in _ON_DEMAND:
        choice = _measure_choice(measure, atoms, search)
        found = _core.all_by_measure(models, choice, thread_count(threads), progress)
    elif measure in ("rmsd", "urmsd"):
        fit = fit_choice(atoms, **search, urmsd=measure == "urmsd")
        found = _core.all_by_rmsd(models, fit, thread_count(threads), progress)
        return Matrices(measure, found[measure], names, found["pairs"], None, tuple(models))
    else:
        raise _no_measure(measure, ("tm", "maxsub", "gdt", "rmsd", "urmsd"))
    return Matrices(
        measure, found["values"], names, found.get("pairs"), found.get("rmsd"), tuple(models)
    )


class Table(Dict[str, np.ndarray]):
    """What `against` found: a dict of (n,) arrays, which `report` can show.

    A copy, or one that was pickled, is a dict.
    """

    _found: _core.ListRecord | None = None

    def __reduce__(self):
        return dict, (dict(self),)


def against(
    experiment: Structure,
    models: Iterable[Structure],
    measure: str = "tm",
    *,
    atoms: str = "calpha",
    threads: int | None = None,
    progress: Progress | None = None,
    **search,
) -> Table:
    """Compares every model with an experiment.

    Parameters
    ----------
    experiment : Structure
    models : Structures
    measure : {"tm", "maxsub", "gdt", "rmsd", "lddt", "lddt_all", "gdt_ts", "gdt_ha"}
        "tm" and "maxsub" give the same table, which `report` ranks by the one or the other.  Of the
        lDDTs the experiment is the reference.
    atoms, threads, progress, **search
        As for `all_pairs`.

    Returns
    -------
    Table, a dict of (n,) arrays
        In the order of the models: ``pandas.DataFrame(against(...))``.  "name" and, by "tm" and
        "maxsub", "tm", "maxsub", "msi", "pairs", "rmsd"; by "gdt", "gdt"; by "rmsd", "rmsd", "pairs",
        "relative", "standard_score", "urmsd", "relative_urmsd"; by others the measure, "pairs",
        "rmsd", those of a least-squares fit of all pairs.  NaN for what cannot be said of a model.

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
        found, kept = _core.list_by_maxsub(
            experiment, models, search_parameters(**search), measure == "tm", thread_count(threads), progress
        )
    elif measure == "gdt":
        found, kept = _core.list_by_gdt(
            experiment, models, search_parameters(**search), thread_count(threads), progress
        )
    elif measure == "rmsd":
        found, kept = _core.list_by_rmsd(
            experiment, models, fit_choice(atoms, **search, urmsd=True), thread_count(threads), progress
        )
    elif measure in _ON_DEMAND:
        choice = _measure_choice(measure, atoms, search)
        found, kept = _core.list_by_measure(
            experiment, models, choice, thread_count(threads), progress
        )
    else:
        raise _no_measure(measure, ("tm", "maxsub", "gdt", "rmsd"))
    table = Table(name=np.array([model.name for model in models], dtype=object), **found)
    table._found = kept
    return table
