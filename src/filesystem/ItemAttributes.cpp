// The mode and modification time of an item, as the attribute prompt reads
// and writes them.
#include "filesystem/FileSystemService.h"

#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "filesystem/AccountNames.h"
#include "filesystem/FileAccessMemory.h"

#include <QDate>
#include <QRegularExpression>
#include <QTime>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace FileSystemService {

namespace {

using Kind = FileSystemError::Kind;

// A two-digit year lies in the hundred years that begin eighty years ago.
int fullYear(int twoDigits) {
    const int thisYear = QDate::currentDate().year();
    int year = thisYear - thisYear % 100 + twoDigits;
    if (year >= thisYear + 20) {
        year -= 100;
    } else if (year < thisYear - 80) {
        year += 100;
    }
    return year;
}

} // namespace

FsResult<ItemAttributes> readItemAttributes(const QString& url) {
    struct stat st;
    if (::stat(toSystemPath(PathUtils::standardizedPath(url)).constData(), &st) != 0) {
        return fail(FileSystemError::fromErrno(errno));
    }
    const QDateTime modified = QDateTime::fromMSecsSinceEpoch(qint64(st.st_mtim.tv_sec) * 1000 +
                                                              st.st_mtim.tv_nsec / 1000000)
                                   .toLocalTime();
    ItemAttributes attributes;
    attributes.mode = uint16_t(st.st_mode & 0777);
    attributes.modeText = permissionBits(attributes.mode);
    attributes.dateText = modified.toString(QStringLiteral("yy-MM-dd"));
    attributes.timeText = modified.toString(QStringLiteral("HH:mm:ss"));
    attributes.owner = AccountNames::userName(st.st_uid);
    attributes.group = AccountNames::groupName(st.st_gid);
    return attributes;
}

FsResult<uint16_t> parseModeText(const QString& text) {
    QString letters = text.trimmed();
    if (letters.size() == 10 && QStringLiteral("dl-").contains(letters[0])) {
        letters.remove(0, 1);
    }
    if (letters.size() != 9) {
        return fail(FileSystemError::make(Kind::invalidMode));
    }
    static const char kLetters[] = "rwxrwxrwx";
    uint16_t mode = 0;
    for (int i = 0; i < 9; ++i) {
        if (letters[i] == QLatin1Char(kLetters[i])) {
            mode |= uint16_t(0400 >> i);
        } else if (letters[i] != QLatin1Char('-')) {
            return fail(FileSystemError::make(Kind::invalidMode));
        }
    }
    return mode;
}

FsResult<QDateTime> parseDateTime(const QString& date, const QString& time) {
    static const QRegularExpression pattern(
        QStringLiteral("^(\\d\\d)-(\\d\\d)-(\\d\\d) (\\d\\d):(\\d\\d):(\\d\\d)$"));
    const auto match = pattern.match(date.trimmed() + QLatin1Char(' ') + time.trimmed());
    if (!match.hasMatch()) {
        return fail(FileSystemError::make(Kind::invalidAttributeDate));
    }
    auto field = [&match](int i) { return match.captured(i).toInt(); };
    const QDate day(fullYear(field(1)), field(2), field(3));
    const QTime clock(field(4), field(5), field(6));
    if (!day.isValid() || !clock.isValid()) {
        return fail(FileSystemError::make(Kind::invalidAttributeDate));
    }
    return QDateTime(day, clock, Qt::LocalTime);
}

FsResult<Done> setPosixPermissions(const QString& url, uint16_t mode) {
    const QString path = PathUtils::standardizedPath(url);
    if (::chmod(toSystemPath(path).constData(), mode & 07777) != 0) {
        return fail(FileSystemError::fromErrno(errno));
    }
    FileAccessMemory::forget(path);
    return Done{};
}

FsResult<Done> setModificationDate(const QString& url, const QDateTime& date) {
    const QString path = PathUtils::standardizedPath(url);
    const qint64 msecs = date.toMSecsSinceEpoch();
    struct timespec times[2];
    times[0].tv_sec = 0;
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = time_t(msecs / 1000);
    times[1].tv_nsec = long(msecs % 1000) * 1000000;
    if (::utimensat(AT_FDCWD, toSystemPath(path).constData(), times, 0) != 0) {
        return fail(FileSystemError::fromErrno(errno));
    }
    FileAccessMemory::forget(path);
    return Done{};
}

} // namespace FileSystemService
