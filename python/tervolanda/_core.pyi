"""The compiled half.  Its classes are part of tervolanda, but for those without members, which are
handed from one of its functions to another; its functions are not."""

from typing import Any, Callable, Sequence

import numpy as np
from numpy.typing import ArrayLike, NDArray

__version__: str

class Structure:
    @staticmethod
    def from_arrays(
        coordinates: ArrayLike,
        residue_numbers: ArrayLike | None = ...,
        *,
        sequence: Sequence[str] | None = ...,
        insertion_codes: Sequence[str] | None = ...,
        atom_names: Sequence[str] | None = ...,
        b_factors: ArrayLike | None = ...,
        name: str = ...,
    ) -> Structure: ...
    def __len__(self) -> int: ...
    @property
    def name(self) -> str: ...
    @property
    def chain(self) -> str: ...
    @property
    def chain_names(self) -> NDArray[np.str_]: ...
    @property
    def coordinates(self) -> NDArray[np.float64]: ...
    @property
    def residue_numbers(self) -> NDArray[np.int32]: ...
    @property
    def insertion_codes(self) -> NDArray[np.str_]: ...
    @property
    def residue_names(self) -> NDArray[np.str_]: ...
    @property
    def sequence(self) -> str: ...
    @property
    def b_factors(self) -> NDArray[np.float64]: ...
    @property
    def mean_b_factor(self) -> float: ...
    @property
    def gyration_radius(self) -> float: ...
    @property
    def atom_coordinates(self) -> NDArray[np.float64]: ...
    @property
    def atom_names(self) -> NDArray[np.str_]: ...

class _Superposed:
    @property
    def rotation(self) -> NDArray[np.float64] | None: ...
    @property
    def translation(self) -> NDArray[np.float64] | None: ...
    def superpose(self, coordinates: ArrayLike) -> NDArray[np.float64]: ...

class Domain(_Superposed):
    @property
    def pairs(self) -> int: ...
    @property
    def score(self) -> float: ...
    @property
    def cutoff(self) -> float: ...

class Comparison(_Superposed):
    @property
    def pairs(self) -> int: ...
    @property
    def mapped(self) -> int: ...
    @property
    def rmsd(self) -> float: ...
    @property
    def grmsd(self) -> float: ...
    @property
    def maxsub(self) -> float: ...
    @property
    def tm(self) -> float: ...
    @property
    def msi(self) -> float: ...
    @property
    def lddt(self) -> float: ...
    @property
    def lddt_all(self) -> float: ...
    @property
    def gdt_ts(self) -> float: ...
    @property
    def gdt_ha(self) -> float: ...
    @property
    def lddt_residues(self) -> NDArray[np.float64]: ...
    @property
    def lddt_all_residues(self) -> NDArray[np.float64]: ...
    @property
    def domains(self) -> list[Domain]: ...
    @property
    def chain_pairs(self) -> list[tuple[str, str]]: ...
    @property
    def matched(self) -> NDArray[np.int64]: ...
    @property
    def mapped_pairs(self) -> NDArray[np.int64]: ...
    @property
    def distances(self) -> NDArray[np.float64]: ...
    def alignment(self, width: int = ...) -> str: ...

class Gdt(_Superposed):
    @property
    def gdt(self) -> float: ...
    @property
    def chain_pairs(self) -> list[tuple[str, str]]: ...
    def __float__(self) -> float: ...

class Rmsd(_Superposed):
    @property
    def rmsd(self) -> float: ...
    @property
    def pairs(self) -> int: ...
    @property
    def relative(self) -> float: ...
    @property
    def standard_score(self) -> float: ...
    @property
    def urmsd(self) -> float: ...
    @property
    def relative_urmsd(self) -> float: ...
    @property
    def chain_pairs(self) -> list[tuple[str, str]]: ...
    @property
    def matched(self) -> NDArray[np.int64]: ...
    @property
    def distances(self) -> NDArray[np.float64]: ...
    def __float__(self) -> float: ...

# What functions take and return whole.
class Clustering: ...
class ListRecord: ...

class FitChoice:
    def __init__(
        self,
        backbone: bool,
        urmsd: bool,
        urmsd_rotation: bool,
        by_sequence: bool,
        map_chains: bool,
        measure: str,
        /,
    ) -> None: ...

class JuryChoice:
    def __init__(self, score: float, pairs: int, /) -> None: ...

