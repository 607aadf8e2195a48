// Runs a table of argument checks: each row alone, then each pair of neighbours, where the earlier one
// answers.
#pragma once

#include <ko/result.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <vector>

namespace ko::test {

template <class Args>
struct CheckRow {
    const char* name;
    std::function<void(Args&)> spoil;
    ResultCode expected;
};

/// `Args` is default-constructible to valid arguments, has `ResultCode call()` and `bool outputsUntouched()`.
/// Neighbouring rows whose spoils exclude each other should stand apart in the table.
template <class Args>
void runCheckTable(const std::vector<CheckRow<Args>>& rows)
{
    {
        Args valid;
        ASSERT_FALSE(isFailure(valid.call())) << "the unspoiled call";
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        {
            Args args;
            rows[i].spoil(args);
            EXPECT_EQ(args.call(), rows[i].expected) << rows[i].name;
            EXPECT_TRUE(args.outputsUntouched()) << rows[i].name;
        }
        if (i + 1 < rows.size()) {
            Args args;
            rows[i + 1].spoil(args);
            rows[i].spoil(args);
            EXPECT_EQ(args.call(), rows[i].expected) << rows[i].name << " before " << rows[i + 1].name;
        }
    }
}

}  // namespace ko::test
