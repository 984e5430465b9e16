#include "core/EntryDisplay.h"

#include "core/Formats.h"

#include <QLocale>

namespace {

// The text after the last dot of a name, or empty when there is no dot.
QString pathExtension(const QString& name) {
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : name.mid(dot + 1);
}

// The name without its extension; unchanged when nothing would be left.
QString removingExtension(const QString& name) {
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot <= 0) {
        return name;
    }
    return name.left(dot);
}

// A localized name with the real name's extension added where it lacks one.
QString localizedWithExtension(const FileEntry& entry) {
    const QString extension = pathExtension(entry.name);
    if (!extension.isEmpty() && pathExtension(entry.localizedName()).isEmpty()) {
        return entry.localizedName() + QLatin1Char('.') + extension;
    }
    return entry.localizedName();
}

} // namespace

namespace EntryDisplay {

QString displayName(const FileEntry& entry, bool localized, bool allExt) {
    if (entry.isParent) {
        return QStringLiteral("..");
    }
    if (SystemPath::hasEscapedBytes(entry.name)) {
        return entry.localizedName();
    }
    const bool localizedFolder = localized && entry.isDirectory;
    if (entry.hasHiddenExtension) {
        if (!localizedFolder) {
            return allExt ? entry.name : removingExtension(entry.name);
        }
        return allExt ? localizedWithExtension(entry) : entry.localizedName();
    }
    return localizedFolder ? localizedWithExtension(entry) : entry.name;
}

QString locationPath(const FilerLocation& location) {
    if (const auto* directory = location.asDirectory()) {
        return directory->url;
    }
    const auto* zip = location.asZip();
    return zip->archive + QLatin1Char('/') + zip->innerPath;
}

QString sizeText(const FileEntry& entry) {
    if (entry.isParent || entry.isDirectory) {
        return QStringLiteral("<DIR>");
    }
    return entry.size ? Formats::formatCompactSize(*entry.size) : QString();
}

QString dateText(const FileEntry& entry) {
    return entry.modificationDate() ? Formats::formatRowDate(*entry.modificationDate()) : QString();
}

QChar tagMark(const FileEntry& entry, bool isTagged) {
    return isTagged && !entry.isParent && !entry.isDirectory ? QLatin1Char('*') : QLatin1Char(' ');
}

ColorRole colorRole(const FileEntry& entry, bool showLocalizedNames) {
    const bool readable = entry.isReadable;
    if (entry.isZipArchive) {
        return readable ? ColorRole::archive : ColorRole::unreadableArchive;
    }
    const bool dirLike = entry.isDirectory || entry.isParent;
    if (!dirLike) {
        if (!readable) {
            return ColorRole::unreadableFile;
        }
        return entry.isWritable ? ColorRole::file : ColorRole::readOnlyFile;
    }
    const bool localizedDiffers = showLocalizedNames && entry.isDirectory && !entry.isParent &&
                                  entry.localizedName() != entry.name;
    if (localizedDiffers) {
        return readable ? ColorRole::localizedDir : ColorRole::unreadableLocalizedDir;
    }
    return readable ? ColorRole::dir : ColorRole::unreadableDir;
}

QString loadingLine(qsizetype itemsRead) {
    const QString count = QLocale(QLocale::English).toString(qlonglong(itemsRead));
    return QStringLiteral("Loading... %1 items read  (Esc: cancel)").arg(count);
}

} // namespace EntryDisplay
