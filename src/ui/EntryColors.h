#pragma once

#include "core/EntryDisplay.h"
#include "ui/Palette.h"

#include <QColor>

// The palette colour of each entry colour role, and a colour laid over the
// navy background as one opaque colour.
namespace EntryColors {

inline QColor of(EntryDisplay::ColorRole role) {
    using R = EntryDisplay::ColorRole;
    switch (role) {
    case R::file:
        return Palette::fileText();
    case R::readOnlyFile:
        return Palette::readOnlyFileText();
    case R::unreadableFile:
        return Palette::unreadableFileText();
    case R::dir:
        return Palette::dirText();
    case R::unreadableDir:
        return Palette::unreadableDirText();
    case R::localizedDir:
        return Palette::localizedDirText();
    case R::unreadableLocalizedDir:
        return Palette::unreadableLocalizedDirText();
    case R::archive:
        return Palette::archiveText();
    case R::unreadableArchive:
        return Palette::unreadableArchiveText();
    }
    return Palette::baseText();
}

inline QColor overNavy(const QColor& color, double opacity) {
    const QColor navy = Palette::paneBackground();
    return QColor::fromRgbF(color.redF() * opacity + navy.redF() * (1 - opacity),
                            color.greenF() * opacity + navy.greenF() * (1 - opacity),
                            color.blueF() * opacity + navy.blueF() * (1 - opacity));
}

} // namespace EntryColors
