#!/usr/bin/env python3
"""Makes the example structures: a small invented protein and models of it, good and bad.

The folder gets the experiment and eight models with their backbone, its folder decoys/ a set of 24
models of the same protein as a prediction might give them: C-alpha atoms only, in no order.  The file
entry.pdb is built as entries of a databank are: models, chains, alternate locations, HETATM records;
entry.cif is the same in mmCIF.

No structure here exists in nature.  A chain is built atom by atom from its backbone torsions with
ideal bond lengths and angles (Engh and Huber 1991), so that whatever the torsions are its geometry
is that of a protein.  The loops of the experiment are searched for a compact shape without clashes.
Every run makes the same files.

usage: make_examples.py [FOLDER]     the folder to write to; the script's own without it
"""

import math
import pathlib
import random
import sys

SEQUENCE = "MSEELKRLAEELLRKAQEGNPSVTVEYDGKRITFEVKDPSDPEVAKKLAELIEKLAKEAGN"
# A relative of the protein, with another sequence, of which the first five residues are not known.
RELATIVE = "GDPELARKAVEALKRAEELGAKTFRVEVEGDTVRFTVEVTDPEEARRVIEEAIRLAEKLGR"
# H helix, E strand, L loop; between residues 41 and 42 the chain can be bent like a hinge.
STATES = "LLHHHHHHHHHHHHHHHHLLLLEEEEEELLLEEEEEEELLLLLHHHHHHHHHHHHHHHHLL"
HINGE = 41
assert len(SEQUENCE) == len(STATES) == len(RELATIVE)

NAMES = {
    "A": "ALA", "D": "ASP", "E": "GLU", "F": "PHE", "G": "GLY", "I": "ILE", "K": "LYS",
    "L": "LEU", "M": "MET", "N": "ASN", "P": "PRO", "Q": "GLN", "R": "ARG", "S": "SER",
    "T": "THR", "V": "VAL", "Y": "TYR", "MSE": "MSE",
}  # fmt: skip
TORSIONS = {"H": (-61.0, -44.0), "E": (-119.0, 128.0)}  # phi, psi in degrees
LOOP_BASINS = [(-65.0, -35.0), (-70.0, 145.0), (-115.0, 125.0), (-90.0, 0.0), (58.0, 40.0)]
OMEGA = 180.0


def subtract(a, b):
    return (a[0] - b[0], a[1] - b[1], a[2] - b[2])


def cross(a, b):
    return (
        a[1] * b[2] - a[2] * b[1],
        a[2] * b[0] - a[0] * b[2],
        a[0] * b[1] - a[1] * b[0],
    )


def unit(a):
    length = math.sqrt(sum(x * x for x in a))
    return (a[0] / length, a[1] / length, a[2] / length)


def place(a, b, c, length, angle, torsion):
    """The point d with |cd| = length (A), the angle b-c-d and the torsion a-b-c-d (degrees)."""
    angle, torsion = math.radians(angle), math.radians(torsion)
    along = unit(subtract(c, b))
    normal = unit(cross(subtract(b, a), along))
    inward = cross(normal, along)
    x = -length * math.cos(angle)
    y = length * math.sin(angle) * math.cos(torsion)
    z = length * math.sin(angle) * math.sin(torsion)
    return tuple(c[k] + x * along[k] + y * inward[k] + z * normal[k] for k in range(3))


def build(torsions, start=((0.0, 1.0, 0.0), (0.0, 0.0, 0.0), (1.0, 0.0, 0.0))):
    """One dictionary of atom places (A) a residue, from the (phi, psi) of each residue.

    `start` says where and how the chain lies: a point beside the chain, its first N, and the
    direction from there to the first C-alpha.
    """
    beside, first_n, direction = start
    residues = []
    for i, (phi, psi) in enumerate(torsions):
        if i == 0:
            n = first_n
            ca = tuple(n[k] + 1.458 * unit(direction)[k] for k in range(3))
            c = place(beside, n, ca, 1.525, 111.2, 0.0)
        else:
            before, psi_before = residues[-1], torsions[i - 1][1]
            n = place(before["N"], before["CA"], before["C"], 1.329, 116.2, psi_before)
            ca = place(before["CA"], before["C"], n, 1.458, 121.7, OMEGA)
            c = place(before["C"], n, ca, 1.525, 111.2, phi)
        o = place(n, ca, c, 1.231, 120.8, psi + 180.0)
        cb = place(n, c, ca, 1.530, 110.1, 122.6)
        residues.append({"N": n, "CA": ca, "C": c, "O": o, "CB": cb})
    return residues


def clashes(residues):
    """True when two C-alpha atoms that are no near neighbours are closer than 4.5 A."""
    places = [residue["CA"] for residue in residues]
    return any(
        math.dist(places[i], places[j]) < 4.5
        for i in range(len(places))
        for j in range(i + 3, len(places))
    )


