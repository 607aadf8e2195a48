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

template <class Rows, class... Value>
void combine(const SxImageBuf& src, SxImageBuf& dst, Rows rows, Value... value)
{
    pairsStatic(src, dst, src.width, [&](const RowPairs& pairs) noexcept { rows(pairs, value...); });
}

/// And and Or: integers only, a value cut to the sample, 1 where there is none.
ResultCode combineIntegers(const SxImageBuf& src, SxImageBuf& dst, const QVariant* value,
                           PerIntegerSize<LogicRows> LogicKernels::*kernel)
{
    if (const ResultCode rc = checkPair(src, dst))
        return rc;
    return dispatch(IntegersByType{}, src.dataType,
                    {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(dst)}},
                    [&]<class T>(std::type_identity<T>) {
                        const T set = value ? plainValue<T>(*value) : T{1};
                        const LogicRows rows = (logicKernels().*kernel).template of<T>();
                        combine(src, dst, rows, bytesOf(set));
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
                                const LogicPassRows rows = logicKernels().passOne.of<T>();
                                combine(src, dst, rows);
                                return;
                            }
                            const T set = typedValue<T>(*value);
                            const LogicRows rows = logicKernels().one.of<T>();
                            combine(src, dst, rows, bytesOf(set));
                        });
    });
}

}  // namespace ko
