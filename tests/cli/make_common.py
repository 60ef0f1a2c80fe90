#!/usr/bin/env python3
"""Writes the structures in common/, which were made so that the results are known beforehand.

helix.pdb     20 C-alpha atoms of glycines on an ideal helix (1.5 A and 100 degrees a residue,
              radius 2.3 A).  Neighbours 3 and 4 along the chain are 5.06 and 6.20 A apart, all
              later ones 8.65 A or more: with a limit of 7.5 A it has 17 + 16 contacts.
helix-15.pdb  its residues 1 to 15, helix-10.pdb 1 to 10: parts that fit exactly
tail.pdb      its residues 19 and 20, and 8 more: too few in common for a fit
turned.pdb    the helix turned by 90 degrees and moved by whole numbers: no digit is lost
tilted.pdb    the helix turned by 30 degrees about z and then 50 about x, and moved: no place, no
              centre and no rotation has a round coordinate
double.pdb    the helix at twice its size.  The best rotation is none, and the RMSD is the radius of
              gyration; the directions are the same, so the URMSD is 0.
hinge.pdb     residues 1 to 12 as they are, 13 to 20 moved 100 A away: two rigid domains

and those of list-gdt-ties, without a difference that anything may depend on: experiment.pdb has
residues 1 to 15 of the helix, once more 60 A away, and a residue beside the first half.  In the
models one half is 50 A and that residue exactly 4 A off, and each is turned and moved without
losing a digit.
"""

import math
import pathlib

FOLDER = pathlib.Path(__file__).parent / "common"
TIES = pathlib.Path(__file__).parent / "list-gdt-ties" / "input"


def helix_place(number):
    angle = math.radians(100.0 * number + 7.0)  # no coordinate is 0
    place = (2.3 * math.cos(angle), 2.3 * math.sin(angle), 1.5 * number)
    return tuple(round(coordinate, 3) for coordinate in place)


def tilted(x, y, z):
    a, b = math.radians(30.0), math.radians(50.0)
    x, y = x * math.cos(a) - y * math.sin(a), x * math.sin(a) + y * math.cos(a)
    y, z = y * math.cos(b) - z * math.sin(b), y * math.sin(b) + z * math.cos(b)
    return (x + 3.25, y - 8.5, z + 20.125)


def write(name, places, folder=FOLDER):
    """places: residue number -> x, y, z."""
    with open(folder / name, "w") as file:
        for serial, (number, (x, y, z)) in enumerate(places.items(), start=1):
            file.write(
                f"ATOM  {serial:5d}  CA  GLY A{number:4d}    "
                f"{x:8.3f}{y:8.3f}{z:8.3f}{1:6.2f}{20:6.2f}          {'C':>2}  \n"
            )
        file.write("END\n")


def write_ties():
    def places(apart, aside):
        half = {n: helix_place(n) for n in range(1, 16)}
        second = {n + 15: (x + apart, y, z) for n, (x, y, z) in half.items()}
        return {**half, **second, 31: (5.171, aside, 20.188)}

    motions = [
        lambda x, y, z: (-y + 12.345, z - 6.789, -x + 0.021),
        lambda x, y, z: (x + 3.333, -y + 7.001, -z - 20.02),
        lambda x, y, z: (z - 9.9, x + 0.017, y + 31.113),
        lambda x, y, z: (y - 0.5, -x + 0.25, z + 8.125),
        lambda x, y, z: (-z + 80.001, y - 2.5, x - 17.301),
    ]
    TIES.mkdir(exist_ok=True)
    write("experiment.pdb", places(60.0, 1.222), TIES)
    for number, motion in enumerate(motions, start=1):
        model = {n: motion(*place) for n, place in places(110.0, 5.222).items()}
        write(f"moved_{number}.pdb", model, TIES)


def main():
    FOLDER.mkdir(exist_ok=True)
    helix = {number: helix_place(number) for number in range(1, 21)}
    write("helix.pdb", helix)
    write("helix-15.pdb", {n: helix[n] for n in range(1, 16)})
    write("helix-10.pdb", {n: helix[n] for n in range(1, 11)})
    write("tail.pdb", {n: helix_place(n) for n in range(19, 29)})
    write("turned.pdb", {n: (5 - y, x - 7, z + 11) for n, (x, y, z) in helix.items()})
    write("tilted.pdb", {n: tilted(*place) for n, place in helix.items()})
    write("double.pdb", {n: (2 * x, 2 * y, 2 * z) for n, (x, y, z) in helix.items()})
    write_ties()
    write("hinge.pdb", {n: (x + (100 if n > 12 else 0), y, z) for n, (x, y, z) in helix.items()})


if __name__ == "__main__":
    main()
