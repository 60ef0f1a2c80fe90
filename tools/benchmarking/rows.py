"""Every row of the table and how it is measured."""

import gzip
import random
import re
from dataclasses import dataclass
from typing import Callable, Optional

from .measuring import Bench
from .peers import BIOPYTHON, FASTCLUSTER, MDTRAJ, NEIGHBOURS
from .processes import NotRun, need, output, run


@dataclass(frozen=True)
class Measured:
    """What a row came to: `ratio` is what the goal and the floor are about."""

    ours: str
    peer: str
    ratio: float
    portable: Optional[float] = None  # the same without AVX2


@dataclass(frozen=True)
class Row:
    """A line of the table: what is measured, how, and the goal; without one it is only reported."""

    name: str
    what: str
    measure: Callable[[Bench], Measured]
    unit: str = ""
    at_least: Optional[float] = None
    at_most: Optional[float] = None
    floor: Optional[float] = None

    @property
    def sign(self):
        return "≥" if self.at_least is not None else "≤"

    @property
    def goal(self):
        return self.at_least if self.at_least is not None else self.at_most

    def reaches(self, value, limit):
        return value >= limit if self.at_least is not None else value <= limit

    def verdict(self, value):
        if self.goal is None:
            return "reported"
        if self.reaches(value, self.goal):
            return "met"
        if self.floor is not None and self.reaches(value, self.floor):
            return "MISSED (above the floor)"
        return "MISSED"


def seconds(value):
    for factor, unit in ((1.0, "s"), (1e3, "ms"), (1e6, "µs")):
        if value * factor >= 1.0:
            return f"{value * factor:.3g} {unit}"
    return f"{value * 1e9:.3g} ns"


def all_pairs(names):
    return [(names[i], names[j]) for i in range(len(names)) for j in range(i)]


def sample(pairs, count):
    return random.Random(1).sample(pairs, min(count, len(pairs)))


PORTABLE = "--kernels=portable"  # the loops of processors without AVX2


def search_row(residues):
    def measure(bench):
        count = 100 if residues < 200 else 40
        folder = bench.models.make(residues, count)
        trivial = bench.models.make(10, 2)
        names = (folder / "list.txt").read_text(encoding="ascii").split()
        pairs = all_pairs(names)
        chosen = sample(pairs, 20 if bench.quick else 60)
        own, portable, own_trivial, peer, peer_trivial = bench.interleaved(
            bench.ours(folder, "-l", "list.txt", "-C", "0"),
            bench.ours(folder, "-l", "list.txt", "-C", "0", PORTABLE),
            bench.ours(trivial, "-l", "list.txt", "-C", "0"),
            bench.shell_loop(folder, chosen),
            bench.shell_loop(trivial, [("decoy_0001.pdb", "decoy_0002.pdb")] * len(chosen)))
        ours, slower = ((value - own_trivial) / len(pairs) for value in (own, portable))
        theirs = (peer - peer_trivial) / len(chosen)
        return Measured(seconds(ours), seconds(theirs), theirs / ours, theirs / slower)
    return measure


def all_versus_all_row(bench):
    folder = bench.models.make(127, 100)
    pairs = all_pairs((folder / "list.txt").read_text(encoding="ascii").split())
    chosen = sample(pairs, 50 if bench.quick else 200)
    ours, portable, peer = bench.interleaved(bench.ours(folder, "-l", "list.txt"),
                                             bench.ours(folder, "-l", "list.txt", PORTABLE),
                                             bench.shell_loop(folder, chosen))
    peer *= len(pairs) / len(chosen)
    return Measured(seconds(ours), f"{seconds(peer)} (from {len(chosen)} of {len(pairs):,} pairs)",
                    peer / ours, peer / portable)


def one_versus_list_row(bench):
    folder = bench.models.make(127, 100)
    names = (folder / "list.txt").read_text(encoding="ascii").split()
    arguments = ["-e", "native.pdb", "-l", "list.txt"]
    ours, portable, peer = bench.interleaved(
        bench.ours(folder, *arguments), bench.ours(folder, *arguments, PORTABLE),
        bench.shell_loop(folder, [(n, "native.pdb") for n in names]))
    return Measured(seconds(ours), seconds(peer), peer / ours, peer / portable)


