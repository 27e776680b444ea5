#pragma once

#include <QString>

/// A lock that one process of each user can hold. It ends with its process, however that ends.
///
/// Linux: a locked file in a folder that belongs to the user alone: the runtime folder ($XDG_RUNTIME_DIR,
/// else /run/user/ID), else the program's folder of caches, made private. So no other user can take, hold up
/// or see it. Windows: there is none; the guard's segment, which belongs to the user's session, decides
/// alone.
class UserLock {
public:
    enum class Answer {
        Taken,         ///< It is ours until release().
        HeldByAnother, ///< Another process of this user holds it.
        Unavailable    ///< There is none: no folder that belongs to us alone, or none that takes a file.
    };

    UserLock() = default;
    ~UserLock();
    UserLock(const UserLock&) = delete;
    UserLock& operator=(const UserLock&) = delete;

    /// Takes the lock of this name, which is a file's name without a folder. Never waits.
    [[nodiscard]] Answer take(const QString& name);
    /// Has no effect where the lock is not held.
    void release();

private:
    int descriptor = -1;
};
