// PDB columns are the common form, because the names of atoms are classified by them: " CA " is a
// carbon and "CA  " calcium.  mmCIF has names without blanks and the element beside them.
#include "chain/input/entry_fields.h"

#include <cmath>
#include <string>

namespace tervolanda {

std::optional<FixedText<4>> columnsOfName(std::string_view name, std::string_view element) {
    if (name.empty() || name.size() > 4) return std::nullopt;
    const bool isSelenium = element.empty() && (name.starts_with("SE") || name.starts_with("Se"));
    const bool beginsFirst =
        name.size() == 4 || element.size() == 2 || isSelenium || isDigit(name.front());
    if (beginsFirst) return FixedText<4>(name);
    return FixedText<4>(" " + std::string(name));
}

FixedText<2> columnsOfElement(std::string_view element) {
    FixedText<2> columns;
    if (element.empty() || element.size() > 2) return columns;
    for (std::size_t i = 0; i < element.size(); ++i) {
        const char c = element[i];
        columns[2 - element.size() + i] =
            c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
    }
    return columns;
}

std::optional<double> coordinateIn(std::string_view field) {
    constexpr double kMost = 99999999.0;
    const std::optional<double> value = wholeReal(field);
    if (!value || !(std::fabs(*value) <= kMost)) return std::nullopt;
    return value;
}

}  // namespace tervolanda
