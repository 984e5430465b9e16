#pragma once

// A desktop of the test program's own with no application in it: an
// open-with flow answers with a message naming the file, and never starts
// anything on the machine's desktop.
#include <QFile>
#include <QTemporaryDir>

inline void useEmptyDesktop() {
    static QTemporaryDir desktop;
    for (const char* name :
         {"XDG_DATA_HOME", "XDG_DATA_DIRS", "XDG_CONFIG_HOME", "XDG_CONFIG_DIRS"}) {
        qputenv(name, QFile::encodeName(desktop.path()));
    }
}
