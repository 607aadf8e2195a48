// From an input to calls.
#pragma once

#include "fuzz/support/byte_reader.h"
#include "fuzz/support/outcome.h"

#include <span>
#include <vector>

namespace ko::fuzz {

/// Makes arguments from the input, calls an operation and adds everything it gave back to the outcome.
using Case = void (*)(ByteReader& in, Outcome& out);
using Cases = std::vector<Case>;

/// The cases of several families as one list.
template <class... Families>
Cases joined(const Families&... families)
{
    Cases all;
    (all.insert(all.end(), families.begin(), families.end()), ...);
    return all;
}

/// Runs the case that the first byte names, once per kernel build that this processor can execute, and ends
/// the process where two of them differ. The second byte makes some inputs run with several threads as well,
/// and lets memory run out in others.
void run(const Cases& cases, const std::uint8_t* data, std::size_t size);

/// Runs the case that the first byte names, as it is.
void runOnce(const Cases& cases, const std::uint8_t* data, std::size_t size);

}  // namespace ko::fuzz

/// The entry of a room's fuzzer: the families of cases that it has.
#define KO_FUZZ_ROOM(...)                                                                                    \
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)                        \
    {                                                                                                        \
        static const ko::fuzz::Cases cases = ko::fuzz::joined(__VA_ARGS__);                                  \
        ko::fuzz::run(cases, data, size);                                                                    \
        return 0;                                                                                            \
    }
