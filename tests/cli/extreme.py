"""Runs on extreme structures: points on lines, in planes and in one place, mirror images, lattices
full of ties, chains of four to seven residues, coordinates as large and as small as a file can
hold.  A seed stands for the same runs everywhere.
"""

import random

MOST_RESIDUES = 48
AMINO_ACIDS = ["ALA", "GLY", "TRP", "LYS", "CYS"]


def atom_line(number, place):
    """An atom record; a place is three texts of eight characters."""
    name = AMINO_ACIDS[number % len(AMINO_ACIDS)]
    return f"ATOM  {number:5d}  CA  {name} A{number:4d}    {''.join(place)}  1.00  0.00\n"


def field(value):
    """A coordinate in eight columns, with as many digits as there is room for."""
    for text in (f"{value:8.3f}", f"{value:8.1e}", f"{value:8.0e}"):
        if len(text) == 8:
            return text
    return "9999.999"


def write_chain(path, points, numbers):
    with open(path, "w") as file:
        for number, point in zip(numbers, points):
            file.write(atom_line(number, [field(value) for value in point]))


def walk(draw, count, free):
    """Steps of 3.8 along the free axes."""
    place = [0.0, 0.0, 0.0]
    points = []
    for _ in range(count):
        points.append(tuple(place))
        step = [draw.gauss(0.0, 1.0) if axis in free else 0.0 for axis in range(3)]
        length = sum(value * value for value in step) ** 0.5 or 1.0
        place = [value + 3.8 * change / length for value, change in zip(place, step)]
    return points


def straight(draw, count):
    if draw.random() < 0.5:
        direction = draw.choice([(3.8, 0, 0), (0, 3.8, 0), (0, 0, 3.8), (1, 1, 1), (2, 3, 1)])
    else:
        direction = [draw.uniform(-3.0, 3.0) for _ in range(3)]
    start = [draw.choice([0.0, draw.uniform(-50.0, 50.0)]) for _ in range(3)]
    return [tuple(s + i * d for s, d in zip(start, direction)) for i in range(count)]


def lattice(draw, count):
    return [tuple(4.0 * draw.randrange(3) for _ in range(3)) for _ in range(count)]


def points_of(draw, count):
    kind = draw.randrange(9)
    if kind == 0:
        return walk(draw, count, (0, 1, 2))
    if kind == 1:
        return straight(draw, count)
    if kind == 2:
        return walk(draw, count, draw.choice([(0, 1), (0, 2), (1, 2)]))  # in a plane
    if kind == 3:
        return [(1.5, -2.5, 3.5)] * count
    if kind == 4:
        return lattice(draw, count)
    if kind == 5:  # a line with one corner
        bend = draw.randrange(count)
        return [(3.8 * min(i, bend), 3.8 * max(0, i - bend), 0.0) for i in range(count)]
    if kind == 6:
        scale = draw.choice([0.001, 9999.0, 1e5, 1e30, 1e150, 1e300])
        return [tuple(scale * value for value in point) for point in walk(draw, count, (0, 1, 2))]
    if kind == 7:  # two places in turn, or one point far from the others
        points = [(3.8 * (i % 2), 0.0, 0.0) for i in range(count)]
        if draw.random() < 0.5:
            points[draw.randrange(count)] = (draw.choice([9999.0, -1e9, 1e99]), 0.0, 0.0)
        return points
    points = walk(draw, (count + 1) // 2, (0, 1, 2))  # a chain and its mirror image
    return points + [(-x, y, z) for x, y, z in points[: count - len(points)]]


def relative_of(draw, points):
    """A chain that has something to do with `points`, or nothing."""
    kind = draw.randrange(7)
    if kind == 0:
        return points
    if kind == 1:
        return [(-x, y, z) for x, y, z in points]
    if kind == 2:
        return [(y + 7.0, z - 3.0, x + 11.0) for x, y, z in points]
    if kind == 3:
        return list(reversed(points))
    if kind == 4:
        return [tuple(value + draw.gauss(0.0, 1.0) for value in point) for point in points]
    return points_of(draw, len(points) if kind == 5 else chain_length(draw))


def chain_length(draw):
    return draw.randint(4, 7) if draw.random() < 0.4 else draw.randint(8, MOST_RESIDUES)


def numbering(draw, count):
    first = draw.choice([1, 1, 1, -3, 9950])
    return range(first, first + count)


def search_options(draw):
    modes = ["", "-TM", "-maxRMSD", "-gdt", "-gdt 2.5", "-in", "-i 3"]
    options = draw.choice(modes).split()
    for extra in ("-d 2", "-d 3.8", "-opt 5", "-seed 5", "-TSF 1.7", "-N 100"):
        if draw.random() < 0.15:
            options += extra.split()
    return options


def fit_options(draw):
    return ["-rmsd"] + draw.choice(["", "-urmsd", "-contact -dist 8 -gap 2"]).split()


def make_run(seed, folder):
    """Writes the inputs of one run to `folder` and returns its arguments."""
    draw = random.Random(seed)
    options = search_options(draw) if draw.random() < 0.7 else fit_options(draw)
    points = points_of(draw, chain_length(draw))
    numbers = numbering(draw, MOST_RESIDUES)
    write_chain(folder / "experiment.pdb", points, numbers)
    if draw.random() < 0.7:
        write_chain(folder / "prediction.pdb", relative_of(draw, points), numbers)
        level = draw.choice([[], ["-L", "6"], ["-L", "9"]])
        return ["-e", "experiment.pdb", "-p", "prediction.pdb"] + options + level
    names = [f"model{i}.pdb" for i in range(draw.randint(2, 9))]
    for name in names:
        write_chain(folder / name, relative_of(draw, points), numbers)
    (folder / "list").write_text("".join(name + "\n" for name in names))
    if draw.random() < 0.4:
        return ["-e", "experiment.pdb", "-l", "list", "-super", "3"] + options
    method = ["-C", str(draw.randint(1, 5)), "-is", "2", "-ms", "2", "-R", "results", "-Rl", "lite"]
    return ["-l", "list", "-av", "-L", str(draw.randint(1, 4))] + method + options
