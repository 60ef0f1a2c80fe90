#include "support/support.h"

#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <tuple>

namespace tervolanda::test {

namespace {

constexpr double kPi = 3.14159265358979323846;
using Place = std::array<double, 3>;

double distance(const Place& a, const Place& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

}  // namespace

Chain calphaChain(const std::vector<Place>& places, std::string_view sequence) {
    Chain chain;
    chain.name = "A";
    chain.number = 1;
    chain.fileName = "made";
    for (std::size_t i = 0; i < places.size(); ++i) {
        Atom atom;
        atom.x = places[i][0];
        atom.y = places[i][1];
        atom.z = places[i][2];
        const int type = sequence.empty() ? residueIndex("ALA") : indexOfCode(sequence[i]);
        atom.residueType = static_cast<std::int16_t>(type);
        atom.residueName = FixedText<3>(threeLetterNameOf(type));
        atom.name = FixedText<4>(" CA ");
        atom.classification = classifyAtomName(atom.name.view(), type);
        atom.residueNumber = static_cast<std::int16_t>(i + 1);
        atom.chainId = chain.letter();
        chain.atoms.push_back(atom);
    }
    Log log;
    buildResidues(chain, log);
    return chain;
}

Chain helix(std::size_t residues) {
    std::vector<Place> places;
    for (std::size_t i = 0; i < residues; ++i) {
        const double turn = static_cast<double>(i) * 100.0 * kPi / 180.0;
        places.push_back(
            {2.3 * std::cos(turn), 2.3 * std::sin(turn), 1.5 * static_cast<double>(i)});
    }
    return calphaChain(places);
}

Chain coil(std::size_t residues, std::uint32_t seed) {
    std::mt19937 engine(seed);
    std::vector<Place> places;
    while (places.size() < residues) {
        if (places.empty()) {
            places.push_back({0.0, 0.0, 0.0});
            continue;
        }
        // Raw engine values, not a library distribution: the same chain with every library.
        Place step{};
        for (double& s : step)
            s = static_cast<double>(engine()) / 2147483648.0 - 1.0;
        const double length = std::hypot(step[0], step[1], step[2]);
        if (length < 0.1 || length > 1.0) continue;
        Place next = places.back();
        for (std::size_t k = 0; k < 3; ++k)
            next[k] += 3.8 * step[k] / length;
        if (places.size() > 1) {
            const double d = distance(next, places[places.size() - 2]);
            if (d < 5.0 || d > 7.5) continue;
        }
        places.push_back(next);
    }
    return calphaChain(places);
}

Chain moved(Chain chain) {
    const auto turn = [](double& x, double& y, double degrees) {
        const double c = std::cos(degrees * kPi / 180.0), s = std::sin(degrees * kPi / 180.0);
        std::tie(x, y) = std::tuple(x * c - y * s, x * s + y * c);
    };
    for (Atom& atom : chain.atoms) {
        turn(atom.x, atom.y, 40.0);
        turn(atom.z, atom.x, -25.0);
        turn(atom.y, atom.z, 110.0);
        atom.x += 11.0;
        atom.y -= 7.0;
        atom.z += 3.0;
    }
    return chain;
}

Chain shaken(Chain chain, double size, std::uint32_t seed) {
    std::mt19937 engine(seed);
    const auto next = [&] { return size * (static_cast<double>(engine()) / 2147483648.0 - 1.0); };
    for (Atom& atom : chain.atoms) {
        atom.x += next();
        atom.y += next();
        atom.z += next();
    }
    return chain;
}

Chain renumbered(Chain chain, int first, int step) {
    for (std::size_t i = 0; i < chain.atoms.size(); ++i)
        chain.atoms[i].residueNumber =
            static_cast<std::int16_t>(first + step * static_cast<int>(i));
    Log log;
    buildResidues(chain, log);
    return chain;
}

TemporaryFolder::TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tervolanda.XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(std::string_view name, std::string_view text) const {
    std::string path = *this / name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

std::string readFile(const std::filesystem::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

namespace {

std::string unescaped(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        constexpr std::string_view kLetters = "nrts", kBytes = "\n\r\t ";
        const char next = i + 1 < text.size() ? text[i + 1] : '\0';
        const std::size_t letter = kLetters.find(next);
        if (text[i] == '\\' && next == 'x') {
            bytes += static_cast<char>(std::stoi(std::string(text.substr(i + 2, 2)), nullptr, 16));
            i += 3;
        } else if (text[i] == '\\' && letter != std::string_view::npos) {
            bytes += kBytes[letter];
            ++i;
        } else {
            bytes += text[i];
        }
    }
    return bytes;
}

}  // namespace

std::vector<std::vector<std::string>> tableRows(std::string_view name) {
    std::istringstream table(readFile(std::string(TERVOLANDA_SOURCE_DIR "/tests/").append(name)));
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(table, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::vector<std::string>& row = rows.emplace_back();
        for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + 3) {
            end = line.find(" | ", at);
            row.push_back(unescaped(line.substr(at, end - at)));
        }
    }
    return rows;
}

MemoryStream::MemoryStream() : file_(open_memstream(&buffer_, &size_)) {}

MemoryStream::~MemoryStream() {
    std::fclose(file_);
    std::free(buffer_);
}

std::string MemoryStream::text() {
    std::fflush(file_);
    return {buffer_, size_};
}

std::optional<std::filesystem::path> realStructures() {
    const char* const named = std::getenv("TERVOLANDA_TEST_DATA");
    const std::filesystem::path folder =
        named != nullptr ? std::filesystem::path(named)
                         : std::filesystem::path(TERVOLANDA_SOURCE_DIR) / ".." / "shared" / "data";
    if (!std::filesystem::is_directory(folder)) return std::nullopt;
    return folder;
}

}  // namespace tervolanda::test
