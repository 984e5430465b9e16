#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <utility>

// Archives for the tests, made by the real tools or, for names no tool would
// write, byte by byte.
namespace ArchiveFixtures {

// Runs a program in a folder and gives its exit status (-1 when it could not
// start). extraEnvironment holds "NAME=value" items.
int run(const QString& program, const QStringList& arguments, const QString& folder,
        const QStringList& extraEnvironment = {});

// An LHA archive made by jlha from files of the folder, names written in CP932.
bool makeLha(const QString& archive, const QString& folder, const QStringList& files);

// A level-0 LHA archive of stored members with the given raw name bytes: the
// way to hand the tools names such as "../../x" that no archiver writes.
QByteArray storedLha(const QList<std::pair<QByteArray, QByteArray>>& members);

} // namespace ArchiveFixtures
