// What an operation can be told: declared once, given on the command line or in a recipe.
#pragma once

#include "cli/command.h"

#include <QPoint>
#include <QRect>
#include <QSize>

#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace ko::tool {

/// A value as it is written: true, 2.5, "rggb", or several numbers.
using Value = std::variant<bool, double, std::string, std::vector<double>>;

/// One thing that an operation can be told.
struct Setting {
    enum class Kind { Flag, Number, Word, File, Numbers };

    std::string name;  ///< `radius` in a recipe, `--radius` on the command line
    Kind kind;
    std::string form;    ///< its value in the help of the command line
    std::string demand;  ///< what its value must be: "a whole number 0...9"
    std::string description;
    std::function<bool(const Value&)> take;  ///< false where the value is not what `demand` says
    bool isRequired = false;
};

/// From the least to the greatest number allowed, both included.
struct Range {
    double least = -std::numeric_limits<double>::infinity();
    double greatest = std::numeric_limits<double>::infinity();
};

constexpr Range wholeNumbers{-1 << 30, 1 << 30};  ///< small enough to be added to each other
constexpr Range naturalNumbers{0, 1 << 30};       ///< and likewise not negative
constexpr Range positiveNumbers{1e-300, 1e300};   ///< with finite quotients
constexpr Range finiteNumbers{-1e300, 1e300};     ///< as are their differences

/// The settings of one operation, in the order of the help. Each variable keeps its value where it is not
/// given; it must live as long as the settings are used.
class Settings {
public:
    using Words = std::vector<std::pair<std::string, int>>;

    Setting& flag(std::string name, bool& value, std::string description);
    Setting& file(std::string name, std::string& value, std::string description);
    Setting& region(std::string name, QRect& value, std::string description);
    Setting& size(std::string name, QSize& value, std::string description);
    Setting& point(std::string name, QPoint& value, std::string description);

    /// One to `most` numbers.
    Setting& numbers(std::string name, std::vector<double>& value, Range range, std::size_t most,
                     std::string form, std::string description);

    /// `Target` is a number or an optional one.
    template <class Target>
    Setting& whole(std::string name, Target& value, Range range, std::string description)
    {
        return addNumber(std::move(name), range, true, std::move(description),
                         [&value](double number) { value = static_cast<int>(number); });
    }
    template <class Target>
    Setting& number(std::string name, Target& value, Range range, std::string description)
    {
        return addNumber(std::move(name), range, false, std::move(description),
                         [&value](double number) { value = number; });
    }

    /// A word out of several, in any case, each standing for a number or an enumerator.
    template <class Target>
    Setting& choice(std::string name, Target& value, Words words, std::string description)
    {
        return addChoice(std::move(name), std::move(words), std::move(description),
                         [&value](int meaning) { value = static_cast<Target>(meaning); });
    }

    /// A word as above, or so many numbers.
    template <class Target>
    Setting& choiceOrNumbers(std::string name, Target& word, Words words, std::vector<double>& numbers,
                             Range range, std::size_t count, const std::string& form, std::string description)
    {
        return orNumbers(choice(std::move(name), word, std::move(words), std::move(description)), numbers,
                         range, count, form);
    }

    /// What must hold between the settings, and what to say where it does not.
    void rule(std::function<bool()> holds, std::string otherwise);

    const std::vector<Setting>& all() const { return m_settings; }

    /// Declares the settings as options; this object must live as long as the command.
    void declare(CLI::App& command) const;

    /// Throws `UsageError` with the first rule that does not hold.
    void verify() const;

private:
    struct Rule {
        std::function<bool()> holds;
        std::string otherwise;
    };

    Setting& addNumber(std::string name, Range range, bool isWhole, std::string description,
                       std::function<void(double)> assign);
    Setting& addChoice(std::string name, Words words, std::string description,
                       std::function<void(int)> assign);
    static Setting& orNumbers(Setting& choice, std::vector<double>& numbers, Range range, std::size_t count,
                              const std::string& form);
    Setting& addWholes(std::string name, std::string form, std::string demand, std::string description,
                       std::function<bool(const std::vector<int>&)> assign);

    std::vector<Setting> m_settings;
    std::vector<Rule> m_rules;
};

}  // namespace ko::tool
