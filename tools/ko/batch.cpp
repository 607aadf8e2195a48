#include "batch.h"

#include "failure.h"

#include <iomanip>
#include <iostream>
#include <new>
#include <sstream>

#include <unistd.h>

namespace ko::tool {
namespace {

/// Drawn on the last line of a terminal, wiped off before other output.
class ProgressBar {
public:
    explicit ProgressBar(std::size_t total)
        : m_total(total), m_visible(total > 1 && isatty(STDERR_FILENO) == 1)
    {
    }

    void show(std::size_t done) const
    {
        if (!m_visible)
            return;
        constexpr std::size_t width = 40;
        const std::size_t filled = width * done / m_total;
        std::cerr << "\r[" << std::string(filled, '#') << std::string(width - filled, ' ') << "] " << done
                  << '/' << m_total << std::flush;
    }
    void wipe() const
    {
        if (m_visible)
            std::cerr << "\r\033[K" << std::flush;
    }

private:
    std::size_t m_total;
    bool m_visible;
};

std::string rates(double frames, double megapixels, double seconds)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << frames / seconds << " frames/s, " << megapixels / seconds
         << " megapixels/s";
    return text.str();
}

void summarise(std::size_t inputs, std::size_t done, const Frame& sum, double seconds)
{
    const double megapixels = static_cast<double>(sum.pixels) / 1e6;
    std::cout << done << " of " << inputs << (inputs == 1 ? " frame" : " frames");
    if (done > 0) {
        std::cout << ", " << std::fixed << std::setprecision(3) << megapixels << " megapixels in " << seconds
                  << " s: " << rates(static_cast<double>(done), megapixels, seconds);
        if (sum.spent.count() > 0)
            std::cout << "; without files "
                      << rates(static_cast<double>(done), megapixels, sum.spent.count());
    }
    std::cout << '\n';
}

}  // namespace

int runBatch(const std::vector<Job>& jobs, const std::function<Frame(const Job&)>& work)
{
    const ProgressBar bar(jobs.size());
    const auto start = std::chrono::steady_clock::now();
    Frame sum;
    std::size_t tried = 0;
    std::size_t done = 0;
    for (const Job& job : jobs) {
        bar.show(tried++);
        std::string trouble;
        try {
            const Frame frame = work(job);
            sum.pixels += frame.pixels;
            sum.spent += frame.spent;
            ++done;
        } catch (const Failure& failure) {
            trouble = failure.what();
        } catch (const std::bad_alloc&) {
            trouble = job.input + ": out of memory";
        } catch (const std::exception& error) {
            trouble = job.input + ": " + error.what();
        }
        bar.wipe();
        if (!trouble.empty())
            report(trouble);
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    summarise(jobs.size(), done, sum, elapsed.count());
    return done == jobs.size() ? ExitOk : ExitFailed;
}

}  // namespace ko::tool
