#!/usr/bin/env python3
"""Gives the files that are made for viewers to the viewers.

usage: viewers.py PROGRAM EXAMPLES TEST

Each test_TEST below runs the program in a copy of the examples and looks at what the client makes
of its files: PyMOL and RasMol draw without a display, Chromium without a window.  A client that is
not installed skips its test (status 77).
"""

import ast
import base64
import http.server
import json
import math
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import zipfile

SENTENCE = "moves the prediction onto the experiment: p' = R (p - c2) + c1"
RASMOL = "/usr/lib/rasmol/rasmol.32"
TIME_LIMIT = 120  # seconds for a client
DIGITS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"


def run_program(*arguments, status=0):
    done = subprocess.run(
        [PROGRAM, *arguments], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False
    )
    assert done.returncode == status, done.stdout[-2000:]
    return done.stdout.decode("utf-8", "replace")


def need(command):
    found = command if os.access(command, os.X_OK) else shutil.which(command)
    if found is None:
        print(f"skipped: there is no {command}")
        sys.exit(77)
    return found


def run_client(command, text=""):
    environment = dict(os.environ, PATH="/usr/bin:/bin", HOME=os.getcwd())
    done = subprocess.run(
        command, input=text, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
        timeout=TIME_LIMIT, env=environment, text=True, errors="replace",
    )  # fmt: skip
    return done.stdout


def printed(pattern, text):
    """The numbers of the first group, line by line."""
    return [float(number) for number in re.findall(pattern, text)]


def close(a, b, tolerance):
    assert abs(a - b) <= tolerance, f"{a} is not {b}"


# --- Structures ---


def calphas(text):
    return {
        line[21:27]: tuple(float(line[i : i + 8]) for i in (30, 38, 46))
        for line in text.splitlines()
        if line.startswith("ATOM") and line[12:16] == " CA "
    }


def rmsd(a, b):
    return math.sqrt(sum(math.dist(a[k], b[k]) ** 2 for k in a) / len(a))


# --- PyMOL ---

# Residues that are shown on each other stand in the same order in both selections; PyMOL itself
# sorts the chains of a complex by their names.
ASK_PYMOL = """
import ast, re, numpy
from pymol import cmd
matched = {}
for name, text in re.findall(r'^highlight\\("(\\w+)", ("[^"]*")', open("SCRIPT").read(), re.MULTILINE):
    parts = ast.literal_eval(text).split(" or ")
    matched[name] = numpy.concatenate([cmd.get_coords(f"({part}) and name CA") for part in parts])
    assert len(matched[name]) == cmd.count_atoms(f"{name} and name CA")
for name in sorted(matched):
    other = matched.get(name.replace("prediction", "experiment"))
    if name.startswith("matched_prediction"):
        print("RMSD", len(other), (((other - matched[name]) ** 2).sum() / len(other)) ** 0.5)
# Lines go from C-alpha to C-alpha, and tubes where residues are matched.
tubes = sum(len(atoms) for atoms in matched.values())
assert cmd.count_atoms("rep cartoon") == cmd.count_atoms("rep cartoon and name CA") == tubes
assert cmd.count_atoms("rep ribbon and not name CA") == 0 < cmd.count_atoms("rep ribbon")
print("OBJECTS", cmd.get_object_list())
for name in cmd.get_object_list():
    print("FIRST", name, *cmd.get_coords(name + " and name CA")[0])
"""


def run_pymol(script):
    pathlib.Path("ask.py").write_text(ASK_PYMOL.replace("SCRIPT", script), encoding="utf-8")
    output = run_client([need("pymol"), "-cq", script, "ask.py"])
    assert "Error" not in output and "Traceback" not in output, output[-2000:]
    return output


