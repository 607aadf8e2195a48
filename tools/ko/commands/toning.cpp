#include "commands/toning.h"

#include "cli/failure.h"
#include "io/levels.h"

#include <stdexcept>

namespace ko::tool {

void requireTones(const SxImageInfo& format)
{
    requireLevels(format);
    if (format.channels != 1 && format.channels != 3 && format.channels != 4)
        throw std::runtime_error("neither a gray nor a colour picture, it has " +
                                 std::to_string(format.channels) + " channels");
}

std::string differenceOf(const SxImageInfo& format, const SxImageInfo& other)
{
    if (format.width != other.width || format.height != other.height)
        return "differs in size from ";
    if (format.channels != other.channels)
        return "has another number of channels than ";
    if (format.dataType != other.dataType || format.bitsPerSample != other.bitsPerSample)
        return "differs in depth from ";
    if (format.bayerGrid != other.bayerGrid)
        return "has another mosaic pattern than ";
    return {};
}

int toneChannels(const SxImageInfo& format)
{
    return format.channels == 4 ? 3 : format.channels;
}

void keepAlpha(const Image& picture, Image& result)
{
    if (picture->channels == 4)
        require(CopyChannel(*picture, 3, *result, 3), "CopyChannel");
}

}  // namespace ko::tool
