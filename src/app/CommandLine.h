#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// What the command line asks of the program: `dorvik [FOLDER]`, `--help`,
// `--version`.
namespace CommandLine {

struct Request {
    enum class Kind { run, help, version, usageError };
    Kind kind = Kind::run;
    // The help or version text for standard output, or the usage error for
    // standard error.
    QString text;
    std::optional<QString> folder;
};

// Reads the arguments (the program's name first). Before the toolkit has
// taken its own options out, an unknown option is no error yet: only help and
// version are answered then.
Request parse(const QStringList& arguments);

} // namespace CommandLine
