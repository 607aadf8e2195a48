// ko logic: masks joined.
#include "cli/failure.h"
#include "commands/filtering.h"
#include "commands/operations.h"
#include "commands/toning.h"
#include "io/image_file.h"
#include "io/levels.h"
#include "io/parts.h"

#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

using Logic = ResultCode (*)(const SxImageBuf& src, SxImageBuf& dst, QVariant* value);

struct Options {
    std::string andFile, orFile, xorFile;
    std::optional<double> value;
};

struct Term {
    Logic logic;
    const char* name;
    std::string file;
};

Term termOf(const Options& options)
{
    if (!options.andFile.empty())
        return {And, "And", options.andFile};
    if (!options.orFile.empty())
        return {Or, "Or", options.orFile};
    return {Xor, "Xor", options.xorFile};
}

Image join(const Image& picture, const Term& term, const Image& other, const Options& options, Frame& frame)
{
    requireMono(*picture);
    if (const std::string difference = differenceOf(*picture, *other); !difference.empty())
        throw std::runtime_error(difference + term.file);
    const bool keepsLevels = term.logic == Xor && !options.value;
    if (isFloating(*picture) && term.logic != Xor)
        throw std::runtime_error("floats can only be joined with xor");
    QVariant value = sampleOf(*picture, options.value.value_or(whiteOf(*picture)));
    Image result = copyOf(other);
    timed(frame, [&] { require(term.logic(*picture, *result, keepsLevels ? nullptr : &value), term.name); });
    return result;
}

}  // namespace

const Operation logicOperation{
    "Pixels", "logic", "Join mono pictures by whether their samples are 0",
    [](Settings& settings) -> Operation::Prepare {
        auto options = std::make_shared<Options>();
        settings.file("and", options->andFile, "set where the input and this picture are");
        settings.file("or", options->orFile, "set where the input or this picture is");
        settings.file("xor", options->xorFile, "set where only one of them is; that one's level stays");
        settings.number("value", options->value, finiteNumbers,
                        "level of what is set, white if not given; of xor the sample's own");
        settings.rule(
            [o = options.get()] {
                return !o->andFile.empty() + !o->orFile.empty() + !o->xorFile.empty() == 1;
            },
            "one of --and, --or, --xor is wanted");
        return [options]() -> Filter {
            const Term term = termOf(*options);
            auto other = std::make_shared<const Image>(readAside(term.file));
            return [options, term, other](const Image& picture, Frame& frame) {
                return join(picture, term, *other, *options, frame);
            };
        };
    }};

}  // namespace ko::tool
