// Status codes.
#pragma once

#include <cstdint>

namespace ko {

/// Status of an operation: 0 is success, every failure has the top bit set.
///
/// `Stretch` answers 1 on success, so test a status with `isFailure` and not against `ResultOk`.
enum ResultCode : std::uint32_t {
    ResultOk = 0x00000000,
    ResultFailed = 0xA0000000,           ///< memory or a called service failed; the arguments were good
    ResultIncompatible = 0xA000000D,     ///< a work buffer was made for another image format
    ResultOutOfRange = 0xA0004309,       ///< the channel count does not suit the pixel format
    ResultUnsupportedType = 0xA000430C,  ///< no implementation for this sample type, packing or channel count
    ResultBadArg1 = 0xA0004313,  ///< the first argument is invalid; the following codes name the others
    ResultBadArg2 = 0xA0004314,
    ResultBadArg3 = 0xA0004315,
    ResultBadArg4 = 0xA0004316,
    ResultBadArg5 = 0xA0004317,
    ResultBadArg6 = 0xA0004318,
    ResultBadArg7 = 0xA0004319,
};

/// True when `code` reports a failure.
constexpr bool isFailure(ResultCode code) noexcept
{
    return (static_cast<std::uint32_t>(code) & 0x80000000U) != 0;
}

}  // namespace ko
