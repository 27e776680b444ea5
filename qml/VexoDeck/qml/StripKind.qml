import QtQml

/* What a strip of the mixer stands for: its showType. */
QtObject {
    enum ShowType {
        LiveOutput,
        MonitorOutput,
        Device,
        Source
    }
}
