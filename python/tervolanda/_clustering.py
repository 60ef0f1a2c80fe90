"""Clusters of models, and the one that most others resemble."""

from __future__ import annotations

from dataclasses import dataclass, field

import numpy as np
from numpy.typing import ArrayLike

from . import _core
from ._arrays import real_array, whole_array
from ._lists import Matrices


@dataclass(frozen=True)
class Clusters:
    """The clusters of models.

    Attributes
    ----------
    labels : (n,) array of int
        The cluster of each model, from 0; -1 for one that is in none ("neighbours" only).
    medoids : (k,) array of int
        The model that stands for each cluster.
    sizes : (k,) array of int
    spreads : (k,) array
        Mean distance of the medoid to the members of its cluster.
    threshold : float
        Where the tree was cut.
    linkage : (n - 1, 4) array, or None
        The tree as SciPy has it, in which clusters that no distance connects join at the largest
        number there is; None with "neighbours".
    """

    labels: np.ndarray
    medoids: np.ndarray
    sizes: np.ndarray
    spreads: np.ndarray = field(repr=False)
    threshold: float
    linkage: np.ndarray | None = field(default=None, repr=False)
    _found: _core.Clustering | None = field(default=None, repr=False)

    def __getstate__(self):
        return {**self.__dict__, "_found": None}


def _values(matrix) -> np.ndarray:
    values = matrix.values if isinstance(matrix, Matrices) else matrix
    with np.errstate(over="ignore"):  # what is infinite then is refused
        return real_array(values, "the values of a matrix", np.float32)


def _scores(matrix) -> np.ndarray:
    """The values, per cents as shares."""
    scores = _values(matrix)
    return scores / np.float32(100.0) if getattr(matrix, "are_percentages", False) else scores


def _are_similarities(matrix, similarities: bool | None) -> bool:
    if similarities is None:
        return isinstance(matrix, Matrices) and matrix.are_similarities
    return similarities


def cluster(
    matrix: Matrices | ArrayLike,
    method: str = "average",
    threshold: float | None = None,
    *,
    similarities: bool | None = None,
    max_threshold: float | None = None,
    step: float | None = None,
    size: int = 50,
    minimum_size: int = 5,
) -> Clusters:
    """Clusters models by a matrix of distances or similarities.

    Parameters
    ----------
    matrix : Matrices, or (n, n) array
        Of an array its lower triangle is read; a negative distance is none.
    method : {"single", "average", "maximum", "neighbours", "neighbours-minimum"}
        Linkage, or the model with the most neighbours takes them, then the next.
    threshold : float, optional
        The distance at which the tree is cut; of similarities the distance is 1 - s (GDT counts
        from 0 to 1 here).  Without it thresholds are tried from 0.5 to 0.8 in steps of 0.05, or of
        RMSD from 4 to 8 Å in steps of 0.2, until a cluster has `size` models.
    similarities : bool, optional
        What an array holds; distances unless said otherwise.
    max_threshold, step : float, optional
        The last threshold to be tried, and the way there.
    size, minimum_size : int
        The wanted size of the largest cluster; with "neighbours" of the first and of later ones.

    Returns
    -------
    Clusters

    Raises
    ------
    ValueError
        The matrix is not square or has a value that is not finite, or there is no such method.

    Examples
    --------
    >>> import tervolanda
    >>> models = tervolanda.read_models("models.txt")
    >>> clusters = tervolanda.cluster(tervolanda.all_pairs(models, "rmsd"), threshold=3.0)
    >>> int(clusters.labels[0]) == int(clusters.labels[1])
    True
    """
    similarities = _are_similarities(matrix, similarities)
    first, last, by = (0.5, 0.8, 0.05) if similarities else (4.0, 8.0, 0.2)
    if threshold is not None:
        first, last, by = threshold, threshold, 0.0
    last = last if max_threshold is None else max_threshold
    by = by if step is None else step
    return Clusters(
        **_core.cluster(
            _scores(matrix), method, similarities, first, last, by, size, minimum_size
        )
    )


