// Writing goes through a spool, since the header holds the number of records and the list of those
// models that could be read, which are known at the end only.  Reading goes through the file twice:
// once for the checksum over everything, and once record by record with the same checksum growing
// again, so that a file that changes between the two is found out at the latest by finish().
//
// What a file consists of is in part_header.cpp and part_records.cpp; here are the files.
#include "resultfiles/part_file.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "resultfiles/part_bytes.h"
#include "resultfiles/part_header.h"
#include "resultfiles/part_records.h"

namespace tervolanda {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 16;  // what is copied or checked at once

std::size_t pieceOf(std::uint64_t left) {
    return static_cast<std::size_t>(std::min<std::uint64_t>(left, kPiece));
}

FormatError cutShort() {
    return {"is cut short"};
}

}  // namespace

PairRange Block::slice(std::uint64_t pairs) const {
    const std::uint64_t each = pairs / blocks;
    const std::uint64_t more = pairs % blocks;  // blocks that have one more
    const std::uint64_t before = number - 1;
    return {before * each + std::min(before, more), each + (before < more ? 1 : 0)};
}

// Occupancy and B-factor are left out: no comparison looks at them.  Nor does any look at names but
// at those of the chains of a complex.
std::uint32_t chainChecksum(const Chain& chain) {
    std::string bytes;
    for (const std::string& name : chain.subunits)
        bytes += name + '\n';
    std::uint32_t sum = checksumOf(bytes);
    for (const Atom& atom : chain.atoms) {
        bytes.clear();
        put(bytes, atom.x);
        put(bytes, atom.y);
        put(bytes, atom.z);
        put(bytes, static_cast<std::uint32_t>(atom.residueNumber));
        put(bytes, static_cast<std::uint32_t>(atom.residueType));
        bytes += atom.insertionCode;
        bytes += atom.name.view();
        bytes += atom.residueName.view();
        if (!chain.subunits.empty()) put(bytes, std::uint32_t{atom.subunit});
        sum = checksumOf(bytes, sum);
    }
    return sum;
}

// --- Writing -------------------------------------------------------------------------------------

PartWriter::PartWriter(std::string path, PartKind kind)
    : path_(std::move(path)), kind_(kind), spool_(path_) {}

int PartWriter::whyNotWritable() const {
    return spool_.hasFailed() ? EIO : tervolanda::whyNotWritable(path_);
}

template <typename Outcome>
void PartWriter::addRecord(const Outcome& outcome) {
    record_.clear();
    appendRecord(record_, kind_, outcome);
    spool_.append(record_);
    ++records_;
}

void PartWriter::add(const ComparisonResult& result) {
    addRecord(result);
}

void PartWriter::add(const GdtOutcome& outcome) {
    addRecord(outcome);
}

void PartWriter::add(const MeasuredOutcome& outcome) {
    addRecord(outcome);
}

void PartWriter::add(const RmsdCells& cells) {
    addRecord(cells);
}

// The checksum of everything stands last, since it is known last.
bool PartWriter::commit(PartHeader header) {
    if (!spool_.flush()) return false;
    OutputFile file(path_);
    if (!file.isOpen()) return false;
    header.kind = kind_;
    header.records = records_;
    const std::string head = headerBytes(header, spool_.size());
    std::uint32_t sum = checksumOf(head);
    file.write(head);
    std::string piece;
    for (std::uint64_t copied = 0; copied < spool_.size(); copied += piece.size()) {
        piece.resize(pieceOf(spool_.size() - copied));
        if (!spool_.read(copied, piece.data(), piece.size())) return false;
        sum = checksumOf(piece, sum);
        file.write(piece);
    }
    std::string trailer;
    put(trailer, sum);
    file.write(trailer);
    return file.commit();
}

// --- Reading -------------------------------------------------------------------------------------

std::variant<PartReader, FormatError> PartReader::open(const std::string& path) {
    PartReader part;
    part.file_ = openForReading(path);
    if (!part.file_) return FormatError{"cannot be opened"};
    if (auto fault = part.readHeader()) return *std::move(fault);
    if (auto fault = part.checkRecords()) return *std::move(fault);
    return part;
}

