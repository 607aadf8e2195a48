#include "base/kernel_tables.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

template <class Table, class T>
concept Answers = requires(const Table& table)
{
    table.template of<T>();
};

template <class T>
struct SizeOf {
    std::size_t size = sizeof(T);
};

using Depths = ko::PerDepth<int>;
static_assert(Answers<Depths, std::uint8_t> && Answers<Depths, std::uint16_t>);
static_assert(!Answers<Depths, std::int8_t> && !Answers<Depths, std::int16_t>);
static_assert(!Answers<Depths, std::uint32_t> && !Answers<Depths, float> && !Answers<Depths, bool>);

using Unsigned = ko::PerUnsigned<int>;
static_assert(Answers<Unsigned, std::uint32_t> && !Answers<Unsigned, std::uint64_t>);
static_assert(!Answers<Unsigned, std::int32_t> && !Answers<Unsigned, float>);

using Integers = ko::PerIntegerSize<int>;
static_assert(Answers<Integers, std::int64_t> && !Answers<Integers, double>);

using Sizes = ko::PerSize<int>;
static_assert(Answers<Sizes, std::int8_t> && Answers<Sizes, double> && !Answers<Sizes, long double>);

using Types = ko::PerType<SizeOf>;
static_assert(Answers<Types, std::int8_t> && Answers<Types, double>);
static_assert(!Answers<Types, long double> && !Answers<Types, bool> && !Answers<Types, char>);

TEST(KernelTables, GiveTheEntryOfTheType)
{
    constexpr ko::PerDepth<int, long> depths{1, 2L};
    EXPECT_EQ(1, depths.of<std::uint8_t>());
    EXPECT_EQ(2L, depths.of<std::uint16_t>());
    constexpr Unsigned upTo32{1, 2, 3};
    EXPECT_EQ(1, upTo32.of<std::uint8_t>());
    EXPECT_EQ(2, upTo32.of<std::uint16_t>());
    EXPECT_EQ(3, upTo32.of<std::uint32_t>());
    constexpr Sizes sizes{{1, 2, 3, 4}, 5, 6};
    EXPECT_EQ(1, sizes.of<std::int8_t>());
    EXPECT_EQ(2, sizes.of<std::uint16_t>());
    EXPECT_EQ(3, sizes.of<std::int32_t>());
    EXPECT_EQ(4, sizes.of<std::uint64_t>());
    EXPECT_EQ(5, sizes.of<float>());
    EXPECT_EQ(6, sizes.of<double>());
}

TEST(KernelTables, HaveAnEntryMadeForEverySize)
{
    constexpr auto sizes = ko::perSize<std::size_t>([]<class T>(std::type_identity<T>) { return sizeof(T); });
    EXPECT_EQ(1U, sizes.of<std::int8_t>());
    EXPECT_EQ(2U, sizes.of<std::uint16_t>());
    EXPECT_EQ(4U, sizes.of<std::int32_t>());
    EXPECT_EQ(8U, sizes.of<std::uint64_t>());
    EXPECT_EQ(4U, sizes.of<float>());
    EXPECT_EQ(8U, sizes.of<double>());
}

TEST(KernelTables, HaveAnEntryMadeForEveryType)
{
    constexpr auto types = ko::perType<SizeOf>([]<class T>(std::type_identity<T>) { return SizeOf<T>{}; });
    EXPECT_EQ(1U, types.of<std::int8_t>().size);
    EXPECT_EQ(2U, types.of<std::uint16_t>().size);
    EXPECT_EQ(4U, types.of<float>().size);
    EXPECT_EQ(8U, types.of<std::uint64_t>().size);
}

}  // namespace
