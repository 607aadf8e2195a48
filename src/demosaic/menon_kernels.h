// Row kernels of DemosaicMenon.
//
// Green is completed at the places of red and blue first. Elsewhere red and blue are straight lines of green that
// fit around, so of the rows around only these places need to be known.
#pragma once

#include "base/kernel_tables.h"
#include "demosaic/mosaic_lines.h"

#include <array>
#include <cstdint>
#include <type_traits>

namespace ko {

/// Lines of five rows, the middle one is the row to work on.
template <class E>
using FiveLines = std::array<const E*, 5>;

/// Lines of a row's colour, of the two differences mixed, of the part of the one along the row, and of what may be
/// noise: the harmonic mean of the squares of how much the two vary around, up to a limit.
struct Mixture {
    float* colours;
    float* differences;
    float* alongPart;
    float* noise;
};

/// Lines of the greens of a row, its colour less the difference, and of its colour as slope * green + offset.
struct Fit {
    float* greens;
    float* slopes;
    float* offsets;
};

/// Sums of products of changes: green by colour, green by green and colour by colour.
using Products = std::array<float*, 3>;

/// Kernels for samples of type `T`.
///
/// The estimates are multiples of an eighth. They and the sums of their changes, in quarters, are whole numbers: those
/// of bytes fit 16 bits, those of words 24 and so floats as well. Only what comes after the sums is rounded.
template <class T>
struct MenonRowKernels {
    using Element = std::conditional_t<sizeof(T) == 1, std::int16_t, std::int32_t>;
    using Line = const Element*;

    void (*split)(const std::uint8_t* mosaic, Element* first, Element* second, std::int64_t pairs) noexcept;

    /// The differences of the row's colour to the greens estimated along the row and across it, in eighths, and
    /// how much they change, in quarters: those along the row to the next pair, those across it from the last row of
    /// the same colour. `own` are the columns of the row's colour, `between` the greens of the row itself. Changes
    /// that are small beside the tolerance say nothing of how green depends on the colour.
    struct Differences {
        Element* along;
        Element* across;
        Element* alongChanges;
        Line acrossBefore;
        Element* acrossChanges;
    };
    void (*differences)(const FiveLines<Element>& own, Line between, bool colourFirst, Element tolerance,
                        const Differences& differences, std::int64_t from, std::int64_t to) noexcept;
    /// The two differences of a row mixed, the more of each the less it varies around. Changes across are those
    /// from two rows before: of the row, of the next and of the one after it.
    struct Estimates {
        Line own;
        Line along;
        Line across;
        FiveLines<Element> alongChanges;
        std::array<Line, 3> acrossChanges;
    };
    void (*mix)(const Estimates& estimates, bool colourFirst, float tolerance, const Mixture& mixture,
                std::int64_t from, std::int64_t to) noexcept;

    /// The line through each place, fitted to the changes from it and its neighbours in the row to the nearest four
    /// of the same colour. The mixtures are those of the nearest rows of that colour and of the one between. As far
    /// as the colour and green lie on that line, the difference is smoothed first, in the directions that it was mixed
    /// of. As far as the changes may be noise, the line is flat and runs through the mean of three places of the row.
    void (*fit)(const std::array<Mixture, 3>& mixtures, float tolerance, const Products& scratch,
                const Fit& fit, std::int64_t from, std::int64_t to) noexcept;

    /// The lines of a row to be made; the fits are those of the rows above, of it and below.
    struct Row {
        Line own;
        Line between;
        std::array<Fit, 3> fits;
    };
    void (*make)(const Row& row, RowKind kind, const PixelRow& dst, std::int64_t width, T top) noexcept;
};

using MenonKernels = PerDepth<MenonRowKernels<std::uint8_t>, MenonRowKernels<std::uint16_t>>;

/// The kernels of the running processor.
const MenonKernels& menonKernels();

}  // namespace ko
