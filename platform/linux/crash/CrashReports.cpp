#include "platform/CrashReports.h"

#include "platform/LogLine.h"
#include "platform/LogTail.h"
#include "platform/linux/crash/Backtrace.h"
#include "platform/linux/crash/LastWords.h"
#include "platform/linux/crash/ReportText.h"
#include "platform/linux/system/FileDescriptor.h"
#include "platform/linux/system/PrivateFolder.h"
#include "platform/linux/system/SignalStack.h"

#include <QFile>
#include <QStandardPaths>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::array kCrashSignals{SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
constexpr std::array<std::string_view, kCrashSignals.size()> kSignalNames{"SIGSEGV", "SIGBUS", "SIGFPE",
                                                                          "SIGILL", "SIGABRT"};
// A report that takes longer, as on a disk that does not answer, is given up.
constexpr unsigned kReportLimitS = 10;

constexpr const char* kFolderName = "crashes";

// What the handler needs, put together before.
struct Prepared {
    pid_t process = 0;
    FileDescriptor folder;
    std::string folderPath;
    std::string fileName;
    std::string title;
    std::array<struct sigaction, kCrashSignals.size()> former{};
    std::array<bool, kCrashSignals.size()> isIgnored{};
};

Prepared& prepared() {
    static auto* const state = new Prepared; // a crash may come after the end of static objects
    return *state;
}

// ---- in the handler: only what is allowed there

std::atomic<pid_t> reportingThread{0};
std::atomic<int> reportedSignal{0};

pid_t thisThread() {
    return static_cast<pid_t>(syscall(SYS_gettid));
}

std::size_t placeOf(int number) {
    return static_cast<std::size_t>(std::ranges::find(kCrashSignals, number) - kCrashSignals.begin());
}

void writeSignal(ReportText& report, int number, const siginfo_t& info) {
    report << "signal: ";
    report.decimal(number) << " " << kSignalNames[placeOf(number)] << ", code ";
    report.decimal(info.si_code);
    if (info.si_code > 0) {
        report << ", address ";
        report.hexadecimal(reinterpret_cast<std::uintptr_t>(info.si_addr));
    } else if (info.si_pid != prepared().process) {
        report << ", sent by process ";
        report.decimal(info.si_pid);
    }
    report << "\n";
    if (const std::string_view words = lastWords(); !words.empty()) {
        report << "message: " << words << "\n";
    }
}

void writeCircumstances(ReportText& report) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    report << "time: ";
    report.time(now.tv_sec) << " UTC\nprocess: ";
    std::array<char, 17> threadName{};
    prctl(PR_GET_NAME, threadName.data());
    report.decimal(prepared().process) << ", thread ";
    report.decimal(thisThread()) << " \"" << threadName.data() << "\"\n";
    utsname system{};
    uname(&system);
    report << "system: " << system.sysname << " " << system.release << " " << system.machine << "\n";
}

void writeLogLine(ReportText& report, std::string_view line) {
    report << "  ";
    readWithoutSecrets(line, [&report](std::string_view part) { report << part; });
    report << "\n";
}

void writeLog(ReportText& report) {
    report << "\nlast lines of the log:\n";
    logTail().read([&report](std::string_view line) { writeLogLine(report, line); });
    std::array<char, kLogTailLineBytes> text;
    if (const std::size_t size = unfinishedLogLine(text); size > 0) {
        writeLogLine(report, {text.data(), size});
    }
}

// Says on the standard error where the report is. An empty one is removed: nobody is to look for it.
void writeNotice(int number, int file, bool isWhole) {
    const Prepared& place = prepared();
    struct stat status{};
    const bool isThere = file >= 0 && fstat(file, &status) == 0;
    ReportText notice(-1);
    notice << place.title << " crashed (" << kSignalNames[placeOf(number)] << ")";
    if (isThere && status.st_size > 0) {
        notice << (isWhole ? ": the report is " : ": the first part of the report is ") << place.folderPath
               << "/" << place.fileName;
    } else if (isThere) {
        unlinkat(place.folder.get(), place.fileName.c_str(), 0);
    }
    notice << "\n";
    notice.flush();
}

// What is most likely to succeed comes first: a damaged process may end on the way.
void writeReport(int number, const siginfo_t& info) {
    Prepared& place = prepared();
    const int file = place.folder.isOpen()
                         ? openat(place.folder.get(), place.fileName.c_str(),
                                  O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR)
                         : -1;
    ReportText report(file);
    report << place.title << " crashed\n";
    writeSignal(report, number, info);
    writeCircumstances(report);
    writeLog(report);
    report << "\nbacktrace:\n";
    report.flush();
    writeBacktrace(report);
    report << "end of the report\n";
    writeNotice(number, file, report.flush());
}

// Ends the process by the crash's signal, on whatever thread.
void giveUpReport(int) {
    const int number = reportedSignal;
    struct sigaction action{};
    action.sa_handler = SIG_DFL;
    sigaction(number, &action, nullptr);
    sigset_t crash;
    sigemptyset(&crash);
    sigaddset(&crash, number);
    pthread_sigmask(SIG_UNBLOCK, &crash, nullptr);
    raise(number);
}

