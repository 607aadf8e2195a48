// How the tool fails: an exception that names the file and the cause, one line on the standard error.
#pragma once

#include <ko/result.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace ko::tool {

/// A file that cannot be worked on. Exceptions of other types carry a cause only; whoever knows the file that
/// is being worked on adds it.
class Failure : public std::runtime_error {
public:
    Failure(const std::string& file, const std::string& cause) : std::runtime_error(file + ": " + cause) {}
};

/// A command line that makes no sense whatever the files hold.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Throws when an operation of the library has failed, with what its status says.
void require(ResultCode status, const std::string& operation);

/// The first of the lines with which other libraries describe a failure.
std::string firstLine(const std::string& text);

/// What another library says of a failure with a file, in one line and without the names of both.
std::string causeOf(const std::string& text, const std::string& path);

/// The text with a blank for each control character: names of cameras and files may hold what a terminal
/// obeys.
std::string printable(std::string text);

/// Does `work` on a file. Answers with what kept it from being done, the name of the file included; empty
/// when it has been done.
std::string troubleWith(const std::string& file, const std::function<void()>& work);

/// One line on the standard error, whatever characters `message` holds.
void report(const std::string& message);

/// The same for what a person should know of a file that can be worked on.
void warn(const std::string& file, const std::string& doubt);

}  // namespace ko::tool
