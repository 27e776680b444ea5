#include "platform/CrashReports.h"

#include "platform/LogLine.h"
#include "platform/LogTail.h"
#include "platform/ThreadName.h"
#include "platform/windows/system/CrashStack.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileInfoList>
#include <QStringList>
#include <QSysInfo>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <shlobj.h>
#include <string>
#include <string_view>
#include <tuple>
#include <windows.h>

namespace {

constexpr int kMostFrames = 64;
// A report that takes longer, as on a disk that does not answer, is given up.
constexpr DWORD kReportLimitMs = 10000;
// The C library's own.
constexpr UINT kAbortCode = 3;

struct Prepared {
    QString folder;
    std::wstring path;
    std::string pathText;
    std::string title;
    std::string system;
    HANDLE crashBegins = nullptr;
    HANDLE reportEnds = nullptr;
};

Prepared& prepared() {
    static auto* const state = new Prepared; // a crash may come after the end of static objects
    return *state;
}

std::atomic<DWORD> reportingThread{0};
std::atomic<UINT> exitCode{0};

std::string_view viewOf(const std::array<char, 64>& text, int size) {
    return {text.data(), static_cast<std::size_t>(size)};
}

// Writes without the C library's buffers, which the crash may have hit. What the file does not take goes to
// the standard error, if there is one.
class Report {
public:
    explicit Report(HANDLE opened) : file(opened) {}

    Report& operator<<(std::string_view text) {
        const HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
        if (isWhole && !write(file, text)) {
            isWhole = false;
        }
        if (!isWhole && !text.empty()) {
            static_cast<void>(write(error, text));
        }
        return *this;
    }
    Report& decimal(unsigned long number) {
        std::array<char, 64> text{};
        return *this << viewOf(text, std::snprintf(text.data(), text.size(), "%lu", number));
    }
    Report& hexadecimal(std::uint64_t number) {
        std::array<char, 64> text{};
        return *this << viewOf(text, std::snprintf(text.data(), text.size(), "0x%llx",
                                                   static_cast<unsigned long long>(number)));
    }
    Report& path(const wchar_t* wide) {
        std::array<char, std::size_t{3} * MAX_PATH> text{};
        const int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), static_cast<int>(text.size()),
                                             nullptr, nullptr);
        return *this << std::string_view(text.data(), size > 0 ? static_cast<std::size_t>(size - 1) : 0);
    }
    [[nodiscard]] bool isWholeSoFar() const { return isWhole; }

private:
    // Takes away what has been written.
    static bool write(HANDLE place, std::string_view& text) {
        while (!text.empty()) {
            DWORD written = 0;
            if (place == nullptr || place == INVALID_HANDLE_VALUE ||
                WriteFile(place, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) == 0 ||
                written == 0) {
                return false;
            }
            text.remove_prefix(written);
        }
        return true;
    }

    HANDLE file;
    bool isWhole = true;
};

// A line of the path of the module, the address in it, and when the module was linked, which tells its builds
// apart.
void writeFrame(Report& report, int number, DWORD64 address) {
    report << "#" << std::to_string(number) << " ";
    HMODULE module = nullptr;
    std::array<wchar_t, MAX_PATH> path{};
    if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                               GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<const wchar_t*>(address), &module) == 0 ||
        GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())) == 0) {
        report.hexadecimal(address) << " (in no module)\n";
        return;
    }
    const auto base = reinterpret_cast<DWORD64>(module);
    const auto* const start = reinterpret_cast<const IMAGE_DOS_HEADER*>(module);
    const auto* const header =
        reinterpret_cast<const IMAGE_NT_HEADERS*>(base + static_cast<DWORD64>(start->e_lfanew));
    report.path(path.data()) << " + ";
    report.hexadecimal(address - base) << " (linked ";
    report.hexadecimal(header->FileHeader.TimeDateStamp) << ")\n";
}

void writeBacktrace(Report& report, CONTEXT context) {
    for (int number = 0; number < kMostFrames && context.Rip != 0; ++number) {
        // A caller's address is that of the next instruction.
        writeFrame(report, number, number == 0 ? context.Rip : context.Rip - 1);
        DWORD64 base = 0;
        const DWORD64 stack = context.Rsp;
        if (PRUNTIME_FUNCTION function = RtlLookupFunctionEntry(context.Rip, &base, nullptr)) {
            void* data = nullptr;
            DWORD64 frame = 0;
            RtlVirtualUnwind(UNW_FLAG_NHANDLER, base, context.Rip, function, &context, &data, &frame,
                             nullptr);
        } else {
            // A function without a record has nothing on the stack but who called it.
            SIZE_T read = 0;
            DWORD64 caller = 0;
            ReadProcessMemory(GetCurrentProcess(), reinterpret_cast<const void*>(context.Rsp), &caller,
                              sizeof caller, &read);
            context.Rip = read == sizeof caller ? caller : 0;
            context.Rsp += sizeof caller;
        }
        if (context.Rsp <= stack) {
            return;
        }
    }
}

void writeCircumstances(Report& report) {
    SYSTEMTIME now{};
    GetSystemTime(&now);
    std::array<char, 64> time{};
    report << "time: "
           << viewOf(time,
                     std::snprintf(time.data(), time.size(), "%04d-%02d-%02d %02d:%02d:%02d UTC", now.wYear,
                                   now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond));
    report << "\nprocess: ";
    report.decimal(GetCurrentProcessId()) << ", thread ";
    report.decimal(GetCurrentThreadId()) << "\nsystem: " << prepared().system << "\n";
}

