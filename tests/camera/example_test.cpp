// The example program, which needs a camera to show.
#include "camera/fake_camera.h"

#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

/// Exit code and errors of a run.
std::pair<int, std::string> liveView(const QStringList& arguments)
{
    QProcess program;
    program.setProgram(QStringLiteral(KO_LIVE_VIEW));
    program.setArguments(arguments);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    program.setProcessEnvironment(environment);
    program.start();
    if (!program.waitForFinished(60'000)) {
        program.kill();
        program.waitForFinished();
        return {-1, "does not end"};
    }
    return {program.exitCode(), program.readAllStandardError().toStdString()};
}

TEST(CameraExample, ShowsACamera)
{
    const FakeCameraProcess process;
    const QTemporaryDir directory;
    const QString picture = directory.filePath("window.png");
    const auto [code, errors] = liveView({fakeAddress, picture});
    EXPECT_EQ(code, 0) << errors;
    EXPECT_GT(QFileInfo(picture).size(), 1000);
}

TEST(CameraExample, SaysWhatIsMissing)
{
    const auto [code, errors] = liveView({"nosuch"});
    EXPECT_EQ(code, 1);
    EXPECT_TRUE(QString::fromStdString(errors).contains("no camera nosuch found\n")) << errors;
}

}  // namespace
}  // namespace ko::test
