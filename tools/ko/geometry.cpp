#include "geometry.h"

#include <array>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <stdexcept>

namespace ko::tool {
namespace {

/// Whole numbers with commas between them, small enough to be added to each other.
template <std::size_t Count>
std::optional<std::array<int, Count>> parseNumbers(const std::string& text)
{
    std::array<int, Count> numbers{};
    const char* at = text.data();
    const char* const end = at + text.size();
    for (int& number : numbers) {
        if (&number != &numbers.front() && (at == end || *at++ != ','))
            return std::nullopt;
        const auto [next, error] = std::from_chars(at, end, number);
        if (error != std::errc() || number < -(1 << 30) || number > 1 << 30)
            return std::nullopt;
        at = next;
    }
    if (at != end)
        return std::nullopt;
    return numbers;
}

std::optional<QPoint> parsePoint(const std::string& text)
{
    const auto n = parseNumbers<2>(text);
    return n ? std::optional(QPoint((*n)[0], (*n)[1])) : std::nullopt;
}

std::optional<QRect> parseRegion(const std::string& text)
{
    const auto n = parseNumbers<4>(text);
    if (!n || (*n)[0] < 0 || (*n)[1] < 0 || (*n)[2] < 1 || (*n)[3] < 1)
        return std::nullopt;
    return QRect((*n)[0], (*n)[1], (*n)[2], (*n)[3]);
}

/// Declares an option whose text `parse` understands or not.
template <class T, class Parse>
void addParsedOption(CLI::App& command, const std::string& name, T& value, const std::string& description,
                     const std::string& form, Parse parse)
{
    command
        .add_option_function<std::string>(
            name, [&value, parse](const std::string& text) { value = parse(text).value(); }, description)
        ->option_text(form)
        ->check([form, parse](const std::string& text) {
            return parse(text) ? std::string() : text + " is not of the form " + form;
        });
}

}  // namespace

void addPointOption(CLI::App& command, const std::string& name, QPoint& point, const std::string& description)
{
    addParsedOption(command, name, point, description, "x,y", parsePoint);
}

void addRegionOption(CLI::App& command, QRect& region, const std::string& description)
{
    addParsedOption(command, "--roi", region, description, "x,y,w,h", parseRegion);
}

QRect regionIn(const SxImageInfo& format, const QRect& region)
{
    const QRect whole(0, 0, format.width, format.height);
    if (region.isNull())
        return whole;
    if (!whole.contains(region))
        throw std::runtime_error("the region does not lie inside the picture of " +
                                 std::to_string(format.width) + " x " + std::to_string(format.height));
    return region;
}

}  // namespace ko::tool