def test_pymol():
    need("pymol")
    # Residues below 0 and with insertion codes.
    for name in ("experiment.pdb", "hinge_1.pdb"):
        lines = pathlib.Path(name).read_text(encoding="utf-8").splitlines(keepends=True)
        for i, line in enumerate(lines):
            if line.startswith("ATOM"):
                number = int(line[22:26]) - 10
                inserted = number in (20, 21)
                lines[i] = f"{line[:22]}{20 if inserted else number:4d}{'AB'[number - 20] if inserted else ' '}{line[27:]}"
        pathlib.Path("odd_" + name).write_text("".join(lines), encoding="utf-8")
    subprocess.run(["gzip", "odd_hinge_1.pdb"], check=True)
    for experiment, prediction in (
        ("experiment.pdb", "hinge_1.pdb"),
        ("odd_experiment.pdb", "odd_hinge_1.pdb.gz"),
    ):
        output = run_program(
            "-e", experiment, "-p", prediction, "-i", "2", "-noalign", "--pymol=pair.pml"
        )
        wanted = list(zip(printed(r"Pairs= *(\d+)", output), printed(r", RMSD= *([\d.]+)", output)))
        found = re.findall(r"^RMSD (\d+) ([\d.]+)", run_pymol("pair.pml"), re.MULTILINE)
        assert len(found) == len(wanted) == 2, found
        for (pairs, value), (count, figure) in zip(wanted, found):
            assert int(count) == pairs
            close(float(figure), value, 0.0006)
    # The models of a list lie where --superposed puts them: on the experiment, or as models of one
    # file on the medoids of their clusters.
    parts = [pathlib.Path(name).read_text(encoding="utf-8") for name in ("near_1.pdb", "near_2.pdb", "hinge_1.pdb")]
    pathlib.Path("all.pdb").write_text("".join(f"MODEL {9 - i:8d}\n{part}ENDMDL\n" for i, part in enumerate(parts)))
    for count, arguments in (
        (4, ["-e", "experiment.pdb", "-l", "models.txt", "-super", "3"]),
        (3, ["--models=all.pdb", "--model=all", "-C", "2", "-T", "0.5"]),
    ):
        run_program(*arguments, "--pymol=list.pml", "--superposed=moved")
        places = {}
        for name, *place in re.findall(r"^FIRST (\S+) (\S+) (\S+) (\S+)", run_pymol("list.pml"), re.MULTILINE):
            places[re.sub(r"^m\d+_", "", name)] = [float(x) for x in place]
        assert len(places) == count, places
        for name, place in places.items():
            if name != "experiment":
                name = name.replace("_pdb_", ".pdb_").removesuffix("_pdb") + ".pdb"
                copy = pathlib.Path("moved", name).read_text(encoding="utf-8")
                assert math.dist(place, next(iter(calphas(copy).values()))) < 0.003


# --- RasMol ---


def ask_rasmol(script, orders):
    """The numbers of atoms that the orders select."""
    output = run_client([need(RASMOL), "-nodisplay", "-script", script], orders + "exit\n")
    assert "nvalid" not in output and "xpected" not in output, output
    return [int(number) for number in re.findall(r"(\d+) atoms selected", output)]


def test_rasmol():
    need(RASMOL)
    run_program("-e", "experiment.pdb", "-p", "hinge_1.pdb", "-i", "2", "-noalign", "--rasmol=pair.rsm")
    selected = ask_rasmol("pair.rsm", "select 1-43 and :B\nselect :C\nwrite ppm picture.ppm\n")
    atoms = [line for line in pathlib.Path("pair.rsm").read_text(encoding="utf-8").splitlines() if line.startswith("ATOM")]
    wanted = [
        sum(1 for line in atoms if line[21] == "B" and int(line[22:26]) <= 43),
        sum(1 for line in atoms if line[21] == "C"),
    ]
    assert selected[-2:] == wanted, (selected, wanted)
    pixels = pathlib.Path("picture.ppm").read_bytes()
    for colour in (b"\x66\x66\xff", b"\x33\xcc\x33"):  # the highlights, where light falls on them
        assert any(
            abs(pixels[i] - colour[0]) + abs(pixels[i + 1] - colour[1]) + abs(pixels[i + 2] - colour[2]) < 60
            for i in range(15, len(pixels) - 2, 3)
        )


    # 62 structures have a letter each, of which small ones are others than great ones; no more have.
    for models, note in ((61, False), (62, True)):
        pathlib.Path("many.txt").write_text("near_1.pdb\n" + (models - 1) * "partial.pdb\n", encoding="utf-8")
        run_program("-e", "experiment.pdb", "-l", "many.txt", "--rasmol=many.rsm")
        text = pathlib.Path("many.rsm").read_text(encoding="utf-8")
        assert ("share a letter" in text) == note
    counts = ask_rasmol("many.rsm", "select :B\nselect :b\nselect :z\n")
    letters = [line[21] for line in text.splitlines() if line.startswith("ATOM")]
    assert counts == [letters.count(name) for name in "Bbz"] and len(set(letters)) == 62, counts


