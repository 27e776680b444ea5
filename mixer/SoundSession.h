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
