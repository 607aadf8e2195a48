#include <ko/pixel.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/joined_rows.h"
#include "base/values.h"
#include "pixel/logic_kernels.h"

namespace ko {

namespace {

ResultCode checkPair(const SxImageBuf& src, const SxImageBuf& dst)
{
    return firstFailure({
        {ResultBadArg1, isPresent(src) && isMono(src)},
        {ResultBadArg2, isTwinOf(dst, src)},
    });
}

template <class Row, class... Value>
void combineRuns(const SxImageBuf& src, SxImageBuf& dst, Row row, Value... value)
{
    runsStatic(
        workOn(src, dst),
        [&](std::int64_t y, std::int64_t width) noexcept {
            row(rowOf(src, y), rowOf(dst, y), width, value...);
        },
        src, dst);
}

/// And and Or: integers only, a value cut to the sample, 1 where there is none.
ResultCode combineIntegers(const SxImageBuf& src, SxImageBuf& dst, const QVariant* value,
                           PerIntegerSize<LogicRow> LogicKernels::*kernel)
{
    if (const ResultCode rc = checkPair(src, dst))
        return rc;
    return dispatch(IntegersByType{}, src.dataType,
                    {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(dst)}},
                    [&]<class T>(std::type_identity<T>) {
                        const T set = value ? plainValue<T>(*value) : T{1};
                        const LogicRow row = (logicKernels().*kernel).template of<T>();
                        combineRuns(src, dst, row, bytesOf(set));
                    });
}

}  // namespace

ResultCode And(const SxImageBuf& src, SxImageBuf& dst, QVariant* value)
{
    return guarded([&] { return combineIntegers(src, dst, value, &LogicKernels::both); });
}

ResultCode Or(const SxImageBuf& src, SxImageBuf& dst, QVariant* value)
{
    return guarded([&] { return combineIntegers(src, dst, value, &LogicKernels::any); });
}

ResultCode Xor(const SxImageBuf& src, SxImageBuf& dst, QVariant* value)
{
    return guarded([&] {
        if (const ResultCode rc = checkPair(src, dst))
            return rc;
        return dispatch(ByType{}, src.dataType,
                        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(dst)}},
                        [&]<class T>(std::type_identity<T>) {
                            if (!value) {
                                const LogicPassRow row = logicKernels().passOne.of<T>();
                                combineRuns(src, dst, row);
                                return;
                            }
                            const T set = typedValue<T>(*value);
                            const LogicRow row = logicKernels().one.of<T>();
                            combineRuns(src, dst, row, bytesOf(set));
                        });
    });
}

}  // namespace ko
