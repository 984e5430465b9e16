#pragma once

#include "filesystem/FileSystemService.h"

#include <QByteArray>

#include <dirent.h>
#include <vector>

namespace FileSystemService {

// The names of an open folder in the order the system gives them, "." and
// ".." left out; a read error part way fails the whole list.
FsResult<std::vector<QByteArray>> readNames(DIR* dir);

} // namespace FileSystemService
