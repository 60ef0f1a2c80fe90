"""Two structures compared."""

from __future__ import annotations

import functools
from typing import NamedTuple

from . import _core
from ._core import Comparison, Domain, Gdt, Rmsd, Structure


@functools.lru_cache(maxsize=64, typed=True)
def search_parameters(
    cutoff=None, domains=1, align="number", maximise_tm=False, norm_length=None, scale=1.0,
    passes=None, gap_open=-0.6, gap_extend=0.0, seed_levels=2, by_rmsd=False,
    minimum_pairs=4, minimum_score=0.0, distance=4.0, map_chains=False,
):  # fmt: skip
    """What a search is asked to do; checked once and kept."""
    if passes is not None and passes < 0:
        raise ValueError("passes is not negative")
    return _core.Parameters(
        0.0 if cutoff is None else cutoff, domains, align, maximise_tm, norm_length or 0, scale,
        -1 if passes is None else passes, gap_open, gap_extend, seed_levels, by_rmsd,
        minimum_pairs, minimum_score, distance, map_chains,
    )  # fmt: skip


def compare(
    experiment: Structure,
    prediction: Structure,
    *,
    cutoff: float | None = None,
    domains: int = 1,
    align: str = "number",
    maximise_tm: bool = False,
    norm_length: int | None = None,
    scale: float = 1.0,
    passes: int | None = None,
    gap_open: float = -0.6,
    gap_extend: float = 0.0,
    seed_levels: int = 2,
    by_rmsd: bool = False,
    minimum_pairs: int = 4,
    minimum_score: float = 0.0,
    map_chains: bool = False,
) -> Comparison:
    """Looks for the largest part of a prediction that is right: MaxSub, with the TM-score.

    Parameters
    ----------
    experiment, prediction : Structure
        Compared by their C-alpha atoms.
    cutoff : float, optional
        How near a pair has to be, Å; without it follows from the number of pairs.
    domains : int, 1 to 200
        How often the search is repeated among the residues that are left.
    align : {"number", "sequence", "structure"}
        How residues are paired: by their numbers, by an alignment of the sequences, or by the
        course of the chains.
    maximise_tm : bool
        Looks for the highest TM-score instead of the largest subset.
    norm_length : int, optional
        The length by which the TM-score is divided; without it that of the experiment.
    scale : float
        A factor on the distance scale of the TM-score.
    passes : int, optional
        How often residues are paired anew by the superposition found: 20 with
        ``align="structure"``, else 0.
    gap_open, gap_extend : float
        Of these alignments, 0 or negative.
    seed_levels : int
        Searches begin from stretches of 1, 1/2 ... 1/2^seed_levels of the pairs.
    by_rmsd : bool
        Selects pairs by RMSD instead of by distance.
    minimum_pairs, minimum_score
        A domain with fewer pairs and a lower score counts as none.
    map_chains : bool
        Pairs the chains of complexes, as ``read(..., chain="all")`` makes them, by sequence and
        place; without it by name.

    Returns
    -------
    Comparison
        All scores are 0 where nothing was found, and there is no superposition.

    Raises
    ------
    ValueError, TypeError
        An argument is out of range, or of another type.

    References
    ----------
    Siew et al. 2000, Bioinformatics 16:776.  Zhang & Skolnick 2004, Proteins 57:702.

    Examples
    --------
    >>> import tervolanda
    >>> experiment = tervolanda.read("experiment.pdb")
    >>> found = tervolanda.compare(experiment, tervolanda.read("near_1.pdb"))
    >>> found.pairs, round(found.maxsub, 3), round(found.tm, 3)
    (56, 0.751, 0.783)
    >>> found.rotation.shape, found.translation.shape, found.matched.shape
    ((3, 3), (3,), (56, 2))
    """
    return _core.compare(
        experiment,
        prediction,
        search_parameters(
            cutoff, domains, align, maximise_tm, norm_length, scale, passes, gap_open,
            gap_extend, seed_levels, by_rmsd, minimum_pairs, minimum_score,
            map_chains=map_chains,
        ),
    )  # fmt: skip


