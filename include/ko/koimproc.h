// All public declarations of koimproc and kocore.
//
// What holds for every operation, unless it says otherwise:
//
// - Images are records over pixel memory (`SxImageBuf`). An image is *absent* when its `data` is null; a
//   record whose size is negative, or that has rows longer than its stride, is refused like an absent one.
//   Strides are in bytes; rows may start at any address.
// - Of each row only `width` pixels are touched, never the padding behind them. Nothing is read or written
//   outside `imageByteSize` bytes from `data`.
// - Outputs are the caller's: prepared before the call, never reallocated. Only the operations that say so
//   allocate.
// - A mask is a mono `UInt8` image of the size of the image that it masks; every non-zero byte selects.
// - A region (`QRect`) must lie inside its image as a whole; it is not clipped. A region or an image without
//   pixels is valid and does nothing.
// - Checks run in the order listed; the first that fails answers, and nothing has been written then.
// - Sample values of any type travel as `QVariant`; one that does not convert acts as 0.
// - Source and destination may be the same memory where each output sample depends only on the input sample
//   at the same place; neighbourhood operations do not support overlap.
// - Calls on different images may run at the same time from any threads. Threads inside an operation come
//   from OpenMP and have ended when it returns; results do not depend on their number or on the processor.
//   Small images are worked on by the calling thread alone, and so is everything where a declaration, or the
//   one that it refers to, says nothing of threads.
// - Callers keep the default rounding mode. Where doubles are computed, a caller's own mode would hold for the rows
//   of the calling thread only and not for those of other threads.
// - 64 KiB of stack are enough for any operation, for the calling thread as for those of OpenMP.
// - Nothing throws.
#pragma once

#include <ko/convert.h>
#include <ko/core.h>
#include <ko/demosaic.h>
#include <ko/filters.h>
#include <ko/masks.h>
#include <ko/median.h>
#include <ko/pipeline.h>
#include <ko/pixel.h>
#include <ko/raw.h>
#include <ko/snake.h>
#include <ko/stats.h>
#include <ko/tone.h>
