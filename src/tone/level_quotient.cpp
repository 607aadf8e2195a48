#include "tone/level_quotient.h"

#include <bit>
#include <numeric>

namespace ko {

namespace {

/// Whether doubles fall short of the whole quotients: 1 if of all but that of 0, 0 if of none, nothing if only
/// of some.
///
/// scale is top / width rounded, so that both ways a distance becomes distance * numerator / denominator with
/// two roundings. A quotient that is not whole lies at least 1 / denominator > 2^-17 away from the next whole
/// number, far more than the roundings move it. A whole one is rounded to itself or to just below, as the
/// errors fall: for all multiples of the first distance that has one, this must be tried.
std::optional<std::uint32_t> shortfall(Spreading spreading, double scale, const LevelQuotient& quotient)
{
    const std::uint32_t common = std::gcd(quotient.numerator, quotient.denominator);
    const std::uint32_t period = quotient.denominator / common;
    std::optional<std::uint32_t> found;
    for (std::uint32_t distance = period; distance <= quotient.width; distance += period) {
        const double given = spreading == Spreading::Stretch ? distance * scale : distance / scale;
        const std::uint32_t whole = distance / period * (quotient.numerator / common);
        const std::uint32_t missing = whole - static_cast<std::uint32_t>(given);
        if (found.value_or(missing) != missing)
            return std::nullopt;
        found = missing;
    }
    return found.value_or(0);
}

}  // namespace

std::optional<LevelQuotient> quotientOf(Spreading spreading, const ContrastBand& band) noexcept
{
    const double top = band.limit - 1;
    if (band.low < 0 || band.high <= band.low || band.high > top || top > 65535)
        return std::nullopt;
    LevelQuotient quotient{};
    quotient.low = static_cast<std::uint32_t>(band.low);
    quotient.width = static_cast<std::uint32_t>(band.high - band.low);
    const bool stretch = spreading == Spreading::Stretch;
    quotient.numerator = stretch ? static_cast<std::uint32_t>(top) : quotient.width;
    quotient.denominator = stretch ? quotient.width : static_cast<std::uint32_t>(top);
    const std::optional<std::uint32_t> missing = shortfall(spreading, band.scale, quotient);
    if (!missing)
        return std::nullopt;
    quotient.carry = quotient.denominator + *missing;
    // Both factors are below numerator / denominator * 2^16 / spread by one at most, so that the estimate is
    // below the quotient by less than one, and the remainder below twice the denominator.
    const auto factorFor = [&](std::uint32_t spread) {
        return static_cast<std::uint32_t>(((std::uint64_t{quotient.numerator} << 16) / spread - 1) /
                                          quotient.denominator);
    };
    quotient.spread = 0x10000U >> std::bit_width(quotient.width);
    quotient.factor = factorFor(quotient.spread);
    quotient.fits16Bits = quotient.factor <= 0xFFFF && quotient.denominator <= 0x8000;
    if (!quotient.fits16Bits) {
        quotient.spread = 1;
        quotient.factor = factorFor(1);
    }
    return quotient;
}

}  // namespace ko