# --- Complexes, in both ---


def write_complex(path, source, names, turn=0):
    """Copies of a chain, 40 A from each other in this order; turned by taking x for y and so on."""
    lines = [line for line in pathlib.Path(source).read_text(encoding="utf-8").splitlines() if line.startswith("ATOM")]
    text = []
    for i, name in enumerate(names):
        for line in lines:
            place = [float(line[30:38]) + 40 * i, float(line[38:46]), float(line[46:54])]
            moved = "".join(f"{value:8.3f}" for value in place[turn:] + place[:turn])
            text.append(f"{line[:21]}{name}{line[22:30]}{moved}{line[54:]}\n")
    pathlib.Path(path).write_text("".join(text) + "END\n", encoding="utf-8")


def test_complex():
    run_program("-e", "experiment.pdb", "-p", "near_2.pdb", "-noalign", "--superposed=on")
    write_complex("tetramer.pdb", "experiment.pdb", "ABCD")
    write_complex("swapped.pdb", "on/near_2.pdb", "CDBA", turn=1)
    output = run_program("-e", "tetramer.pdb", "-p", "swapped.pdb", "--chain=all", "--map-chains", "-noalign",
                         "-L", "3", "--pymol=pair.pml", "--rasmol=pair.rsm", "--chimerax=pair.cxc")  # fmt: skip
    chains = re.search("^Chains: (.*)", output, re.MULTILINE)[1].split(", ")
    assert sorted(chains) == ["A on D", "B on C", "C on A", "D on B"], output
    ((pairs, value),) = re.findall(r"Pairs= *(\d+), RMSD= *([\d.]+)", output)
    ((count, figure),) = re.findall(r"^RMSD (\d+) ([\d.]+)", run_pymol("pair.pml"), re.MULTILINE)
    assert int(count) == int(pairs) > 100
    close(float(figure), float(value), 0.0006)
    # RasMol's chains are A to D of the experiment, then those of the prediction; of both the
    # script has the atoms of the matched residues.
    lines = pathlib.Path("pair.rsm").read_text(encoding="utf-8").splitlines()
    atoms = [line[21] for line in lines if line.startswith("ATOM")]
    selected = ask_rasmol("pair.rsm", "".join(f"select :{name}\n" for name in "ABCDEFGH"))
    assert selected[-8:] == [atoms.count(name) for name in "ABCDEFGH"], selected
    assert min(selected[-8:]) > 0
    # So have ChimeraX's selections, a term for each chain.
    script = pathlib.Path("pair.cxc").read_text(encoding="utf-8")
    for structure in "12":
        union = re.search(rf"^show (#{structure}\S+) atoms$", script, re.MULTILINE)[1]
        terms = [re.fullmatch(rf"#{structure}/([A-D]):([\d,-]+)@CA", term).groups() for term in union.split("|")]
        ranges = re.findall(r"(\d+)(?:-(\d+))?", ",".join(numbers for _, numbers in terms))
        assert sorted(name for name, _ in terms) == [*"ABCD"]
        assert sum(int(last or first) - int(first) + 1 for first, last in ranges) == int(pairs)


# --- Mol* ---


def nodes(node):
    yield node
    for child in node.get("children", []):
        yield from nodes(child)


