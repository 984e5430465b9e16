// Names that are not UTF-8, made with their raw bytes ("bad\xff\xfe" and
// "ソフト" in Shift_JIS), where they are handed to something other than a
// system call: the media player reaches the very file, folders of mounted
// media are found, and another application is started on the exact bytes.
#include "core/FileDescriptor.h"
#include "core/SystemPath.h"
#include "filesystem/FileFlowSupport.h"
#include "filesystem/FileSystemService.h"
#include "pickers/OpenWith.h"
#include "preview/MediaSource.h"
#include "support/CountingExecutor.h"
#include "support/TestDir.h"
#include "text/ShownFileName.h"

#include <QFile>
#include <QTest>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QByteArray badName("bad\xff\xfe");
// "ソフト" in Shift_JIS.
const QByteArray sjisName("\x83\x5c\x83\x74\x83\x67");

// What the player reads at a URL: it opens the URL's local path as Qt does.
QByteArray readAtUrl(const QUrl& url) {
    QFile file(url.toLocalFile());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(cannot open)");
}

// The name Qt would make of the text form of a byte name is another file's:
// the player must never be handed that one.
TEST(ByteNameHandover, TheMediaPlayerReadsTheFileByItsOwnBytes) {
    TestDir dir;
    const QByteArray folder = toSystemPath(dir.path());
    const QString sound = fromSystemPath(folder + '/' + badName + ".wav");
    TestDir::makeFileAt(toSystemPath(sound), "RIFF the real sound");
    const QByteArray lossy = QFile::encodeName(sound);
    ASSERT_NE(lossy, toSystemPath(sound));
    TestDir::makeFileAt(lossy, "RIFF a decoy");

    const auto source = MediaSource::open(sound);
    ASSERT_TRUE(source) << source.error().text.toStdString();
    EXPECT_EQ(readAtUrl(source->url()), "RIFF the real sound");

    // A UTF-8 name goes to the player as it is, extension and all.
    const QString plain = dir.makeFile("tone.wav", "RIFF plain");
    const auto plainSource = MediaSource::open(plain);
    ASSERT_TRUE(plainSource);
    EXPECT_EQ(plainSource->url(), QUrl::fromLocalFile(plain));

    // A FIFO under a byte name is refused before any player waits on it.
    const QString fifo = fromSystemPath(folder + '/' + sjisName + ".mp4");
    ASSERT_EQ(::mkfifo(toSystemPath(fifo).constData(), 0600), 0);
    const auto refused = MediaSource::open(fifo);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(), FileDescriptor::notRegularFile());
}

// Folders of mounted media, and links there to folders elsewhere, are found
// by their bytes and named by their shown form.
TEST(ByteNameHandover, MediaFoldersWhoseNamesAreNotUtf8AreVolumes) {
    TestDir dir;
    const QByteArray media = toSystemPath(dir.makeFolder("media"));
    const QByteArray elsewhere = toSystemPath(dir.makeFolder("elsewhere"));
    ASSERT_EQ(::mkdir((media + '/' + sjisName).constData(), 0700), 0);
    ASSERT_EQ(::mkdir((elsewhere + '/' + badName).constData(), 0700), 0);
    ASSERT_EQ(::symlink((elsewhere + '/' + badName).constData(), (media + "/link").constData()), 0);

    const QList<MountedVolume> volumes =
        FileSystemService::collectVolumes({}, {fromSystemPath(media)});
    const QList<MountedVolume> expected = {
        {QStringLiteral("Macintosh HD"), QStringLiteral("/"), true},
        {QStringLiteral("bad\\xFF\\xFE"), fromSystemPath(elsewhere + '/' + badName), false},
        {QStringLiteral("ソフト") + ShownFileName::legacyMark,
         fromSystemPath(media + '/' + sjisName), false}};
    EXPECT_EQ(volumes, expected);
}

// The application is a desktop entry whose program writes the argument it
// was given, byte for byte, to a file.
TEST(ByteNameHandover, AnotherApplicationIsStartedOnTheExactBytes) {
    // GIO reads the data folder once per process, at its first use: the file
    // tests' own, where their Trash lies, is set before this launch uses GIO.
    FileFlowTest::privateTrash();
    TestDir dir;
    const QByteArray root = toSystemPath(dir.path());
    const QByteArray received = root + "/received";
    const QString script = dir.makeFile("bin/handler.sh", "#!/bin/sh\nprintf '%s' \"$1\" > '" +
                                                              received + ".part'\nmv '" + received +
                                                              ".part' '" + received + "'\n");
    dir.setMode("bin/handler.sh", 0755);
    const QString entry = dir.makeFile("handler.desktop", "[Desktop Entry]\nType=Application\n"
                                                          "Name=Handler\nExec=" +
                                                              toSystemPath(script) + " %f\n");
    ASSERT_EQ(::mkdir((root + '/' + sjisName).constData(), 0700), 0);
    for (const QByteArray& file :
         {root + '/' + badName + ".txt", root + '/' + sjisName + '/' + sjisName + ".txt"}) {
        SCOPED_TRACE(file.toHex().toStdString());
        TestDir::makeFileAt(file, "content");
        ::unlink(received.constData());
        CountingExecutor executor;
        QObject context;
        std::optional<std::optional<QString>> failure;
        OpenWith::launchInBackground(executor, entry, fromSystemPath(file), &context,
                                     [&](std::optional<QString> answer) { failure = answer; });
        ASSERT_TRUE(QTest::qWaitFor([&] { return failure.has_value(); }, 10000));
        ASSERT_EQ(*failure, std::nullopt);
        QFile written(QString::fromLatin1(received));
        ASSERT_TRUE(QTest::qWaitFor([&] { return written.exists(); }, 10000));
        ASSERT_TRUE(written.open(QIODevice::ReadOnly));
        EXPECT_EQ(written.readAll(), file);
    }
}

} // namespace
