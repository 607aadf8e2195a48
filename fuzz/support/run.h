// From an input to calls.
#pragma once

#include "fuzz/support/byte_reader.h"
#include "fuzz/support/outcome.h"

#include <cstdint>
#include <initializer_list>
#include <map>
#include <vector>

namespace ko::fuzz {

/// Makes arguments from the input, calls an operation and adds everything it gave back to the outcome.
struct Case {
    const char* name;  ///< the inputs find the case by it: one that is renamed loses them
    void (*call)(ByteReader& in, Outcome& out);
};
using Cases = std::vector<Case>;

/// The cases of a room by ids that are made of their names, so that a new case leaves the inputs of the others alone.
class CaseTable {
public:
    /// Ends the process where two names have the same id; one of them must change.
    CaseTable(std::initializer_list<Cases> families);

    /// The case with this id, or with the next higher one that there is: a mutated id still leads to a case.
    const Case& at(std::uint16_t id) const;

private:
    std::map<std::uint16_t, Case> m_cases;
};

/// Runs the case whose id the input begins with, once per kernel build that this processor can execute, and ends
/// the process where two of them differ. The third byte makes some inputs run with several threads as well,
/// and lets memory run out in others.
void run(const CaseTable& cases, const std::uint8_t* data, std::size_t size);

/// Runs the case whose id the input begins with, as it is.
void runOnce(const CaseTable& cases, const std::uint8_t* data, std::size_t size);

}  // namespace ko::fuzz

/// The entry of a room's fuzzer: the families of cases that it has.
#define KO_FUZZ_ROOM(...)                                                                                    \
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)                        \
    {                                                                                                        \
        static const ko::fuzz::CaseTable cases{__VA_ARGS__};                                                 \
        ko::fuzz::run(cases, data, size);                                                                    \
        return 0;                                                                                            \
    }