def test_molstar():
    run_program("-e", "experiment.pdb", "-p", "hinge_1.pdb", "-i", "2", "-noalign",
                "--molstar=pair.mvsx", "--superposed=moved")  # fmt: skip
    with zipfile.ZipFile("pair.mvsx") as archive:
        assert archive.testzip() is None
        scene = json.loads(archive.read("index.mvsj"))
        assert archive.read("prediction.pdb") == pathlib.Path("hinge_1.pdb").read_bytes()
        files = set(archive.namelist())
    assert SENTENCE in scene["metadata"]["description"] and scene["metadata"]["timestamp"]
    urls = {node["params"]["url"] for node in nodes(scene["root"]) if node["kind"] == "download"}
    assert urls | {"index.mvsj"} == files
    # The first transformation puts the prediction where the folder has it.
    motion = next(node["params"] for node in nodes(scene["root"]) if node["kind"] == "transform")
    rotation, shift = motion["rotation"], motion["translation"]
    wanted = calphas(pathlib.Path("moved/hinge_1.pdb").read_text(encoding="utf-8"))
    for key, p in calphas(pathlib.Path("hinge_1.pdb").read_text(encoding="utf-8")).items():
        moved = [sum(rotation[3 * k + i] * p[k] for k in range(3)) + shift[i] for i in range(3)]
        assert math.dist(moved, wanted[key]) < 0.002
    ranges = [
        (one["auth_asym_id"], one["beg_auth_seq_id"], one["end_auth_seq_id"])
        for node in nodes(scene["root"])
        if node["kind"] == "color"
        for one in node["params"].get("selector", [])
    ]
    assert ranges == [("A", 1, 43), ("A", 44, 61), ("A", 1, 43), ("A", 44, 61)], ranges
    # Of a list every model is there, in the order of the ranking and where its copy is.
    run_program("-e", "experiment.pdb", "-l", "models.txt", "--molstar=list.mvsx", "--superposed=all")
    with zipfile.ZipFile("list.mvsx") as archive:
        scene = json.loads(archive.read("index.mvsj"))
        texts = {name: archive.read(name).decode() for name in archive.namelist()}
    shown = [branch for branch in scene["root"]["children"] if branch["kind"] == "download"][1:]
    assert len(shown) == len(os.listdir("all")) == len(texts) - 2 > 5
    for branch in shown:
        (motion,) = [node["params"] for node in nodes(branch) if node["kind"] == "transform"]
        name = branch["params"]["url"]
        copy = re.sub(r"m\d+_(.*)_pdb\.pdb", r"all/\1.pdb", name)
        wanted = calphas(pathlib.Path(copy).read_text(encoding="utf-8"))
        rotation, shift = motion["rotation"], motion["translation"]
        assert len(rotation) == 9 and len(shift) == 3
        for key, p in calphas(texts[name]).items():
            moved = [sum(rotation[3 * k + i] * p[k] for k in range(3)) + shift[i] for i in range(3)]
            assert math.dist(moved, wanted[key]) < 0.002


# --- ChimeraX: not in Debian, so that its commands are read by their grammar only ---


def test_chimerax():
    run_program("-e", "experiment.pdb", "-p", "hinge_1.pdb", "-noalign", "--chimerax=pair.cxc", "--superposed=moved")
    lines = pathlib.Path("pair.cxc").read_text(encoding="utf-8").splitlines()
    opened = [ast.literal_eval(line.split(" ", 1)[1].rsplit(" id ", 1)[0]) for line in lines if line.startswith("open ")]
    assert opened == ["experiment.pdb", "hinge_1.pdb"]
    matrix = next(line for line in lines if line.startswith("view matrix models #2,"))
    m = [float(number) for number in matrix.split(",")[1:]]
    wanted = calphas(pathlib.Path("moved/hinge_1.pdb").read_text(encoding="utf-8"))
    for key, p in calphas(pathlib.Path("hinge_1.pdb").read_text(encoding="utf-8")).items():
        moved = [sum(m[4 * i + k] * p[k] for k in range(3)) + m[4 * i + 3] for i in range(3)]
        assert math.dist(moved, wanted[key]) < 0.002
    assert "color #2/A:1-43 #33cc33" in lines


# --- The folder of moved models ---


