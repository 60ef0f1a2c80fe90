# Superposed structures.  Run this in the folder in which they were compared.
# Each matrix moves the prediction onto the experiment: p' = R (p - c2) + c1.
# Its rows are those of R, each with its part of c1 - R c2.
python
import gzip

def read(path, name, state=0):
    with open(path, "rb") as file:
        text = file.read()
    if text[:2] == b"\x1f\x8b":
        text = gzip.decompress(text)
    form = "cif" if b"_atom_site." in text else "pdb"
    if state == 0:
        cmd.load_raw(text.decode("latin-1"), form, name)
    else:
        cmd.load_raw(text.decode("latin-1"), form, "all_models")
        cmd.create(name, "all_models", state, 1)
        cmd.delete("all_models")

def highlight(selection, residues, colour):
    cmd.select(selection, residues)
    cmd.color(colour, selection)
    cmd.cartoon("tube", selection)

cmd.set("ribbon_trace_atoms", 1)
cmd.set("cartoon_trace_atoms", 1)

read("helix.pdb", "experiment")
cmd.color("0x66CCFF", "experiment")
read("tilted.pdb", "m3_tilted_pdb")
cmd.color("0xCCFF99", "m3_tilted_pdb")
cmd.transform_selection("m3_tilted_pdb", [
    0.8659987877, 0.3214252248, 0.3830560331, -7.7913741626,
    -0.5000460975, 0.5566505064, 0.6633958955, -6.9942230475,
    0.0000038401, -0.7660457157, 0.6427860930, -19.4474770385,
    0.0, 0.0, 0.0, 1.0])
highlight("matched_m3_tilted_pdb", "m3_tilted_pdb and chain A and resi 1-20", "0x33CC33")
read("double.pdb", "m2_double_pdb")
cmd.color("0xFFD199", "m2_double_pdb")
cmd.transform_selection("m2_double_pdb", [
    1.0000000000, 0.0000000000, 0.0000000000, 0.1360500000,
    0.0000000000, 1.0000000000, 0.0000000000, -0.0578000000,
    0.0000000000, 0.0000000000, 1.0000000000, -15.7500000000,
    0.0, 0.0, 0.0, 1.0])
highlight("matched_m2_double_pdb", "m2_double_pdb and chain A and resi 1-20", "0xFF8000")
cmd.hide("everything")
cmd.show("ribbon", "name CA")
for name in cmd.get_names("selections"):
    cmd.show("cartoon", name + " and name CA")
cmd.deselect()
cmd.orient()
python end
