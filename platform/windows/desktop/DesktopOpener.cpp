#include "platform/windows/desktop/DesktopOpener.h"

#include <shellapi.h>
#include <string>

namespace {

// The result is a number in the place of a handle.
OpenResult resultOf(HINSTANCE answer) {
    const DWORD error = GetLastError();
    return {static_cast<std::int64_t>(reinterpret_cast<INT_PTR>(answer)), error};
}

} // namespace

OpenResult openUrlBy(const ShellExecuteCall& shellExecute, const QString& url) {
    return resultOf(
        shellExecute(nullptr, L"open", url.toStdWString().c_str(), nullptr, nullptr, SW_SHOWNORMAL));
}

// Without a verb the file's default action runs.
OpenResult openFileBy(const ShellExecuteCall& shellExecute, const QString& path, const QString& folder) {
    return resultOf(shellExecute(nullptr, nullptr, path.toStdWString().c_str(), nullptr,
                                 folder.toStdWString().c_str(), SW_SHOWNORMAL));
}

OpenResult openUrlByDesktop(const QString& url) {
    return openUrlBy(ShellExecuteW, url);
}

OpenResult openFileByDesktop(const QString& path, const QString& folder) {
    return openFileBy(ShellExecuteW, path, folder);
}
