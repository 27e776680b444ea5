#include "platform/FolderSync.h"

// The store is the registry, which the system writes by itself.
void syncFolderOf(const QString& /*file*/) {}
