#pragma once

/// The times of the device manager and its readers. Tests shorten them.
struct HIDIntervals {
    /// Between two scans of the bus.
    int scanMs = 2000;
    /// How long a reader waits for a report before it checks whether its interface was closed.
    int readTimeoutMs = 50;
};
