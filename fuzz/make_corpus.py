#!/usr/bin/env python3
"""Writes the seeds of the fuzz targets: a small input for each kind of oddity.

The fuzzer takes what it chooses from (options, sizes, shapes) off the end of an input, byte by byte,
and the text, where there is one, is what stands before.  So the bytes behind a text here are written in
the reverse of the order in which the target asks for them.

usage: fuzz/make_corpus.py        writes fuzz/corpus/<target>/<seed>
"""

import gzip
import pathlib
import shutil

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus"

# ---- Structure files -----------------------------------------------------------------------------


def atom(number, name=" CA ", residue="ALA", chain="A", insertion=" ", place=None, width=80,
         alternate=" "):
    """An ATOM record; by default a C-alpha on a line with steps of 3.8 Å."""
    x, y, z = place or (3.8 * number, 1.0, -2.5)
    record = (f"ATOM  {number % 100000:5d} {name:4}{alternate}{residue:3} {chain}{number:4d}"
              f"{insertion}   {x:8.3f}{y:8.3f}{z:8.3f}  1.00 20.00      SEGA C1+")
    return record[:width] + "\n"


def chain_of(numbers, **kinds):
    return "".join(atom(number, **kinds) for number in numbers)


def backbone(number, names=(" N  ", " CA ", " C  ", " O  ", " CB "), **kinds):
    return "".join(atom(number, name, place=(number * 3.8 + k * 0.7, k % 2, k), **kinds)
                   for k, name in enumerate(names))


STRUCTURES = {
    "plain": chain_of(range(1, 6)) + "TER\nEND\n",
    "alternates": "".join(atom(2, alternate=a) for a in "AB") + atom(3),
    "alternate-names": atom(2, residue="PRO", alternate="A") + atom(2, residue="SER", alternate="B"),
    "insertions": atom(52) + atom(52, insertion="A") + atom(52, insertion="B") + atom(53),
    "hetatm": atom(1).replace("ATOM  ", "HETATM") + chain_of((2, 3)),
    "selenomethionine": atom(1, residue="MSE") + atom(2),
    "negative-numbers": chain_of((-2, -1, 0, 1)),
    "four-digits": chain_of((998, 999, 1000, 9999)),
    "falling-numbers": chain_of((403, 404, 3, 4)),
    "missing-backbone": backbone(1) + backbone(2, (" CA ", " C  ")) + atom(3),
    "missing-beta": backbone(1, (" N  ", " CA ", " C  ", " O  ")) + backbone(2),
    "scattered-residue": atom(1) + atom(2) + atom(1, " CB ") + atom(3),
    "two-chains": chain_of((1, 2)) + chain_of((1, 2), chain="B"),
    "models": "MODEL        1\n" + chain_of((1, 2)) + "ENDMDL\nMODEL        2\n" + chain_of((1, 2)),
    "digit-and-blank-chain": chain_of((1,), chain="4") + chain_of((1,), chain=" "),
    "nucleotides": atom(1, " P  ", "  G") + atom(2, " P  ", " DG") + atom(3, " P  ", "  U") + atom(4),
    "hydrogens": backbone(1, (" CA ", "1HB ", " HB2", "HD11", " H  ")),
    "left-justified": atom(1, "CA  ", "HID") + atom(2, "CA  "),
    "two-calphas": atom(1) + atom(1, " CAY") + atom(2, "CA  ", " CA"),
    "widths": "".join(atom(i, width=w) for i, w in enumerate((54, 66, 78, 79, 80, 53, 30, 5), 1)),
    "wide": atom(1).rstrip("\n") + " " * 11 + "\n" + atom(2),
    "carriage-returns": chain_of(range(1, 4), width=66).replace("\n", "\r\n")
                        + chain_of((4, 5)).replace("\n", "\r\n"),
    "no-last-line-end": chain_of((1, 2), width=66).rstrip("\n"),
    "touching-numbers": chain_of((1, 2), place=(-100.125, -200.25, -300.5)),
    "odd-numbers": atom(1).replace("   3.800", "     nan") + atom(2).replace("   7.600", "    0x1p")
                   + atom(3).replace("  11.400", "   1e300") + atom(4).replace("  15.200", "     +-1"),
    "remark-with-name": "REMARK 470 MISSING ATOM  " + "X" * 55 + "\n" + chain_of((1, 2)),
    "empty": "",
    "zero-bytes": atom(1).replace("ALA", "A\0A") + "\0" * 20 + "\n" + atom(2),
}

