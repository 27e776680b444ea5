#pragma once

/// Gives memory that the process has freed back to the operating system where its allocator keeps it: what
/// the start needed (compiled shaders, decoded pictures, read documents) need not stay resident for days.
/// Takes a few milliseconds; any thread.
void returnFreedMemory();
