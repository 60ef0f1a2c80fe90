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
read("hinge.pdb", "prediction")
cmd.color("0xCCFF99", "prediction")
cmd.create("prediction_domain_2", "prediction")
cmd.transform_selection("prediction", [
    1.0000000000, 0.0000000000, 0.0000000000, 0.0000000000,
    0.0000000000, 1.0000000000, 0.0000000000, 0.0000000000,
    0.0000000000, 0.0000000000, 1.0000000000, 0.0000000000,
    0.0, 0.0, 0.0, 1.0])
highlight("matched_experiment", "experiment and chain A and resi 1-12", "0x6666FF")
highlight("matched_prediction", "prediction and chain A and resi 1-12", "0x33CC33")
cmd.transform_selection("prediction_domain_2", [
    1.0000000000, 0.0000000000, 0.0000000000, -100.0000000000,
    0.0000000000, 1.0000000000, 0.0000000000, 0.0000000000,
    0.0000000000, 0.0000000000, 1.0000000000, 0.0000000000,
    0.0, 0.0, 0.0, 1.0])
highlight("matched_experiment_domain_2", "experiment and chain A and resi 13-20", "0xFFD199")
highlight("matched_prediction_domain_2", "prediction_domain_2 and chain A and resi 13-20", "0xFF8000")
cmd.hide("everything")
cmd.show("ribbon", "name CA")
for name in cmd.get_names("selections"):
    cmd.show("cartoon", name + " and name CA")
for name in cmd.get_object_list("prediction_domain_*"):
    cmd.hide("ribbon", name)
cmd.deselect()
cmd.orient()
python end
