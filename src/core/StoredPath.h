#pragma once

#include <QString>
#include <QStringList>
#include <QStringView>

class Preferences;

// Paths kept in the user's settings. The settings file holds UTF-8 text, so a
// path whose name is not UTF-8 (its bytes escaped in the text form of
// SystemPath) would come back changed after a restart. Such paths are kept
// in a stored form that survives: the bytes that are not UTF-8, and "%"
// itself, are written as "%HH"; everything else stays readable as it is.
//
// Each path setting has two keys: the first one holds the plain text as
// earlier versions of the program wrote it and still read it, the second
// the stored form. The second one is read when it stands; a settings file
// written before it existed is read from the first.
namespace StoredPath {

QString encoded(QStringView path);
// The path a stored form stands for; a "%" not followed by two hex digits
// is taken as it is.
QString decoded(QStringView stored);

QString readPath(const Preferences& preferences, const QString& key, const QString& storedKey);
void writePath(Preferences& preferences, const QString& key, const QString& storedKey,
               const QString& path);

QStringList readPathList(const Preferences& preferences, const QString& key,
                         const QString& storedKey);
void writePathList(Preferences& preferences, const QString& key, const QString& storedKey,
                   const QStringList& paths);

} // namespace StoredPath
