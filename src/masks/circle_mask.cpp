#include <ko/masks.h>

#include <array>
#include <cstddef>

namespace ko {

namespace {

constexpr int smallest = 2, largest = 15;

/// Widths of the centred runs of 1s, row by row, one disc after the other. Drawn, not computed: 9, 12 and 15
/// look rounder this way than any distance rule makes them.
constexpr unsigned char runWidths[] = {
    2, 2,                                                 //
    1, 3, 1,                                              //
    2, 4, 4,  2,                                          //
    3, 5, 5,  5,  3,                                      //
    2, 4, 6,  6,  4,  2,                                  //
    3, 5, 7,  7,  7,  5,  3,                              //
    4, 6, 8,  8,  8,  8,  6,  4,                          //
    3, 7, 7,  9,  9,  9,  7,  7,  3,                      //
    4, 6, 8,  10, 10, 10, 10, 8,  6,  4,                  //
    5, 7, 9,  11, 11, 11, 11, 11, 9,  7,  5,              //
    4, 8, 10, 10, 12, 12, 12, 12, 10, 10, 8,  4,          //
    5, 7, 9,  11, 13, 13, 13, 13, 13, 11, 9,  7,  5,      //
    6, 8, 10, 12, 14, 14, 14, 14, 14, 14, 12, 10, 8,  6,  //
    5, 9, 11, 13, 13, 15, 15, 15, 15, 15, 13, 13, 11, 9, 5,
};

/// Bytes of all masks before the one of diameter `size`.
constexpr std::size_t offsetOf(int size)
{
    std::size_t offset = 0;
    for (int d = smallest; d < size; ++d)
        offset += static_cast<std::size_t>(d * d);
    return offset;
}

constexpr auto drawMasks()
{
    std::array<unsigned char, offsetOf(largest + 1)> masks{};
    const unsigned char* width = runWidths;
    for (int size = smallest; size <= largest; ++size) {
        for (int row = 0; row < size; ++row, ++width) {
            const int first = (size - *width) / 2;
            for (int i = 0; i < *width; ++i)
                masks[offsetOf(size) + static_cast<std::size_t>(row * size + first + i)] = 1;
        }
    }
    return masks;
}

constexpr auto masks = drawMasks();

}  // namespace

bool GetCircleMaskByte(int size, const unsigned char** out)
{
    if (out == nullptr)
        return false;
    const bool stored = size >= smallest && size <= largest;
    *out = stored ? masks.data() + offsetOf(size) : nullptr;
    return stored;
}

}  // namespace ko