def one_pair_row(residues, kind="program"):
    def measure(bench):
        binary = getattr(bench, kind)
        folder = bench.models.make(residues, 100 if residues == 127 else 40)
        names = (folder / "list.txt").read_text(encoding="ascii").split()[:8]

        def program(*kernels):
            return sum(run([binary, *kernels, "-noalign", "-e", "native.pdb", "-p", name],
                           folder).seconds for name in names)

        def peer():
            need("TMscore")
            return sum(run(["TMscore", name, "native.pdb"], folder).seconds for name in names)

        ours, portable, theirs = (
            value / len(names) for value in
            bench.interleaved(lambda: program(*bench.kernels), lambda: program(PORTABLE), peer))
        return Measured(seconds(ours), seconds(theirs), theirs / ours, theirs / portable)
    return measure


def dehydrogenases(bench):
    """The folder with the twelve real structures of 274 to 374 residues, unpacked, and their names."""
    source = bench.models.real and bench.models.real / "families"
    if not source or not source.is_dir():
        raise NotRun("needs the 12 real dehydrogenases of families")
    folder = bench.folder / "families"
    if not folder.is_dir():
        folder.mkdir()
        for packed in sorted(source.glob("ldh_*.pdb.gz")):
            (folder / packed.stem).write_bytes(gzip.decompress(packed.read_bytes()))
    names = sorted(path.name for path in folder.glob("*.pdb"))
    (folder / "list.txt").write_text("\n".join(names) + "\n", encoding="ascii")
    return folder, names


def by_structure_peer(folder, pairs):
    def peer():
        need("TMalign")
        return sum(run(["TMalign", a, b], folder).seconds for a, b in pairs) / len(pairs)
    return peer


def structure_pair_row(bench):
    folder, names = dehydrogenases(bench)
    pairs = sample(all_pairs(names), 8)

    def program(*kernels):
        return sum(run([bench.program, *kernels, "-in", "-noalign", "-e", e, "-p", p],
                       folder).seconds for e, p in pairs) / len(pairs)

    ours, portable, peer = bench.interleaved(
        lambda: program(*bench.kernels), lambda: program(PORTABLE),
        by_structure_peer(folder, pairs))
    return Measured(seconds(ours), seconds(peer), peer / ours, peer / portable)


def structure_list_row(bench):
    folder, names = dehydrogenases(bench)
    pairs = all_pairs(names)
    arguments = ["-in", "-l", "list.txt", "-C", "0"]
    ours, portable, peer = bench.interleaved(
        bench.ours(folder, *arguments), bench.ours(folder, *arguments, PORTABLE),
        by_structure_peer(folder, sample(pairs, 8)))
    return Measured(f"{seconds(ours)}, {len(pairs)} pairs", f"{seconds(peer)} a pair",
                    1e3 * ours / len(pairs), 1e3 * portable / len(pairs))


def callgrind(bench, folder, arguments):
    """Instructions of a run: in all, and inside of compareMaxSub."""
    need("valgrind")
    out = bench.folder / "callgrind.out"
    run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={out}", bench.program, *arguments],
        folder)
    text, _ = output(["callgrind_annotate", "--inclusive=yes", "--threshold=100", out], folder)
    counts = [(int(m[1].replace(",", "")), m[2]) for m in
              re.finditer(r"^\s*([\d,]+) \([^)]*\)\s+(.*)$", text, re.MULTILINE)]
    total = max(count for count, _ in counts)
    search = max((count for count, name in counts if "compareMaxSub" in name), default=0)
    return total, search


def instructions_row(bench):
    if not bench.models.real or not (bench.models.real / "decoys-easy").is_dir():
        raise NotRun("needs the 22 real models of decoys-easy")
    folder = bench.models.real / "decoys-easy"
    names = sorted(p for p in folder.glob("*.pdb") if p.name != "native.pdb")
    (bench.folder / "easy.txt").write_text("\n".join(map(str, names)) + "\n", encoding="utf-8")
    total, _ = callgrind(bench, bench.folder, ["-l", "easy.txt"])
    return Measured(f"{total / 1e6:.1f} million, {len(names)} models", "", total / 1e6)


def made_instructions_row(*options):
    """The goals are 0.81 and, with -TM, 0.71 of the 189 and 273 million that the search took when
    they were set."""
    def measure(bench):
        folder = bench.models.make(127, 100)
        total, _ = callgrind(bench, folder,
                             [*options, "-l", bench.models.shortened(folder, 22)])
        return Measured(f"{total / 1e6:.1f} million, 22 models", "", total / 1e6)
    return measure


