// Collects what is logged while it lives.
#pragma once

#include <QString>
#include <QtGlobal>

#include <string>
#include <utility>
#include <vector>

namespace ko::test {

class LogCapture {
public:
    struct Record {
        QtMsgType type;
        QString text;
        std::string category;  ///< of the logger; empty where it has none
    };

    LogCapture()
        : m_outer(std::exchange(s_current, this)), m_handler(qInstallMessageHandler(&LogCapture::take))
    {
        // Where a test lets memory run out, Qt may still have some for a line, and ends the program if its handler throws.
        m_records.reserve(64);
    }
    ~LogCapture()
    {
        qInstallMessageHandler(m_handler);
        s_current = m_outer;
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const std::vector<Record>& records() const { return m_records; }

private:
    static void take(QtMsgType type, const QMessageLogContext& context, const QString& text)
    {
        s_current->m_records.push_back({type, text, context.category != nullptr ? context.category : ""});
    }

    static inline LogCapture* s_current = nullptr;
    LogCapture* m_outer;
    QtMessageHandler m_handler;
    std::vector<Record> m_records;
};

}  // namespace ko::test