def gyration(residues):
    """Radius of gyration of the C-alpha atoms, A."""
    places = [residue["CA"] for residue in residues]
    centre = [sum(place[k] for place in places) / len(places) for k in range(3)]
    return math.sqrt(sum(math.dist(place, centre) ** 2 for place in places) / len(places))


def noise(engine, size):
    """A random number with mean 0 and standard deviation `size` (sum of twelve even ones)."""
    return size * (sum(engine.random() for _ in range(12)) - 6.0)


def loop_torsions(engine):
    phi, psi = LOOP_BASINS[int(engine.random() * len(LOOP_BASINS))]
    return (phi + noise(engine, 12.0), psi + noise(engine, 12.0))


def fold(states, seed, attempts):
    """The most compact chain without clashes that changing one loop residue at a time finds."""
    engine = random.Random(seed)
    torsions = [TORSIONS.get(state) or loop_torsions(engine) for state in states]
    loops = [i for i, state in enumerate(states) if state == "L"]
    best = math.inf
    for _ in range(attempts):
        trial = list(torsions)
        trial[loops[int(engine.random() * len(loops))]] = loop_torsions(engine)
        residues = build(trial)
        size = gyration(residues)
        if size < best and not clashes(residues):
            torsions, best = trial, size
    return torsions


def perturbed(torsions, seed, size):
    """Every torsion changed by noise of `size` degrees."""
    engine = random.Random(seed)
    return [(phi + noise(engine, size), psi + noise(engine, size)) for phi, psi in torsions]


def bent(torsions, angle):
    """The chain bent at the hinge: both parts keep their shape."""
    result = list(torsions)
    phi, psi = result[HINGE]
    result[HINGE] = (phi, psi + angle)
    return result


def somewhere(seed):
    """A start for build(): every model lies elsewhere, as models do."""
    engine = random.Random(seed)
    points = [[20.0 * engine.random() - 10.0 for _ in range(3)] for _ in range(3)]
    return tuple(tuple(point) for point in points)


def atom_record(serial, name, code, number, place_, chain="A", location=" ", kind="ATOM"):
    return (
        f"{kind:<6s}{serial:5d}  {name:<3s}{location}{NAMES[code]} {chain}{number:4d}    "
        f"{place_[0]:8.3f}{place_[1]:8.3f}{place_[2]:8.3f}{1.0:6.2f}{20.0:6.2f}"
        f"          {name[0]:>2s}  "
    )


def write(path, title, torsions, seed, first=1, only_ca=False, sequence=SEQUENCE, shift=0):
    """Writes residues `first` to the last, lying as the seed says and numbered `shift` higher."""
    lines = [f"REMARK   {title}".ljust(80)]
    residues = build(torsions, somewhere(seed))
    serial = 0
    for number, (code, residue) in enumerate(zip(sequence, residues), start=1):
        if number < first:
            continue
        for name, place_ in residue.items():
            if (name == "CB" and code == "G") or (only_ca and name != "CA"):
                continue
            serial += 1
            lines.append(atom_record(serial, name, code, number + shift, place_))
    lines += ["TER".ljust(80), "END".ljust(80)]
    path.write_text("\n".join(lines) + "\n", encoding="ascii")


def entry_chain(torsions, chain, seed, sequence):
    """The C-alpha records of a chain; residue 1 is a selenomethionine, 30 and 31 have two places."""
    lines = []
    residues = build(torsions, somewhere(seed))
    for number, (code, residue) in enumerate(zip(sequence, residues), start=1):
        here = residue["CA"]
        kind = "ATOM"
        if code == "M":
            code, kind = "MSE", "HETATM"
        places = [(" ", here)]
        if number in (30, 31):
            places = [("A", here), ("B", tuple(x + 0.4 for x in here))]
        for location, place_ in places:
            serial = len(lines) + 1
            lines.append(atom_record(serial, "CA", code, number, place_, chain, location, kind))
    return lines + ["TER".ljust(80)]


def write_entry(path, native):
    """Three models of two chains: A, the protein, and B, its last 19 residues alone."""
    lines = ["HEADER    INVENTED STRUCTURE: THREE MODELS OF TWO CHAINS".ljust(80)]
    for model in (1, 2, 3):
        lines.append(f"MODEL     {model:4d}".ljust(80))
        torsions = perturbed(native, 500 + model, 1.5)
        lines += entry_chain(torsions, "A", 20, SEQUENCE)
        lines += entry_chain(torsions[HINGE + 1 :], "B", 21, SEQUENCE[HINGE + 1 :])
        lines.append("ENDMDL".ljust(80))
    path.write_text("\n".join([*lines, "END".ljust(80)]) + "\n", encoding="ascii")