def test_superposed():
    source = pathlib.Path("near_1.pdb").read_text(encoding="utf-8")
    first = source.splitlines(keepends=True)
    atom = next(line for line in first if line.startswith("ATOM"))
    extra = (
        "HEADER    A RECORD TO KEEP\n" + source.replace("END\n", "") +
        "HETATM" + atom[6:] + "HETATM 9999 no number here\r\n" +
        "ANISOU    1  N   MET A   1     1000   2000   3000      0      0      0       N\nMASTER\nEND\n"
    )  # fmt: skip
    pathlib.Path("near_1.pdb").write_bytes(extra.encode())
    os.makedirs("x")
    shutil.copy("near_2.pdb", "x/near_1.pdb")
    pathlib.Path("two.txt").write_text("near_1.pdb\nx/near_1.pdb\n", encoding="utf-8")
    output = run_program("-e", "experiment.pdb", "-l", "two.txt", "--superposed=a/b")
    assert sorted(os.listdir("a/b")) == ["near_1.pdb", "near_1_2.pdb"]
    moved = pathlib.Path("a/b/near_1.pdb").read_bytes().decode()
    assert SENTENCE in moved
    kept = [line for line in extra.splitlines() if not re.match(r"ATOM|HETATM .{20}.*\.|ANISOU", line)]
    assert [line for line in moved.splitlines() if line in kept] == kept
    # All pairs lie as far apart as gRMSD says, under the superposition that the run printed.
    details = run_program("-e", "experiment.pdb", "-p", "near_1.pdb", "-noalign")
    experiment = calphas(pathlib.Path("experiment.pdb").read_text(encoding="utf-8"))
    close(rmsd(experiment, calphas(moved)), printed(r"gRMSD= *([\d.]+)", details)[0], 0.001)
    # What is in HETATM moves along, and the factors turn: their sum on the diagonal stays.
    records = [line for line in moved.splitlines() if line[6:27] == atom[6:27]]
    twin = [line[30:54] for line in records if re.match("ATOM|HETATM", line)]
    assert len(twin) == 2 and twin[0] == twin[1] != atom[30:54], twin
    factors = next(line for line in moved.splitlines() if line.startswith("ANISOU"))
    numbers = [int(factors[i : i + 7]) for i in range(28, 70, 7)]
    assert abs(sum(numbers[:3]) - 6000) <= 1 and numbers[:3] != [1000, 2000, 3000]
    # An input is never overwritten.
    run_program("-e", "experiment.pdb", "-p", "near_1.pdb", "-noalign", "--superposed=.", status=1)
    assert pathlib.Path("near_1.pdb").read_bytes().decode() == extra
    assert "two.txt" in output


# --- The page ---

# What a reader does, in the page itself: it leaves its findings in the document.
PAGE_TEST = r"""
<script>
const found = {errors: []};
addEventListener("error", (event) => found.errors.push(String(event.message)));
try {
  const table = document.querySelector("table");
  const first = () => table.querySelector("tbody tr").children[1].textContent;
  const button = [...table.querySelectorAll("button")][1];
  const sorts = () => [...table.querySelectorAll("th[aria-sort]")].map((th) => th.getAttribute("aria-sort"));
  found.unsorted = first();
  button.click(); found.ascending = [first(), sorts()];
  button.click(); found.descending = [first(), sorts()];
  const map = document.querySelector(".cells canvas");
  if (map) {
    const press = (key) => map.dispatchEvent(new KeyboardEvent("keydown", {key}));
    press("ArrowRight"); press("ArrowDown"); press("ArrowDown");
    found.cell = document.querySelector("output").textContent;
    const box = map.getBoundingClientRect();
    map.dispatchEvent(new PointerEvent("pointermove", {clientX: box.right - 1, clientY: box.top + 1}));
    found.corner = document.querySelector("output").textContent;
  }
  const trace = document.querySelector("canvas.trace");
  const bars = document.querySelector("svg[tabindex]");
  if (bars) {
    bars.dispatchEvent(new KeyboardEvent("keydown", {key: "End"}));
    found.residue = bars.parentNode.querySelector("output").textContent;
    found.marks = [...bars.querySelectorAll("text")].map((one) => one.textContent);
    found.alignment = document.querySelector("pre")?.textContent ?? "";
  }
  if (trace) {
    const before = trace.toDataURL();
    trace.dispatchEvent(new KeyboardEvent("keydown", {key: "ArrowRight"}));
    const turned = trace.toDataURL();
    trace.dispatchEvent(new KeyboardEvent("keydown", {key: "+"}));
    found.trace = [before !== turned, turned !== trace.toDataURL()];
  }
  found.labels = [...document.querySelectorAll("svg[role=img], canvas")].every((one) => one.getAttribute("aria-label"));
  found.titles = [...document.querySelectorAll("tbody th")].map((th) => th.title || th.textContent);
  found.title = document.title;
  found.scripts = document.scripts.length;
} catch (error) { found.errors.push(String(error)); }
new Image().src = "http://127.0.0.1:PORT/asked";
fetch("http://127.0.0.1:PORT/asked").catch(() => {}).finally(() => {
  document.body.append(Object.assign(document.createElement("pre"), {id: "found", textContent: btoa(unescape(encodeURIComponent(JSON.stringify(found))))}));
});
</script>
"""


