#pragma once

// Opens addresses, files, folders and programs as the desktop does when the user clicks on them. What is
// opened runs on its own: it outlives this program and shares neither its output nor its open files. The UI
// thread; nothing is waited for but the start itself.

#include <QString>

#include <cstdint>

/// How an opening went, in the numbers of Windows' ShellExecute.
struct OpenResult {
    static constexpr std::int64_t kOutOfMemory = 0;
    static constexpr std::int64_t kFileNotFound = 2;
    static constexpr std::int64_t kAccessDenied = 5;
    static constexpr std::int64_t kBadFormat = 11;
    static constexpr std::int64_t kNoProgramForIt = 31;
    static constexpr std::int64_t kOpened = 33;

    std::int64_t code = kNoProgramForIt; ///< above 32 it has opened
    std::uint32_t systemError = 0;       ///< GetLastError(), errno

    [[nodiscard]] bool isOpened() const { return code > 32; }
};

/// Opens an address in the program that the user has chosen for its scheme.
/// Linux: by xdg-open, or by gio where that is missing; an address without a scheme is the file of that
/// absolute path, else one of the web. Where opening fails later, a line of the log says so.
[[nodiscard]] OpenResult openUrlByDesktop(const QString& url);

/// Opens a file or folder: a program is started in `folder`, all else is opened in the user's program for it.
/// Linux: a program is a file that may be executed, or a desktop entry, which says itself in which folder it
/// runs (else in the user's home).
[[nodiscard]] OpenResult openFileByDesktop(const QString& path, const QString& folder);
