#pragma once

/// Gives the calling thread a stack of its own for signal handlers, so that one runs even when the thread has
/// used up its stack. It lasts as long as the thread. Does nothing where the thread has one.
void giveSignalStack() noexcept;
