#include "core/cache_size.h"
#include "support/failing_new.h"

#include <ko/image.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

namespace ko::test {
namespace {

/// A directory of cache descriptions like the system's.
class CacheDirectory {
public:
    CacheDirectory()
        : m_path(std::filesystem::path(testing::TempDir()) /
                 testing::UnitTest::GetInstance()->current_test_info()->name())
    {
        std::filesystem::create_directories(m_path);
    }
    ~CacheDirectory() { std::filesystem::remove_all(m_path); }

    void add(int index, const char* level, const char* type, const char* size)
    {
        const auto cache = m_path / ("index" + std::to_string(index));
        std::filesystem::create_directory(cache);
        std::ofstream(cache / "level") << level << '\n';
        std::ofstream(cache / "type") << type << '\n';
        std::ofstream(cache / "size") << size << '\n';
    }
    std::string path() const { return m_path.string(); }

private:
    std::filesystem::path m_path;
};

TEST(CacheSizes, ComeFromTheSecondLevelThatHoldsData)
{
    CacheDirectory caches;
    caches.add(0, "1", "Data", "48K");
    caches.add(1, "1", "Instruction", "32K");
    EXPECT_EQ(l2CacheSizeFrom(caches.path().c_str()), 0U);
    caches.add(2, "2", "Instruction", "512K");
    EXPECT_EQ(l2CacheSizeFrom(caches.path().c_str()), 0U);
    caches.add(3, "2", "Unified", "1280K");
    EXPECT_EQ(l2CacheSizeFrom(caches.path().c_str()), 1280U * 1024U);
}

TEST(CacheSizes, AreNoneWithoutMemoryForAPath)
{
    CacheDirectory caches;
    caches.add(2, "2", "Unified", "1280K");
    const std::string path = caches.path();
    unsigned size = 1;
    {
        const NewFailure none(0);
        size = l2CacheSizeFrom(path.c_str());
    }
    EXPECT_EQ(size, 0U);
}

TEST(CacheSizes, HaveUnits)
{
    CacheDirectory caches;
    const std::pair<const char*, unsigned> sizes[] = {
        {"2M", 2U << 20}, {"3K", 3U << 10}, {"4096", 4096U}, {"", 0U}, {"none", 0U}, {"99999M", 0U},
    };
    for (const auto& [text, bytes] : sizes) {
        caches.add(0, "2", "Unified", text);
        EXPECT_EQ(l2CacheSizeFrom(caches.path().c_str()), bytes) << text;
    }
}

TEST(CacheSizes, AreUnknownWithoutDescriptions)
{
    EXPECT_EQ(l2CacheSizeFrom("/nowhere"), 0U);
}

TEST(L2CacheSizeValues, AreThoseOfARealProcessorAndTheSameInEveryThread)
{
    const unsigned size = L2CacheSize();
    EXPECT_TRUE(size == 0 || (size >= (16U << 10) && size <= (1U << 30))) << size;
    std::vector<unsigned> sizes(4);
    std::vector<std::thread> threads;
    for (unsigned& seen : sizes)
        threads.emplace_back([&seen] { seen = L2CacheSize(); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(sizes, std::vector<unsigned>(4, size));
}

}  // namespace
}  // namespace ko::test
