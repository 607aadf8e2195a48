// Sorting and merging networks, made at compile time: lists of places to compare and exchange.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

namespace ko {

/// Comparators to be applied in order, each moving the smaller value to `low`; afterwards the value of rank i
/// is at `order[i]`.
struct SortingNetwork {
    static constexpr std::size_t mostPlaces = 234;
    static constexpr std::size_t mostComparators = 830;

    struct Comparator {
        int low;
        int high;
    };
    /// Places of values in ascending order.
    struct Sequence {
        std::array<int, mostPlaces> places{};
        int size = 0;

        constexpr void append(int place) { places[static_cast<std::size_t>(size++)] = place; }
        constexpr int at(int i) const { return places[static_cast<std::size_t>(i)]; }
        /// Every other place, from the first or the second one on.
        constexpr Sequence half(int first) const
        {
            Sequence result;
            for (int i = first; i < size; i += 2)
                result.append(at(i));
            return result;
        }
    };

    std::array<Comparator, mostComparators> comparators{};
    std::size_t size = 0;
    Sequence order;

    /// Joins two sorted sequences: evens and odds by themselves, then each odd one with the even one behind
    /// it. Works for any two lengths.
    constexpr Sequence merge(const Sequence& a, const Sequence& b)
    {
        Later later;
        const Sequence result = merge(a, b, 0, later);
        std::sort(later.comparators.begin(), later.comparators.begin() + later.size);
        for (int i = 0; i < later.size; ++i)
            comparators[size++] = later.comparators[static_cast<std::size_t>(i)].comparator;
        return result;
    }

    /// Sorts the places first ... first + count - 1.
    constexpr Sequence sort(int first, int count)
    {
        if (count == 1) {
            Sequence result;
            result.append(first);
            return result;
        }
        const Sequence left = sort(first, count / 2);
        return merge(left, sort(first + count / 2, count - count / 2));
    }

private:
    /// Merges up to this length are made one after the other, each in registers. Those that join them run in step,
    /// from the lowest rank up: each takes values that have just been made, instead of storing them all and
    /// loading them again.
    static constexpr int longestAlone = 16;

    struct LaterComparator {
        Comparator comparator;
        int rank;   ///< of what it makes, among all
        int depth;  ///< of the merge that it belongs to; what it needs is deeper

        constexpr bool operator<(const LaterComparator& other) const
        {
            return rank != other.rank ? rank < other.rank : depth > other.depth;
        }
    };
    struct Later {
        std::array<LaterComparator, mostComparators> comparators{};
        int size = 0;
    };

    constexpr Sequence merge(const Sequence& a, const Sequence& b, int depth, Later& later)
    {
        if (a.size == 0)
            return b;
        if (b.size == 0)
            return a;
        Sequence result;
        if (a.size == 1 && b.size == 1) {
            comparators[size++] = {a.at(0), b.at(0)};
            result.append(a.at(0));
            result.append(b.at(0));
            return result;
        }
        const Sequence evens = merge(a.half(0), b.half(0), depth + 1, later);
        const Sequence odds = merge(a.half(1), b.half(1), depth + 1, later);
        result.append(evens.at(0));
        for (int i = 0; i < odds.size; ++i) {
            result.append(odds.at(i));
            if (i + 1 < evens.size) {
                const Comparator comparator{odds.at(i), evens.at(i + 1)};
                if (a.size + b.size > longestAlone)
                    later.comparators[static_cast<std::size_t>(later.size++)] = {comparator, i << depth,
                                                                                 depth};
                else
                    comparators[size++] = comparator;
                result.append(evens.at(i + 1));
            }
        }
        if (evens.size > odds.size + 1)
            result.append(evens.at(evens.size - 1));
        return result;
    }
};

constexpr SortingNetwork sortingNetwork(int count)
{
    SortingNetwork network;
    network.order = network.sort(0, count);
    return network;
}

/// Joins sorted values at the places 0 ... a - 1 with others at a ... a + b - 1.
constexpr SortingNetwork mergingNetwork(int a, int b)
{
    SortingNetwork::Sequence left, right;
    for (int i = 0; i < a; ++i)
        left.append(i);
    for (int i = a; i < a + b; ++i)
        right.append(i);
    SortingNetwork network;
    network.order = network.merge(left, right);
    return network;
}

}  // namespace ko