class Parameters:
    def __init__(
        self,
        cutoff: float,
        domains: int,
        align: str,
        maximise_tm: bool,
        norm_length: int,
        scale: float,
        passes: int,
        gap_open: float,
        gap_extend: float,
        seed_levels: int,
        by_rmsd: bool,
        minimum_pairs: int,
        minimum_score: float,
        distance: float,
        map_chains: bool,
        /,
    ) -> None: ...

class ReadChoice:
    def __init__(
        self,
        atoms: str,
        exclude: bytes,
        reads_pdb: bool,
        chain: str,
        model: int | None,
        altloc: str,
        /,
    ) -> None: ...

_Progress = Callable[[int, int], object] | None
_Matrices = dict[str, NDArray[Any]]
_Table = tuple[dict[str, NDArray[Any]], ListRecord]

def read(path: bytes, choice: ReadChoice, /) -> tuple[Structure | None, list[str]]: ...
def read_list(
    path: bytes, choice: ReadChoice, threads: int, /
) -> tuple[list[Structure], list[str]]: ...
def read_files(
    paths: Sequence[bytes], choice: ReadChoice, threads: int, /
) -> tuple[list[Structure], list[str]]: ...
def structure_of_arrays(
    coordinates: NDArray[np.float64],
    residue_numbers: NDArray[np.int64],
    insertion_codes: list[str],
    atom_names: list[str],
    residue_names: list[str],
    b_factors: NDArray[np.float64],
    name: str,
    /,
) -> Structure: ...
def compare(
    experiment: Structure, prediction: Structure, parameters: Parameters
) -> Comparison: ...
def gdt(experiment: Structure, prediction: Structure, parameters: Parameters) -> Gdt: ...
def rmsd(experiment: Structure, prediction: Structure, choice: FitChoice) -> Rmsd: ...
def contacts(
    experiment: Structure, prediction: Structure, distance: float, gap: int, choice: FitChoice
) -> tuple[int, int, float]: ...
def all_by_maxsub(
    models: list[Structure],
    parameters: Parameters,
    ranks_by_tm: bool,
    threads: int,
    progress: _Progress,
    /,
) -> _Matrices: ...
def all_by_gdt(
    models: list[Structure], parameters: Parameters, threads: int, progress: _Progress, /
) -> _Matrices: ...
def all_by_rmsd(
    models: list[Structure], choice: FitChoice, threads: int, progress: _Progress, /
) -> _Matrices: ...
def all_by_measure(
    models: list[Structure], choice: FitChoice, threads: int, progress: _Progress, /
) -> _Matrices: ...
def list_by_maxsub(
    experiment: Structure,
    models: list[Structure],
    parameters: Parameters,
    ranks_by_tm: bool,
    threads: int,
    progress: _Progress,
) -> _Table: ...
def list_by_gdt(
    experiment: Structure,
    models: list[Structure],
    parameters: Parameters,
    threads: int,
    progress: _Progress,
) -> _Table: ...
def list_by_rmsd(
    experiment: Structure,
    models: list[Structure],
    choice: FitChoice,
    threads: int,
    progress: _Progress,
) -> _Table: ...
def list_by_measure(
    experiment: Structure,
    models: list[Structure],
    choice: FitChoice,
    threads: int,
    progress: _Progress,
) -> _Table: ...
def cluster(
    matrix: NDArray[np.float32],
    method: str,
    similarities: bool,
    threshold: float,
    max_threshold: float,
    step: float,
    size: int,
    minimum_size: int,
    /,
) -> dict[str, Any]: ...
def jury(
    scores: NDArray[np.float32],
    pairs: NDArray[np.int64],
    score: float,
    minimum_pairs: int,
    /,
) -> tuple[NDArray[np.int64], NDArray[np.int64]]: ...
def set_figures(
    scores: NDArray[np.float32], similarities: bool, clusters: Clustering | None, /
) -> dict[str, Any]: ...
def report_pair(path: bytes, found: Comparison | Gdt | Rmsd, /) -> None: ...
def report_list(path: bytes, found: ListRecord, /) -> None: ...
def report_matrix(
    path: bytes,
    models: Sequence[Structure],
    names: Sequence[str],
    measure: str,
    values: NDArray[np.float32],
    pairs: NDArray[np.int64] | None,
    clusters: Clustering | None,
    jury: JuryChoice,
    /,
) -> None: ...
