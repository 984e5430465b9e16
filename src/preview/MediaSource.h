#pragma once

#include "core/FileDescriptor.h"
#include "core/Result.h"

#include <QString>
#include <QUrl>

// A sound or film file as the media player is to open it. The player takes a
// URL and opens its path with an encoding that loses bytes that are not
// UTF-8, so a name such as "bad\xff\xfe.mp4" would reach another file or
// none. Such a file is therefore opened here by its exact bytes, and the
// player is given the descriptor's own path in /proc/self/fd, which is
// plain ASCII. The descriptor stays open as long as the object lives: the
// player opens it later, on its own thread. A UTF-8 name goes to the player
// as it is, so that the player still sees its extension.
class MediaSource {
public:
    static Result<MediaSource, SystemError> open(const QString& path);

    const QUrl& url() const { return m_url; }

private:
    MediaSource(QUrl url, FileDescriptor file)
        : m_url(std::move(url))
        , m_file(std::move(file)) {}

    QUrl m_url;
    FileDescriptor m_file;
};
