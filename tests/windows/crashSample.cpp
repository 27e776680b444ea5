// crashSample fault|abort|tell: crashes in the named way, or prints the paths of the new reports.

#include "platform/CrashReports.h"
#include "platform/LogTail.h"

#include <QString>

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <windows.h>

namespace {

[[gnu::noinline]] void writeToNowhere() {
    volatile int* volatile nowhere = reinterpret_cast<int*>(0x10);
    *nowhere = 1;
}

} // namespace

int main(int argc, char* argv[]) {
    const std::string_view way = argc == 2 ? argv[1] : "";
    // No window that waits for somebody.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    keepLogTail();
    reportCrashes({"VEXO", "Crash test", "1.2.3"});
    logTail().append("a line before the crash");
    if (way == "fault") {
        writeToNowhere();
    } else if (way == "abort") {
        std::abort();
    }
    for (const QString& path : newCrashReports()) {
        std::printf("%s\n", path.toUtf8().constData());
    }
    return 0;
}
