// The date that frames are stamped with.
#pragma once

#include <QDateTime>

namespace ko {

/// `QDateTime::currentDateTime()`, made once in a millisecond, which is as fine as it counts. To make it takes as long as
/// to convert a small frame: the system looks three times whether its time zone has changed.
inline QDateTime currentFrameDate()
{
    struct Moment {
        qint64 milliseconds = -1;
        QDateTime date;
    };
    thread_local Moment last;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (now != last.milliseconds)
        last = {now, QDateTime::fromMSecsSinceEpoch(now)};
    return last.date;
}

}  // namespace ko
