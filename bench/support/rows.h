// Declaring benchmark rows. bench/README.md shows how.
#pragma once

#include <ko/result.h>

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

namespace ko::bench {

/// What the row is measured against.
struct Peer {
    std::string name;           ///< as the table shows it
    std::function<void()> run;  ///< empty: nobody else does this
};

/// The memory traffic that no implementation can do without, in bytes.
struct Traffic {
    std::size_t read = 0;
    std::size_t written = 0;
    std::size_t rewritten = 0;  ///< read and written back to the same place
};

/// Sizes of rows that show what a call costs beside its work, and whether large images cost more per sample.
inline constexpr int tinyImage = 64, smallImage = 256, hugeImage = 16384;

/// One row ready to be measured. The callables own what they work on: capture images by copy.
struct Work {
    std::function<ResultCode()> ours;
    Peer peer = {};
    Traffic limit = {};
    std::function<void()> before =
        {};                      ///< untimed, before every call; for operations that use up their input
    bool hasOwnThreads = false;  ///< works on threads that it keeps: count the CPU time of all threads
};

struct Row {
    std::string operation;
    std::string type;
    std::function<Work(int size)> make;
    int size = 2048;  ///< images are size x size

    /// Operation/type/size/threads.
    std::string name(int threads) const;
};

/// Enters rows into the program. One constant per bench file.
class Rows {
public:
    Rows(std::initializer_list<Row> rows);
    static std::vector<Row>& all();
};

}  // namespace ko::bench
