#pragma once

#include "core/SystemPath.h"

#include <QByteArray>
#include <QDir>
#include <QString>
#include <QTemporaryDir>

#include <fcntl.h>
#include <unistd.h>

// The folder of 100,000 empty files the benchmarks list, made once per run
// and removed when the program ends.
namespace BenchFolder {

constexpr int kFileCount = 100000;

inline const QString& path() {
    static QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/dorvik-bench-XXXXXX"));
    static const bool made = [] {
        for (int i = 0; i < kFileCount; ++i) {
            const QByteArray file =
                toSystemPath(dir.path()) + "/file" + QByteArray::number(i) + ".txt";
            const int fd = ::open(file.constData(), O_CREAT | O_WRONLY, 0644);
            if (fd >= 0) {
                ::close(fd);
            }
        }
        return true;
    }();
    Q_UNUSED(made);
    static const QString folder = dir.path();
    return folder;
}

} // namespace BenchFolder