def outside_search_row(bench):
    folder = bench.models.make(127, 200)
    name = bench.models.shortened(folder, 60 if bench.quick else 200)
    total, search = callgrind(bench, folder, ["-l", name, "-C", "0"])
    return Measured(f"{(total - search) / 1e6:.0f} of {total / 1e6:.0f} million instructions",
                    "", 100.0 * (1.0 - search / total))


def pairs_per_second_row(bench):
    folder = bench.models.make(127, 200)
    arguments = ["-l", "list.txt", "-C", "0"]
    ours, portable = bench.interleaved(bench.ours(folder, *arguments),
                                       bench.ours(folder, *arguments, PORTABLE))
    pairs = 200 * 199 // 2
    return Measured(f"{seconds(ours)} for {pairs:,} pairs", "", pairs / ours, pairs / portable)


def growth_row(bench):
    kind = bench.search_kind
    found = bench.benchmark("compare_bench", f"search/({kind}|portable)/(127|1000)$")
    short, long = found[f"search/{kind}/127"]["ns"], found[f"search/{kind}/1000"]["ns"]
    portable = found["search/portable/1000"]["ns"] / found["search/portable/127"]["ns"]
    return Measured(f"{seconds(long / 1e9)} / {seconds(short / 1e9)}", "", long / short, portable)


def tm_mode_row(bench):
    folder = bench.models.make(127, 100)
    arguments = ["-l", "list.txt", "-C", "0"]
    tm, default, portable, portable_default = bench.interleaved(
        bench.ours(folder, "-TM", *arguments), bench.ours(folder, *arguments),
        bench.ours(folder, "-TM", *arguments, PORTABLE), bench.ours(folder, *arguments, PORTABLE))
    return Measured(seconds(tm), f"{seconds(default)} (default mode)", tm / default,
                    portable / portable_default)


def measure_row(name):
    """All pairs by a measure, beside the MaxSub search of the same pairs."""
    def measure(bench):
        folder = bench.models.make(127, 100)
        ours, search = bench.interleaved(
            bench.ours(folder, f"--measure={name}", "-l", "list.txt", "-C", "0"),
            bench.ours(folder, "-l", "list.txt", "-C", "0"))
        return Measured(seconds(ours), f"{seconds(search)} (MaxSub)", ours / search)
    return measure


COMPOUNDS = "/var/cache/openstructure/compounds.chemlib"


def lddt_row(bench):
    folder = bench.models.make(127, 100)
    names = (folder / "list.txt").read_text(encoding="ascii").split()
    need("lddt")
    ours, peer = bench.interleaved(
        bench.ours(folder, "-e", "native.pdb", "-l", "list.txt", "--measure=lddt"),
        lambda: run(["lddt", "-x", "-c", "-l", COMPOUNDS, *names, "native.pdb"], folder).seconds)
    return Measured(seconds(ours), seconds(peer), peer / ours)


def lddt_all_row(bench):
    if not bench.models.real or not (bench.models.real / "decoys-easy").is_dir():
        raise NotRun("needs the 22 real models of decoys-easy")
    need("lddt")
    folder = bench.models.real / "decoys-easy"
    names = sorted(p for p in folder.glob("*.pdb") if p.name != "native.pdb")
    (bench.folder / "easy.txt").write_text("\n".join(map(str, names)) + "\n", encoding="utf-8")
    native = folder / "native.pdb"
    ours, peer = bench.interleaved(
        bench.ours(bench.folder, "-e", native, "-l", "easy.txt", "--measure=lddt_all"),
        lambda: run(["lddt", "-x", "-l", COMPOUNDS, *names, native], bench.folder).seconds)
    return Measured(seconds(ours), seconds(peer), peer / ours)


def complex_row(bench):
    folder = bench.models.complexes(250, 20)
    ours, chain = bench.interleaved(
        bench.ours(folder, "-l", "list.txt", "--chain=all", "-C", "0"),
        bench.ours(folder, "-l", "chains.txt", "--input=auto", "-C", "0"))
    return Measured(f"{seconds(ours)} for 190 pairs", f"{seconds(chain)} (one chain of 1,000)",
                    ours / chain)


def map_chains_row(bench):
    folder = bench.models.complexes(250, 20)
    mapped, named = bench.interleaved(
        bench.ours(folder, "-l", "list.txt", "--chain=all", "--map-chains", "-C", "0"),
        bench.ours(folder, "-l", "list.txt", "--chain=all", "-C", "0"))
    return Measured(seconds(mapped), f"{seconds(named)} (by name)", mapped / named)


