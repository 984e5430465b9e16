// Moving an item to the freedesktop.org Trash of its volume through GIO, so
// that the desktop can restore it. GIO picks the home trash or the volume's
// own ".Trash-UID" folder and writes the restore information.
#define QT_NO_KEYWORDS // a GIO structure has a field named "signals"

#include "core/SystemPath.h"
#include "filesystem/FileSystemService.h"

#include "core/PathUtils.h"

#include <gio/gio.h>

namespace FileSystemService {

FsResult<Done> trashItem(const QString& url) {
    const QByteArray path = toSystemPath(PathUtils::standardizedPath(url));
    GFile* file = g_file_new_for_path(path.constData());
    GError* error = nullptr;
    const gboolean trashed = g_file_trash(file, nullptr, &error);
    g_object_unref(file);
    if (trashed) {
        return Done{};
    }
    // GIO's message is the system's text, naming the item and the reason.
    SystemError systemError{error ? error->code : 0,
                            error ? QString::fromUtf8(error->message) : QString()};
    if (error) {
        g_error_free(error);
    }
    return fail(FileSystemError::fromSystem(systemError));
}

} // namespace FileSystemService
