#pragma once

#include "core/Result.h"

#include <QString>

// The folder named on the command line, in which both panes start for one
// run; the stored start folder is not touched by it.
namespace StartFolder {

// The folder as the panes keep it (absolute, standardized; a relative one is
// taken from the current folder), or the message that tells why it can't be
// started in: it is missing, not a folder, or can't be read.
Result<QString, QString> fromArgument(const QString& argument);

} // namespace StartFolder
