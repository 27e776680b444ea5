#include "platform/LaunchedProcess.h"

#include "platform/linux/processes/LaunchEnvironment.h"

#include <QProcess>
#include <QStringList>

#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

// Name and what it held before; written before there are threads.
using Variables = std::map<std::string, std::optional<std::string>, std::less<>>;

Variables& ownVariables() {
    static auto* const variables = new Variables; // threads may outlive static objects
    return *variables;
}

} // namespace

void setOwnVariable(const char* name, const char* value) {
    const char* const former = std::getenv(name);
    ownVariables().try_emplace(name, former == nullptr ? std::nullopt : std::optional<std::string>(former));
    setenv(name, value, 1);
}

std::vector<std::string> launchEnvironment() {
    std::vector<std::string> entries;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text(*entry);
        if (!ownVariables().contains(text.substr(0, text.find('=')))) {
            entries.emplace_back(text);
        }
    }
    for (const auto& [name, former] : ownVariables()) {
        if (former) {
            entries.push_back(name + '=' + *former);
        }
    }
    return entries;
}

void prepareLaunch(QProcess& process) {
    QStringList environment;
    for (const std::string& entry : launchEnvironment()) {
        environment.append(QString::fromLocal8Bit(entry));
    }
    process.setEnvironment(environment);
    process.setUnixProcessParameters(QProcess::UnixProcessFlag::ResetSignalHandlers);
    // Qt's own flag for this closes the pipe, too, by which a detached process says that it could not start.
    process.setChildProcessModifier([] { close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC); });
}
