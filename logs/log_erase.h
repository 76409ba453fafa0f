// Erasing the logs.
#pragma once

#pragma GCC visibility push(default)

// Empties the log buffers and removes the folders of logs, the internal saves and their archive. The log service stands
// still meanwhile.
void logsave_erase();

// Removes the files and folders below an absolute device path, and the folder itself. A link at the path itself is
// followed. Links below it, devices and what has a path of more than 255 characters stay, and so do the folders that
// hold them. 0, or -1 when the folder cannot be opened.
int Delete_Folder(const char* path);

#pragma GCC visibility pop
