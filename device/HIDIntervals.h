#pragma once

/// The times of the device manager, its readers and its writers. Tests shorten them.
struct HIDIntervals {
    /// Between two scans of the bus.
    int scanMs = 2000;
    /// How long a reader waits for a report before it checks whether its interface was closed.
    int readTimeoutMs = 50;
    /// How long one write may last before its interface is given up.
    int writeLimitMs = 2000;
};
