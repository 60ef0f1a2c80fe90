// The arguments are walked through once, as somebody who wrote them would read them: an option, its
// value, a file.  Where that reading and the lenient one differ, the run has to end: then one of
// both is not what was meant.
#include "driver/strict.h"

#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <string_view>

#include "base/text.h"
#include "driver/abend.h"
#include "driver/arguments.h"
#include "driver/options.h"

namespace tervolanda {

namespace {

// Invariant: arguments before `position_` have been read, each as an option, its value or a plain
// one, and are in `given_` or `plain_`.  What depends on several of them is judged after the walk.
class ArgumentCheck {
 public:
    ArgumentCheck(const std::vector<std::string>& arguments, const OtherOptions& others)
        : others_(others) {
        for (const std::string& argument : arguments)
            arguments_.push_back(withOneDash(argument));
    }

    void run() {
        for (position_ = 1; position_ < arguments_.size(); ++position_) {
            const std::string_view argument = arguments_[position_];
            if (argument.starts_with('-') && argument != "-") {
                takeOption(argument);
            } else {
                plain_.push_back(position_);
            }
        }
        checkFiles();
        checkResultFiles();
    }

 private:
    // "--rmsd" is as good as "-rmsd".
    static std::string_view withOneDash(std::string_view argument) {
        while (argument.starts_with("--"))
            argument.remove_prefix(1);
        return argument;
    }

    bool has(std::string_view name) const { return given_.contains(name); }
    bool hasList() const { return has("-l") || others_.hasList; }

    // The nearest name is a help, never a guess that the run goes on with.
    void takeOption(std::string_view name) {
        const Option* const option = findOption(name);
        if (option == nullptr) {
            std::vector<std::string_view> names;
            for (const Option& known : options())
                names.push_back(known.name);
            const std::string nearest = nearestText(name, names, "");
            abend("Unknown option '%s'%s", std::string(name).c_str(),
                  nearest.empty() ? ": -help lists all" : nearest.c_str());
        }
        if (!given_.emplace(name, position_).second) {
            abend("Option '%s' is given twice", std::string(name).c_str());
        }
        const bool isLast = position_ + 1 == arguments_.size();
        if (option->takesNext() && isLast) {
            abend("Option '%s' needs a value", std::string(name).c_str());
        }
        const bool looksLikeNumber = !isLast && isWellFormedReal(arguments_[position_ + 1]);
        if (option->takesNext() || (option->value == OptionValue::PerhapsReal && looksLikeNumber)) {
            ++position_;
            checkValue(*option, std::string(arguments_[position_]));
        }
    }

    // A value that is an option is a value forgotten: "-e -p" reads a file "-p" otherwise.
    static void checkValue(const Option& option, const std::string& value) {
        const std::string name(option.name);
        if (findOption(value) != nullptr) {
            abend("Option '%s' takes option '%s' for its value", name.c_str(), value.c_str());
        }
        if (option.value == OptionValue::Text) return;
        const std::optional<double> number = numberIn(option, value);
        if (number && *number >= option.least && *number <= option.most) return;
        abend("Option '%s' takes a%s number%s, not '%s'", name.c_str(),
              option.value == OptionValue::Integer ? " whole" : "", limits(option).c_str(),
              value.c_str());
    }

    static std::string limits(const Option& option) {
        const auto text = [](double limit) { return std::to_string(static_cast<int>(limit)); };
        if (std::isinf(option.least) && std::isinf(option.most)) return "";
        if (std::isinf(option.most)) return " of at least " + text(option.least);
        if (std::isinf(option.least)) return " of at most " + text(option.most);
        return " from " + text(option.least) + " to " + text(option.most);
    }

    static std::optional<double> numberIn(const Option& option, std::string_view value) {
        if (option.value != OptionValue::Integer) return wholeReal(value);
        const std::optional<std::int64_t> number = wholeInteger(value);
        const bool fits = number && *number >= std::numeric_limits<int>::min() &&
                          *number <= std::numeric_limits<int>::max();
        return fits ? std::optional(static_cast<double>(*number)) : std::nullopt;
    }

    // Each option that says what is read leaves some others without a meaning; in the order in
    // which run.cpp chooses a mode.
    void checkFiles() const {
        struct Mode {
            std::string_view name;
            std::vector<std::string_view> excluded;
        };
        for (const Mode& mode : {Mode{"-F", {"-M", "-l", "-e", "-p"}},
                                 Mode{"-M", {"-l", "-e", "-p"}}, Mode{"-l", {"-p"}}}) {
            if (!has(mode.name)) continue;
            for (const std::string_view other : mode.excluded)
                if (has(other)) refuse(other, mode.name);
        }
        if (others_.hasList && has("-p")) refuse("-p", "'--models'");
        if (has("-F") || has("-M") || hasList() || (has("-e") && has("-p"))) {
            if (!plain_.empty()) refusePlain(0);
            return;
        }
        checkPositionalForm();
    }

    // "prediction experiment [cut-off]", in this order and with nothing else that means the same.
    void checkPositionalForm() const {
        const bool asksForText = has("-h") || has("-help") || has("-version") || has("-V");
        if (plain_.size() < 2) {
            if (asksForText) return;
            abend("Two structures, a list or a result file are needed");
        }
        for (const std::string_view name : {"-e", "-p"})
            if (has(name)) refuse(name, "files without an option");
        if (plain_.size() == 2) return;
        const std::string cutoff(arguments_[plain_[2]]);
        if (plain_[2] != plain_[1] + 1 || !wholeReal(cutoff) || *wholeReal(cutoff) < 0.0) {
            refusePlain(2);
        }
        if (has("-d")) refuse("-d", "the cut-off '" + cutoff + "'");
        if (plain_.size() > 3) refusePlain(3);
    }

    // Result files that no mode of this kind writes; a name that was given is a file that is
    // expected.
    void checkResultFiles() const {
        const bool isAllVsAll = hasList() && !has("-e");
        const bool isRmsd = has("-rmsd") || has("-rms");
        const auto refuseUnless = [this](bool isWritten, std::string_view name) {
            if (!isWritten && has(name)) {
                abend("Option '%s' has no effect in this run", std::string(name).c_str());
            }
        };
        refuseUnless(isAllVsAll, "-R");
        const bool isMaxSub = !isRmsd && !has("-gdt") && !others_.comparesByOne;
        refuseUnless(isAllVsAll && (isMaxSub || (isRmsd && !has("-R"))), "-Rl");
        refuseUnless(isAllVsAll && isRmsd, "-Ru");
    }

    [[noreturn]] static void refuse(std::string_view name, std::string_view beside) {
        abend("Option '%s' has no effect beside %s", std::string(name).c_str(),
              (beside.starts_with('-') ? "'" + std::string(beside) + "'" : std::string(beside))
                  .c_str());
    }

    [[noreturn]] void refusePlain(std::size_t i) const {
        abend("Argument '%s' is not used", std::string(arguments_[plain_[i]]).c_str());
    }

    std::vector<std::string_view> arguments_;
    OtherOptions others_;
    std::size_t position_ = 0;
    std::map<std::string_view, std::size_t> given_;  // options and their positions
    std::vector<std::size_t> plain_;                 // positions of the others
};

}  // namespace

void checkArguments(const std::vector<std::string>& arguments, const OtherOptions& others) {
    ArgumentCheck(arguments, others).run();
}

}  // namespace tervolanda
