#include "io/levels.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Levels {
    double least;
    double greatest;
};

/// What integer samples can be, as far as doubles tell neighbouring numbers apart.
Levels levelsOf(const SxImageInfo& format)
{
    constexpr double exact = 9007199254740992;  // 2^53
    const bool isSigned = format.dataType == Int8 || format.dataType == Int16 || format.dataType == Int32 ||
                          format.dataType == Int64;
    const double size = std::ldexp(1.0, format.bitsPerSample - (isSigned ? 1 : 0));
    return {isSigned ? std::max(-size, -exact) : 0, std::min(size - 1, exact)};
}

}  // namespace

bool isFloating(const SxImageInfo& format)
{
    return format.dataType == Float32 || format.dataType == Float64;
}

QVariant sampleOf(const SxImageInfo& format, double number)
{
    if (isFloating(format))
        return number;
    const Levels levels = levelsOf(format);
    if (number != std::trunc(number) || number < levels.least || number > levels.greatest) {
        std::ostringstream text;
        text << number << " is no level of its samples of " << format.bitsPerSample << " bits";
        throw std::runtime_error(text.str());
    }
    return static_cast<qlonglong>(number);
}

double whiteOf(const SxImageInfo& format)
{
    return isFloating(format) ? 1 : levelsOf(format).greatest;
}

bool hasLevels(const SxImageInfo& format)
{
    return format.dataType == UInt8 || format.dataType == UInt16;
}

void requireLevels(const SxImageInfo& format)
{
    if (!hasLevels(format))
        throw std::runtime_error("only unsigned samples of 8 or 16 bits have levels that can be counted");
}

}  // namespace ko::tool