def open_page(page):
    """What a reader finds in the page; no request may leave it, not even when a script asks."""
    asked = []

    class Handler(http.server.BaseHTTPRequestHandler):
        def do_GET(self):
            asked.append(self.path)
            self.send_error(404)

        def log_message(self, *_):
            pass

    server = http.server.HTTPServer(("127.0.0.1", 0), Handler)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    text = pathlib.Path(page).read_text(encoding="utf-8")
    assert re.findall(r"https?:[^\s\"']*", text.split('id="data"')[0]) == []
    tested = pathlib.Path("tested.html")
    tested.write_text(text.replace("</body>", PAGE_TEST.replace("PORT", str(server.server_port)) + "</body>"), encoding="utf-8")
    output = run_client([
        need("chromium"), "--headless", "--no-sandbox", "--disable-gpu", "--disable-background-networking",
        f"--user-data-dir={os.getcwd()}/profile", "--enable-logging=stderr", "--virtual-time-budget=5000",
        "--dump-dom", f"file://{tested.resolve()}",
    ])  # fmt: skip
    server.shutdown()
    assert asked == [], asked
    complaints = [line for line in output.splitlines() if "CONSOLE" in line and "Content Security Policy" not in line]
    assert complaints == [], complaints
    found = json.loads(base64.b64decode(re.search(r'id="found">([^<]+)<', output)[1]))
    assert found["errors"] == [] and found["labels"], found["errors"]
    return found


def page_data(page):
    text = pathlib.Path(page).read_text(encoding="utf-8")
    assert "http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'" in text
    return json.loads(re.search(r'id="data">\n(.*?)\n</script>', text, re.DOTALL)[1], parse_constant=lambda word: 1 / 0)


