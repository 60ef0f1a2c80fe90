// Rows mostly belong to the residue of the row before, which is seen by comparing their texts; only
// of an atom that is wanted are the numbers converted.
//
// Author's names and numbers are preferred to mmCIF's own, as papers and PDB files have them; where
// a file lacks one of a pair, the other stands for it.
#include "chain/input/mmcif_atoms.h"

#include "base/format.h"
#include "chain/input/entry.h"
#include "chain/input/entry_fields.h"

namespace tervolanda {

namespace {

enum Category : int { AtomSiteCategory, EntityCategory, PolymerCategory };

// Places in the table of items; the first ones tell residues apart.
enum Item : std::size_t {
    AuthChainItem,
    LabelChainItem,
    EntityOfAtomItem,
    AuthResidueItem,
    LabelResidueItem,
    AuthNumberItem,
    LabelNumberItem,
    InsertionItem,
    ModelItem,
    AuthAtomItem,
    LabelAtomItem,
    SymbolItem,
    ConformerItem,
    XItem,
    YItem,
    ZItem,
    OccupancyItem,
    BFactorItem,
    ChargeItem,
    IdOfEntityItem,
    TypeOfEntityItem,
    IdOfPolymerItem,
    TypeOfPolymerItem,
};

constexpr auto kItems = std::to_array<CifItem>({
    {"_atom_site.auth_asym_id", AtomSiteCategory},
    {"_atom_site.label_asym_id", AtomSiteCategory},
    {"_atom_site.label_entity_id", AtomSiteCategory},
    {"_atom_site.auth_comp_id", AtomSiteCategory},
    {"_atom_site.label_comp_id", AtomSiteCategory},
    {"_atom_site.auth_seq_id", AtomSiteCategory},
    {"_atom_site.label_seq_id", AtomSiteCategory},
    {"_atom_site.pdbx_pdb_ins_code", AtomSiteCategory},
    {"_atom_site.pdbx_pdb_model_num", AtomSiteCategory},
    {"_atom_site.auth_atom_id", AtomSiteCategory},
    {"_atom_site.label_atom_id", AtomSiteCategory},
    {"_atom_site.type_symbol", AtomSiteCategory},
    {"_atom_site.label_alt_id", AtomSiteCategory},
    {"_atom_site.cartn_x", AtomSiteCategory},
    {"_atom_site.cartn_y", AtomSiteCategory},
    {"_atom_site.cartn_z", AtomSiteCategory},
    {"_atom_site.occupancy", AtomSiteCategory},
    {"_atom_site.b_iso_or_equiv", AtomSiteCategory},
    {"_atom_site.pdbx_formal_charge", AtomSiteCategory},
    {"_entity.id", EntityCategory},
    {"_entity.type", EntityCategory},
    {"_entity_poly.entity_id", PolymerCategory},
    {"_entity_poly.type", PolymerCategory},
});
static_assert(kItems.size() == TypeOfPolymerItem + 1);

constexpr std::size_t kLongestChainName = 64;

// A number without its uncertainty: "1.25(4)" is 1.25.
std::string_view withoutUncertainty(std::string_view number) {
    return number.ends_with(')') ? number.substr(0, number.find('(')) : number;
}

std::string quoted(std::string_view value) {
    return "'" + std::string(value) + "'";
}

// As in columns 79 and 80 of a PDB file.
FixedText<2> columnsOfCharge(std::string_view charge) {
    const std::int64_t value = wholeInteger(charge).value_or(0);
    FixedText<2> columns;
    if (value == 0 || value < -9 || value > 9) return columns;
    columns[0] = static_cast<char>('0' + (value < 0 ? -value : value));
    columns[1] = value < 0 ? '-' : '+';
    return columns;
}

}  // namespace

MmcifReader::MmcifReader(EntryBuilder& builder)
    : builder_(builder),
      parser_(
          kItems, [this](int category) { return takeRow(category); },
          [this] { return beginBlock(); }) {}

bool MmcifReader::fail(std::string why) {
    fault_ = {lines_.number(), std::move(why)};
    return false;
}

bool MmcifReader::append(std::string_view piece) {
    if (isDone_) return false;
    isDone_ = !lines_.append(piece, [this](std::string_view line) { return parser_.take(line); });
    noteFault();
    return !isDone_;
}

void MmcifReader::finish() {
    if (!isDone_ && lines_.finish([this](std::string_view line) { return parser_.take(line); }))
        parser_.finish();
    noteFault();
}

void MmcifReader::noteFault() {
    if (fault_.line != 0) return;
    if (lines_.isTooLong()) fault_ = {lines_.number() + 1, "the line is too long"};
    if (!parser_.fault().empty()) fault_ = {lines_.number(), parser_.fault()};
}

// The first block with atoms is the entry; others, of ligands for example, are left.
bool MmcifReader::beginBlock() {
    return !builder_.hasAtoms();
}

// Rows of entities may come before, between or after those of atoms: what they say is noted, and
// counts for all.
bool MmcifReader::takeRow(int category) {
    if (category == AtomSiteCategory) return takeAtom();
    const std::string_view entity =
        value(category == EntityCategory ? IdOfEntityItem : IdOfPolymerItem);
    const std::string_view type =
        value(category == EntityCategory ? TypeOfEntityItem : TypeOfPolymerItem);
    // "polymer" may be a nucleic acid; _entity_poly says which.
    const bool saysNothing = entity.empty() || type.empty() || type == "polymer";
    const bool isProtein = category == PolymerCategory &&
                           (type.starts_with("polypeptide") || type.starts_with("cyclic-"));
    if (saysNothing || builder_.noteEntity(entity, isProtein)) return true;
    return fail(format("there are more than %zu entities", kMostParts));
}

std::string_view MmcifReader::either(std::size_t first, std::size_t second) const {
    return value(first).empty() ? value(second) : value(first);
}

// Every item is stored even after a difference is found: the row after this one is compared with
// it.
bool MmcifReader::isNewPlace() {
    static_assert(kPlaceItems == ModelItem + 1);
    bool isNew = !hasPlace_;
    hasPlace_ = true;
    for (std::size_t i = 0; i < kPlaceItems; ++i) {
        if (place_[i] == value(i)) continue;
        place_[i] = value(i);
        isNew = true;
    }
    return isNew;
}

bool MmcifReader::beginPlace() {
    const std::string_view modelText = value(ModelItem);
    const auto model = modelText.empty() ? std::int64_t{1} : wholeInteger(modelText);
    if (!model) return fail(quoted(modelText) + " is no number of a model");
    std::string_view chain = either(AuthChainItem, LabelChainItem);
    if (chain.size() > kLongestChainName) return fail("the name of the chain is too long");
    if (chain.empty()) chain = " ";
    isWanted_ = builder_.beginPlace({.model = *model,
                                     .chain = chain,
                                     .part = either(LabelChainItem, AuthChainItem),
                                     .entity = value(EntityOfAtomItem),
                                     .residueName = either(AuthResidueItem, LabelResidueItem)});
    if (!isWanted_) return true;
    const std::string_view numberText = either(AuthNumberItem, LabelNumberItem);
    const auto number = wholeInteger(numberText);
    if (!number || *number < kLeastResidueNumber || *number > kMostResidueNumber) {
        return fail(quoted(numberText) + " is no number of a residue that can be used");
    }
    const std::string_view insertion = value(InsertionItem);
    builder_.beginResidue(
        {static_cast<std::int16_t>(*number), insertion.empty() ? ' ' : insertion.front()});
    return true;
}

// An atom whose name does not fit four columns is none that a comparison looks at.
bool MmcifReader::takeAtom() {
    if (isNewPlace() && !beginPlace()) return false;
    if (!isWanted_) return true;
    const FixedText<2> element = columnsOfElement(value(SymbolItem));
    const auto name =
        columnsOfName(either(AuthAtomItem, LabelAtomItem), trimBlanks(element.view()));
    if (!name) return true;
    const std::string_view conformer = value(ConformerItem);
    Atom* const atom = builder_.add(name->view(), conformer.empty() ? ' ' : conformer.front());
    if (atom == nullptr) return !builder_.exceeds();
    atom->element = element;
    return fillAtom(*atom);
}

// A missing occupancy or B-factor keeps the value of a new Atom; a missing coordinate is a fault.
bool MmcifReader::fillAtom(Atom& atom) {
    for (const auto& [item, place] :
         {std::pair(XItem, &atom.x), {YItem, &atom.y}, {ZItem, &atom.z}}) {
        const auto number = coordinateIn(withoutUncertainty(value(item)));
        if (!number) return fail(quoted(value(item)) + " is no coordinate");
        *place = *number;
    }
    for (const auto& [item, place] :
         {std::pair(OccupancyItem, &atom.occupancy), {BFactorItem, &atom.bFactor}}) {
        if (value(item).empty()) continue;
        const auto number = wholeReal(withoutUncertainty(value(item)));
        if (!number) return fail(quoted(value(item)) + " is no number");
        *place = *number;
    }
    atom.charge = columnsOfCharge(value(ChargeItem));
    return true;
}

}  // namespace tervolanda
