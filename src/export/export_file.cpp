// What files of all forms have in common: text is gathered and handed on in blocks, since rows are
// small, there may be millions of them, and a call of the system for each would cost more than the
// row.
#include "export/export.h"

namespace tervolanda {

void ExportFile::flush() {
    file_->write(text_);
    text_.clear();
}

bool ExportFile::commit() {
    flush();
    return file_->commit();
}

std::string_view statusWord(PairStatus status) {
    switch (status) {
        case PairStatus::NoPairs:
            return "no_pairs";
        case PairStatus::NoFit:
            return "no_fit";
        case PairStatus::NotSignificant:
            return "not_significant";
        case PairStatus::Ok:
            break;
    }
    return "ok";
}

}  // namespace tervolanda
