#include <ko/result.h>

namespace ko {

const char* toString(ResultCode code) noexcept
{
    // Stretch's way of saying that all went well is no enumerator.
    if (code == static_cast<ResultCode>(1))
        code = ResultOk;
    switch (code) {
    case ResultOk:
        return "ResultOk: done";
    case ResultFailed:
        return "ResultFailed: memory ran out, or a step of the operation failed";
    case ResultIncompatible:
        return "ResultIncompatible: the work buffer was made for another image format";
    case ResultOutOfRange:
        return "ResultOutOfRange: the channel count does not suit the pixel format";
    case ResultUnsupportedType:
        return "ResultUnsupportedType: no implementation for this sample type, packing or channel count";
    case ResultBadArg1:
        return "ResultBadArg1: argument 1 is invalid";
    case ResultBadArg2:
        return "ResultBadArg2: argument 2 is invalid";
    case ResultBadArg3:
        return "ResultBadArg3: argument 3 is invalid";
    case ResultBadArg4:
        return "ResultBadArg4: argument 4 is invalid";
    case ResultBadArg5:
        return "ResultBadArg5: argument 5 is invalid";
    case ResultBadArg6:
        return "ResultBadArg6: argument 6 is invalid";
    case ResultBadArg7:
        return "ResultBadArg7: argument 7 is invalid";
    }
    return "unknown status";
}

}  // namespace ko
