// Which models there are: the lines of a list file, the files of a folder or of a pattern.  And the
// other small file that steers reading: which residues to skip.
//
// A list may have any number of models, be read by several threads and name the same pipe twice, so
// files are opened in list order where their bytes come once only, and limits keep an endless list
// from filling the memory.
//
// Lines about files, IDs and progress come in the order of the list, whatever the number of threads
// that read it: a thread that reads ahead notes what it would have said, and the thread that began
// says it when the file's turn comes.
#include <sys/stat.h>
#include <zlib.h>

#include <filesystem>
#include <functional>
#include <system_error>
#include <utility>
#include <vector>

#include "base/file.h"
#include "base/log.h"
#include "base/parallel.h"
#include "chain/input/all_models.h"
#include "chain/input/input.h"
#include "chain/input/model_paths.h"
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
bool mayBeReadAside(const std::string& path, bool mayBePacked) {
    constexpr off_t kLargest = off_t{1} << 21;  // bytes
    constexpr off_t kGzipFactor = 8;
    struct stat status {};
    if (path == "-" || stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    const off_t factor = mayBePacked || fileKind(path) == FileKind::Gzip ? kGzipFactor : 1;
    return status.st_size <= kLargest / factor;
}

// Notes the files that are no models, and why: the first ERROR line said of a file is its reason.
// To hear the lines they are written to a log of its own, which passes them on unchanged; when
// nobody wants the notes (null) the caller's log is used as it is.
//
// Invariant: `reason_` belongs to the file being taken; its end empties it for the next.
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
        listener_.setProgressForm(log.progressForm());
    }

    Log& log() { return log_; }
    // After the lines about a file: it is a model, or it is none.
    void finishModel() { reason_.clear(); }
    void finishUnread(std::uint32_t id, const std::string& path) {
        if (unread_ != nullptr) unread_->push_back({id, path, reason_});
        reason_.clear();
    }

 private:
    std::vector<UnreadModel>* unread_;
    std::string reason_;
    Log listener_;
    Log& log_;
};

// The reading of the models that a list has, whatever the list is.
//
// Models enter `list_` in the order of the list, and everything that can be seen (IDs, lines,
// progress) happens in that order, too: threads read files aside, but next() and consume() are
// called by runInOrder() one at a time.  `read_` models are in the list, `tried_` counts those that
// failed as well.
class ListReading {
 public:
    // `nextPath` gives the path of the next file, none at the end.
    ListReading(std::function<std::optional<std::string>()> nextPath, const ListRequest& request,
                std::uint32_t& counter, UnreadNotes& notes, ChainList& list)
        : nextPath_(std::move(nextPath)),
          request_(request.structure),
          exclusions_(request.exclusions),
          wanted_(request.wanted),
          threads_(request.threads),
          counter_(counter),
          notes_(notes),
          log_(notes.log()),
          list_(list) {
        request_.options |= ReadSingleChain;
    }

    void readAll();
    // Says how many could be read from `source`, and returns it.
    std::size_t finish(const std::string& source);

 private:
    struct File {
        std::string path;
        std::uint32_t id = 0;  // of its model, where it stands for one
    };
    // A file that is read aside, and what was said meanwhile.
    struct Reading {
        File file;
        bool isRead = false;
        std::vector<Chain> models;
        std::vector<std::pair<LogLevel, std::string>> lines;
    };

    std::optional<File> next();
    std::vector<Chain> modelsOf(const File& file, Log& log) const;
    void readBySeveral();
    void readAside(Reading& reading) const;
    void consume(Reading& reading);
    void takeFile(const File& file, std::vector<Chain> models);
    void takeModel(std::uint32_t id, Chain model);

    std::function<std::optional<std::string>()> nextPath_;
    ReadRequest request_;
    const ResidueExclusions& exclusions_;
    const std::function<bool(std::uint32_t id)>& wanted_;
    std::size_t threads_;
    std::uint32_t& counter_;
    UnreadNotes& notes_;
    Log& log_;
    ChainList& list_;
    std::size_t read_ = 0;
    std::size_t tried_ = 0;
};

std::optional<ListReading::File> ListReading::next() {
    while (auto path = nextPath_()) {
        if (request_.entry.allModels) return File{*std::move(path)};
        ++counter_;
        if (!wanted_ || wanted_(counter_)) return File{*std::move(path), counter_};
    }
    return std::nullopt;
}

std::vector<Chain> ListReading::modelsOf(const File& file, Log& log) const {
    if (request_.entry.allModels) return readAllModels(file.path, request_, exclusions_, log);
    std::vector<Chain> models;
    if (auto chain = readChain(file.path, request_, exclusions_, log))
        models.push_back(*std::move(chain));
    return models;
}

// The models of the next file; one that could not be read counts, too.
void ListReading::takeFile(const File& file, std::vector<Chain> models) {
    if (models.empty()) {
        const std::uint32_t id = request_.entry.allModels ? ++counter_ : file.id;
        notes_.finishUnread(id, file.path);
        ++tried_;
        return;
    }
    notes_.finishModel();
    for (Chain& model : models)
        takeModel(request_.entry.allModels ? ++counter_ : file.id, std::move(model));
}

void ListReading::takeModel(std::uint32_t id, Chain model) {
    ++tried_;
    if (read_ % kProgressStep == 0) {
        log_.progress(0, "Successfully read %zu PDBs", read_);
    }
    model.number = id;
    list_.chains.push_back(std::move(model));
    ++read_;
}

void ListReading::readAll() {
    if (threads_ > 1) return readBySeveral();
    while (const auto file = next())
        takeFile(*file, modelsOf(*file, log_));
}