bool PartReader::read(void* target, std::size_t size) {
    if (std::fread(target, 1, size, file_.get()) != size) return false;
    checksum_ = checksumOf({static_cast<const char*>(target), size}, checksum_);
    return true;
}

// A checksum that stands in the file, of all before it; none where the file ends.
std::optional<bool> PartReader::isChecksumRight() {
    const std::uint32_t wanted = checksum_;
    std::array<char, kChecksumBytes> bytes{};
    if (!read(bytes.data(), bytes.size())) return std::nullopt;
    return Fields({bytes.data(), bytes.size()}).take<std::uint32_t>() == wanted;
}

// The lengths that follow from the numbers of the header are held against the size of the file
// before anything is allocated.
std::optional<FormatError> PartReader::readHeader() {
    struct stat status {};
    if (fstat(fileno(file_.get()), &status) != 0 || !S_ISREG(status.st_mode)) {
        return FormatError{"is no regular file"};
    }
    std::array<char, kHeaderFrontBytes> bytes{};
    if (!read(bytes.data(), bytes.size())) return cutShort();
    auto parsed = parseHeaderFront({bytes.data(), bytes.size()});
    if (auto* fault = std::get_if<FormatError>(&parsed)) return std::move(*fault);
    auto& front = std::get<HeaderFront>(parsed);
    recordsAt_ = front.recordsAt();
    recordBytes_ = front.recordBytes;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size < recordsAt_ + kChecksumBytes || size - recordsAt_ - kChecksumBytes != recordBytes_) {
        return FormatError{"is cut short or longer than it says"};
    }
    header_ = std::move(front.header);
    return readHeaderTail(front);
}

// The options, the models and the checksum, for which the file is long enough.
std::optional<FormatError> PartReader::readHeaderTail(const HeaderFront& front) {
    std::string bytes(static_cast<std::size_t>(front.tailBytes()), '\0');
    if (!read(bytes.data(), bytes.size())) return cutShort();
    if (auto fault = parseHeaderTail(bytes, front, header_)) return fault;
    const std::optional<bool> isRight = isChecksumRight();
    if (!isRight) return cutShort();
    if (!*isRight) return FormatError{"is damaged: the checksum of its header"};
    headerChecksum_ = checksum_;
    return std::nullopt;
}

// Reads all records for their checksum, and goes back to the first.
std::optional<FormatError> PartReader::checkRecords() {
    if (!mayBeRecords(header_.kind, header_.records, recordBytes_)) {
        return FormatError{"is damaged: the length of its records"};
    }
    std::string piece;
    for (std::uint64_t left = recordBytes_; left > 0; left -= piece.size()) {
        piece.resize(pieceOf(left));
        if (!read(piece.data(), piece.size())) return cutShort();
    }
    fileChecksum_ = checksum_;
    const std::optional<bool> isRight = isChecksumRight();
    if (!isRight) return cutShort();
    if (!*isRight) return FormatError{"is damaged: its checksum"};
    checksum_ = headerChecksum_;
    left_ = recordBytes_;
    if (fseeko(file_.get(), static_cast<off_t>(recordsAt_), SEEK_SET) != 0) {
        return FormatError{"cannot be read"};
    }
    return std::nullopt;
}

std::string_view PartReader::take(std::size_t size) {
    bytes_.resize(size);
    if (left_ < size || !read(bytes_.data(), size)) return {};
    left_ -= size;
    return bytes_;
}

bool PartReader::next(const SetSizes& sizes, ComparisonResult& result) {
    return readRecord([this](std::size_t size) { return take(size); }, header_.kind, sizes, result);
}

bool PartReader::next(const SetSizes& sizes, GdtOutcome& outcome) {
    return readRecord([this](std::size_t size) { return take(size); }, header_.kind, sizes,
                      outcome);
}

bool PartReader::next(MeasuredOutcome& outcome) {
    return readRecord([this](std::size_t size) { return take(size); }, outcome);
}

bool PartReader::next(RmsdCells& cells) {
    return readRecord([this](std::size_t size) { return take(size); }, cells);
}

bool PartReader::finish() const {
    return left_ == 0 && checksum_ == fileChecksum_;
}

}  // namespace tervolanda
