// For tests that storm items: what these log meanwhile is not worth reading.
#pragma once

#include <QString>
#include <QtGlobal>

#include <gtest/gtest.h>

namespace ko::test {

class QuietTest : public ::testing::Test {
protected:
    QuietTest() : m_handler(qInstallMessageHandler(&swallow)) {}
    ~QuietTest() override { qInstallMessageHandler(m_handler); }

private:
    static void swallow(QtMsgType, const QMessageLogContext&, const QString&) {}

    QtMessageHandler m_handler;
};

}  // namespace ko::test
