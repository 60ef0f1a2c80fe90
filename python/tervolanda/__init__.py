"""Comparison and clustering of protein structures.

Structures are read (`read`, `read_models`) or made of arrays (`Structure.from_arrays`), compared
(`compare`, `rmsd`, `gdt`, `contacts`; lists by `all_pairs` and `against`), and models ranked and
clustered (`jury`, `cluster`); `report` shows what was found as a page.  Coordinates are in Å.  Nothing prints; functions may be called from
several threads at once.
"""

from ._clustering import Clusters, cluster, jury
from ._comparing import Contacts, compare, contacts, gdt, rmsd
from ._core import Comparison, Domain, Gdt, Rmsd, Structure, __version__
from ._errors import StructureError, TervolandaWarning
from ._lists import Matrices, Table, against, all_pairs
from ._report import report
from ._structures import read, read_models

__all__ = [
    "Clusters", "Comparison", "Contacts", "Domain", "Gdt", "Matrices", "Rmsd", "Structure",
    "StructureError", "Table", "TervolandaWarning", "against", "all_pairs", "cluster", "compare",
    "contacts", "gdt", "jury", "read", "read_models", "report", "rmsd",
]  # fmt: skip
