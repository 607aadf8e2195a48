// ko run: a list of operations on many files.
#include "cli/arguments.h"
#include "cli/failure.h"
#include "cli/interruption.h"
#include "cli/parallel_batch.h"
#include "cli/recipe.h"
#include "commands/commands.h"
#include "io/image_file.h"
#include "io/replace_file.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>

namespace ko::tool {
namespace {

namespace fs = std::filesystem;

struct Options {
    std::string recipe;
    FileSeries files;
    int workers = 0;  ///< 0: as many as there are processors
    bool resumes = false;
    std::string report;
    Settings settings;
};

/// Whether a result is there and no older than what it was made of. Results appear whole or not at all.
bool isFinished(const Job& job, const std::string& recipe)
{
    std::error_code error;
    const auto made = fs::last_write_time(job.output, error);
    if (error)
        return false;
    const auto isOlder = [&](const std::string& file) {
        const auto changed = fs::last_write_time(file, error);
        return !error && changed <= made;
    };
    return isOlder(job.input) && isOlder(recipe);
}

const char* nameOf(Outcome::Status status)
{
    constexpr const char* names[] = {"done", "skipped", "failed", "interrupted"};
    return names[static_cast<std::size_t>(status)];
}

std::int64_t count(const std::vector<Outcome>& outcomes, Outcome::Status status)
{
    return std::ranges::count(outcomes, status, &Outcome::status);
}

void writeReport(const Options& options, const std::vector<Job>& jobs, const std::vector<Outcome>& outcomes)
{
    QJsonArray files;
    for (std::size_t i = 0; i < jobs.size(); ++i)
        files.append(QJsonObject{{"input", QString::fromStdString(jobs[i].input)},
                                 {"output", QString::fromStdString(jobs[i].output)},
                                 {"status", nameOf(outcomes[i].status)},
                                 {"message", QString::fromStdString(outcomes[i].message)},
                                 {"milliseconds", std::round(outcomes[i].elapsed.count() * 1e3)}});
    QJsonObject all{{"recipe", QString::fromStdString(options.recipe)}, {"files", files}};
    for (const Outcome::Status status :
         {Outcome::Done, Outcome::Skipped, Outcome::Failed, Outcome::Interrupted})
        all.insert(nameOf(status), static_cast<qint64>(count(outcomes, status)));
    replaceFile(options.report, QJsonDocument(all).toJson().toStdString());
}

void summarise(const std::vector<Outcome>& outcomes, double seconds)
{
    const std::int64_t done = count(outcomes, Outcome::Done);
    std::cout << done << " of " << outcomes.size() << (outcomes.size() == 1 ? " picture, " : " pictures, ")
              << count(outcomes, Outcome::Skipped) << " skipped, " << count(outcomes, Outcome::Failed)
              << " failed, ";
    if (const std::int64_t left = count(outcomes, Outcome::Interrupted))
        std::cout << left << " not begun, ";
    std::cout << "in " << std::fixed << std::setprecision(3) << seconds << " s\n";
}

int run(const Options& options)
{
    const auto start = std::chrono::steady_clock::now();
    options.settings.verify();
    const Interruption interruption;
    const Recipe recipe(options.recipe);
    const std::vector<Job> jobs = planJobs(intoDirectory(options.files), recipe.ending());
    const Filter filter = recipe.prepare();
    const auto work = [&](const Job& job) {
        if (options.resumes && isFinished(job, options.recipe))
            return Outcome::Skipped;
        const Picture picture = readPicture(job.input);
        Frame frame;
        frame.sensor = picture.sensor.get();
        writeImage(filter(picture.image, frame), job.output,
                   recipe.keepsColours() ? picture.metadata : picture.metadata.withoutColours(),
                   options.files.quality ? options.files.quality : recipe.quality());
        return Outcome::Done;
    };
    const std::vector<Outcome> outcomes =
        runParallel(jobs, options.workers, options.files.verbosity, interruption.token(), work);
    if (!options.report.empty())
        writeReport(options, jobs, outcomes);
    if (options.files.verbosity != Verbosity::Quiet)
        summarise(outcomes, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    if (interruption.signal() != 0)
        endBySignal(interruption.signal());
    return count(outcomes, Outcome::Failed) == 0 ? ExitOk : ExitFailed;
}

}  // namespace

const Command runCommand{
    "Series", "run", "Apply the operations of a recipe to many files",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        declareArgument(command, "recipe", options->recipe, Need::Required, "list of operations (JSON)");
        addDirectoryOptions(command, options->files);
        Settings& settings = options->settings;
        settings.whole(
            "jobs", options->workers, {1, mostWorkers},
            "files worked on at the same time, each in memory whole; as many as there are processors "
            "if not given");
        settings.flag("resume", options->resumes, "leave out inputs whose results are there and not older");
        settings.file("report", options->report, "what became of every file (JSON)");
        settings.declare(command);
        addHelp(command, std::string("A recipe (ko(1) has all that may stand in one):\n\n") + recipeExample);
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
