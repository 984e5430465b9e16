// Lexical standardizing of paths: the form every stored location and every
// memory key takes.
#include "core/PathUtils.h"
#include "filesystem/FileSystemService.h"

#include <QDir>

#include <gtest/gtest.h>

namespace {

TEST(PathUtilsTest, StandardizingRemovesDotsRepeatsAndTrailingSlashes) {
    const struct {
        const char* in;
        const char* out;
    } cases[] = {
        {"/", "/"},           {"//", "/"},
        {"/a/b/", "/a/b"},    {"/a//b", "/a/b"},
        {"/a/./b", "/a/b"},   {"/a/../b", "/b"},
        {"/..", "/"},         {"/a/.", "/a"},
        {"/a/..", "/"},       {"/a/.hidden", "/a/.hidden"},
        {"/a/..x", "/a/..x"}, {"/a/b/../../c/./d/", "/c/d"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(PathUtils::standardizedPath(QString::fromLatin1(c.in)),
                  QString::fromLatin1(c.out))
            << c.in;
    }
    EXPECT_EQ(PathUtils::standardizedPath(QStringLiteral("rel/x")),
              QDir::currentPath() + QStringLiteral("/rel/x"));
}

TEST(PathUtilsTest, ParentAndLastComponent) {
    EXPECT_EQ(PathUtils::parentPath(QStringLiteral("/a/b")), QStringLiteral("/a"));
    EXPECT_EQ(PathUtils::parentPath(QStringLiteral("/a")), QStringLiteral("/"));
    EXPECT_EQ(PathUtils::parentPath(QStringLiteral("/")), QStringLiteral("/"));
    EXPECT_EQ(PathUtils::lastPathComponent(QStringLiteral("/a/b.txt/")), QStringLiteral("b.txt"));
    EXPECT_EQ(PathUtils::lastPathComponent(QStringLiteral("/")), QStringLiteral("/"));
}

TEST(PathUtilsTest, NormalizedPathKeyIsDecomposedWithoutTrailingSlash) {
    const QString composed = QStringLiteral("/tmp/caf\u00e9/");
    const QString key = FileSystemService::normalizedPathKey(composed);
    EXPECT_EQ(key, QStringLiteral("/tmp/cafe\u0301"));
    EXPECT_EQ(FileSystemService::normalizedPathKey(key), key);
    EXPECT_EQ(FileSystemService::normalizedPathKey(QStringLiteral("/")), QStringLiteral("/"));
}

} // namespace
