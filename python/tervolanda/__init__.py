"""Comparison and clustering of protein structures.

Structures are read (`read`, `read_models`) or made of arrays (`Structure.from_arrays`), compared
(`compare`, `rmsd`, `gdt`, `contacts`; lists by `all_pairs` and `against`), and models ranked and
clustered (`jury`, `cluster`, `set_figures`); `report` shows what was found as a page.  Coordinates
are in Å.  Nothing prints; functions may be called from several threads at once.
"""

from ._clustering import Clusters, SetFigures, cluster, jury, set_figures
from ._comparing import Contacts, compare, contacts, gdt, rmsd
from ._core import Comparison, Domain, Gdt, Rmsd, Structure, __version__
from ._errors import StructureError, TervolandaWarning
from ._lists import Matrices, Table, against, all_pairs
from ._report import report
from ._structures import read, read_models

__all__ = [
    "Clusters", "Comparison", "Contacts", "Domain", "Gdt", "Matrices", "Rmsd", "SetFigures",
    "Structure", "StructureError", "Table", "TervolandaWarning", "against", "all_pairs", "cluster",
    "compare", "contacts", "gdt", "jury", "read", "read_models", "report", "rmsd", "set_figures",
]  # fmt: skip
