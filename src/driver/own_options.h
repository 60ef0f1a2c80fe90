// The options of one token: "--name" or "--name=value".  They may stand anywhere and are taken out
// of the arguments before the older options, with one dash, are looked up: no value and no
// positional form changes by them.
//
// They are checked in every run and not in strict ones only: nobody's scripts rely on their being
// ignored.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tervolanda {

// A row of the table, from which the checks, the help and the tests of manual page and completion
// come.
struct OwnOption {
    std::string_view name;
    std::string_view value;  // what stands for its value in the help; empty for a flag
    std::string_view help;   // lines for the help; empty for what is for developers, and not shown
};

// All of them, in the order of the help.
std::span<const OwnOption> ownOptions();

// The options of one command line.  Made once, before anything else looks at the arguments; values
// are asked for by name, and a name that is no option is simply not there.
class OwnOptions {
 public:
    // Takes the options out of the arguments, the program name first.  Ends the run by an Abend for
    // "--name=value" with a name that is none, for a value too many or missing, and for an option
    // that is given twice.
    explicit OwnOptions(std::vector<std::string>& arguments);

    // Whether there are others than these.
    bool anyBeside(std::span<const std::string_view> names) const;
    bool has(std::string_view name) const { return values_.contains(name); }
    // The text after "=", never empty; none for an option that was not given.
    std::optional<std::string> text(std::string_view name) const;
    // The position of the value among `words`; none for an option that was not given.  Ends the run
    // by an Abend for another value.
    std::optional<std::size_t> choice(std::string_view name,
                                      std::span<const std::string_view> words) const;
    // The same for words between commas, each at most once; none for an option that was not given.
    std::vector<std::size_t> choices(std::string_view name,
                                     std::span<const std::string_view> words) const;
    // A whole number from `least` to `most`; ends the run by an Abend for anything else.
    std::optional<int> integer(std::string_view name, int least, int most) const;

 private:
    void take(const OwnOption& option, std::string_view argument);

    std::map<std::string, std::string, std::less<>> values_;
};

}  // namespace tervolanda
