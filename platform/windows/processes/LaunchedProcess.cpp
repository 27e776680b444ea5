#include "platform/LaunchedProcess.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <cstddef>
#include <cstdlib>
#include <string>
#include <windows.h>

void setOwnVariable(const char* name, const char* value) {
    const DWORD size = GetEnvironmentVariableA(name, nullptr, 0);
    std::string former(size, '\0');
    if (size > 0) {
        former.resize(GetEnvironmentVariableA(name, former.data(), size));
    }
    // The C library reads its own copy; processes that are started get the system's.
    _putenv_s(name, value);
    SetEnvironmentVariableA(name, size > 0 ? former.c_str() : nullptr);
}

void prepareLaunch(QProcess& process) {
    process.setProcessEnvironment(QProcessEnvironment::systemEnvironment());
}
