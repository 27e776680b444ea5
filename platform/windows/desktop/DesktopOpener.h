#pragma once

#include "platform/DesktopOpener.h"

#include <functional>
#include <windows.h>

using ShellExecuteCall = std::function<HINSTANCE(HWND owner, LPCWSTR verb, LPCWSTR target, LPCWSTR parameters,
                                                 LPCWSTR folder, INT showMode)>;

/// openUrlByDesktop() and openFileByDesktop() by this function.
[[nodiscard]] OpenResult openUrlBy(const ShellExecuteCall& shellExecute, const QString& url);
[[nodiscard]] OpenResult openFileBy(const ShellExecuteCall& shellExecute, const QString& path,
                                    const QString& folder);
