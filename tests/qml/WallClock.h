#pragma once

#include <QObject>

// The time of day as documents see it, which a user or the network can change: the singleton WallClock of the
// module VexoDeckTest. The clock of timers and events goes on as it is.
class WallClock : public QObject {
    Q_OBJECT
    // By how much it is ahead.
    Q_PROPERTY(qint64 offsetMs READ offsetMs WRITE setOffsetMs)

public:
    using QObject::QObject;

    [[nodiscard]] static qint64 offsetMs();
    static void setOffsetMs(qint64 offset);
};
