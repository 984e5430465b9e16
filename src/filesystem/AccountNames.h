#pragma once

#include <QString>

#include <sys/types.h>

// User and group names by number, cached for the process: a folder of
// thousands of files owned by one user asks the account database once.
namespace AccountNames {

// The account's name, "-" when the database has none.
QString userName(uid_t uid);
QString groupName(gid_t gid);

} // namespace AccountNames
