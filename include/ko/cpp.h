// C++ on top of the operations: owners of memory, typed views of pixels, statuses as exceptions.
//
// Only headers, for C++17 and later. The operations are those of `ko/koimproc.h`; what is here makes their
// arguments and looks at their answers:
//
//     ko::Image colour(640, 480, 3, ko::UInt16, 12);
//     ko::orThrow(ko::Demosaic(raw, colour, nullptr));
//     for (const auto row : colour.view<std::uint16_t>())
//         ...
//
// Unlike the operations, these classes and functions throw: `ko::Error`, and nothing else.
#pragma once

#include <ko/cpp/buffers.h>
#include <ko/cpp/error.h>
#include <ko/cpp/image.h>
#include <ko/cpp/view.h>
#include <ko/threads.h>
