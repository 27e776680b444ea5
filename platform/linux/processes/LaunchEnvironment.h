#pragma once

#include <string>
#include <vector>

/// The environment for processes that this one starts, each entry "NAME=value": without the variables of
/// setOwnVariable() (see platform/LaunchedProcess.h). Any thread.
[[nodiscard]] std::vector<std::string> launchEnvironment();
