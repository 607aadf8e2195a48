#include "live/recorder.h"

#include "cli/failure.h"
#include "cli/transfer.h"
#include "io/image_file.h"

#include <filesystem>

namespace ko::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t leastDigits = 6;

/// An image over the memory of a frame, which keeps it.
Image viewOf(SxImageBuf frame)
{
    frame.allocation = 0;
    frame.bookkeeping[0] = frame.bookkeeping[1] = 0;
    return Image::owning(frame);
}

}  // namespace

Recorder::Recorder(const std::string& output, std::optional<int> quality)
    : m_pattern(output), m_quality(quality)
{
    if (output == standardStream)
        throw UsageError("-o must be a directory, the standard output takes no series of frames");
    if (m_pattern.find("{}") == std::string::npos)
        m_pattern = (fs::path(output) / "{}.tif").string();
    std::error_code none;
    if (fs::exists(nameOf(1), none))
        throw UsageError(nameOf(1) + ": is there already");
}

std::string Recorder::write(const SxImageBuf& frame)
{
    std::string name = nameOf(m_frames + 1);
    const fs::path directory = fs::path(name).parent_path();
    std::error_code error;
    if (m_frames == 0 && !directory.empty() && !fs::create_directories(directory, error) && error)
        throw Failure(directory.string(), "cannot be made: " + error.message());
    if (m_frames > 0 && !directory.empty() && !fs::is_directory(directory, error))
        throw Failure(directory.string(), "has been removed");
    writeImage(viewOf(frame), name, {}, m_quality);
    m_bytes += fs::file_size(name, error);
    ++m_frames;
    return name;
}

std::string Recorder::nameOf(std::uint64_t number) const
{
    std::string digits = std::to_string(number);
    if (digits.size() < leastDigits)
        digits.insert(0, leastDigits - digits.size(), '0');
    std::string name = m_pattern;
    return name.replace(name.rfind("{}"), 2, digits);
}

}  // namespace ko::tool
