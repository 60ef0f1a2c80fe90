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

read("helix.pdb", "m1_helix_pdb")
cmd.color("0xCCFF99", "m1_helix_pdb")
cmd.group("cluster_1", "m1_helix_pdb")
read("turned.pdb", "m3_turned_pdb")
cmd.color("0xCCFF99", "m3_turned_pdb")
cmd.transform_selection("m3_turned_pdb", [
    0.0000000000, 1.0000000000, 0.0000000000, 7.0000000000,
    -1.0000000000, 0.0000000000, 0.0000000000, 5.0000000000,
    0.0000000000, 0.0000000000, 1.0000000000, -11.0000000000,
    0.0, 0.0, 0.0, 1.0])
highlight("matched_m3_turned_pdb", "m3_turned_pdb and chain A and resi 1-20", "0x33CC33")
cmd.group("cluster_1", "m3_turned_pdb")
read("helix-15.pdb", "m2_helix_15_pdb")
cmd.color("0xCCFF99", "m2_helix_15_pdb")
cmd.transform_selection("m2_helix_15_pdb", [
    1.0000000000, 0.0000000000, 0.0000000000, 0.0000000000,
    0.0000000000, 1.0000000000, 0.0000000000, 0.0000000000,
    0.0000000000, 0.0000000000, 1.0000000000, 0.0000000000,
    0.0, 0.0, 0.0, 1.0])
highlight("matched_m2_helix_15_pdb", "m2_helix_15_pdb and chain A and resi 1-15", "0x33CC33")
cmd.group("cluster_1", "m2_helix_15_pdb")
read("hinge.pdb", "m4_hinge_pdb")
cmd.color("0xFFD199", "m4_hinge_pdb")
cmd.group("cluster_2", "m4_hinge_pdb")
cmd.hide("everything")
cmd.show("ribbon", "name CA")
for name in cmd.get_names("selections"):
    cmd.show("cartoon", name + " and name CA")
cmd.deselect()
cmd.orient()
python end
