// Commands that tell something of each file.
#pragma once

#include <QJsonArray>
#include <QJsonObject>

#include <functional>
#include <string>
#include <vector>

namespace ko::tool {

/// Does `work` on every file. A failure is one line on the standard error and does not keep the others from
/// their turn. Answers with the exit code.
int forEachFile(const std::vector<std::string>& files, const std::function<void(const std::string&)>& work);

/// JSON of several files.
class JsonReports {
public:
    void add(const QJsonObject& report) { m_reports.append(report); }

    /// A single object where one file was asked for, else a list of those that could be read.
    void print(std::size_t filesAskedFor) const;

private:
    QJsonArray m_reports;
};

}  // namespace ko::tool
