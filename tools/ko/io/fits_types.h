// Sample types of FITS files.
#pragma once

#include <ko/image.h>

#include <cstddef>
#include <cstdint>

namespace ko::tool {

constexpr std::size_t fitsCardLength = 80;
constexpr std::size_t fitsBlockLength = 2880;

/// FITS knows unsigned bytes and signed wider integers; the others are stored with an offset of half their
/// range, which is their top bit inverted.
struct FitsType {
    ExImageDataType type;
    int bitpix;
    double offset;
    const char* offsetText;
    std::uint8_t topBit;  ///< of the first byte of a sample
};

constexpr FitsType fitsTypes[] = {
    {UInt8, 8, 0, "0", 0},     {Int8, 8, -128, "-128", 0x80},
    {Int16, 16, 0, "0", 0},    {UInt16, 16, 32768, "32768", 0x80},
    {Int32, 32, 0, "0", 0},    {UInt32, 32, 2147483648.0, "2147483648", 0x80},
    {Int64, 64, 0, "0", 0},    {UInt64, 64, 9223372036854775808.0, "9223372036854775808", 0x80},
    {Float32, -32, 0, "0", 0}, {Float64, -64, 0, "0", 0},
};

}  // namespace ko::tool
