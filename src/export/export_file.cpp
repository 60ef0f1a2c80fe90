// What files of all forms have in common: text is gathered and handed on in blocks, since rows are
// small, there may be millions of them, and a call of the system for each would cost more than the
// row.
#include "export/export.h"

namespace tervolanda {

ExportFile::ExportFile(std::string path) : path_(std::move(path)), file_(path_) {
    file_->writeAtOnce();
}

void ExportFile::writeBlocks() {
    const std::size_t whole = text_.size() - text_.size() % kBlock;
    file_->write(std::string_view(text_).substr(0, whole));
    text_.erase(0, whole);
}

bool ExportFile::commit() {
    file_->write(text_);
    text_.clear();
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
