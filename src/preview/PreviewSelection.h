#pragma once

#include "core/Model.h"

#include <QByteArrayView>
#include <QString>

#include <optional>

class QMimeType;

// How the viewer shows a file: as text, as a graphic preview, or not at all,
// decided from the name, the content type and, where those are silent, the
// first bytes. classifyFile reads at most one head of 4096 bytes; where the
// name alone decides (kindByNameAlone), nothing on disk is touched, and the
// VIEWER asks the disk on a reader thread only for the other names.
namespace PreviewSelection {

// What the first bytes of a file say it is.
enum class FileHead { text, rtf, compoundDocument, zipContainer, other };

// The extension as the file manager sees it, in lower case: empty for
// ".gitignore" and "Makefile", "bak" for "README.bak".
QString pathExtension(const QString& name);

bool isDocumentExtension(const QString& ext);
bool isExtractableExtension(const QString& ext);
bool isTextExtension(const QString& ext);
bool isBinaryExtension(const QString& ext);
bool isDiskImageExtension(const QString& ext);
// "readme", "license", "makefile", "dockerfile" or a name beginning with ".",
// for a name without extension.
bool isBareTextName(const QString& name);

// path is absent for an archive member. Never gives none.
ViewerContentKind classifyFile(const QString& name, const std::optional<QString>& path);
// The kind classifyFile gives a file on disk when its name alone decides it;
// none when the content type or the first bytes have a say.
std::optional<ViewerContentKind> kindByNameAlone(const QString& name);

FileHead sniffFileHead(const QString& path);
FileHead sniffHead(QByteArrayView head);

// The last resort for a file nothing else could place.
bool looksLikePlainText(const QString& path);
// The gates that look at the head alone: few NULs and control bytes, a text
// that decodes, with at least 8 characters of which 8 are letters or kana/kanji.
bool headLooksLikePlainText(QByteArrayView head);

bool isDiskImageType(const QMimeType& type);
bool isDiskImageFile(const QString& name, const std::optional<QString>& path);
bool isVideoFile(const QString& name, const std::optional<QString>& path);
// A picture for the gallery and the still view: one of the eleven image
// extensions, or a type (of the name, or of the file when path is given)
// that is an image.
bool isGalleryImage(const QString& name, const std::optional<QString>& path);

} // namespace PreviewSelection
