#include "live/camera_list.h"

#include "cli/command.h"
#include "cli/failure.h"

#include <iostream>
#include <stdexcept>

#ifdef KO_HAS_CAMERA
#include "cli/table.h"

#include <ko/camera.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#endif

namespace ko::tool {

#ifdef KO_HAS_CAMERA

namespace {

void printJson(const QVector<SxCameraInfo>& cameras)
{
    QJsonArray list;
    for (const SxCameraInfo& camera : cameras)
        list.append(QJsonObject{{"id", camera.id},
                                {"vendor", camera.vendor},
                                {"model", camera.model},
                                {"serial", camera.serial},
                                {"address", camera.address},
                                {"protocol", camera.protocol}});
    std::cout << QJsonDocument(list).toJson().toStdString();
}

void printTable(const QVector<SxCameraInfo>& cameras)
{
    Table table({"id", "vendor", "model", "serial", "address", "protocol"});
    for (const SxCameraInfo& camera : cameras) {
        std::vector<std::string> row;
        for (const QString& cell :
             {camera.id, camera.vendor, camera.model, camera.serial, camera.address, camera.protocol})
            row.push_back(printable(cell.toStdString()));
        table.add(std::move(row));
    }
    std::cout << table.text();
}

}  // namespace

int listCameras(bool asJson)
{
    const QVector<SxCameraInfo> cameras = ListCameras();
    if (asJson)
        printJson(cameras);
    else if (cameras.isEmpty())
        std::cout << "no cameras\n";
    else
        printTable(cameras);
    return ExitOk;
}

#else

int listCameras(bool /*asJson*/)
{
    throw std::runtime_error("this ko has been built without cameras");
}

#endif

}  // namespace ko::tool
