#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class AppState;

// One button of the DOS dialog. id says what it does; the caption drawn on it
// comes from dosDialogButtonText and not from label.
struct DosDialogAction {
    QString id;
    QString label;
    bool isDestructive = false;
    bool operator==(const DosDialogAction&) const = default;
};

// The one question or error that stands: a value built from the state, with
// no life of its own.
struct DosDialog {
    QString title;
    QString message;
    QList<DosDialogAction> actions;
    QString hint;
    bool operator==(const DosDialog&) const = default;

    // The index of the action with this id, or none.
    std::optional<int> indexOf(const QString& id) const;
};

namespace DosDialogText {
inline const QString standardHint = QStringLiteral("←→ 選択  Enter 実行  Esc 取消");
}

// The dialog of the first pending field that is set, in fixed precedence: an
// error, what a stopped file job got done, a copy or move conflict, its confirmation, a delete, a
// large file, leaving EDITOR for a layout, saving, quitting, the save encoding, the folder access
// tip. None when nothing is pending.
std::optional<DosDialog> currentDosDialog(const AppState& state);

// The caption of a button, with its letter key where it has one.
QString dosDialogButtonText(const DosDialogAction& action);

// The message's lines broken to a width as widthOf measures text: a long
// line breaks after the last blank that fits, the blank dropped, and only a
// word longer than the whole width is cut inside.
QStringList dosDialogWrappedLines(const QString& message,
                                  const std::function<double(const QString&)>& widthOf,
                                  double width);

// The last path components, one a line; from 9 names on, the first 8 and a
// line with the total.
QString dosDialogNameList(const QStringList& urls);