def mapping_row(bench):
    kind = bench.search_kind
    found = bench.benchmark("compare_bench", f"(mapping|search/({kind}|portable))/127$")
    part, whole = found["mapping/127"]["ns"], found[f"search/{kind}/127"]["ns"]
    return Measured(f"{seconds(part / 1e9)} of {seconds(whole / 1e9)}", "", 100.0 * part / whole,
                    100.0 * part / found["search/portable/127"]["ns"])


def mapping_growth_row(bench):
    found = bench.benchmark("compare_bench", "mapping/(127|1000)$")
    return Measured(seconds(found["mapping/1000"]["ns"] / 1e9),
                    f"{seconds(found['mapping/127']['ns'] / 1e9)} (127 residues)",
                    found["mapping/1000"]["ns"] / found["mapping/127"]["ns"] / (1000 / 127))


RMSD_MODELS = 1000
RMSD_PAIRS = RMSD_MODELS * (RMSD_MODELS - 1) / 2


def beside_mdtraj(bench, folder, ours):
    """`ours` in seconds a pair of the models of a folder."""
    bench.peer_folder = folder
    try:
        peer = bench.peer(MDTRAJ, bench.rounds)
    finally:
        del bench.peer_folder
    return Measured(seconds(ours), seconds(peer), peer / ours)


def rmsd_row(bench):
    folder = bench.models.make(127, RMSD_MODELS)
    found = bench.benchmark("batch_bench", "rmsdBatch")
    ours = found[f"rmsdBatch/without_urmsd/{RMSD_MODELS}"]["ns"] / 1e9 / RMSD_PAIRS
    return beside_mdtraj(bench, folder, ours)


def python_call_row(bench):
    """Of two structures that share no residue: what is left is the call."""
    ours = 1e6 * bench.module("call", bench.models.make(127, 100))
    return Measured(f"{ours:.3g} µs", "", ours)


def python_rmsd_row(bench):
    folder = bench.models.make(127, RMSD_MODELS)
    ours = bench.module("rmsd", folder)
    return beside_mdtraj(bench, folder, ours)


def python_pair_row(bench):
    folder = bench.models.make(127, 100)
    names = (folder / "list.txt").read_text(encoding="ascii").split()
    pairs = sample(all_pairs(names[:20]), 40)
    ours = bench.module("pair", folder)
    peer = bench.shell_loop(folder, pairs)() / len(pairs)
    bench.peer_folder = folder
    try:
        fit = f"; Biopython's superposition {seconds(bench.peer(BIOPYTHON, bench.rounds))}"
    except NotRun:
        fit = "; no Biopython here"
    finally:
        del bench.peer_folder
    return Measured(seconds(ours), seconds(peer) + fit, peer / ours)


def urmsd_row(bench):
    found = bench.benchmark("batch_bench", "rmsdBatch")
    more, less = (
        found[f"rmsdBatch/{name}_urmsd/{RMSD_MODELS}"]["ns"] / 1e9 / RMSD_PAIRS
        for name in ("with", "without")
    )
    return Measured(seconds(more), f"{seconds(less)} (without)", more / less)


METHODS = {"single": 1, "average": 2, "complete": 3}


def linkage_row(method):
    def measure(bench):
        bench.matrix()
        n = bench.cluster_size
        found = bench.benchmark("cluster_bench", f"models:{n}/method:{METHODS[method]}$")
        ours = next(iter(found.values()))["ns"] / 1e9
        peer = bench.peer(FASTCLUSTER, method, bench.rounds)
        return Measured(seconds(ours), seconds(peer), ours / peer)
    return measure


def neighbours_row(bench):
    bench.matrix()
    found = next(iter(bench.benchmark("cluster_bench",
                                      f"models:{bench.cluster_size}/method:5$").values()))
    peer = bench.peer(NEIGHBOURS, int(found["clusters"]))
    ours = found["ns"] / 1e9
    return Measured(seconds(ours), f"{seconds(peer)} ({found['clusters']:.0f} rounds, scaled from 20)",
                    ours / peer)


def cluster_memory_row(bench):
    peaks = []
    for method in (1, 2, 3, 4, 5):
        usage = run([bench.benchmarks / "cluster_bench", "--benchmark_min_time=0.001",
                     f"--benchmark_filter=models:{bench.cluster_size}/method:{method}$"],
                    bench.folder)
        peaks.append(usage.megabytes)
    return Measured("methods 1 to 5: " + ", ".join(f"{p:.0f}" for p in peaks) + " MB", "", max(peaks))