ATOM_TAGS = (
    "group_PDB id type_symbol label_atom_id label_alt_id label_comp_id label_asym_id label_entity_id "
    "label_seq_id pdbx_PDB_ins_code Cartn_x Cartn_y Cartn_z occupancy B_iso_or_equiv auth_seq_id "
    "auth_asym_id pdbx_PDB_model_num"
).split()


def write_mmcif(path, pdb):
    """The entry of a PDB file again, as mmCIF; chain A is entity 1, chain B entity 2."""
    lines = ["data_ENTRY", "#", "loop_", "_entity_poly.entity_id", "_entity_poly.type",
             "1 'polypeptide(L)'", "2 'polypeptide(L)'", "#", "loop_"]
    lines += [f"_atom_site.{tag}" for tag in ATOM_TAGS]
    for line in pdb.read_text(encoding="ascii").splitlines():
        if line.startswith("MODEL"):
            model = line[10:14].strip()
        if not line.startswith(("ATOM", "HETATM")):
            continue
        fields = [line[a:b].strip() for a, b in (
            (0, 6), (6, 11), (76, 78), (12, 16), (16, 17), (17, 20), (21, 22), (21, 22), (22, 26),
            (26, 27), (30, 38), (38, 46), (46, 54), (54, 60), (60, 66), (22, 26), (21, 22))]
        fields[7] = "12"["AB".index(fields[7])]
        lines.append(" ".join([*(field or "." for field in fields), model]))
    path.write_text("\n".join([*lines, "#"]) + "\n", encoding="ascii")


def write_list(path, comment, names):
    path.write_text("\n".join([f"# {comment}", *names]) + "\n", encoding="ascii")


def decoy_torsions(native, wrong):
    """The torsions of the 24 decoys: three families, the right one the largest, and two loners."""
    right = [perturbed(native, 100 + i, 1.0 + 0.16 * i) for i in range(11)]
    swung = [perturbed(bent(native, 110.0), 200 + i, 1.0 + 0.2 * i) for i in range(7)]
    other = [perturbed(wrong, 300 + i, 1.0 + 0.3 * i) for i in range(4)]
    loners = [fold(STATES, seed=seed, attempts=400) for seed in (31, 32)]
    return right + swung + other + loners


def write_decoys(folder, native, wrong):
    """Numbers the decoys in an order that tells nothing of their families."""
    folder.mkdir(exist_ok=True)
    engine = random.Random(24)
    shuffled = sorted(decoy_torsions(native, wrong), key=lambda _: engine.random())
    names = [f"model_{number:02d}.pdb" for number in range(1, len(shuffled) + 1)]
    for seed, (name, torsions) in enumerate(zip(names, shuffled), start=400):
        write(folder / name, f"Invented model: {name}", torsions, seed, only_ca=True)
    write_list(folder / "models.txt", "A decoy set: 24 models of the example protein.", names)


def main():
    folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent)
    native = fold(STATES, seed=6, attempts=1500)
    wrong = fold(STATES[::-1], seed=3, attempts=1500)
    models = [
        ("near_1", "close to the experiment, torsions off by 2 degrees",
         perturbed(native, 11, 2.0), 1),
        ("near_2", "close to the experiment, torsions off by 3 degrees",
         perturbed(native, 12, 3.0), 1),
        ("near_3", "fair, torsions off by 4 degrees", perturbed(native, 13, 4.0), 1),
        ("hinge_1", "both parts right, bent by 110 degrees at residue 42",
         perturbed(bent(native, 110.0), 14, 1.0), 1),
        ("hinge_2", "both parts right, bent by 115 degrees at residue 42",
         perturbed(bent(native, 115.0), 15, 1.0), 1),
        ("partial", "close to the experiment, residues 1 to 12 missing",
         perturbed(native, 16, 2.0), 13),
        ("wrong_1", "another fold", wrong, 1),
        ("wrong_2", "the other fold again, torsions off by 2 degrees",
         perturbed(wrong, 17, 2.0), 1),
    ]  # fmt: skip
    write(folder / "experiment.pdb", "Invented structure: the experiment", native, seed=1)
    for seed, (name, title, torsions, first) in enumerate(models, start=2):
        write(folder / f"{name}.pdb", f"Invented model: {title}", torsions, seed, first)
    write(folder / "relative.pdb", "Invented structure: a relative, numbered 101 to 156",
          perturbed(native, 18, 2.0), seed=10, first=6, sequence=RELATIVE, shift=95)
    write_entry(folder / "entry.pdb", native)
    write_mmcif(folder / "entry.cif", folder / "entry.pdb")
    write_list(folder / "models.txt",
               "Models of the example protein, one a line; what follows a # is a comment.",
               [f"{name}.pdb" for name, *_ in models])
    write_decoys(folder / "decoys", native, wrong)


if __name__ == "__main__":
    main()
