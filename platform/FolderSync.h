#pragma once

#include <QString>

/// Makes the last replacement of a file outlive a power cut, by writing its folder to the disk. Waits for the
/// disk; a folder that cannot be opened or written so is left as it is. Any thread.
void syncFolderOf(const QString& file);
