#include "io/claims.h"

#include "cli/failure.h"

#include <QString>

#include <cmath>

namespace ko::tool {

std::string shortfallOf(const Source& source, const Claim& claim)
{
    const double least = std::ceil(claim.bytes / claim.ratio);
    if (static_cast<double>(source.size) >= least)
        return {};
    const QString needed = QString::number(least, 'f', 0);
    return "shorter than its header claims: " + std::to_string(source.size) + " bytes instead of " +
           needed.toStdString() + (claim.ratio > 1 ? " or more" : "");
}

void requireRoom(const Source& source, const Claim& claim)
{
    if (const std::string shortfall = shortfallOf(source, claim); !shortfall.empty())
        throw Failure(source.name, "is damaged or cut short: " + shortfall);
}

}  // namespace ko::tool
