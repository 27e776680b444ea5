#pragma once

#include <functional>

/// Rescues what can be saved where a library calls exit() in the midst of the program's run, as Qt does when
/// the X11 display is lost: while an object lives, exit() runs `rescue` on the thread that called it, and
/// then ends the process with 1, without the destructors of static objects, which other threads still use.
/// (When a Wayland compositor is lost, Qt ends the process by _exit(), which nothing can precede.) One object
/// at a time.
class UnexpectedExit {
public:
    explicit UnexpectedExit(std::function<void()> rescue);
    ~UnexpectedExit();
    UnexpectedExit(const UnexpectedExit&) = delete;
    UnexpectedExit& operator=(const UnexpectedExit&) = delete;
};
