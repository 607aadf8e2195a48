#include "cli/settings.h"

#include "cli/failure.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <sstream>

namespace ko::tool {
namespace {

std::string textOf(double number)
{
    std::ostringstream text;
    text.precision(15);
    text << number;
    return text.str();
}

bool isIn(const Range& range, double number)
{
    return number >= range.least && number <= range.greatest;
}

bool areIn(const Range& range, const std::vector<double>& numbers)
{
    return std::ranges::all_of(numbers, [&](double number) { return isIn(range, number); });
}

/// The bounds of a range as far as people want to know them.
std::string boundsOf(const Range& range)
{
    constexpr double many = 1 << 30;
    if (range.least > 0 && range.least < 1e-200)
        return "above 0";
    if (range.least <= -many)
        return {};
    return range.greatest >= many ? textOf(range.least) + " or more"
                                  : textOf(range.least) + "..." + textOf(range.greatest);
}

std::string demandOf(const Range& range, bool isWhole)
{
    const std::string bounds = boundsOf(range);
    return (isWhole ? "a whole number" : "a number") + (bounds.empty() ? std::string() : ' ' + bounds);
}

bool sameWord(const std::string& a, const std::string& b)
{
    return std::ranges::equal(
        a, b, [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

std::optional<double> numberOf(const char* begin, const char* end)
{
    // People write the sign of stops that brighten.
    if (end - begin > 1 && begin[0] == '+' && begin[1] != '-')
        ++begin;
    double number = 0;
    const auto [next, error] = std::from_chars(begin, end, number);
    return error == std::errc() && next == end ? std::optional(number) : std::nullopt;
}

/// The value of an argument; a word where no number is recognised, which then is refused as one.
Value valueOf(Setting::Kind kind, const std::string& text)
{
    if (kind != Setting::Kind::Number && kind != Setting::Kind::Numbers)
        return text;
    std::vector<double> numbers;
    for (const char *at = text.data(), *const end = at + text.size();; ++at) {
        const char* const comma = std::find(at, end, ',');
        const std::optional<double> number = numberOf(at, comma);
        if (!number)
            return text;
        numbers.push_back(*number);
        at = comma;
        if (comma == end)
            break;
    }
    if (kind == Setting::Kind::Numbers)
        return numbers;
    return numbers.size() == 1 ? Value(numbers.front()) : Value(text);
}

}  // namespace

Setting& Settings::flag(std::string name, bool& value, std::string description)
{
    const auto take = [&value](const Value& given) {
        if (const bool* flag = std::get_if<bool>(&given))
            value = *flag;
        return std::holds_alternative<bool>(given);
    };
    return m_settings.emplace_back(
        Setting{std::move(name), Setting::Kind::Flag, {}, "true or false", std::move(description), take});
}

Setting& Settings::file(std::string name, std::string& value, std::string description)
{
    const auto take = [&value](const Value& given) {
        const auto* text = std::get_if<std::string>(&given);
        if (text)
            value = *text;
        return text && !text->empty();
    };
    return m_settings.emplace_back(Setting{std::move(name), Setting::Kind::File, "FILE", "the name of a file",
                                           std::move(description), take});
}

Setting& Settings::region(std::string name, QRect& value, std::string description)
{
    return addWholes(std::move(name), "x,y,w,h", "four whole numbers x, y, w, h, with w and h above 0",
                     std::move(description), [&value](const std::vector<int>& n) {
                         if (n.size() != 4 || n[0] < 0 || n[1] < 0 || n[2] < 1 || n[3] < 1)
                             return false;
                         value = QRect(n[0], n[1], n[2], n[3]);
                         return true;
                     });
}

Setting& Settings::size(std::string name, QSize& value, std::string description)
{
    constexpr int most = 1 << 24;
    return addWholes(std::move(name), "w,h", "two whole numbers w, h, 1..." + std::to_string(most),
                     std::move(description), [&value](const std::vector<int>& n) {
                         if (n.size() != 2 || std::min(n[0], n[1]) < 1 || std::max(n[0], n[1]) > most)
                             return false;
                         value = QSize(n[0], n[1]);
                         return true;
                     });
}

Setting& Settings::point(std::string name, QPoint& value, std::string description)
{
    return addWholes(std::move(name), "x,y", "two whole numbers x, y", std::move(description),
                     [&value](const std::vector<int>& n) {
                         if (n.size() != 2)
                             return false;
                         value = QPoint(n[0], n[1]);
                         return true;
                     });
}

Setting& Settings::numbers(std::string name, std::vector<double>& value, Range range, std::size_t most,
                           std::string form, std::string description)
{
    const auto take = [&value, range, most](const Value& given) {
        const auto* numbers = std::get_if<std::vector<double>>(&given);
        if (!numbers || numbers->empty() || numbers->size() > most || !areIn(range, *numbers))
            return false;
        value = *numbers;
        return true;
    };
    const std::string bounds = boundsOf(range);
    return m_settings.emplace_back(
        Setting{std::move(name), Setting::Kind::Numbers, std::move(form),
                "one to " + std::to_string(most) + " numbers" + (bounds.empty() ? "" : ' ' + bounds),
                std::move(description), take});
}

Setting& Settings::addNumber(std::string name, Range range, bool isWhole, std::string description,
                             std::function<void(double)> assign)
{
    const auto take = [range, isWhole, assign = std::move(assign)](const Value& given) {
        const double* number = std::get_if<double>(&given);
        if (!number || !isIn(range, *number) || (isWhole && *number != std::trunc(*number)))
            return false;
        assign(*number);
        return true;
    };
    return m_settings.emplace_back(Setting{std::move(name), Setting::Kind::Number, isWhole ? "N" : "X",
                                           demandOf(range, isWhole), std::move(description), take});
}

Setting& Settings::addChoice(std::string name, Words words, std::string description,
                             std::function<void(int)> assign)
{
    std::string form;
    std::string list;
    for (const auto& [word, meaning] : words) {
        form += (form.empty() ? "" : "|") + word;
        list += (list.empty() ? "" : ", ") + word;
    }
    const auto take = [words = std::move(words), assign = std::move(assign)](const Value& given) {
        const auto* text = std::get_if<std::string>(&given);
        for (const auto& [word, meaning] : words)
            if (text && sameWord(word, *text)) {
                assign(meaning);
                return true;
            }
        return false;
    };
    return m_settings.emplace_back(
        Setting{std::move(name), Setting::Kind::Word, form, "one of " + list, std::move(description), take});
}

Setting& Settings::orNumbers(Setting& choice, std::vector<double>& numbers, Range range, std::size_t count,
                             const std::string& form)
{
    choice.kind = Setting::Kind::Numbers;
    choice.form += '|' + form;
    choice.demand += ", or " + std::to_string(count) + " numbers " + boundsOf(range);
    choice.take = [takeWord = choice.take, &numbers, range, count](const Value& given) {
        const auto* list = std::get_if<std::vector<double>>(&given);
        if (!list)
            return takeWord(given);
        if (list->size() != count || !areIn(range, *list))
            return false;
        numbers = *list;
        return true;
    };
    return choice;
}

Setting& Settings::addWholes(std::string name, std::string form, std::string demand, std::string description,
                             std::function<bool(const std::vector<int>&)> assign)
{
    const auto take = [assign = std::move(assign)](const Value& given) {
        const auto* numbers = std::get_if<std::vector<double>>(&given);
        std::vector<int> wholes;
        for (std::size_t i = 0; numbers && i < numbers->size(); ++i) {
            const double number = (*numbers)[i];
            if (!isIn(wholeNumbers, number) || number != std::trunc(number))
                return false;
            wholes.push_back(static_cast<int>(number));
        }
        return assign(wholes);
    };
    return m_settings.emplace_back(Setting{std::move(name), Setting::Kind::Numbers, std::move(form),
                                           std::move(demand), std::move(description), take});
}

void Settings::rule(std::function<bool()> holds, std::string otherwise)
{
    m_rules.push_back({std::move(holds), std::move(otherwise)});
}

void Settings::declare(CLI::App& command) const
{
    for (const Setting& setting : m_settings) {
        const std::string name = "--" + setting.name;
        if (setting.kind == Setting::Kind::Flag) {
            command.add_flag_callback(
                name, [&setting] { setting.take(true); }, setting.description);
            continue;
        }
        command
            .add_option_function<std::string>(
                name,
                [&setting, name](const std::string& text) {
                    if (!setting.take(valueOf(setting.kind, text)))
                        throw CLI::ValidationError(name, text + " is not " + setting.demand);
                },
                setting.description)
            ->option_text(setting.form)
            ->required(setting.isRequired);
    }
}

void Settings::verify() const
{
    for (const Rule& rule : m_rules)
        if (!rule.holds())
            throw UsageError(rule.otherwise);
}

}  // namespace ko::tool
