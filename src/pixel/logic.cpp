#include <ko/pixel.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
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
                        rowsStatic(workOn(src, dst), [&](std::int64_t y) noexcept {
                            row(rowOf(src, y), rowOf(dst, y), src.width, bytesOf(set));
                        });
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
                                rowsStatic(workOn(src, dst), [&](std::int64_t y) noexcept {
                                    row(rowOf(src, y), rowOf(dst, y), src.width);
                                });
                                return;
                            }
                            const T set = typedValue<T>(*value);
                            const LogicRow row = logicKernels().one.of<T>();
                            rowsStatic(workOn(src, dst), [&](std::int64_t y) noexcept {
                                row(rowOf(src, y), rowOf(dst, y), src.width, bytesOf(set));
                            });
                        });
    });
}

}  // namespace ko
