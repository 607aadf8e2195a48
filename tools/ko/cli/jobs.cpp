#include "cli/jobs.h"

#include "cli/arguments.h"
#include "cli/failure.h"
#include "cli/transfer.h"

#include <filesystem>
#include <map>

namespace ko::tool {
namespace {

namespace fs = std::filesystem;

/// The output with `{}` where names differ between inputs.
std::string outputPattern(const FileSeries& series, const std::string& ending)
{
    const std::string& output = series.output;
    if (output.find("{}") != std::string::npos)
        return output;
    std::error_code error;
    if (output.ends_with('/') || (output != standardStream && fs::is_directory(output, error))) {
        fs::create_directories(output, error);
        if (error)
            throw Failure(output, "cannot be made: " + error.message());
        return (fs::path(output) / ("{}" + ending)).string();
    }
    if (series.inputs.size() > 1)
        throw UsageError(output + ": several inputs need a directory (ending in /) or a name with {}");
    return output;
}

/// The same for all names of one file.
std::string identity(const std::string& file)
{
    if (file == standardStream)
        return file;
    std::error_code error;
    const fs::path path = fs::weakly_canonical(file, error);
    return error ? file : path.string();
}

/// What stands for an input in the name of its result.
std::string stemOf(const std::string& input)
{
    return input == standardStream ? "stdin" : fs::path(input).stem().string();
}

void addOptions(CLI::App& command, FileSeries& series, const std::string& output)
{
    declareArgument(command, "input", series.inputs, Need::Required, "pictures or camera raws");
    declareArgument(command, "-o,--output", series.output, Need::Required, output);
    declareVerbosity(command, series.verbosity);
}

}  // namespace

void addFileOptions(CLI::App& command, FileSeries& series)
{
    addOptions(command, series,
               "result; for several inputs a directory, or a name with {} in place of the input's");
}

void addSeriesOptions(CLI::App& command, FileSeries& series)
{
    addFileOptions(command, series);
    declareQuality(command, series.quality);
}

void addDirectoryOptions(CLI::App& command, FileSeries& series)
{
    addOptions(command, series, "directory of the results, or a name with {} in place of the input's");
    declareQuality(command, series.quality);
}

FileSeries intoDirectory(FileSeries series)
{
    if (series.output == standardStream)
        throw UsageError("-o must be a directory, the standard output takes one result only");
    if (series.output.find("{}") == std::string::npos && !series.output.ends_with('/'))
        series.output += '/';
    return series;
}

std::vector<Job> planJobs(const FileSeries& series, const std::string& ending)
{
    const std::string pattern = outputPattern(series, ending);
    const std::size_t braces = pattern.rfind("{}");
    std::map<std::string, std::string> inputOf;
    std::vector<Job> jobs;
    for (const std::string& input : series.inputs) {
        std::string output = pattern;
        if (braces != std::string::npos)
            output.replace(braces, 2, stemOf(input));
        const auto [other, isNew] = inputOf.emplace(identity(output), input);
        if (!isNew)
            throw UsageError(output + ": would be the result of both " + other->second + " and " + input);
        jobs.push_back({input, output});
    }
    for (const std::string& input : series.inputs)
        if (input != standardStream && inputOf.contains(identity(input)))
            throw UsageError(input + ": a result would replace this input");
    return jobs;
}

}  // namespace ko::tool
