// What the sanitizers leave out, each with its reason. Linked into every program of a sanitizer build.

// NOLINTBEGIN(bugprone-reserved-identifier): the sanitizers' own names
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __tsan_default_suppressions() {
    // The distribution's Qt is not built with the thread sanitizer, so the locks of its event queue are
    // invisible. What Qt's own library does is left out; our frames are all checked.
    // Its pictures are scaled on a thread pool of its own.
    return "called_from_lib:libQt6Core.so\n"
           "called_from_lib:libQt6Gui.so\n"
           // A function that a thread queues for the main thread: Qt's header makes the object for it here,
           // and the main thread calls and deletes it. Between the two lies the event queue. What the
           // function itself uses of other threads is checked, since only the making of the object has this
           // name.
           "race:invokeMethodCallableHelper<\n"
           // PulseAudio's library is not built with it either. Its own mutexes are made at their first use
           // and published by an atomic pointer that the sanitizer does not see.
           "race:pa_mutex_lock\n"
           "race:pa_mutex_unlock\n"
           // It also hands used memory from one main loop's thread to another's, by lists that are free of
           // locks: a packet or what it is made of is written where another thread's has been. None of these
           // functions calls back.
           "race:^pa_iochannel_read\n"
           "race:^pa_iochannel_write\n"
           "race:^pa_memblock\n"
           "race:^pa_packet_\n"
           "race:^pa_srbchannel_read$\n"
           "race:^pa_srbchannel_write$\n"
           "race:^pa_tagstruct_\n"
           // A report is read into the array that Qt's event queue hands to the main thread, which then looks
           // into it: the scripted device writes, and the queue's locks are invisible.
           "race:^hid_read_timeout$\n";
}

extern "C" const char* __lsan_default_suppressions() {
    // The scan that meets a bootloader keeps its enumeration list aside, by design; the unit tests count the
    // lists.
    return "leak:hid_enumerate\n";
}
// NOLINTEND(bugprone-reserved-identifier)