ALL_ATOMS, BACKBONE, CALPHA = 0x8, 0x4, 0x2
LIST_RUN = CALPHA | 0x10 | 0x20  # and the duplicate test, all faults
PAIR_RUN = LIST_RUN | ALL_ATOMS | 0x100
EVERY_CHECK = 0x7EF1 | BACKBONE


def structure_seeds():
    for name, text in STRUCTURES.items():
        for options, unchecked in ((PAIR_RUN, 0), (EVERY_CHECK, 0), (ALL_ATOMS, 1)):
            # exclusion, unchecked, template, compactness, gap, fewest C-alphas, options
            control = bytes((0, unchecked, options == EVERY_CHECK, 2, 2, 1, options & 255,
                             options >> 8))
            yield "pdb_plain", f"{name}-{options:x}", text.encode("latin-1") + control
        packed = gzip.compress(text.encode("latin-1"), mtime=0)
        yield "pdb_gz", name, packed + bytes((0, 1, ALL_ATOMS, 0))


def compressed_seeds():
    text = chain_of(range(1, 20)).encode()
    packed = gzip.compress(text, mtime=0)
    control = bytes((0, 1, ALL_ATOMS, 0))
    checked = bytes((1, 0, LIST_RUN & 255, LIST_RUN >> 8))
    yield "pdb_gz", "list-run", packed + checked
    yield "pdb_gz", "two-members", packed + gzip.compress(text[:500], mtime=0) + control
    yield "pdb_gz", "not-compressed", text[:800] + control
    yield "pdb_gz", "cut-short", packed[:len(packed) * 2 // 3] + control
    yield "pdb_gz", "damaged", packed[:150] + b"\x55" * 20 + packed[170:] + control
    yield "pdb_gz", "stored", gzip.compress(text[:800], 0, mtime=0) + control
    yield "pdb_gz", "header-alone", packed[:10] + control


# ---- Lists ---------------------------------------------------------------------------------------

LISTS = {
    "comments-and-blanks": ("# models\n\n  a  # the first\n\tb.pdb\n", ""),
    "carriage-returns": ("a\r\nb.pdb\r\n", ""),
    "missing-file": ("a\nx\nb.pdb\n", ""),
    "unreadable": ("c\nd.pdb\ne.bin\n.\n-\nx.gz\na\n", ""),
    "twice": ("a\na\n", ""),
    "no-last-line-end": ("a\nb.pdb", ""),
    "long-line": ("a" + " " * 300 + "b.pdb\nb.pdb\n", ""),
    "other-characters": ("\xef\xbb\xbfa\n\x01b.pdb\x7f\na\0b\n", ""),
    "excluded": ("a\nb.pdb\nc\n", "   2A\n   1 \n  52"),
    "excluded-all": ("a\nb.pdb\n", "   1 \n   2 \n   2A\n"),
    "excluded-odd": ("a\n", "   2\n   2  # note\n\n" + "   1 " * 20),
}


def list_seeds():
    for name, (text, keys) in LISTS.items():
        yield "model_list", name, (text + keys).encode("latin-1") + bytes((len(keys),))


# ---- Result files --------------------------------------------------------------------------------

HEAD = "# File\nSIZE : 3\nPDB  : 1 a\nPDB  : 2 b\nPDB  : 7 c\n"
DISTANCES = {
    "complete": HEAD + "DIST : 1 2 0.5\nDIST : 1 7 1.25\nDIST : 2 7 2\n",
    "no-chains": "SIZE : 2\nDIST : 9 4 0.5\n",
    "chains-behind": "SIZE : 2\nDIST : 9 4 0.5\nPDB  : 4 a\n",
    "gaps": HEAD + "DIST : 1 2 0.5\n",
    "failed-fit": "SIZE : 2\nDIST : 1 2 -1\n",
    "too-many": "SIZE : 2\nDIST : 1 2 0\nDIST : 1 3 0\n",
    "one": "SIZE : 1\n",
    "none": "SIZE : 0\n",
    "huge": "SIZE : 99999999999999999999\n",
    "no-size": "DIST : 1 2 0.5\n",
    "size-twice": HEAD + "SIZE : 2\nDIST : 1 2 0.5\n",
    "twice": "SIZE : 2\nDIST : 1 2 0.5\nDIST : 2 1 0.75\nDIST : 1 1 3\n",
    "same-id": "SIZE : 2\nPDB  : 1 a\nPDB  : 1 b\n",
    "bad-numbers": "SIZE : 2\nDIST : 1 2 0.5x\n",
    "not-finite": "SIZE : 2\nDIST : 1 2 1e39\n",
    "large-ids": "SIZE : 2\nDIST : 4294967295 4000000000 +3.4e38\n",
    "ties": "SIZE : 4\n" + "".join(f"DIST : {i} {j} 1\n" for i in range(1, 5) for j in range(1, i)),
    "clusters": "SIZE : 6\n" + "".join(f"DIST : {i} {j} {abs(i - j) ** 2 / 4}\n"
                                       for i in range(1, 7) for j in range(1, i)),
    "odd-lines": "\n \nDIST\r\nSIZE : 2\r\nNOTE\nDIST :\t1\t2\t0.5 further\r\n",
}
TURN = "1 2 3 4 5 6 1 0 0 0 1 0 0 0 1"
SCORES = {
    "lite": "SIZE : 2\nPDB: 1 a\nPDB: 2 b\nMS : 1 1 1 1 9\nMS : 1 2 0.5 0.6 4\nMS : 2 2 1 1 7\n",
    "full": f"SIZE : 2\nPDB  : 1 a\nPDB  : 2 b\nTRANS: 2 1 0.9 0.8 2 {TURN}\nPOS  : 2 1 1:1 2:3\n",
    "full-gaps": f"SIZE : 3\nTRANS: 2 1 0.9 0.8 0 {TURN}\nMS : 1 3 0 1 0\nMS : 2 3 0 1 0\n",
    "no-chains": "SIZE : 2\nMS : 1 2 0.5 0.6 4\n",
    "later-chain": "SIZE : 2\nMS : 1 2 0.5 0.6 4\nPDB: 1 a\nPDB: 5 b\n",
    "other-ids": "SIZE : 2\nPDB: 9 a\nPDB: 4294967295 b\nMS : 9 4294967295 0 1 0\n",
    "same-id": "SIZE : 2\nPDB: 1 a\nPDB: 1 b\nMS : 1 1 1 1 3\n",
    "missing": "SIZE : 3\nMS : 1 2 0.5 0.6 4\n",
    "too-high": "SIZE : 2\nMS : 1 2 1.0001 0.6 4\n",
    "out-of-bounds": "SIZE : 2\nMS : 1 3 0.5 0.6 4\n",
    "bad-positions": f"SIZE : 2\nTRANS: 2 1 0.9 0.8 2 {TURN}\nPOS  : 2 1 1:1 2:\n",
    "few-positions": f"SIZE : 2\nTRANS: 2 1 0.9 0.8 2 {TURN}\nPOS  : 2 1 1:1\n",
    "short-record": "SIZE : 2\nTRANS: 2 1 0.9 0.8 2 1 2 3\n",
    "no-size": "MS : 1 2 0.5 0.6 4\n",
    "huge": "SIZE : 99999999999999999999\n",
    "none": "SIZE : 0\n",
    "size-twice": "SIZE : 3\nMS : 1 2 0 0 0\nSIZE : 2\nMS : 1 2 0.5 0.5 1\n",
    "ties": "SIZE : 4\n" + "".join(f"PDB: {i} m{i}\n" for i in range(1, 5))
            + "".join(f"MS : {i} {j} 0.5 0.5 9\n" for i in range(1, 5) for j in range(1, i)),
}


def result_seeds():
    for number, (name, text) in enumerate(DISTANCES.items()):
        # Chain records or not, and a way to cluster.
        yield "distance_file", name, text.encode() + bytes((1 + 2 * number,))
        yield "distance_file", name + "-plain", text.encode() + bytes((2 * number,))
    for number, (name, text) in enumerate(SCORES.items()):
        yield "transformation_file", name, text.encode() + bytes((number,))


# ---- Command lines -------------------------------------------------------------------------------

COMMANDS = {
    "none": "",
    "help": "-h\n",
    "extended-help": "-help\n-lws\n9\n",
    "version": "a\na\n--V\n",
    "pair": "-e\na\n-p\na\n",
    "positional": "a\na\n3.5\n",
    "positional-options": "-gdt\na\n-in\na\n5-3\n",
    "positional-missing": "-e\na\n-p\n",
    "dashes": "---e\na\n--------p\na\n----\n",
    "list": "-l\na\n-C\n4\n-av\n",
    "list-pair": "-l\na\n-e\na\n-rmsd\n-contact\n-bb\n-super\n2\n",
    "distance": "-F\na\n-T\n1e999\n",
    "scores": "-M\na\n-s\n-1e-999\n-P\n-99999999999999999999\n",
    "log": "-l\na\n-log\nrun.log\n-L\n3\n",
    "log-missing": "-l\na\n-log\n.\n",
    "numbers": "-e\na\n-p\na\n-i\n-1\n-d\n.\n-opt\n\n-N\n99999999999\n-seed\n-\n-lws\n0\n",
    "search": "-e\na\n-p\na\n-in\n-TM\n-maxRMSD\n-matrix\n-open\n-1\n-aff\n+2\n-mP\n3\n-mS\n.5\n",
    "formats": "%d %5.3f %%\n%-8d|%+e|%#g\n%08.2f%s%n\n%*d%.\n%lld%hhu%a%p\n%#o%.0d%+.0i\n",
}


def command_seeds():
    for name, text in COMMANDS.items():
        yield "arguments", name, text.encode()


# ---- Generated chains ----------------------------------------------------------------------------

HELIX, STRAND, LINE, PLACES, STEPS = range(5)
MOVE, MIRROR, SHAKE, BEND, RENUMBER, CUT, THROW = range(7)


def described_chain(kind=HELIX, length=20, has_backbone=0, first=6, oddities=()):
    """What makeChain() asks for, one number a byte."""
    wanted = [kind, length, has_backbone, first]
    for i in range(length):
        if kind in (PLACES, STEPS):
            wanted += [(i * 37 + 11) % 256, (i * 91 + 5) % 256, (i * 53 + 77) % 256]
        wanted.append(dict(oddities).get(i, 0))
    return wanted


PARAMETERS = {MOVE: [20, 90, 170, 140, 60], BEND: [160], CUT: [5], THROW: [3, 3]}


def described_variant(*changes, atoms=20):
    """What makeVariant() asks for."""
    wanted = [len(changes)]
    for change in changes:
        wanted.append(change)
        wanted += PARAMETERS.get(change, [])
        if change == SHAKE:
            wanted += [10] + [(i * 71 + 13) % 256 for i in range(3 * atoms)]
    return wanted


ODD = {3: 1, 5: 2, 6: 2, 8: 3, 9: 4, 11: 5}
PAIRS = {
    "same": (described_chain(), described_variant()),
    "moved": (described_chain(), described_variant(MOVE)),
    "mirrored": (described_chain(), described_variant(MIRROR, MOVE)),
    "shaken": (described_chain(STEPS), described_variant(SHAKE)),
    "bent": (described_chain(length=20), described_variant(BEND, MOVE)),
    "renumbered": (described_chain(STEPS), described_variant(RENUMBER)),
    "cut": (described_chain(STRAND, oddities=ODD.items()), described_variant(CUT, CUT)),
    "far-away": (described_chain(STEPS), described_variant(THROW)),
    "line": (described_chain(LINE), described_variant(MOVE)),
    "places": (described_chain(PLACES), described_variant(SHAKE, MOVE)),
    "backbone": (described_chain(STEPS, 12, 1, oddities=ODD.items()), described_variant(MOVE)),
    "short": (described_chain(length=4), described_variant(MOVE)),
    "empty": (described_chain(length=0), described_variant()),
}


def reversed_bytes(wanted):
    return bytes(reversed(wanted))


def comparison_seeds():
    # The choices of makeParameters(), in its order: all usual ones, domains, by structure, TM-score.
    # Behind the detail of the report.
    usual = [0, 0, 0, 0, 0, 0, 5, 0, 0, 1, 0, 0, 0, 0]
    searches = {
        "": usual,
        "-domains": [0, 0, 3] + usual[3:],
        "-structure": usual[:9] + [0, 3, 0, 0, 0],
        "-tm": usual[:5] + [1] + usual[6:],
        "-rmsd": [2] + usual[1:8] + [1] + usual[9:],
    }
    for name, (chain, variant) in PAIRS.items():
        for suffix, search in searches.items():
            # URMSD, its rotation, too few; backbone; related chains
            fit = [1, 0, 1, int(name == "backbone"), 1]
            yield "comparison", name + suffix, reversed_bytes([3] + search + fit + chain + variant)


def batch_seeds():
    for name, (chain, variant) in PAIRS.items():
        for is_whole in (0, 1):
            models = []
            for number in range(3):
                models += [1] + (variant if number != 1 else described_variant(SHAKE, MOVE)) + [0]
            # detailed report; kind; the chain, models; iterations, rank, length, by structure, way
            choices = [is_whole, is_whole] + chain + [1] + models
            yield "batch", f"{name}-{is_whole}", reversed_bytes(choices + [0, 1, 0, 1, 3])
    chain, variant = PAIRS["bent"]
    models = ([1] + variant + [0]) * 2
    for name, end in {"domains": [1, 0, 1, 2], "structure": [0, 1, 0, 7, 9]}.items():
        yield "batch", name, reversed_bytes([0, 0] + chain + [0] + models + end)


def run_seeds():
    pair, positional, one_list, all_list = range(4)
    # mode, search options, options of lists, kind
    runs = {
        "pair": [pair, 0, 0],
        "positional": [positional, 0, 0],
        "pair-rmsd": [pair, 1, 8, 1],
        "pair-gdt": [pair, 0, 2],
        "pair-domains": [pair, 2, 12, 0, 22, 3, 0],
        "pair-structure": [pair, 2, 2, 3, 0],
        "pair-contacts": [pair, 2, 8, 6, 1],
        "list": [one_list, 0, 1, 2, 1, 0],
        "list-gdt": [one_list, 0, 0, 2],
        "list-rmsd": [one_list, 1, 8, 1, 1, 1],
        "all": [all_list, 0, 2, 11, 0, 12, 0, 0],
        "all-average": [all_list, 1, 22, 3, 3, 0, 3, 2, 11, 0, 0],
        "all-gdt": [all_list, 0, 2, 11, 0, 3, 1, 2],
        "all-rmsd": [all_list, 0, 3, 11, 0, 13, 0, 3, 4, 1],
        "all-structure": [all_list, 1, 2, 1, 12, 0, 0],
    }
    for number, (name, start) in enumerate(runs.items()):
        for which in ("moved", "bent", "backbone") if number % 3 else ("shaken", "cut", "line"):
            chain, variant = PAIRS[which]
            is_list = start[0] in (one_list, all_list)
            models = ([2] + ([1] + variant) * 2 + [1] + described_variant(SHAKE) if is_list
                      else [1] + variant)
            yield ("whole_run", f"{name}-{which}",
                   reversed_bytes(start + [0] + chain + models + [1, 3, 2]))


def main():
    for target in CORPUS.glob("*"):
        shutil.rmtree(target)
    for seeds in (structure_seeds, compressed_seeds, list_seeds, result_seeds, command_seeds,
                  comparison_seeds, batch_seeds, run_seeds):
        for target, name, content in seeds():
            (CORPUS / target).mkdir(parents=True, exist_ok=True)
            (CORPUS / target / name).write_bytes(content)


if __name__ == "__main__":
    main()