// Whether the signal would have no effect without the report: who starts a program can let it ignore a
// signal, but a fault of its own and abort() end it all the same.
bool isWithoutEffect(int number, const siginfo_t& info) {
    return prepared().isIgnored[placeOf(number)] && info.si_code <= 0 && info.si_pid != getpid();
}

void handleCrash(int number, siginfo_t* info, void*) {
    if (isWithoutEffect(number, *info)) {
        return;
    }
    if (getpid() == prepared().process) {
        pid_t nobody = 0;
        if (reportingThread.compare_exchange_strong(nobody, thisThread())) {
            reportedSignal = number;
            struct sigaction action{};
            action.sa_handler = giveUpReport;
            sigaction(SIGALRM, &action, nullptr);
            alarm(kReportLimitS);
            writeReport(number, *info);
            alarm(0);
        } else if (nobody != thisThread()) {
            // Another thread crashed first; it ends the process.
            while (true) {
                pause();
            }
        }
    }
    // The signal comes again when this returns, with what it said the first time, and takes its course.
    sigaction(number, &prepared().former[placeOf(number)], nullptr);
    if (syscall(SYS_rt_tgsigqueueinfo, getpid(), thisThread(), number, info) != 0) {
        syscall(SYS_tgkill, getpid(), thisThread(), number);
    }
}

// ---- before and after

std::string startTime() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    std::array<char, 32> text{};
    const std::size_t size = std::strftime(text.data(), text.size(), "%Y%m%d-%H%M%S", &parts);
    return {text.data(), size};
}

void prepare(const CrashingProgram& program) {
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const std::string base = QFile::encodeName(data).toStdString();
    Prepared& place = prepared();
    place.process = getpid();
    place.folder = openPrivateFolder(base, {program.organization, program.name, kFolderName});
    place.folderPath = base + '/' + program.organization + '/' + program.name + '/' + kFolderName;
    place.fileName = "crash-" + startTime() + '-' + std::to_string(place.process) + ".txt";
    place.title = program.name + ' ' + program.version;
}

struct Report {
    std::string name;
    // One that has been told of is read-only.
    bool isNew = false;
    std::int64_t crashNs = 0; // since 1970; the name has the time of the start
};

// Regular files of this user with the names of reports: those that have been told of, then the others, each
// the oldest first.
std::vector<Report> reportsIn(const FileDescriptor& folder) {
    std::vector<Report> found;
    const int again = openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR*)> list(again < 0 ? nullptr : fdopendir(again), closedir);
    while (const dirent* const entry = list ? readdir(list.get()) : nullptr) {
        const std::string_view name(entry->d_name);
        struct stat status{};
        if (isCrashReportName(name) &&
            fstatat(folder.get(), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode) && status.st_uid == geteuid()) {
            const std::chrono::nanoseconds crash = std::chrono::seconds(status.st_mtim.tv_sec) +
                                                   std::chrono::nanoseconds(status.st_mtim.tv_nsec);
            found.push_back({std::string(name), (status.st_mode & S_IWUSR) != 0, crash.count()});
        }
    }
    std::ranges::sort(found, {}, [](const Report& report) {
        return std::tuple(report.isNew, report.crashNs, std::string_view(report.name));
    });
    return found;
}

} // namespace

void reportCrashes(const CrashingProgram& program) {
    prepare(program);
    prepareBacktrace();
    prepareLastWords();
    giveSignalStack();
    struct sigaction action{};
    action.sa_sigaction = handleCrash;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    // A crash within the handler ends the process; a file that may not grow does not.
    sigemptyset(&action.sa_mask);
    for (const int number : kCrashSignals) {
        sigaddset(&action.sa_mask, number);
    }
    sigaddset(&action.sa_mask, SIGXFSZ);
    sigaddset(&action.sa_mask, SIGPIPE);
    for (const int number : kCrashSignals) {
        struct sigaction& former = prepared().former[placeOf(number)];
        sigaction(number, &action, &former);
        if ((former.sa_flags & SA_SIGINFO) == 0 && former.sa_handler == SIG_IGN) {
            former.sa_handler = SIG_DFL;
            prepared().isIgnored[placeOf(number)] = true;
        }
    }
}

QStringList newCrashReports() {
    const Prepared& place = prepared();
    if (!place.folder.isOpen()) {
        return {};
    }
    std::vector<Report> reports = reportsIn(place.folder);
    constexpr auto kMost = static_cast<std::size_t>(kMostCrashReports);
    const auto surplus = static_cast<std::ptrdiff_t>(reports.size() - std::min(reports.size(), kMost));
    for (std::ptrdiff_t at = 0; at < surplus; ++at) {
        unlinkat(place.folder.get(), reports[static_cast<std::size_t>(at)].name.c_str(), 0);
    }
    reports.erase(reports.begin(), reports.begin() + surplus);
    QStringList paths;
    for (const Report& report : reports) {
        if (report.isNew) {
            // Where this is refused, the next start tells of the report again.
            static_cast<void>(!fchmodat(place.folder.get(), report.name.c_str(), S_IRUSR, 0));
            paths.append(QFile::decodeName((place.folderPath + '/' + report.name).c_str()));
        }
    }
    return paths;
}