def reading_row(kind, atoms, beside):
    def measure(bench):
        found = bench.benchmark("reading_bench", ".*")
        if beside not in found:
            raise NotRun("gemmi's headers were not there when the benchmarks were built")
        ours, peer = found[f"program/{kind}_{atoms}"], found[beside]
        return Measured(*(f"{entry['bytes_per_second'] / 1e6:.0f} MB/s" for entry in (ours, peer)),
                        peer["ns"] / ours["ns"])
    return measure


def batch_memory_row(bench):
    count = 200 if bench.quick else 1000
    folder = bench.models.make(127, count)
    every = run([bench.program, "-l", "list.txt", "-C", "0"], folder).megabytes
    models = run([bench.program, "-e", "native.pdb", "-l", "list.txt"], folder).megabytes
    matrices = 3 * 4 * count**2 / 2**20
    return Measured(f"{every:.0f} MB", f"{models:.0f} MB models and program, {matrices:.0f} MB matrices",
                    every - models - matrices)


def transformations_memory_row(bench):
    count = 200 if bench.quick else 1000
    folder = bench.models.make(127, count)
    usage = run([bench.program, "-l", "list.txt", "-R", "full.txt", "-C", "0"], folder)
    size = (folder / "full.txt").stat().st_size / 1e6
    (folder / "full.txt").unlink()
    return Measured(f"{count} models, file of {size:.0f} MB, {seconds(usage.seconds)}", "",
                    usage.megabytes)


def allocations_row(bench):
    need("valgrind")
    folder = bench.models.make(127, 100)
    counts = []
    for models in (34, 48, 62):
        name = bench.models.shortened(folder, models)
        _, text = output(["valgrind", bench.program, "-L", "0", "-l", name, "-C", "0"],
                         folder)
        found = re.search(r"total heap usage: ([\d,]+) allocs", text)
        counts.append(int(found[1].replace(",", "")))
    # What grows with the models cancels in the second difference; 196 pairs remain.  A vector of
    # models that grows by doubling does so between none of these sizes.
    return Measured(f"{counts[0]}, {counts[1]}, {counts[2]} with 34, 48, 62 models", "",
                    (counts[2] - 2 * counts[1] + counts[0]) / 196.0)


