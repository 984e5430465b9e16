#include "preview/PreviewSelection.h"

#include "core/FileDescriptor.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "text/TextDecoding.h"

#include <QFile>
#include <QMimeDatabase>
#include <QSet>
#include <QStringDecoder>
#include <QTextBoundaryFinder>

namespace PreviewSelection {

namespace {

constexpr qsizetype headSize = 4096;
constexpr qint64 largestSniffedFile = 1'000'000;

using Extensions = QSet<QString>;

const Extensions& documentExtensions() {
    static const Extensions set{"doc", "docx", "rtf", "rtfd", "pages", "key", "numbers",
                                "pdf", "epub", "jtd", "jtdc", "jtt",   "jtp", "lwp"};
    return set;
}

const Extensions& extractableExtensions() {
    static const Extensions set{"doc", "docx", "rtf", "rtfd", "odt"};
    return set;
}

const Extensions& textExtensions() {
    static const Extensions set{
        "txt",       "md",           "markdown", "swift", "m",       "h",           "hpp",  "c",
        "cpp",       "cc",           "cs",       "js",    "jsx",     "ts",          "tsx",  "json",
        "xml",       "html",         "htm",      "css",   "scss",    "yml",         "yaml", "toml",
        "ini",       "cfg",          "conf",     "sh",    "bash",    "zsh",         "py",   "rb",
        "go",        "rs",           "java",     "kt",    "sql",     "log",         "csv",  "tsv",
        "gitignore", "dockerignore", "env",      "plist", "strings", "entitlements"};
    return set;
}

const Extensions& diskImageExtensions() {
    static const Extensions set{"sparseimage", "sparsebundle", "dmg",  "iso", "img",
                                "toast",       "cdr",          "ndif", "udif"};
    return set;
}

const Extensions& binaryExtensions() {
    static const Extensions set =
        diskImageExtensions() + Extensions{"zip",     "tar",  "gz",  "tgz",   "bz2",  "xz",
                                           "7z",      "rar",  "lzh", "lha",   "pkg",  "mpkg",
                                           "exe",     "dll",  "so",  "dylib", "o",    "a",
                                           "class",   "jar",  "bin", "dat",   "db",   "sqlite",
                                           "sqlite3", "icns", "ttf", "otf",   "woff", "woff2"};
    return set;
}

bool inheritsAny(const QMimeType& type, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (type.inherits(QString::fromLatin1(name))) {
            return true;
        }
    }
    return false;
}

bool nameContainsAny(const QMimeType& type, std::initializer_list<const char*> parts) {
    for (const char* part : parts) {
        if (type.name().contains(QLatin1String(part))) {
            return true;
        }
    }
    return false;
}

bool isRTFType(const QMimeType& type) {
    return inheritsAny(type, {"text/rtf", "application/rtf"});
}

bool isTextType(const QMimeType& type) {
    return inheritsAny(type, {"text/plain", "application/json", "application/xml", "text/xml",
                              "application/x-shellscript", "text/html", "text/csv"}) ||
           type.name().contains(QLatin1String("yaml"));
}

bool isMediaType(const QMimeType& type) {
    return type.name().startsWith(QLatin1String("image/")) ||
           type.name().startsWith(QLatin1String("video/")) ||
           type.name().startsWith(QLatin1String("audio/")) || type.inherits("application/pdf");
}

bool isPreviewType(const QMimeType& type) {
    return isMediaType(type) || type.inherits("application/epub+zip") ||
           nameContainsAny(type, {"presentation", "powerpoint", "spreadsheet", "ms-excel"});
}

// A type that says nothing: Qt's answer when neither name nor content decide.
bool isUninformative(const QMimeType& type) {
    return !type.isValid() || type.isDefault() || type.name().startsWith(QLatin1String("inode/"));
}

// The type of a file on disk. It comes from the name, as the types of the
// file manager's rows do; the content is judged by the sniffing of the head
// alone, so a text too large to sniff is not taken for text by its content.
std::optional<QMimeType> contentType(const QString& path) {
    if (!SystemPath::exists(path)) {
        return std::nullopt;
    }
    return QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchExtension);
}

