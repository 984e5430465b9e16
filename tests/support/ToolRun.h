#pragma once

// Runs a command-line tool (zip, convert, apngasm …) that makes a test's files.
#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

namespace ToolRun {

// Runs a tool in a folder and gives its standard output; a failure fails the test.
inline QByteArray run(const QString& folder, const QString& program, const QStringList& args) {
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, args);
    const bool finished = process.waitForFinished(60000);
    EXPECT_TRUE(finished && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        << program.toStdString() << ": " << process.readAllStandardError().toStdString();
    return process.readAllStandardOutput();
}

} // namespace ToolRun
