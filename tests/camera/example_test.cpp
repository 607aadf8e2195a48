// The example program, which needs a camera to show.
#include "camera/fake_camera.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <utility>

namespace ko::test {
namespace {

/// Exit code and errors of a run. By a shell: QProcess starts programs in a way that emulators do not know.
std::pair<int, std::string> liveView(const std::string& arguments)
{
    const QTemporaryDir directory;
    QFile errors(directory.filePath("errors"));
    const std::string command = "QT_QPA_PLATFORM=offscreen timeout 60 '" KO_LIVE_VIEW "' " + arguments +
                                " 2>" + errors.fileName().toStdString();
    const int status = std::system(command.c_str());
    errors.open(QIODevice::ReadOnly);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, errors.readAll().toStdString()};
}

TEST(CameraExample, ShowsACamera)
{
    const FakeCameraProcess process;
    const QTemporaryDir directory;
    const QString picture = directory.filePath("window.png");
    const auto [code, errors] = liveView(fakeAddress.toStdString() + ' ' + picture.toStdString());
    EXPECT_EQ(code, 0) << errors;
    EXPECT_GT(QFileInfo(picture).size(), 1000);
}

TEST(CameraExample, SaysWhatIsMissing)
{
    const auto [code, errors] = liveView("nosuch");
    EXPECT_EQ(code, 1);
    EXPECT_NE(errors.find("no camera nosuch found\n"), std::string::npos) << errors;
}

}  // namespace
}  // namespace ko::test
