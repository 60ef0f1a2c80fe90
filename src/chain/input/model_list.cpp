// The two small text files that steer reading: which models there are, and which residues to skip.
#include <sys/stat.h>
#include <zlib.h>

#include <utility>
#include <vector>

#include "base/file.h"
#include "base/log.h"
#include "base/parallel.h"
#include "chain/input/input.h"
#include "chain/input/structure_text.h"

namespace tervolanda {

namespace {

constexpr std::size_t kLineLimit = 258;  // longer lines are read in pieces of this length
constexpr std::size_t kProgressStep = 20;

bool isStripped(char c) {
    const auto code = static_cast<unsigned char>(c);
    return code <= 32 || code >= 128;
}

// The path in a line: what stands before a "#", less blanks, control and non-ASCII characters at
// both ends.
std::string_view pathIn(std::string_view line) {
    line = line.substr(0, line.find('#'));
    while (!line.empty() && isStripped(line.front()))
        line.remove_prefix(1);
    while (!line.empty() && isStripped(line.back()))
        line.remove_suffix(1);
    return line;
}

// What was read before the error counts.
void reportReadError(const LineReader& reader, const std::string& path, std::size_t limit,
                     Log& log) {
    if (reader.failed()) {
        log.error(0, "Problem reading input file '%s' - %s", path.c_str(), systemErrorText());
    } else if (reader.exceeded()) {
        log.error(0, "Input file '%s' is longer than %zu bytes, the rest is ignored", path.c_str(),
                  limit);
    }
}

// Whether a file may be read aside, before its turn and together with others: not what gives its
// bytes once only, as standard input does, and nothing large.
bool mayBeReadAside(const std::string& path) {
    constexpr off_t kLargest = off_t{1} << 21;  // bytes
    constexpr off_t kGzipFactor = 8;
    struct stat status {};
    if (path == "-" || stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    const off_t factor = fileKind(path) == FileKind::Gzip ? kGzipFactor : 1;
    return status.st_size <= kLargest / factor;
}

// Notes the files that are no models, and why.  While it does, lines take the way through its log.
class UnreadNotes {
 public:
    UnreadNotes(Log& log, std::vector<UnreadModel>* unread)
        : unread_(unread),
          listener_([this, &log](LogLevel severity, std::string_view text) {
              if (severity == LogLevel::Error && reason_.empty()) reason_ = text;
              log.passOn(severity, text);
          }),
          log_(unread == nullptr ? log : listener_) {
        listener_.setLogLevel(log.logLevel());
    }

    Log& log() { return log_; }
    // After the lines about a file.
    void finishFile(std::uint32_t id, const std::string& path, bool isModel) {
        if (unread_ != nullptr && !isModel) unread_->push_back({id, path, reason_});
        reason_.clear();
    }

 private:
    std::vector<UnreadModel>* unread_;
    std::string reason_;
    Log listener_;
    Log& log_;
};

// The reading of one list.
class ListReading {
 public:
    ListReading(LineReader& lines, const ReadRequest& request, const ResidueExclusions& exclusions,
                const std::function<bool(std::uint32_t id)>& wanted, std::uint32_t& counter,
                UnreadNotes& notes, ChainList& list)
        : lines_(lines),
          request_(request),
          exclusions_(exclusions),
          wanted_(wanted),
          counter_(counter),
          notes_(notes),
          log_(notes.log()),
          list_(list) {
        request_.options |= ReadSingleChain;
    }

    void readAll();
    void readAll(std::size_t threads);

    std::size_t read() const { return read_; }
    std::size_t tried() const { return tried_; }

 private:
    struct Model {
        std::string path;
        std::uint32_t id = 0;
    };
    // A model that is read aside, and what was said meanwhile.
    struct Reading {
        Model model;
        bool isRead = false;
        std::optional<Chain> chain;
        std::vector<std::pair<LogLevel, std::string>> lines;
    };

    std::optional<Model> next();
    void readAside(Reading& reading) const;
    void consume(Reading& reading);
    void take(const Model& model, std::optional<Chain> chain);

    LineReader& lines_;
    ReadRequest request_;
    const ResidueExclusions& exclusions_;
    const std::function<bool(std::uint32_t id)>& wanted_;
    std::uint32_t& counter_;
    UnreadNotes& notes_;
    Log& log_;
    ChainList& list_;
    std::size_t read_ = 0;
    std::size_t tried_ = 0;
};

std::optional<ListReading::Model> ListReading::next() {
    while (const auto line = lines_.next(kLineLimit)) {
        const std::string_view path = pathIn(*line);
        if (path.empty()) continue;
        ++counter_;
        if (!wanted_ || wanted_(counter_)) return Model{std::string(path), counter_};
    }
    return std::nullopt;
}

// The next model, if it could be read.
void ListReading::take(const Model& model, std::optional<Chain> chain) {
    ++tried_;
    notes_.finishFile(model.id, model.path, chain.has_value());
    if (!chain) return;
    if (read_ % kProgressStep == 0) {
        log_.progress(0, "Successfully read %d PDBs", static_cast<int>(read_));
    }
    chain->number = model.id;
    list_.chains.push_back(*std::move(chain));
    ++read_;
}

void ListReading::readAll() {
    while (const auto model = next())
        take(*model, readChain(model->path, request_, exclusions_, log_));
}

// A model of which there is much to say is left to its turn.
void ListReading::readAside(Reading& reading) const {
    constexpr std::size_t kMostBytes = std::size_t{1} << 16;
    reading.lines.clear();
    reading.isRead = mayBeReadAside(reading.model.path);
    if (!reading.isRead) return;
    std::size_t bytes = 0;
    Log log([&](LogLevel severity, std::string_view text) {
        bytes += text.size() + sizeof(reading.lines.front());
        if (bytes <= kMostBytes) reading.lines.emplace_back(severity, text);
    });
    log.setLogLevel(log_.logLevel());
    reading.chain = readChain(reading.model.path, request_, exclusions_, log);
    reading.isRead = bytes <= kMostBytes;
}

void ListReading::consume(Reading& reading) {
    const Model& model = reading.model;
    if (!reading.isRead) return take(model, readChain(model.path, request_, exclusions_, log_));
    for (const auto& [severity, text] : reading.lines)
        log_.passOn(severity, text);
    take(model, std::move(reading.chain));
}

void ListReading::readAll(std::size_t threads) {
    constexpr std::size_t kSlots = 4;  // of a thread
    std::vector<Reading> readings(threads * kSlots);
    const auto claim = [&](std::size_t slot) {
        std::optional<Model> model = next();
        if (model) readings[slot].model = *std::move(model);
        return model.has_value();
    };
    runInOrder({threads, readings.size(), 0, claim,
                [&](std::size_t slot, std::size_t) {
                    readAside(readings[slot]);
                    return std::size_t{0};
                },
                [&](std::size_t slot) { consume(readings[slot]); }});
}

}  // namespace

std::size_t readModelList(const std::string& path, std::uint32_t& counter,
                          const ReadRequest& request, const ResidueExclusions& exclusions, Log& log,
                          ChainList& list, std::size_t threads, std::vector<UnreadModel>* unread,
                          const std::function<bool(std::uint32_t id)>& wanted) {
    log.info(0, "Reading PDB list file '%s'", path.c_str());
    const FileHandle file = openForReading(path);
    if (!file) {
        log.error(0, "Can't open model list file '%s' - %s", path.c_str(), systemErrorText());
        return 0;
    }
    LineReader reader(file.get(), kLongestList);
    UnreadNotes notes(log, unread);
    ListReading reading(reader, request, exclusions, wanted, counter, notes, list);
    if (threads > 1) {
        reading.readAll(threads);
    } else {
        reading.readAll();
    }
    reportReadError(reader, path, kLongestList, log);
    log.progress(0, "Successfully read %d / %d PDBs from list file '%s'",
                 static_cast<int>(reading.read()), static_cast<int>(reading.tried()), path.c_str());
    log.endProgress();
    return reading.read();
}

std::optional<ListSummary> summariseModelList(const std::string& path, Log& log) {
    const FileHandle file = openForReading(path);
    if (!file) {
        log.error(0, "Can't open model list file '%s' - %s", path.c_str(), systemErrorText());
        return std::nullopt;
    }
    LineReader reader(file.get(), kLongestList);
    ListSummary summary;
    while (const auto line = reader.next(kLineLimit)) {
        summary.checksum = static_cast<std::uint32_t>(
            crc32_z(summary.checksum, reinterpret_cast<const Bytef*>(line->data()), line->size()));
        if (!pathIn(*line).empty()) ++summary.models;
    }
    return summary;
}

bool readResidueExclusionFile(const std::string& path, ResidueExclusions& exclusions, Log& log) {
    log.info(0, "Reading residue exclusion file '%s'", path.c_str());
    const FileHandle file = openForReading(path);
    if (!file) {
        log.error(0, "Can't open residue exclusion file '%s' - %s", path.c_str(),
                  systemErrorText());
        return false;
    }
    LineReader reader(file.get(), kLongestExclusions);
    while (const auto line = reader.next(kLineLimit))
        exclusions.add(*line);
    reportReadError(reader, path, kLongestExclusions, log);
    return true;
}

}  // namespace tervolanda
