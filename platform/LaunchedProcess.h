#pragma once

// What the processes that the program starts, those of others and its own, do not take over from it.

class QProcess;

/// Sets a variable of the environment for this process alone: processes that it starts find what was there
/// before. Main thread, before any other thread runs, since those may read the environment.
void setOwnVariable(const char* name, const char* value);

/// To be called before `process` is started, in whatever way: gives it the environment that this process was
/// started with, and on Linux the system's own answer to every signal, and no open file but the three
/// standard ones. Replaces an environment and a modifier that `process` has been given before. Any thread.
///
/// On Windows the environment that processes take over never has the variables of setOwnVariable(), so those
/// that the system itself starts (ShellExecuteW) do not get them either.
void prepareLaunch(QProcess& process);
