#include "io/fits_header.h"

#include "cli/failure.h"
#include "io/fits_types.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace ko::tool {
namespace {

std::string trimmed(std::string text)
{
    text.erase(0, text.find_first_not_of(" '+"));
    text.erase(text.find_last_not_of(" '") + 1);
    return text;
}

void addCard(FitsHeader& header, const std::string& key, const std::string& card)
{
    if (card[8] == '=')
        header.emplace(key, trimmed(card.substr(10, card.find('/', 10) - 10)));
    else if (key == "COMMENT" && card.find("koimproc") != std::string::npos)
        header.emplace(key, trimmed(card.substr(8)));
}

}  // namespace

template <class T>
T numberOf(const FitsHeader& header, const std::string& key, T otherwise)
{
    const auto found = header.find(key);
    if (found == header.end())
        return otherwise;
    std::string text = found->second;
    std::ranges::replace(text, 'D', 'E');  // the exponent of a double
    std::from_chars(text.data(), text.data() + text.size(), otherwise);
    return otherwise;
}

template int numberOf(const FitsHeader& header, const std::string& key, int otherwise);
template std::int64_t numberOf(const FitsHeader& header, const std::string& key, std::int64_t otherwise);
template double numberOf(const FitsHeader& header, const std::string& key, double otherwise);

double dataSizeOf(const FitsHeader& header)
{
    const int axes = numberOf(header, "NAXIS", 0);
    double samples = axes > 0 ? 1 : 0;
    for (int axis = 1; axis <= std::min(axes, 999); ++axis)
        samples *= std::max(0.0, numberOf(header, "NAXIS" + std::to_string(axis), 0.0));
    const double size = std::abs(numberOf(header, "BITPIX", 8.0)) / 8;
    return size * numberOf(header, "GCOUNT", 1.0) * (numberOf(header, "PCOUNT", 0.0) + samples);
}

FitsStream::FitsStream(const Source& source) : m_file(gzopen(source.path.c_str(), "rb"))
{
    if (!m_file)
        throw Failure(source.name, "cannot be opened");
    gzbuffer(m_file.get(), 1 << 17);
}

FitsHeader FitsStream::readHeader(const std::string& firstCard)
{
    FitsHeader header;
    std::string block(fitsBlockLength, ' ');
    while (read(block.data(), block.size())) {
        if (header.empty() && !block.starts_with(firstCard))
            break;
        for (std::size_t at = 0; at < fitsBlockLength; at += fitsCardLength) {
            const std::string card = block.substr(at, fitsCardLength);
            const std::string key = trimmed(card.substr(0, 8));
            if (key == "END")
                return header;
            addCard(header, key, card);
        }
    }
    return {};
}

bool FitsStream::read(void* to, std::size_t count)
{
    return gzfread(to, 1, count, m_file.get()) == count;
}

bool FitsStream::skip(double bytes)
{
    constexpr double block = fitsBlockLength;
    const double padded = std::ceil(bytes / block) * block;
    if (!(padded >= 0 && padded < 9e18))
        return false;
    // A seek may go beyond the end, the next read says so.
    return gzseek(m_file.get(), static_cast<z_off_t>(padded), SEEK_CUR) >= 0;
}

bool FitsStream::endsRight()
{
    std::array<std::uint8_t, 1 << 14> rest;
    int count = 0;
    while ((count = gzread(m_file.get(), rest.data(), rest.size())) > 0)
        ;
    int error = Z_OK;
    gzerror(m_file.get(), &error);  // ends in the middle of what is compressed are told here alone
    return count == 0 && error == Z_OK;
}

}  // namespace ko::tool
