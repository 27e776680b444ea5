#pragma once

// What stays of a crash: a text file "crash-<time of the start>-<process>.txt" in the folder "crashes" of the
// program's data, for its user alone. It has the signal, on Linux what the C library has said before it
// aborted, the version, the last lines of the log (LogTail.h, LogLine.h) and the backtrace: of each frame the
// module, the address in it and the module's build id, which tools/crash-report turns into functions and
// lines.
//
// After the report the crash takes its course: the process ends as without it, with its core dump if the
// system makes one. What cannot be written to the file, since the disk is full or the folder missing, goes to
// the standard error instead; a file with nothing in it is removed.

#include <QStringList>

#include <algorithm>
#include <string>
#include <string_view>

/// How many reports are kept. A program that crashes at each start writes the same one over and over; ten
/// hold what a user has met in weeks else, and take up a megabyte at most.
inline constexpr qsizetype kMostCrashReports = 10;

/// Whether a report has this name: "crash-yyyymmdd-hhmmss-process.txt". Other files of the folder are neither
/// told of nor removed.
[[nodiscard]] constexpr bool isCrashReportName(std::string_view name) {
    constexpr std::string_view kForm = "crash-dddddddd-dddddd-";
    constexpr std::string_view kEnd = ".txt";
    const auto isDigit = [](char character) {
        return character >= '0' && character <= '9';
    };
    if (name.size() <= kForm.size() + kEnd.size() || !name.ends_with(kEnd)) {
        return false;
    }
    const std::string_view process = name.substr(kForm.size(), name.size() - kForm.size() - kEnd.size());
    return std::ranges::all_of(process, isDigit) &&
           std::ranges::equal(name.substr(0, kForm.size()), kForm, [isDigit](char is, char wanted) {
               return wanted == 'd' ? isDigit(is) : is == wanted;
           });
}

/// The names that make the folder of the program's data, and what the report calls the program.
struct CrashingProgram {
    std::string organization;
    std::string name;
    std::string version;
};

/// Reports crashes from now on: on Linux the signals SIGSEGV, SIGBUS, SIGFPE, SIGILL and SIGABRT (as by
/// std::terminate), on Windows unhandled exceptions and abort(). A thread reports the overflow of its own
/// stack if it is the calling one or has a name of nameThisThread(). A report takes 10 s at most. A child of
/// fork() reports nothing. Once, at the start of main, before any other thread.
void reportCrashes(const CrashingProgram& program);

/// The paths of the reports that no call has returned yet, by the time of the crash, the oldest first; needs
/// reportCrashes(). Of more than kMostCrashReports those that have been returned before are removed first,
/// the oldest ones before others. Main thread.
[[nodiscard]] QStringList newCrashReports();
