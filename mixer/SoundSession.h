#pragma once

/// What entering a sound session came to.
enum class SessionEntry {
    Entered, ///< leave() undoes it
    Again,   ///< the thread was in it before; leave() undoes this entry alone
    Foreign, ///< the thread is in a session of another kind, which serves as well and is not ours to leave
    Refused  ///< no sound system for this thread
};

/// The calling thread's membership in the sound system: held while the router runs, and for a single request
/// outside of that.
class SoundSession {
public:
    SoundSession() = default;
    virtual ~SoundSession() = default;
    SoundSession(const SoundSession&) = delete;
    SoundSession& operator=(const SoundSession&) = delete;

    [[nodiscard]] virtual SessionEntry enter() = 0;
    virtual void leave() = 0;
};

/// Enters a session, and leaves it at the end of the scope. The calling thread.
class SessionScope {
public:
    /// Which entries the end of the scope undoes.
    enum class Undoes {
        FirstEntry, ///< Entered alone: a thread that was in the session before stays in it once more
        EachEntry   ///< Entered and Again
    };
    SessionScope(SoundSession& soundSession, Undoes undoes)
        : session(soundSession), result(session.enter()),
          leaves(result == SessionEntry::Entered ||
                 (result == SessionEntry::Again && undoes == Undoes::EachEntry)) {}
    ~SessionScope() {
        if (leaves) {
            session.leave();
        }
    }
    SessionScope(const SessionScope&) = delete;
    SessionScope& operator=(const SessionScope&) = delete;

    [[nodiscard]] SessionEntry entry() const { return result; }

    /// Stays in the session after the scope.
    void keep() { leaves = false; }

private:
    SoundSession& session;
    const SessionEntry result;
    bool leaves;
};
