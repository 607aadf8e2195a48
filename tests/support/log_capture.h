// Collects what is logged while it lives.
#pragma once

#include <QString>
#include <QtGlobal>

#include <mutex>
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
    {
        // Where a test lets memory run out, Qt may still have some for a line, and ends the program if its handler throws.
        m_records.reserve(64);
        const std::lock_guard lock(s_mutex);
        m_outer = std::exchange(s_current, this);
        m_handler = qInstallMessageHandler(&LogCapture::take);
    }
    ~LogCapture()
    {
        const std::lock_guard lock(s_mutex);
        qInstallMessageHandler(m_handler);
        s_current = m_outer;
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<Record> records() const
    {
        const std::lock_guard lock(s_mutex);
        return m_records;
    }

private:
    static void take(QtMsgType type, const QMessageLogContext& context, const QString& text)
    {
        const std::lock_guard lock(s_mutex);
        // A thread may have found this handler just before it was taken away.
        if (s_current != nullptr)
            s_current->m_records.push_back({type, text, context.category != nullptr ? context.category : ""});
    }

    static inline std::mutex s_mutex;  ///< threads of items write to the log at any time
    static inline LogCapture* s_current = nullptr;
    LogCapture* m_outer = nullptr;
    QtMessageHandler m_handler = nullptr;
    std::vector<Record> m_records;
};

}  // namespace ko::test
