#include "commands/packed_options.h"

#include "cli/arguments.h"

namespace ko::tool {

void addPackedOptions(CLI::App& command, Settings& settings, PackedOptions& options)
{
    declareArgument(command, "--packed", options.format, Need::Optional,
                    "frames of packed samples in files without a header, see below", "FORMAT");
    addHelp(command, packedFormatHelp);
    settings.size("size", options.size, "of such a frame");
    settings.whole("pitch", options.pitch, {1, 1 << 30},
                   "bytes from a row of it to the next; as many as a row needs if not given");
    settings.whole("offset", options.offset, naturalNumbers,
                   "bytes before the first frame; if not given, none, and none behind the last");
    const PackedOptions* const o = &options;
    settings.rule([o] { return o->format.empty() == o->size.isEmpty(); }, "--packed and --size go together");
    settings.rule([o] { return !o->format.empty() || (!o->pitch && !o->offset); },
                  "--pitch and --offset go with --packed");
}

std::optional<PackedFrame> frameOf(const PackedOptions& options)
{
    if (options.format.empty())
        return std::nullopt;
    PackedFrame frame{packedFormatOf(options.format), options.size, 0, {}};
    frame.pitch = pitchOf(frame.format, options.size.width(), options.pitch);
    if (options.offset)
        frame.offset = static_cast<std::uint64_t>(*options.offset);
    return frame;
}

}  // namespace ko::tool
