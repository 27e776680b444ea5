#pragma once

// Icons that others have drawn are read and decoded in a process of their own, "VexoIcons", which is the same
// program with another word: a picture may keep its reader busy for hours, and a process can be ended, a
// thread cannot. On Windows the system draws the icons of programs itself: there is no such process, and the
// functions here do nothing.

#include <memory>
#include <optional>

/// The first call of main(). In a helper: serves until the program ends or needs it no more, then returns the
/// exit code. Elsewhere returns nothing, and from then on the program can have a helper; a program that does
/// not call this has no icons.
[[nodiscard]] std::optional<int> serveAsIconHelper(int argc, char* argv[]);

/// While what is returned lasts, a helper that has started stays for the next icon. Any thread. May be null.
[[nodiscard]] std::shared_ptr<void> holdIconHelper();

/// While set, no icon is read: who waits for one goes on without it within 100 ms. Any thread.
void giveUpIcons(bool givenUp);