@dataclass(frozen=True)
class SetFigures:
    """How alike the models of a set are.

    Attributes
    ----------
    pairs : int
        Pairs of models that have a score; the next four are of these.
    mean : float
    quantiles : (5,) array
        The least, the three quartiles and the greatest (Hyndman & Fan 1996, type 7).
    medoid : int or None
        The model with the best mean score over the others.
    mean_b_factors : (n,) array, or None
        That of each model, Å^2; of predictions often the confidence.  None where the models are not
        known.
    clusters_by_threshold : (k, 2) array, or None
        Thresholds, evenly up to the last join of the tree, and the number of clusters that the tree
        gives if it is cut there.  None without a tree.
    """

    pairs: int
    mean: float
    quantiles: np.ndarray
    medoid: int | None = None
    mean_b_factors: np.ndarray | None = field(default=None, repr=False)
    clusters_by_threshold: np.ndarray | None = field(default=None, repr=False)


def set_figures(
    matrix: Matrices | ArrayLike,
    clusters: Clusters | None = None,
    *,
    similarities: bool | None = None,
) -> SetFigures:
    """The figures of a set of models, as the program's page and ``--json`` show them.

    Parameters
    ----------
    matrix : Matrices, or (n, n) array
        The scores on their own scale (GDT from 0 to 100); the upper triangle counts.
    clusters : Clusters, optional
        Of this matrix, as `cluster` returned them.
    similarities : bool, optional
        What an array holds; distances unless said otherwise, of which a value of -1 is none.

    Returns
    -------
    SetFigures
        With NaN and no medoid where no pair has a score.

    Raises
    ------
    ValueError, TypeError
        The matrix is not square or has a value that is not finite, or the clusters were copied,
        pickled or are of another matrix.

    Examples
    --------
    >>> import tervolanda
    >>> matrices = tervolanda.all_pairs(tervolanda.read_models("models.txt"))
    >>> figures = tervolanda.set_figures(matrices, tervolanda.cluster(matrices))
    >>> figures.pairs, matrices.names[figures.medoid]
    (28, 'partial.pdb')
    >>> figures.clusters_by_threshold.shape
    (20, 2)
    """
    values = _values(matrix)
    if clusters is not None and clusters._found is None:
        raise TypeError("clusters are what cluster() returned")
    if clusters is not None and len(clusters.labels) != len(values):
        raise ValueError("the clusters are of another matrix")
    found = None if clusters is None else clusters._found
    figures = _core.set_figures(values, _are_similarities(matrix, similarities), found)
    models = getattr(matrix, "models", ())
    factors = np.array([model.mean_b_factor for model in models]) if models else None
    return SetFigures(**figures, mean_b_factors=factors)


def jury(
    matrix: Matrices | ArrayLike,
    pairs: ArrayLike | None = None,
    *,
    score: float = 0.2,
    minimum_pairs: int = 20,
) -> dict[str, np.ndarray]:
    """3D-Jury: ranks models by what they share with the others.

    Parameters
    ----------
    matrix : Matrices of "tm" or "maxsub", or (n, n) array of scores
    pairs : (n, n) array of int, optional
        Residue pairs; those of `matrix` without.
    score, minimum_pairs
        Two models count for each other from these on.

    Returns
    -------
    dict of (n,) arrays
        "model", its position, and "pairs", its score; the best first.

    References
    ----------
    Ginalski et al. 2003, Bioinformatics 19:1015.

    Examples
    --------
    >>> import tervolanda
    >>> models = tervolanda.read_models("models.txt")
    >>> ranking = tervolanda.jury(tervolanda.all_pairs(models))
    >>> models[ranking["model"][0]].name.startswith("near")
    True
    """
    if pairs is None:
        pairs = getattr(matrix, "pairs", None)
    if pairs is None:
        raise ValueError("a ranking needs the pairs of a search by tm or maxsub")
    counts = whole_array(pairs, "pairs")
    if counts.size and (counts.min() < 0 or counts.max() > np.iinfo(np.uint32).max):
        raise ValueError("pairs are not negative, and have 32 bits")
    model, total = _core.jury(_scores(matrix), counts, score, minimum_pairs)
    return {"model": model, "pairs": total}
