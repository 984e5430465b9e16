// Finding and running the archive tools: search order, pipes, failures.
#include "archive/ArchiveService.h"
#include "core/SystemPath.h"
#include "support/TestDir.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString kShell = QStringLiteral("/bin/sh");

TEST(ToolRunTest, LargeOutputOnBothPipesIsReadWhole) {
    // More than a pipe holds on each channel, error first: a runner that
    // read them one after the other would wait forever.
    const auto output = ArchiveService::runTool(
        kShell, {QStringLiteral("-c"),
                 QStringLiteral("head -c 300000 /dev/zero >&2; head -c 1000000 /dev/zero")});
    ASSERT_TRUE(output);
    EXPECT_EQ(output->size(), 1000000);
}

TEST(ToolRunTest, FailuresReadAsTheToolsErrorTextOrItsExitStatusAndAMissingToolIsNamed) {
    TestDir dir;
    const struct {
        QString program;
        const char* script;
        const char* description;
    } cases[] = {
        {kShell, "echo '  broken archive  ' >&2; exit 2", "Cannot list archive: broken archive"},
        {kShell, "exit 1", "Cannot list archive: exit 1"},
        {kShell, "printf '\\377\\376' >&2; exit 3", "Cannot list archive: exit 3"},
        {dir.filePath(QStringLiteral("nolsar")), "",
         "Required tool not found: nolsar\n(install via Homebrew: brew install nolsar)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.description);
        const auto output =
            ArchiveService::runTool(c.program, {QStringLiteral("-c"), QString::fromUtf8(c.script)});
        ASSERT_FALSE(output);
        EXPECT_EQ(output.error().description(), QString::fromUtf8(c.description));
    }
}

TEST(ToolRunTest, ToolsAreFoundInTheFixedFoldersFirstThenInPath) {
    TestDir dir;
    const QString own = dir.makeFile(QStringLiteral("bin/dorvik-probe"), "#!/bin/sh\n");
    dir.makeFile(QStringLiteral("bin/not-executable"), "#!/bin/sh\n");
    dir.setMode(QStringLiteral("bin/dorvik-probe"), 0755);
    dir.setMode(QStringLiteral("bin/not-executable"), 0644);
    const QByteArray savedPath = qgetenv("PATH");
    qputenv("PATH", "::" + dir.filePath(QStringLiteral("bin")).toUtf8() + ":/usr/bin");

    EXPECT_EQ(ArchiveService::findTool({QStringLiteral("dorvik-probe")}), own);
    // /usr/bin comes before PATH even when PATH names it later.
    EXPECT_EQ(ArchiveService::findTool({QStringLiteral("dorvik-probe"), QStringLiteral("tar")}),
              QStringLiteral("/usr/bin/tar"));
    EXPECT_EQ(ArchiveService::findTool({QStringLiteral("not-executable")}), std::nullopt);
    dir.makeFolder(QStringLiteral("bin/a-folder"));
    EXPECT_EQ(ArchiveService::findTool({QStringLiteral("a-folder")}), std::nullopt);

    // A folder of PATH whose name is not UTF-8 ("bad\xff\xfe") is searched by its bytes.
    const QByteArray badFolder = toSystemPath(dir.path()) + "/bad\xff\xfe";
    ASSERT_EQ(::mkdir(badFolder.constData(), 0700), 0);
    ASSERT_EQ(::symlink("/bin/true", (badFolder + "/dorvik-elsewhere").constData()), 0);
    qputenv("PATH", badFolder);
    EXPECT_EQ(ArchiveService::findTool({QStringLiteral("dorvik-elsewhere")}),
              fromSystemPath(badFolder + "/dorvik-elsewhere"));
    qputenv("PATH", savedPath);
}

} // namespace
