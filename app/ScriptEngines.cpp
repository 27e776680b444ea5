#include "app/ScriptEngines.h"

#include "platform/LaunchedProcess.h"

// Qt's incremental collector works in steps between events, each with a time limit. When the system takes the
// processor away for longer than the limit before the first step has begun, the collection counts as begun,
// but has no stack of objects to mark yet. The next document that is compiled then marks its objects on this
// missing stack: a crash, which hits a busy machine during the start. Without a time limit a collection is
// never left half done.
void collectGarbageInOneGo() {
    setOwnVariable("QV4_GC_TIMELIMIT", "0");
}
