#include "cli/failure.h"

#include "cli/standard_error.h"
#include "cli/transfer.h"

#include <algorithm>
#include <cctype>
#include <new>

namespace ko::tool {

void require(ResultCode status, const std::string& operation)
{
    if (isFailure(status))
        throw std::runtime_error(operation + ": " + toString(status));
}

std::string firstLine(const std::string& text)
{
    return text.empty() ? "unknown cause" : text.substr(0, text.find('\n'));
}

std::string causeOf(const std::string& text, const std::string& path)
{
    if (text.starts_with("OpenImageIO could not find a format reader"))
        return "no known format";
    std::string line = firstLine(text);
    for (const std::string& noise :
         {std::string("OpenEXR exception: "), "Cannot read image file \"" + path + "\". ",
          '"' + path + "\" is ", '"' + path + "\" ", '"' + path + '"', path + ": ", path,
          std::string("Could not open file: ")})
        if (const std::size_t at = line.find(noise); at != std::string::npos && !noise.empty())
            line.erase(at, noise.size());
    line.erase(0, std::min(line.find_first_not_of(" :"), line.size()));
    return line.empty() ? "unknown cause" : line;
}

std::string printable(std::string text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        // The second control characters, U+0080...U+009F, are two bytes in UTF-8.
        const bool isTwoBytes = text[i] == '\xc2' && i + 1 < text.size() && (text[i + 1] & 0xe0) == 0x80;
        if (isTwoBytes)
            text.erase(i, 1);
        if (isTwoBytes || std::iscntrl(static_cast<unsigned char>(text[i])))
            text[i] = ' ';
    }
    return text;
}

std::string troubleWith(const std::string& file, const std::function<void()>& work)
try {
    work();
    return {};
} catch (const Failure& failure) {
    return failure.what();
} catch (const std::bad_alloc&) {
    return nameOfInput(file) + ": out of memory";
} catch (const std::exception& error) {
    return nameOfInput(file) + ": " + error.what();
}

void report(const std::string& message)
{
    std::string line = printable("ko: " + message);
    while (std::isspace(static_cast<unsigned char>(line.back())))
        line.pop_back();
    writeError(line + '\n');
}

void warn(const std::string& file, const std::string& doubt)
{
    report("warning: " + file + ": " + doubt);
}

}  // namespace ko::tool
