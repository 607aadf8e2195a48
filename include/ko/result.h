// Status codes.
#pragma once

#include <ko/export.h>

#include <cstdint>

namespace ko {

/// Status of an operation: 0 is success, and every failure has the top bit set.
///
/// `Stretch` answers 1 on success, so test a status with `isFailure` and not against `ResultOk`. The compiler
/// warns of a status that is ignored; cast it to `void` where it does not matter.
enum [[nodiscard]] ResultCode : std::uint32_t{
    ResultOk = 0x00000000,               ///< done
    ResultFailed = 0xA0000000,           ///< memory or a called service failed; the arguments were good
    ResultIncompatible = 0xA000000D,     ///< a work buffer was made for another image format
    ResultOutOfRange = 0xA0004309,       ///< the channel count does not suit the pixel format
    ResultUnsupportedType = 0xA000430C,  ///< no implementation for this sample type, packing or channel count
    ResultBadArg1 = 0xA0004313,          ///< the first argument is invalid
    ResultBadArg2 = 0xA0004314,          ///< the second argument is invalid
    ResultBadArg3 = 0xA0004315,          ///< the third argument is invalid
    ResultBadArg4 = 0xA0004316,          ///< the fourth argument is invalid
    ResultBadArg5 = 0xA0004317,          ///< the fifth argument is invalid
    ResultBadArg6 = 0xA0004318,          ///< the sixth argument is invalid
    ResultBadArg7 = 0xA0004319,          ///< the seventh argument is invalid
};

/// True when `code` reports a failure.
constexpr bool isFailure(ResultCode code) noexcept
{
    return (static_cast<std::uint32_t>(code) & 0x80000000U) != 0;
}

/// Number of the argument that `code` calls invalid, 1...7; 0 for every other code.
constexpr int argumentOf(ResultCode code) noexcept
{
    return code >= ResultBadArg1 && code <= ResultBadArg7 ? static_cast<int>(code - ResultBadArg1) + 1 : 0;
}

/// Name and meaning of a status, as in "ResultBadArg3: argument 3 is invalid". The text is constant and never
/// null; a number that is no status is an "unknown status".
KO_EXPORT const char* toString(ResultCode code) noexcept;

}  // namespace ko
