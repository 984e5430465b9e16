// Readers outside the listing that meet names that are not UTF-8, made with
// their raw bytes ("bad\xff\xfe" and "ソフト" in Shift_JIS): the media player
// reaches the very file, and folders of mounted media are found.
#include "core/FileDescriptor.h"
#include "core/SystemPath.h"
#include "filesystem/FileSystemService.h"
#include "preview/MediaSource.h"
#include "support/TestDir.h"
#include "text/ShownFileName.h"

#include <QFile>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QByteArray badName("bad\xff\xfe");
// "ソフト" in Shift_JIS.
const QByteArray sjisName("\x83\x5c\x83\x74\x83\x67");

void writeRaw(const QByteArray& path, const QByteArray& bytes) {
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_GE(fd, 0) << path.toStdString();
    ASSERT_EQ(::write(fd, bytes.constData(), size_t(bytes.size())), bytes.size());
    ::close(fd);
}

// What the player reads at a URL: it opens the URL's local path as Qt does.
QByteArray readAtUrl(const QUrl& url) {
    QFile file(url.toLocalFile());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(cannot open)");
}

// The name Qt would make of the text form of a byte name is another file's:
// the player must never be handed that one.
TEST(ByteNameReaders, TheMediaPlayerReadsTheFileByItsOwnBytes) {
    TestDir dir;
    const QByteArray folder = toSystemPath(dir.path());
    const QString sound = fromSystemPath(folder + '/' + badName + ".wav");
    writeRaw(toSystemPath(sound), "RIFF the real sound");
    const QByteArray lossy = QFile::encodeName(sound);
    ASSERT_NE(lossy, toSystemPath(sound));
    writeRaw(lossy, "RIFF a decoy");

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
TEST(ByteNameReaders, MediaFoldersWhoseNamesAreNotUtf8AreVolumes) {
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

} // namespace
