#include "cli/failure.h"

#include "cli/standard_error.h"

#include <cctype>
#include <new>
#include <sstream>

namespace ko::tool {
namespace {

std::string meaning(ResultCode status)
{
    switch (status) {
    case ResultIncompatible:
        return "the work buffer does not fit the picture";
    case ResultOutOfRange:
        return "the number of channels does not suit the pixel format";
    case ResultUnsupportedType:
        return "there is no implementation for samples of this type";
    case ResultFailed:
        return "out of memory, or a step of the operation failed";
    default:
        break;
    }
    if (status >= ResultBadArg1 && status <= ResultBadArg7)
        return "argument " + std::to_string(status - ResultBadArg1 + 1) + " does not suit the operation";
    return "it failed";
}

}  // namespace

void require(ResultCode status, const std::string& operation)
{
    if (!isFailure(status))
        return;
    std::ostringstream text;
    text << operation << ": " << meaning(status) << " (status 0x" << std::hex << std::uppercase
         << static_cast<std::uint32_t>(status) << ')';
    throw std::runtime_error(text.str());
}

std::string firstLine(const std::string& text)
{
    return text.empty() ? "unknown cause" : text.substr(0, text.find('\n'));
}

std::string troubleWith(const std::string& file, const std::function<void()>& work)
try {
    work();
    return {};
} catch (const Failure& failure) {
    return failure.what();
} catch (const std::bad_alloc&) {
    return file + ": out of memory";
} catch (const std::exception& error) {
    return file + ": " + error.what();
}

void report(const std::string& message)
{
    std::string line = "ko: " + message;
    while (std::isspace(static_cast<unsigned char>(line.back())))
        line.pop_back();
    for (char& c : line)
        if (std::iscntrl(static_cast<unsigned char>(c)))
            c = ' ';
    writeError(line + '\n');
}

}  // namespace ko::tool