// Says on the standard error where the report is. An empty one is removed: nobody is to look for it.
void writeNotice(HANDLE file, bool isWhole) {
    const Prepared& place = prepared();
    LARGE_INTEGER size{};
    const bool isThere = file != INVALID_HANDLE_VALUE && GetFileSizeEx(file, &size) != 0;
    CloseHandle(file);
    Report notice(INVALID_HANDLE_VALUE);
    notice << place.title << " crashed";
    if (isThere && size.QuadPart > 0) {
        notice << (isWhole ? ": the report is " : ": the first part of the report is ") << place.pathText;
    } else if (isThere) {
        DeleteFileW(place.path.c_str());
    }
    notice << "\n";
}

// Once: of several threads that crash the first one reports and ends the process, and the others wait for
// that.
void writeReport(std::string_view what, UINT code, const CONTEXT& context) {
    DWORD nobody = 0;
    if (!reportingThread.compare_exchange_strong(nobody, GetCurrentThreadId())) {
        if (nobody != GetCurrentThreadId()) {
            Sleep(INFINITE);
        }
        return;
    }
    exitCode = code;
    SetEvent(prepared().crashBegins);
    const HANDLE file = CreateFileW(prepared().path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    Report report(file);
    report << prepared().title << " crashed\nsignal: " << what << "\n";
    writeCircumstances(report);
    report << "\nlast lines of the log:\n";
    logTail().read([&report](std::string_view line) {
        report << "  ";
        readWithoutSecrets(line, [&report](std::string_view part) { report << part; });
        report << "\n";
    });
    report << "\nbacktrace:\n";
    writeBacktrace(report, context);
    report << "end of the report\n";
    writeNotice(file, report.isWholeSoFar());
    SetEvent(prepared().reportEnds);
}

// Ends a process whose report does not come to its end: the disk does not answer, or the thread that crashed
// waits for a lock of the system that another one holds.
DWORD WINAPI limitReport(void*) {
    nameThisThread("Crash limit");
    WaitForSingleObject(prepared().crashBegins, INFINITE);
    if (WaitForSingleObject(prepared().reportEnds, kReportLimitMs) == WAIT_TIMEOUT) {
        TerminateProcess(GetCurrentProcess(), exitCode);
    }
    return 0;
}

LONG WINAPI handleException(EXCEPTION_POINTERS* exception) {
    std::array<char, 64> text{};
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    const int size = std::snprintf(
        text.data(), text.size(), "exception 0x%08lx, address 0x%llx", record.ExceptionCode,
        static_cast<unsigned long long>(record.NumberParameters > 1 ? record.ExceptionInformation[1] : 0));
    writeReport(viewOf(text, size), record.ExceptionCode, *exception->ContextRecord);
    return EXCEPTION_CONTINUE_SEARCH;
}

// The C library ends the process when this returns.
void handleAbort(int) {
    CONTEXT context{};
    RtlCaptureContext(&context);
    writeReport("22 SIGABRT", kAbortCode, context);
}

QString dataFolder() {
    PWSTR path = nullptr;
    QString folder;
    if (SHGetKnownFolderPath(FOLDERID_RoamingAppData, KF_FLAG_DEFAULT, nullptr, &path) == S_OK) {
        folder = QDir::fromNativeSeparators(QString::fromWCharArray(path));
    }
    CoTaskMemFree(path);
    return folder;
}

} // namespace

void reportCrashes(const CrashingProgram& program) {
    Prepared& place = prepared();
    place.folder = dataFolder() + '/' + QString::fromStdString(program.organization) + '/' +
                   QString::fromStdString(program.name) + QStringLiteral("/crashes");
    QDir().mkpath(place.folder);
    const QString start = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    place.path = QDir::toNativeSeparators(
                     QStringLiteral("%1/crash-%2-%3.txt").arg(place.folder, start).arg(GetCurrentProcessId()))
                     .toStdWString();
    place.title = program.name + ' ' + program.version;
    place.pathText = QString::fromStdWString(place.path).toStdString();
    place.system = QStringLiteral("Windows %1 %2")
                       .arg(QSysInfo::kernelVersion(), QSysInfo::currentCpuArchitecture())
                       .toStdString();
    place.crashBegins = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    place.reportEnds = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (const HANDLE limit = CreateThread(nullptr, 0, limitReport, nullptr, 0, nullptr)) {
        CloseHandle(limit); // it goes on
    }
    keepStackForCrash();
    SetUnhandledExceptionFilter(handleException);
    std::signal(SIGABRT, handleAbort);
}

QStringList newCrashReports() {
    const QDir folder(prepared().folder);
    QFileInfoList reports = folder.entryInfoList({QStringLiteral("crash-*.txt")}, QDir::Files);
    reports.removeIf(
        [](const QFileInfo& report) { return !isCrashReportName(report.fileName().toStdString()); });
    // One that has been told of is read-only. The name has the time of the start.
    std::ranges::sort(reports, {}, [](const QFileInfo& report) {
        return std::tuple(report.isWritable(), report.lastModified(), report.fileName());
    });
    while (reports.size() > kMostCrashReports) {
        QFile oldest(reports.takeFirst().filePath());
        oldest.setPermissions(oldest.permissions() | QFile::WriteUser);
        oldest.remove();
    }
    QStringList paths;
    for (const QFileInfo& report : reports) {
        if (report.isWritable()) {
            QFile(report.filePath()).setPermissions(QFile::ReadOwner | QFile::ReadUser);
            paths.append(QDir::toNativeSeparators(report.filePath()));
        }
    }
    return paths;
}
