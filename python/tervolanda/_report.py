"""A page about what was found, to look at in a browser."""

from __future__ import annotations

import os

import numpy as np

from . import _core
from ._arrays import real_array, whole_array
from ._clustering import Clusters
from ._core import Comparison, Gdt, Rmsd
from ._lists import Matrices, Table


def report(
    path: str | os.PathLike,
    found: Comparison | Gdt | Rmsd | Table | Matrices,
    clusters: Clusters | None = None,
    *,
    score: float = 0.2,
    minimum_pairs: int = 20,
) -> None:
    """Writes a page with tables and pictures, one HTML file that needs no network.

    Parameters
    ----------
    path : path
        Of the page; an older file is replaced when the new one is complete.
    found : what `compare`, `gdt`, `rmsd`, `against` or `all_pairs` returned
        Of a list the page shows the superposition of the best model, of `all_pairs` the matrix.
    clusters : Clusters, optional
        Of these `Matrices`, as `cluster` returned them.
    score, minimum_pairs
        Of the ranking by `jury`, where `found` is of "tm" or "maxsub"; other matrices are ranked by
        the mean over the other models.

    Raises
    ------
    OSError
        The page could not be written.
    ValueError, TypeError
        Clusters without a matrix, those of another matrix, or what was copied or pickled.

    Examples
    --------
    >>> import tervolanda
    >>> models = tervolanda.read_models("models.txt")
    >>> matrices = tervolanda.all_pairs(models)
    >>> tervolanda.report("page.html", matrices, tervolanda.cluster(matrices, threshold=0.3))
    >>> table = tervolanda.against(tervolanda.read("experiment.pdb"), models)
    >>> tervolanda.report("list.html", table)
    """
    if clusters is not None and not isinstance(found, Matrices):
        raise ValueError("clusters are shown beside matrices")
    name = os.fsencode(path)
    if isinstance(found, (Comparison, Gdt, Rmsd)):
        _core.report_pair(name, found)
    elif isinstance(found, Table) and found._found is not None:
        _core.report_list(name, found._found)
    elif isinstance(found, Matrices):
        if clusters is not None and clusters._found is None:
            raise TypeError("clusters are what cluster() returned")
        pairs = None if found.pairs is None else whole_array(found.pairs, "pairs")
        with np.errstate(over="ignore"):
            values = real_array(found.values, "the values of a matrix", np.float32)
        _core.report_matrix(
            name, found.models, found.names, found.measure, values, pairs,
            None if clusters is None else clusters._found, _core.JuryChoice(score, minimum_pairs),
        )  # fmt: skip
    else:
        raise TypeError(
            "found is what compare(), gdt(), rmsd(), against() or all_pairs() returned, "
            f"not a {type(found).__name__}"
        )
