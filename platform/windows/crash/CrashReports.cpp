#include "platform/CrashReports.h"

#include "platform/LogTail.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <shlobj.h>
#include <string>
#include <string_view>
#include <windows.h>

namespace {

constexpr int kMostFrames = 64;
// What the handler needs of a stack that is used up.
constexpr ULONG kHandlerBytes = 64UL << 10U;

struct Prepared {
    QString folder;
    std::wstring path;
    std::string title;
};

Prepared& prepared() {
    static auto* const state = new Prepared; // a crash may come after the end of static objects
    return *state;
}

std::atomic<DWORD> reportingThread{0};

// Writes without the C library's buffers, which the crash may have hit.
class Report {
public:
    Report()
        : file(CreateFileW(prepared().path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                           FILE_ATTRIBUTE_NORMAL, nullptr)) {}
    ~Report() {
        if (file != INVALID_HANDLE_VALUE) {
            CloseHandle(file);
        }
    }
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    Report& operator<<(std::string_view text) {
        DWORD written = 0;
        if (file != INVALID_HANDLE_VALUE) {
            WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
        }
        return *this;
    }
    Report& hexadecimal(std::uint64_t number) {
        std::array<char, 32> text{};
        const int size =
            std::snprintf(text.data(), text.size(), "0x%llx", static_cast<unsigned long long>(number));
        return *this << std::string_view(text.data(), static_cast<std::size_t>(size));
    }
    Report& path(const wchar_t* wide) {
        std::array<char, std::size_t{3} * MAX_PATH> text{};
        const int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), static_cast<int>(text.size()),
                                             nullptr, nullptr);
        return *this << std::string_view(text.data(), size > 0 ? static_cast<std::size_t>(size - 1) : 0);
    }

private:
    HANDLE file;
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

void writeReport(std::string_view what, const CONTEXT& context) {
    DWORD nobody = 0;
    if (!reportingThread.compare_exchange_strong(nobody, GetCurrentThreadId())) {
        return;
    }
    Report report;
    report << prepared().title << " crashed\nsignal: " << what << "\ntime: ";
    SYSTEMTIME now{};
    GetSystemTime(&now);
    std::array<char, 64> time{};
    const int size = std::snprintf(time.data(), time.size(), "%04d-%02d-%02d %02d:%02d:%02d UTC\n", now.wYear,
                                   now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond);
    report << std::string_view(time.data(), static_cast<std::size_t>(size)) << "\nlast lines of the log:\n";
    logTail().read([&report](std::string_view line) { report << "  " << line << "\n"; });
    report << "\nbacktrace:\n";
    writeBacktrace(report, context);
    report << "end of the report\n";
}

LONG WINAPI handleException(EXCEPTION_POINTERS* exception) {
    std::array<char, 64> text{};
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    const int size = std::snprintf(
        text.data(), text.size(), "exception 0x%08lx, address 0x%llx", record.ExceptionCode,
        static_cast<unsigned long long>(record.NumberParameters > 1 ? record.ExceptionInformation[1] : 0));
    writeReport({text.data(), static_cast<std::size_t>(size)}, *exception->ContextRecord);
    return EXCEPTION_CONTINUE_SEARCH;
}

// The C library ends the process when this returns.
void handleAbort(int) {
    CONTEXT context{};
    RtlCaptureContext(&context);
    writeReport("22 SIGABRT", context);
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
    ULONG stackBytes = kHandlerBytes;
    SetThreadStackGuarantee(&stackBytes);
    SetUnhandledExceptionFilter(handleException);
    std::signal(SIGABRT, handleAbort);
}

QStringList newCrashReports() {
    const QDir folder(prepared().folder);
    QStringList names = folder.entryList({QStringLiteral("crash-*.txt")}, QDir::Files, QDir::Name);
    while (names.size() > kMostCrashReports) {
        QFile oldest(folder.filePath(names.takeFirst()));
        oldest.setPermissions(oldest.permissions() | QFile::WriteUser);
        oldest.remove();
    }
    QStringList paths;
    for (const QString& name : names) {
        QFile file(folder.filePath(name));
        // One that has been told of is read-only.
        if (QFileInfo(file).isWritable()) {
            file.setPermissions(QFile::ReadOwner | QFile::ReadUser);
            paths.append(QDir::toNativeSeparators(file.fileName()));
        }
    }
    return paths;
}