std::optional<ViewerContentKind> kindByContentType(const QMimeType& type) {
    if (isRTFType(type)) {
        return ViewerContentKind::preview;
    }
    if (isDiskImageType(type)) {
        return ViewerContentKind::unsupported;
    }
    if (isTextType(type)) {
        return ViewerContentKind::text;
    }
    if (isPreviewType(type)) {
        return ViewerContentKind::preview;
    }
    return std::nullopt;
}

std::optional<ViewerContentKind> kindByExtensionType(const QString& name) {
    const QMimeType type = QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension);
    if (isUninformative(type)) {
        return std::nullopt;
    }
    if (isRTFType(type)) {
        return ViewerContentKind::preview;
    }
    if (isDiskImageType(type)) {
        return ViewerContentKind::unsupported;
    }
    if (isMediaType(type)) {
        return ViewerContentKind::preview;
    }
    if (type.inherits("text/plain")) {
        return ViewerContentKind::text;
    }
    return std::nullopt;
}

// The kind the name alone gives, before any content type is asked.
std::optional<ViewerContentKind> kindByName(const QString& name, const QString& ext) {
    if (documentExtensions().contains(ext)) {
        return ViewerContentKind::preview;
    }
    if (binaryExtensions().contains(ext)) {
        return diskImageExtensions().contains(ext) ? ViewerContentKind::unsupported
                                                   : ViewerContentKind::preview;
    }
    if (textExtensions().contains(ext) || (ext.isEmpty() && isBareTextName(name))) {
        return ViewerContentKind::text;
    }
    return std::nullopt;
}

// Only a regular file is read: opening a FIFO or a device named like a
// document would block the thread for good, or read a stream that never ends.
QByteArray readHead(const QString& path) {
    const auto file = openRegularQFile(path);
    return file ? (*file)->read(headSize) : QByteArray();
}

bool beginsWithRTF(QByteArrayView head) {
    const QByteArrayView first = head.first(std::min<qsizetype>(head.size(), 64));
    // As ASCII or, failing that, as UTF-8: either way the bytes must decode.
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8(first);
    return !utf8.hasError() && text.startsWith(QLatin1String("{\\rtf"));
}

qsizetype countBytes(QByteArrayView head, bool (*matches)(uchar)) {
    return std::count_if(head.begin(), head.end(), [&](char c) { return matches(uchar(c)); });
}

bool isKanaOrKanji(char32_t c) {
    return (c >= 0x3040 && c <= 0x30FF) || (c >= 0x4E00 && c <= 0x9FFF);
}

qsizetype characterCount(const QString& text) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1) {
        ++count;
    }
    return count;
}

} // namespace

QString pathExtension(const QString& name) {
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot <= 0 || dot == name.size() - 1) {
        return {};
    }
    return name.mid(dot + 1).toLower();
}

bool isDocumentExtension(const QString& ext) {
    return documentExtensions().contains(ext);
}
bool isExtractableExtension(const QString& ext) {
    return extractableExtensions().contains(ext);
}
bool isTextExtension(const QString& ext) {
    return textExtensions().contains(ext);
}
bool isBinaryExtension(const QString& ext) {
    return binaryExtensions().contains(ext);
}
bool isDiskImageExtension(const QString& ext) {
    return diskImageExtensions().contains(ext);
}

bool isBareTextName(const QString& name) {
    const QString lower = name.toLower();
    return lower == "readme" || lower == "license" || lower == "makefile" ||
           lower == "dockerfile" || lower.startsWith(QLatin1Char('.'));
}

ViewerContentKind classifyFile(const QString& name, const std::optional<QString>& path) {
    const QString ext = pathExtension(name);
    // A document that is really plain text is shown as text.
    if (path && documentExtensions().contains(ext)) {
        return sniffFileHead(*path) == FileHead::text ? ViewerContentKind::text
                                                      : ViewerContentKind::preview;
    }
    if (const auto kind = kindByName(name, ext)) {
        return *kind;
    }
    std::optional<ViewerContentKind> kind;
    if (const auto type = path ? contentType(*path) : std::nullopt) {
        kind = kindByContentType(*type);
    } else {
        kind = kindByExtensionType(name);
    }
    if (kind) {
        return *kind;
    }
    if (!path) {
        return ViewerContentKind::preview;
    }
    return looksLikePlainText(*path) ? ViewerContentKind::text : ViewerContentKind::preview;
}