std::size_t ListReading::finish(const std::string& source) {
    log_.progress(0, "Successfully read %zu / %zu PDBs from %s", read_, tried_, source.c_str());
    log_.endProgress();
    return read_;
}

// A file of which there is much to say is left to its turn.
void ListReading::readAside(Reading& reading) const {
    constexpr std::size_t kMostBytes = std::size_t{1} << 16;
    reading.lines.clear();
    reading.isRead = mayBeReadAside(reading.file.path, request_.entry.readsPdb);
    if (!reading.isRead) return;
    std::size_t bytes = 0;
    Log log([&](LogLevel severity, std::string_view text) {
        bytes += text.size() + sizeof(reading.lines.front());
        if (bytes <= kMostBytes) reading.lines.emplace_back(severity, text);
    });
    log.setLogLevel(log_.logLevel());
    reading.models = modelsOf(reading.file, log);
    reading.isRead = bytes <= kMostBytes;
}

void ListReading::consume(Reading& reading) {
    if (!reading.isRead) return takeFile(reading.file, modelsOf(reading.file, log_));
    for (const auto& [severity, text] : reading.lines)
        log_.passOn(severity, text);
    takeFile(reading.file, std::move(reading.models));
}

// Each thread has four slots, so that one large file holds up nobody: the others read on, and what
// they have read waits in its slot until consume() comes to it.
void ListReading::readBySeveral() {
    constexpr std::size_t kSlots = 4;  // of a thread
    std::vector<Reading> readings(threads_ * kSlots);
    const auto claim = [&](std::size_t slot) {
        std::optional<File> file = next();
        if (!file) return false;
        readings[slot].file = *std::move(file);
        return true;
    };
    runInOrder({threads_, readings.size(), 0, claim,
                [&](std::size_t slot, std::size_t) {
                    readAside(readings[slot]);
                    return std::size_t{0};
                },
                [&](std::size_t slot) { consume(readings[slot]); }});
}

// The structure files that a path stands for: those of a folder, or that match a pattern, or
// itself; none when it is a list.
std::optional<std::vector<std::string>> filesAt(const std::string& path, Log& log) {
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        if (auto files = structuresIn(path)) return files;
        log.error(0, "Can't read folder '%s' - %s", path.c_str(), systemErrorText());
        return std::vector<std::string>{};
    }
    if (std::filesystem::exists(path, ignored)) {
        if (!namesStructure(path)) return std::nullopt;
        return std::vector{path};
    }
    if (isPattern(path)) return filesMatching(path);
    return std::nullopt;
}

// The models of a list file, where relative paths count from `folder`; empty for the working
// directory.
std::size_t readListFile(const std::string& path, const std::filesystem::path& folder,
                         std::uint32_t& counter, const ListRequest& request, ChainList& list,
                         Log& log) {
    log.info(0, "Reading PDB list file '%s'", path.c_str());
    const FileHandle file = openForReading(path);
    if (!file) {
        log.error(0, "Can't open model list file '%s' - %s", path.c_str(), systemErrorText());
        return 0;
    }
    LineReader lines(file.get(), kLongestList);
    const auto nextPath = [&]() -> std::optional<std::string> {
        while (const auto line = lines.next(kLineLimit)) {
            const std::string_view model = pathIn(*line);
            if (model.empty()) continue;
            if (folder.empty() || model == "-") return std::string(model);
            return (folder / model).string();
        }
        return std::nullopt;
    };
    UnreadNotes notes(log, request.unread);
    ListReading reading(nextPath, request, counter, notes, list);
    reading.readAll();
    reportReadError(lines, path, kLongestList, log);
    return reading.finish("list file '" + path + "'");
}

// The models of structure files; `source` is what messages call these.
std::size_t readFiles(std::span<const std::string> paths, const std::string& source,
                      std::uint32_t& counter, const ListRequest& request, ChainList& list,
                      Log& log) {
    std::size_t next = 0;
    const auto nextPath = [&] {
        return next < paths.size() ? std::optional(paths[next++]) : std::nullopt;
    };
    UnreadNotes notes(log, request.unread);
    ListReading reading(nextPath, request, counter, notes, list);
    reading.readAll();
    return reading.finish(source);
}

}  // namespace

std::size_t readModelList(const std::string& path, std::uint32_t& counter,
                          const ListRequest& request, ChainList& list, Log& log) {
    return readListFile(path, {}, counter, request, list, log);
}

std::size_t readModelsAt(const std::string& path, std::uint32_t& counter,
                         const ListRequest& request, ChainList& list, Log& log) {
    const auto files = filesAt(path, log);
    if (!files) {
        const std::filesystem::path folder = std::filesystem::path(path).parent_path();
        return readListFile(path, folder, counter, request, list, log);
    }
    log.info(0, "Reading %zu structure files of '%s'", files->size(), path.c_str());
    if (files->empty()) {
        std::error_code ignored;
        log.error(0,
                  std::filesystem::is_directory(path, ignored)
                      ? "Folder '%s' has no files whose names end in .pdb, .ent, .cif, .mmcif, or "
                        "one of these and .gz"
                      : "No files match '%s'",
                  path.c_str());
    }
    return readFiles(*files, "'" + path + "'", counter, request, list, log);
}

std::size_t readModelFiles(std::span<const std::string> paths, std::uint32_t& counter,
                           const ListRequest& request, ChainList& list, Log& log) {
    return readFiles(paths, "the paths given", counter, request, list, log);
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
    if (!reader.failed()) return summary;
    reportReadError(reader, path, kLongestList, log);
    return std::nullopt;
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