def test_page():
    need("chromium")
    os.chdir("decoys")
    output = run_program("-l", "models.txt", "-C", "2", "-is", "8", "-T", "0.4", "-L", "2", "--report=all.html",
                         "--json=all.json")  # fmt: skip
    data = page_data("all.html")
    # Members are named as far as there is room.
    clusters = json.loads(pathlib.Path("all.json").read_text(encoding="utf-8"))["clusters"]
    rows = data["tables"][1]["rows"]
    assert [row[:2] for row in rows] == [[one["cluster"], one["size"]] for one in clusters]
    for row, one in zip(rows, clusters):
        named = [data["names"][member - 1] for member in one["members"]]
        assert row[4] == named[:12] + [f"{len(named) - 12} more"] * (len(named) > 12), row
    assert any("more" in row[4][-1] for row in rows)
    jury = re.findall(r"^INFO  : +\d+ : +\d+ +(\d+) +(model_\d+.pdb)", output, re.MULTILINE)
    names = [name for _, name in jury]
    found = open_page("all.html")
    assert found["unsorted"] == names[0]
    assert found["ascending"] == [min(names), ["ascending"]]
    assert found["descending"] == [max(names), ["descending"]]
    # The cells are what the lines of the pairs say.
    cells, width, count = data["matrix"]["cells"], data["matrix"]["width"], len(data["names"])
    lines = re.findall(r"model_(\d+).pdb vs\. .*model_(\d+).pdb .*MaxSub= *([\d.]+)", output)
    assert len(lines) == count * (count - 1) // 2
    for i, j, score in lines:
        at = ((int(i) - 1) * count + int(j) - 1) * width
        number = 0
        for digit in cells[at : at + width]:
            number = number * 64 + DIGITS.index(digit)
        assert number == round(float(score) * 1000), (i, j, score)
    assert re.fullmatch(r"model_\d+.pdb and model_\d+.pdb: TM-score 0\.\d{3}", found["cell"]), found["cell"]
    assert found["corner"].startswith("model_01.pdb and model_17.pdb: TM-score"), found["corner"]
    assert os.path.getsize("all.html") < 100_000
    # One model of a list, and one pair: what the page says is what the run prints.
    output = run_program("-e", "../experiment.pdb", "-l", "models.txt", "--report=list.html")
    found = open_page("list.html")
    assert found["unsorted"] == "model_19.pdb" and found["trace"] == [True, True]
    # A folder that all models share is left out of their names; the whole path is there to be read.
    run_program("-e", "../experiment.pdb", "--models=../decoys", "--report=folder.html")
    found = open_page("folder.html")
    assert found["unsorted"] == "model_19.pdb" and "../decoys/model_19.pdb" in found["titles"]
    assert page_data("list.html")["pair"]["title"].endswith("model_19.pdb")
    output = run_program("-e", "../experiment.pdb", "-p", "../hinge_1.pdb", "-i", "2", "-noalign", "--report=pair.html",
                         "--tsv=pair.tsv", "--residues=pair.res", "--superposed=on")  # fmt: skip
    figures = {row[0]: row[1] for row in page_data("pair.html")["tables"][0]["rows"]}
    assert float(figures["RMSD"]) == printed(r", RMSD= *([\d.]+)", output)[0]
    assert float(figures["TM-score"]) == printed(r"TM= *([\d.]+)", output)[0]
    row = dict(zip(*(line.split("\t") for line in pathlib.Path("pair.tsv").read_text(encoding="utf-8").splitlines())))
    keys = {"TM-score": "tm1", "TM-score (2)": "tm2", "Cut-off": "cutoff"}
    for name, shown in figures.items():
        value = row[keys.get(name, name.lower())]
        digits = len(shown.partition(".")[2])  # counts have none
        assert shown == (f"{float(value):.{digits}f}" if "." in value and digits else value), (name, shown, value)
    # The page draws what the files hold.
    for trace, name in zip(page_data("pair.html")["pair"]["traces"], ("../experiment.pdb", "on/hinge_1.pdb")):
        places = calphas(pathlib.Path(name).read_text(encoding="utf-8")).values()
        assert len(trace) == len(places) and all(math.dist(atom[:3], p) < 0.02 for atom, p in zip(trace, places))
    rows = [line.split("\t") for line in pathlib.Path("pair.res").read_text(encoding="utf-8").splitlines()]
    at = rows[0].index("distance")
    shown = [distance for *_, distance, _, _ in page_data("pair.html")["pair"]["residues"]]
    assert len(shown) == len(rows) - 1 and all(abs(a - float(row[at])) < 0.0006 for a, row in zip(shown, rows[1:]))
    found, last = open_page("pair.html"), page_data("pair.html")["pair"]["residues"][-1]
    assert found["trace"] == [True, True]
    assert found["residue"] == f"{last[0]} and {last[1]}: {last[2]:.3f} Å" and last[0] == "ASN 61", found
    # Complexes: chains in pairs, whatever their order in the files, and then those without a partner.
    cases = pathlib.Path(__file__).resolve().parent.parent / "cli/complex-tetramer-mapped/input"
    chains = (cases / "swapped.pdb").read_text()
    far = [f"{atom[:21]}Z{atom[22:30]}{float(atom[30:38]) + 300:8.3f}{atom[38:]}\n" for atom in chains.splitlines()[:12]]
    pathlib.Path("five.pdb").write_text(chains + "".join(far))
    for experiment, prediction in (("five.pdb", cases / "tetramer.pdb"), (cases / "tetramer.pdb", "five.pdb")):
        run_program("-e", experiment, "-p", prediction, "--chain=all", "--map-chains", "-noalign", "--report=complex.html")
        found = open_page("complex.html")
        chains = [mark for mark in found["marks"] if re.fullmatch("[A-Z]", mark)]
        partners = re.findall(r"^Chains +prediction (.), experiment (.)$", found["alignment"], re.MULTILINE)
        assert chains == [experiment for _, experiment in partners if experiment != "-"], (chains, partners)
        assert all(re.fullmatch(r"-?[\d.]+|[A-Z]|residue .*|distance.*", mark) for mark in found["marks"]), found["marks"]
        assert found["alignment"].count("|") == 48 and len(partners) == 5, partners
        residues = page_data("complex.html")["pair"]["residues"]
        assert {(a[0], b[0]) for a, b, *_ in residues[:48]} in ({*zip("CBPA", "ABCD")}, {*zip("ABCD", "CBPA")})
        assert [distance for *_, distance, _, _ in residues] == [0] * 48 + [None] * 12
        assert all((a + b).startswith("Z:") for a, b, *_ in residues[48:]), residues[48:]
    # Runs without structures, and runs in which nothing fits.
    run_program("-l", "models.txt", "-C", "0", "-R", "results.txt", "--report=unclustered.html")
    open_page("unclustered.html")
    run_program("-M", "results.txt", "-C", "5", "-is", "8", "--report=again.html")
    open_page("again.html")
    line = "ATOM      {0}  CA  ALA A   {0}       {0}.000   0.000   0.000  1.00  0.00           C\n"
    pathlib.Path("short.pdb").write_text("".join(line.format(i) for i in range(1, 6)), encoding="utf-8")
    run_program("-e", "short.pdb", "-p", "../experiment.pdb", "-noalign", "--report=nothing.html")
    open_page("nothing.html")


