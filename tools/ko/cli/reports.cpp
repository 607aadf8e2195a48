#include "cli/reports.h"

#include "cli/command.h"
#include "cli/failure.h"

#include <QJsonDocument>

#include <iostream>

namespace ko::tool {

int forEachFile(const std::vector<std::string>& files, const std::function<void(const std::string&)>& work)
{
    int code = ExitOk;
    for (const std::string& file : files)
        if (const std::string trouble = troubleWith(file, [&] { work(file); }); !trouble.empty()) {
            report(trouble);
            code = ExitFailed;
        }
    return code;
}

void JsonReports::print(std::size_t filesAskedFor) const
{
    if (filesAskedFor != 1)
        std::cout << QJsonDocument(m_reports).toJson().constData();
    else if (!m_reports.empty())
        std::cout << QJsonDocument(m_reports.first().toObject()).toJson().constData();
}

}  // namespace ko::tool
