#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

// A temporary folder for one test, removed with everything in it afterwards
// (modes are restored first so that unreadable folders can be removed too).
class TestDir {
public:
    TestDir();
    ~TestDir();

    QString path() const { return m_dir.path(); }
    // The absolute path of a relative one inside the folder.
    QString filePath(const QString& relative) const;

    // Creates a file (and its folders) with the given bytes; returns its path.
    QString makeFile(const QString& relative, const QByteArray& bytes = {});
    // Creates a file at the bytes the system knows its path by (a name that
    // is not UTF-8, say), whose folder is there; returns the path's text form.
    static QString makeFileAt(const QByteArray& systemPath, const QByteArray& bytes = {});
    QString makeFolder(const QString& relative);
    QString makeLink(const QString& relative, const QString& target);
    void setMode(const QString& relative, int mode);

private:
    QTemporaryDir m_dir;
};
