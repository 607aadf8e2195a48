// Which results a series of files gives.
#pragma once

#include "cli/arguments.h"
#include "cli/command.h"

#include <optional>
#include <string>
#include <vector>

namespace ko::tool {

/// What the command line says of inputs and results.
struct FileSeries {
    std::vector<std::string> inputs;
    std::string output;
    std::optional<int> quality = {};  ///< of JPEG and WebP
    Verbosity verbosity = Verbosity::Usual;
};

/// One input and where its result goes.
struct Job {
    std::string input;
    std::string output;
};

/// Declares the inputs and `-o`, both required, and how much to tell.
void addFileOptions(CLI::App& command, FileSeries& series);

/// The same and what every series of pictures can be told.
void addSeriesOptions(CLI::App& command, FileSeries& series);

/// The same where the output is to be a directory, for `intoDirectory`.
void addDirectoryOptions(CLI::App& command, FileSeries& series);

/// The series with an output that is a directory, there or not, unless it is a pattern.
FileSeries intoDirectory(FileSeries series);

/// The jobs of a series.
///
/// An output with `{}` in its name is a pattern: the braces stand for the input's name without directory and
/// ending. A directory (there already, or ending in '/') gets files of the inputs' names with `ending`; it is
/// made where it is missing. Anything else is the result of a single input. Throws `UsageError` when two
/// inputs would share a result or when a result would replace an input.
std::vector<Job> planJobs(const FileSeries& series, const std::string& ending);

}  // namespace ko::tool
