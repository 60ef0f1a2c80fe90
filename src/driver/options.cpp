// One table for all who have to know which words are options: the search for plain arguments, the
// checks of --strict, and the messages about names that are none.
#include "driver/options.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace tervolanda {

namespace {

using enum OptionValue;

constexpr double kNoLimit = std::numeric_limits<double>::infinity();

// clang-format off
constexpr auto kOptions = std::to_array<Option>({
    {"-h"}, {"-help"}, {"-version"}, {"-V"},
    {"-e", Text}, {"-p", Text}, {"-l", Text}, {"-F", Text}, {"-M", Text}, {"-exclude", Text},
    {"-R", Text}, {"-Rl", Text}, {"-Ru", Text}, {"-log", Text},
    {"-L", Integer, 1}, {"-lws", Integer, 1}, {"-O", Integer, 0, 2}, {"-super", Integer, 0},
    {"-all"}, {"-av"}, {"-nosort"}, {"-noalign"},
    {"-rmsd"}, {"-rms"}, {"-bb"}, {"-urmsd"}, {"-nourmsd"}, {"-gdt", PerhapsReal, 0},
    {"-contact"}, {"-dist", Real, 0}, {"-gap", Integer, 0},
    {"-d", Real, 0}, {"-N", Integer, 0}, {"-TSF", Real, 0}, {"-seed", Integer, 0}, {"-noscore"},
    {"-maxRMSD"}, {"-TM"}, {"-rankMS"},
    {"-i", Integer, 1, kMaxIterations}, {"-mP", Integer, 0}, {"-mS", Real},
    {"-in"}, {"-opt", Integer, 0}, {"-open", Real, -kNoLimit, 0}, {"-aff", Real, -kNoLimit, 0},
    {"-matrix"},
    {"-C", Integer, 0, 5}, {"-T", Real, 0}, {"-Tm", Real, 0}, {"-a", Real, 0},
    {"-is", Integer, 0}, {"-ms", Integer, 0}, {"-s", Real}, {"-P", Integer, 0},
});
// clang-format on

// How many letters to change, add or leave out (Levenshtein 1966).
std::size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char letter : a) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t above = row[j + 1];
            row[j + 1] =
                std::min({above + 1, row[j] + 1, diagonal + (letter == b[j] ? std::size_t{0} : 1)});
            diagonal = above;
        }
    }
    return row.back();
}

}  // namespace

std::span<const Option> options() {
    return kOptions;
}

const Option* findOption(std::string_view name) {
    const auto* const found =
        std::find_if(kOptions.begin(), kOptions.end(),
                     [name](const Option& option) { return option.name == name; });
    return found == kOptions.end() ? nullptr : found;
}

// An argument may have a megabyte; the table of distances grows with both lengths.
std::string nearestText(std::string_view name, const std::vector<std::string_view>& names,
                        std::string_view dashes) {
    constexpr std::size_t kLongest = 64;  // of a name that is looked at
    name = name.substr(0, kLongest);
    const std::string_view nearest = *std::min_element(
        names.begin(), names.end(), [name](std::string_view a, std::string_view b) {
            return editDistance(name, a) < editDistance(name, b);
        });
    if (2 * editDistance(name, nearest) > name.size()) return {};
    return ", the nearest is '" + std::string(dashes) + std::string(nearest) + "'";
}

}  // namespace tervolanda