def gdt(
    experiment: Structure,
    prediction: Structure,
    *,
    distance: float = 4.0,
    cutoff: float | None = None,
    align: str = "number",
    maximise_tm: bool = False,
    map_chains: bool = False,
) -> Gdt:
    """Global Distance Test: the mean percentage of residues within four distances.

    Parameters
    ----------
    experiment, prediction : Structure
    distance : float
        The distances are 1/4, 1/2, 1 and 2 times this, Å.
    cutoff, align, maximise_tm, map_chains
        Of the search whose superposition is taken, as for `compare`.

    Returns
    -------
    Gdt

    References
    ----------
    Zemla 2003, Nucleic Acids Res. 31:3370.

    Examples
    --------
    >>> import tervolanda
    >>> experiment = tervolanda.read("experiment.pdb")
    >>> tervolanda.gdt(experiment, tervolanda.read("near_1.pdb"))
    Gdt(gdt=79.918)
    """
    return _core.gdt(
        experiment,
        prediction,
        search_parameters(
            cutoff=cutoff, align=align, maximise_tm=maximise_tm, distance=distance,
            map_chains=map_chains,
        ),
    )


@functools.lru_cache(maxsize=16, typed=True)
def fit_choice(
    atoms="calpha", align="number", urmsd=True, urmsd_rotation=False, map_chains=False, measure=""
):
    """How all residue pairs are fitted, and measured where `measure` is the name of a measure on
    demand; checked once and kept."""
    if atoms not in ("calpha", "backbone"):
        raise ValueError(f"atoms is 'calpha' or 'backbone', not {atoms!r}")
    if align not in ("number", "sequence"):
        raise ValueError(f"align is 'number' or 'sequence', not {align!r}")
    by_sequence = align == "sequence"
    return _core.FitChoice(
        atoms == "backbone", urmsd, urmsd_rotation, by_sequence, map_chains, measure
    )


def rmsd(
    experiment: Structure,
    prediction: Structure,
    *,
    atoms: str = "calpha",
    align: str = "number",
    urmsd: bool = True,
    urmsd_rotation: bool = False,
    map_chains: bool = False,
) -> Rmsd:
    """The least-squares superposition of all residue pairs.

    Residues pair by position where both chains have as many and the same first and last residue,
    otherwise by number.

    Parameters
    ----------
    experiment, prediction : Structure
    atoms : {"calpha", "backbone"}
        "backbone" is N, CA, C and O.
    align : {"number", "sequence"}
    urmsd : bool
        Computes the RMSD of chain directions, too.
    urmsd_rotation : bool
        Returns the rotation of those.
    map_chains : bool
        As for `compare`.

    Returns
    -------
    Rmsd
        With NaN and no superposition where fewer than 3 atoms pair or no rotation fits.

    References
    ----------
    Kabsch 1976, Acta Cryst. A32:922.  Kedem et al. 1999, Proteins 37:554.

    Examples
    --------
    >>> import tervolanda
    >>> experiment = tervolanda.read("experiment.pdb")
    >>> fit = tervolanda.rmsd(experiment, tervolanda.read("near_1.pdb"))
    >>> fit.pairs, round(fit.rmsd, 3)
    (61, 1.505)
    """
    choice = fit_choice(atoms, align, urmsd, urmsd_rotation, map_chains)
    return _core.rmsd(experiment, prediction, choice)


class Contacts(NamedTuple):
    """Contacts of the experiment that the prediction has: their number, that of all, per cent."""

    matched: int
    native: int
    percentage: float


def contacts(
    experiment: Structure,
    prediction: Structure,
    *,
    distance: float = 7.5,
    gap: int = 5,
    align: str = "number",
    map_chains: bool = False,
) -> Contacts:
    """Native contacts: pairs of C-beta atoms (C-alpha of glycine) within a distance.

    Parameters
    ----------
    experiment, prediction : Structure
        Read with ``atoms="all"`` or ``"backbone"``.
    distance : float
        Å, included.
    gap : int
        The smallest difference of residue numbers within a chain.
    align : {"number", "sequence"}
    map_chains : bool
        As for `compare`.

    Returns
    -------
    Contacts

    Examples
    --------
    >>> import tervolanda
    >>> experiment = tervolanda.read("experiment.pdb")
    >>> tervolanda.contacts(experiment, experiment).percentage
    100.0
    """
    if not 0.0 <= distance < float("inf"):
        raise ValueError("distance is a positive number, Å")
    choice = fit_choice(align=align, urmsd=False, map_chains=map_chains)
    return Contacts(*_core.contacts(experiment, prediction, distance, gap, choice))


for _result in (Comparison, Domain, Gdt, Rmsd):
    _result.__module__ = "tervolanda"
