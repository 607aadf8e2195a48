#include "cli/failure.h"

#include "cli/standard_error.h"

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