# --- Names ---

NAMES = [
    b"quote\"and'apostrophe.pdb",
    b"</script><script>document.title=1</script>.pdb",
    b"tab\there.pdb",
    "αβ 蛋白質 🧬.pdb".encode(),
    b"no \xff\xfe utf-8.pdb",
    b"$(touch owned); #`touch owned` & {a} [0] %s \\n.pdb",
    b"-dash,comma;semicolon.PDB",
    b"/".join([b"d" * 199] * 19) + b"/" + b"n" * 150 + b".pdb",
    b"line\nend.pdb",
    b"..pdb",
]


FORMS = ["--superposed=moved", "--pymol=n.pml", "--chimerax=n.cxc", "--molstar=n.mvsx",
         "--rasmol=n.rsm", "--report=n.html"]  # fmt: skip


def check_forms(paths):
    """What the forms make of these models, given as bytes."""
    copies = os.listdir("moved")
    assert len(copies) == len(paths), copies
    assert all(re.fullmatch(r"[\w+][\w.+-]*\.pdb", name, re.ASCII) for name in copies), copies
    lines = pathlib.Path("n.cxc").read_text(encoding="ascii").splitlines()
    literals = [line[5:].rsplit(" id ", 1)[0] for line in lines if line.startswith("open ")]
    assert [os.fsencode(ast.literal_eval(one)) for one in literals][0] == b"experiment.pdb"
    assert {os.fsencode(ast.literal_eval(one)) for one in literals[1:]} == set(paths)
    with zipfile.ZipFile("n.mvsx") as archive:
        assert all(re.fullmatch(r"\w+\.(pdb|mvsj)", name, re.ASCII) for name in archive.namelist())
        json.loads(archive.read("index.mvsj"))
    assert pathlib.Path("n.rsm").read_bytes().isascii()
    assert pathlib.Path("n.html").read_bytes().count(b"</script>") == 2
    if shutil.which("pymol"):
        assert len(re.findall(r"^FIRST ", run_pymol("n.pml"), re.MULTILINE)) == len(paths) + 1
    assert not os.path.exists("owned"), "a name was run as a command"
    shutil.rmtree("moved")


def test_names():
    paths = [os.path.join(b"in", name) for name in NAMES]
    for path in paths:
        os.makedirs(os.path.dirname(path), exist_ok=True)
        shutil.copy("near_1.pdb", path)
    listed = [path for path in paths if len(path) < 1000 and b"#" not in path and b"\n" not in path]
    pathlib.Path("hostile.txt").write_bytes(b"".join(path + b"\n" for path in listed))
    run_program("-e", "experiment.pdb", "-l", "hostile.txt", *FORMS)
    check_forms(listed)
    wanted = {path.decode("utf-8", "replace") for path in listed}
    rows = page_data("n.html")["tables"][0]["rows"]
    assert {row[1] for row in rows} == wanted, {row[1] for row in rows} ^ wanted
    if shutil.which("chromium"):
        found = open_page("n.html")
        assert set(found["titles"]) >= wanted and found["scripts"] == 3 and found["title"] != "1"
    for path in set(paths) - set(listed):
        run_program("-e", "experiment.pdb", "-p", path, "-noalign", *FORMS)
        check_forms([path])
        assert page_data("n.html")["title"].startswith(path.decode("utf-8", "replace"))


def main():
    global PROGRAM
    PROGRAM, examples, test = os.path.abspath(sys.argv[1]), sys.argv[2], sys.argv[3]
    with tempfile.TemporaryDirectory() as folder:
        shutil.copytree(examples, os.path.join(folder, "examples"))
        os.chdir(os.path.join(folder, "examples"))
        globals()["test_" + test]()
        os.chdir("/")


if __name__ == "__main__":
    main()
