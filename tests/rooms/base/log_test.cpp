#include "base/log.h"
#include "support/failing_new.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(ErrorLog, IsOneCriticalRecordOfThreeItems)
{
    LogCapture log;
    logError(QStringLiteral("Invalid ROI."));
    ASSERT_EQ(log.records().size(), 1U);
    EXPECT_EQ(log.records()[0].type, QtCriticalMsg);
    EXPECT_EQ(log.records()[0].text, QStringLiteral("ERROR | \"Invalid ROI.\""));
}

TEST(ErrorLog, HasTheDefaultCategory)
{
    LogCapture log;
    logError(QStringLiteral("Invalid ROI."));
    EXPECT_EQ(log.records().at(0).category, "default");
}

TEST(ErrorLog, IsLeftOutWhereMemoryDoesNotSufficeForIt)
{
    const QString message = QStringLiteral("Invalid ROI.");
    LogCapture log;
    {
        const NewFailure failure(0);
        logError(message);
        EXPECT_TRUE(NewFailure::hasStruck());
    }
    EXPECT_TRUE(log.records().empty());
}

TEST(ErrorLog, TakesPercentSignsAsText)
{
    LogCapture log;
    logError(QStringLiteral("50 %1 of it"));
    EXPECT_EQ(log.records().at(0).text, QStringLiteral("ERROR | \"50 %1 of it\""));
}

}  // namespace
}  // namespace ko::test
