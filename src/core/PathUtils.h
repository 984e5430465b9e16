#pragma once

#include <QString>

// Lexical path handling: no symbolic link is resolved anywhere here.
namespace PathUtils {

// Absolute (relative paths are taken from the current folder), "." and ".."
// removed, repeated "/" collapsed, no trailing "/" except for the root.
QString standardizedPath(const QString& path);

// The standardized folder that holds the path; the root is its own parent.
QString parentPath(const QString& path);

// The last component of the standardized path; "/" for the root.
QString lastPathComponent(const QString& path);

// Joins a name under a folder path and standardizes the result.
QString appendingPathComponent(const QString& folder, const QString& name);

// The user's home folder, standardized.
QString homeDirectory();

} // namespace PathUtils