std::optional<ViewerContentKind> kindByNameAlone(const QString& name) {
    const QString ext = pathExtension(name);
    if (documentExtensions().contains(ext)) {
        return std::nullopt;
    }
    if (const auto kind = kindByName(name, ext)) {
        return kind;
    }
    // The content type of a file comes from its name; only a name that says
    // nothing leaves the kind to the first bytes.
    const QMimeType type = QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension);
    return isUninformative(type) ? std::nullopt : kindByContentType(type);
}

FileHead sniffFileHead(const QString& path) {
    return sniffHead(readHead(path));
}

FileHead sniffHead(QByteArrayView head) {
    if (head.isEmpty()) {
        return FileHead::other;
    }
    if (head.startsWith(QByteArrayView("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8))) {
        return FileHead::compoundDocument;
    }
    if (head.startsWith("PK")) {
        return FileHead::zipContainer;
    }
    if (beginsWithRTF(head)) {
        return FileHead::rtf;
    }
    if (!TextDecoding::decode(head, true)) {
        return FileHead::other;
    }
    const qsizetype nuls = countBytes(head, [](uchar c) { return c == 0; });
    return nuls * 10 >= head.size() ? FileHead::other : FileHead::text;
}

bool looksLikePlainText(const QString& path) {
    const auto info = SystemPath::status(path);
    if (!info || info->size < 1 || info->size > largestSniffedFile ||
        binaryExtensions().contains(pathExtension(PathUtils::lastPathComponent(path)))) {
        return false;
    }
    const QByteArray head = readHead(path);
    return !head.isEmpty() && headLooksLikePlainText(head);
}

bool headLooksLikePlainText(QByteArrayView head) {
    const qsizetype nuls = countBytes(head, [](uchar c) { return c == 0; });
    const qsizetype controls =
        countBytes(head, [](uchar c) { return c < 0x20 && c != '\t' && c != '\n' && c != '\r'; });
    if (nuls * 50 >= head.size() || controls * 20 >= head.size()) {
        return false;
    }
    const auto decoded = TextDecoding::decode(head, true);
    if (!decoded || characterCount(decoded->text.trimmed()) < 8) {
        return false;
    }
    int letters = 0;
    for (char32_t c : decoded->text.toUcs4()) {
        if (QChar::isLetter(c) || isKanaOrKanji(c)) {
            ++letters;
        }
    }
    return letters >= 8;
}

bool isDiskImageType(const QMimeType& type) {
    const QString name = type.name().toLower();
    if (name.contains(QLatin1String("disk-image")) || name.contains(QLatin1String("diskimage"))) {
        return true;
    }
    if (inheritsAny(type, {"application/x-raw-disk-image", "application/x-apple-diskimage"})) {
        return true;
    }
    // A type the disk images themselves belong to. The generic octet stream
    // is excluded: every file of data belongs to it.
    if (isUninformative(type)) {
        return false;
    }
    const QMimeDatabase db;
    for (const char* ext : {"x.dmg", "x.sparseimage"}) {
        const QMimeType image =
            db.mimeTypeForFile(QString::fromLatin1(ext), QMimeDatabase::MatchExtension);
        if (!isUninformative(image) && image.inherits(type.name())) {
            return true;
        }
    }
    return false;
}

bool isDiskImageFile(const QString& name, const std::optional<QString>& path) {
    if (diskImageExtensions().contains(pathExtension(name))) {
        return true;
    }
    const auto type = path ? contentType(*path) : std::nullopt;
    return isDiskImageType(
        type ? *type : QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension));
}

bool isVideoFile(const QString& name, const std::optional<QString>& path) {
    if (pathExtension(name) == "mov") {
        return true;
    }
    const auto type = path ? contentType(*path) : std::nullopt;
    return type && type->inherits("video/quicktime");
}

bool isGalleryImage(const QString& name, const std::optional<QString>& path) {
    static const QSet<QString> imageExtensions = {"png",  "jpg", "jpeg", "gif",  "webp", "tif",
                                                  "tiff", "bmp", "heic", "heif", "ico"};
    if (imageExtensions.contains(pathExtension(name))) {
        return true;
    }
    const auto isImage = [](const QMimeType& type) {
        return type.isValid() && type.name().startsWith(QLatin1String("image/"));
    };
    if (isImage(QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension))) {
        return true;
    }
    const auto type = path ? contentType(*path) : std::nullopt;
    return type && isImage(*type);
}

} // namespace PreviewSelection
