#pragma once

#include "core/Model.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class AppState;
class Preferences;
namespace Background {
class Executor;
}
class QObject;

// Handing a file to another application through the desktop's registry of
// applications (GIO): which ones can open it, which of them the user chose
// before for that kind of file, and starting one. An application is named by
// the path of its desktop entry.
namespace OpenWith {

// How many applications are remembered for one kind of file.
constexpr int recentLimit = 12;

// The MIME type the desktop gives the file; "inode/directory" for a folder.
QString contentType(const QString& path);

// The key the choices are remembered under: "/" for a folder, the extension
// in lower case, "." for a name without one. Whether the path is a folder is
// what its row says, so the key never waits for the disk.
QString kindKey(const QString& path, bool isFolder = false);

// The applications remembered for a kind of file, newest first.
QStringList recentApplications(const Preferences& preferences, const QString& kindKey);
// Puts the application at the front of its kind's list, once, and keeps the
// newest recentLimit.
void recordChoice(Preferences& preferences, const QString& kindKey, const QString& appPath);

// The applications that can open the file: the remembered ones that still
// can, newest first; then the default if it is not among them; then the rest
// in the desktop's order. Each stands once.
QList<OpenWithApp> openWithCandidates(const QString& path, const Preferences& preferences,
                                      bool isFolder = false);
// The same with the remembered ones given: it reads the file's head and the
// desktop's registry, and touches no preferences, so it runs on a worker.
QList<OpenWithApp> openWithCandidates(const QString& path, const QStringList& recent);

// The name in the desktop entry; failing that, its file name without the
// extension.
QString applicationDisplayName(const QString& appPath);

// Starts the application on the file on a worker thread. done gets the
// failure's text, or none, on context's thread; when context is gone by
// then, nothing runs.
void launchInBackground(Background::Executor& executor, const QString& appPath,
                        const QString& filePath, QObject* context,
                        std::function<void(std::optional<QString>)> done);

// Remembers the choice under the file's kind, then starts the application.
// A failure to start is reported later in the state's errorMessage, if the
// state still stands.
void launchWith(AppState& state, const OpenWithApp& app, const QString& filePath,
                bool isFolder = false);

} // namespace OpenWith