ROWS = {row.name: row for row in [
    Row("search-127", "search of one pair, 127 residues, beside TMscore's", search_row(127),
        unit="x", at_least=80, floor=11),
    Row("search-300", "the same, 300 residues", search_row(300), unit="x", at_least=45, floor=15),
    Row("all", "all-versus-all, 100 models of 127, beside a loop over TMscore", all_versus_all_row,
        unit="x", at_least=100, floor=20),
    Row("list", "one-versus-list, 100 models of 127, beside the shell loop", one_versus_list_row,
        unit="x", at_least=35, floor=12),
    Row("pair-127", "one pair, whole process, 127 residues, beside TMscore", one_pair_row(127),
        unit="x", at_least=4, floor=1.7),
    Row("pair-static", "the same by the program without shared libraries",
        one_pair_row(127, "static_program"), unit="x", at_least=6),
    Row("pair-300", "the same, 300 residues", one_pair_row(300), unit="x", at_least=5.5, floor=3),
    Row("pair-1000", "the same, 1,000 residues", one_pair_row(1000), unit="x", at_least=30,
        floor=12),
    Row("in-pair", "one pair by structure (-in), whole process, dehydrogenases, beside TMalign",
        structure_pair_row, unit="x", at_least=12),
    Row("in-list", "a pair by structure of a list of 12 dehydrogenases", structure_list_row,
        unit=" ms", at_most=3.5, floor=4.5),
    Row("instructions", "instructions, all-versus-all, 22 near-native models", instructions_row,
        unit=" million", at_most=125, floor=700),
    Row("instructions-made", "the same, 22 generated models of 127", made_instructions_row(),
        unit=" million", at_most=153),
    Row("instructions-tm", "the same with -TM", made_instructions_row("-TM"), unit=" million",
        at_most=195),
    Row("pairs", "pairs per second, all-versus-all, 200 models of 127", pairs_per_second_row,
        unit="/s"),
    Row("outside", "share of that run outside the search", outside_search_row, unit=" %"),
    Row("growth", "time at 1,000 residues over time at 127", growth_row, at_most=60, floor=90),
    Row("tm", "-TM over the default mode, 127 residues", tm_mode_row, at_most=1.25,
        floor=2.2),
    Row("lddt", "lDDT of all pairs, 100 models of 127, over their MaxSub search", measure_row("lddt"),
        at_most=2),
    Row("gdt", "GDT_TS of all pairs, 100 models of 127, over their MaxSub search",
        measure_row("gdt_ts")),
    Row("lddt-peer", "lDDT of 100 models of 127 against one, C-alpha atoms, beside OpenStructure",
        lddt_row, unit="x"),
    Row("lddt-all-peer", "lDDT of 22 models of 127 against one, all atoms, beside OpenStructure",
        lddt_all_row, unit="x"),
    Row("complex", "all pairs of 20 complexes of 4 x 250, over those of chains of 1,000",
        complex_row, at_most=1.2),
    Row("map-chains", "the complexes with --map-chains over by name", map_chains_row),
    Row("mapping", "share of mapping in a search", mapping_row, unit=" %", at_most=2, floor=5),
    Row("mapping-growth", "growth of mapping from 127 to 1,000 residues over that of the length",
        mapping_growth_row),
    Row("rmsd", "RMSD without URMSD, a pair of 127, 1,000 models, beside mdtraj precentred",
        rmsd_row, unit="x", at_least=3.0, floor=1.3),
    Row("urmsd", "RMSD with URMSD over without", urmsd_row, at_most=2.2, floor=2.5),
    Row("python-call", "a call of the Python module that has nothing to compare",
        python_call_row, unit=" µs", at_most=3, floor=6),
    Row("python-rmsd", "all_pairs(..., \"rmsd\") in Python, a pair of 127, beside mdtraj precentred",
        python_rmsd_row, unit="x"),
    Row("python-pair", "compare() in Python, a pair of 127, beside TMscore a process each",
        python_pair_row, unit="x", at_least=35),
    Row("single", "single linkage over fastcluster", linkage_row("single"), at_most=0.3, floor=0.6),
    Row("average", "average linkage over fastcluster", linkage_row("average"), at_most=1.0,
        floor=1.5),
    Row("maximum", "maximum linkage over fastcluster", linkage_row("complete"), at_most=1.0,
        floor=1.5),
    Row("cluster-memory", "peak memory of clustering", cluster_memory_row, unit=" MB", at_most=813,
        floor=1229),
    Row("neighbours", "nearest neighbours over numpy that recounts", neighbours_row, at_most=0.03,
        floor=0.06),
    Row("read-calpha", "reading 500 plain models, C-alpha, beside gemmi",
        reading_row("plain", "calpha", "gemmiReader/plain"), unit="x", at_least=4, floor=2),
    Row("read-all", "the same, all atoms", reading_row("plain", "all", "gemmiReader/plain"),
        unit="x", at_least=2.5, floor=0.8),
    Row("mmcif", "reading them as plain mmCIF, all atoms, beside gemmi",
        reading_row("mmcif", "plain", "gemmiMmcif/plain"), unit="x", at_least=2.5),
    Row("mmcif-gz", "the same, compressed", reading_row("mmcif", "compressed", "gemmiMmcif/compressed"),
        unit="x", at_least=1.8),
    Row("gz-calpha", "reading them compressed, C-alpha, beside gemmi",
        reading_row("compressed", "calpha", "gemmiReader/compressed"), unit="x", at_least=1.6,
        floor=1),
    Row("gz-all", "the same, all atoms",
        reading_row("compressed", "all", "gemmiReader/compressed"), unit="x", at_least=1.6,
        floor=1),
    Row("gz-zlib", "compressed, C-alpha: share of zlib's own speed",
        reading_row("compressed", "calpha", "inflateAlone"), at_least=0.7, floor=0.4),
    Row("gz-zlib-all", "compressed, all atoms: share of zlib's own speed",
        reading_row("compressed", "all", "inflateAlone"), at_least=1.0, floor=0.4),
    Row("memory", "peak memory of all-versus-all beyond matrices and models", batch_memory_row,
        unit=" MB", at_most=16, floor=64),
    Row("memory-R", "peak memory with -R", transformations_memory_row, unit=" MB", at_most=150),
    Row("allocations", "allocations a pair", allocations_row, at_most=0, floor=0),
]}
