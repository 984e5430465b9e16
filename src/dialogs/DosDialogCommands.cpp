// The answers to the DOS dialog: its keys, its buttons, and the affirmative
// and negative steps of whichever question stands.
#include "core/AppState.h"

#include "core/KeyEvent.h"
#include "core/PathUtils.h"
#include "core/Preferences.h"
#include "dialogs/DosDialog.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QUrl>

namespace {

const QString kHideFullDiskAccessTip = QStringLiteral("hideFullDiskAccessTip");

// The letter keys of the dialog, in the order they are tried: the first whose
// action the dialog has wins.
enum class LetterEffect { selectAndActivate, cancel, abortCopyMove };
struct LetterRow {
    const char16_t* letter;
    const char* actionId;
    LetterEffect effect;
};
constexpr LetterRow kLetterRows[] = {
    {u"y", "yes", LetterEffect::selectAndActivate},
    {u"y", "save", LetterEffect::selectAndActivate},
    {u"n", "discard", LetterEffect::selectAndActivate},
    {u"n", "no", LetterEffect::cancel},
    {u"o", "overwrite", LetterEffect::selectAndActivate},
    {u"s", "skip", LetterEffect::selectAndActivate},
    {u"a", "abort", LetterEffect::abortCopyMove},
    {u"d", "dont_show", LetterEffect::selectAndActivate},
    {u"s", "settings", LetterEffect::selectAndActivate},
    {u"x", "open_with", LetterEffect::selectAndActivate},
};

} // namespace

bool AppState::handleDosDialogKey(const std::optional<QString>& characters, uint16_t keyCode,
                                  bool shift) {
    const std::optional<DosDialog> dialog = currentDosDialog(*this);
    if (!dialog) {
        return false;
    }
    if (!dialog->actions.isEmpty()) {
        dosDialogActionIndex = std::clamp(dosDialogActionIndex, 0, int(dialog->actions.size()) - 1);
    }
    if (keyCode == KeyCode::returnKey || keyCode == KeyCode::keypadEnter) {
        activateDosDialogAction(shift);
    } else if (keyCode == KeyCode::left || keyCode == KeyCode::up) {
        moveDosDialogSelection(-1);
    } else if (keyCode == KeyCode::right || keyCode == KeyCode::down) {
        moveDosDialogSelection(1);
    } else if (keyCode == KeyCode::escape) {
        cancelDosDialog();
    } else if (characters && !characters->isEmpty()) {
        const QString letter = characters->toLower();
        for (const LetterRow& row : kLetterRows) {
            const std::optional<int> index = dialog->indexOf(QLatin1String(row.actionId));
            if (letter != QStringView(row.letter) || !index) {
                continue;
            }
            if (row.effect == LetterEffect::cancel) {
                cancelDosDialog();
            } else if (row.effect == LetterEffect::abortCopyMove) {
                pendingCopyMove.reset();
            } else {
                dosDialogActionIndex = *index;
                activateDosDialogAction(shift);
            }
            break;
        }
    }
    notifyChanged();
    return true;
}

void AppState::moveDosDialogSelection(int delta) {
    const std::optional<DosDialog> dialog = currentDosDialog(*this);
    const int count = dialog ? int(dialog->actions.size()) : 0;
    if (count == 0) {
        return;
    }
    dosDialogActionIndex = ((dosDialogActionIndex + delta) % count + count) % count;
    notifyChanged();
}

void AppState::activateDosDialogAction(bool shift) {
    const std::optional<DosDialog> dialog = currentDosDialog(*this);
    if (!dialog || dosDialogActionIndex < 0 || dosDialogActionIndex >= dialog->actions.size()) {
        return;
    }
    const QString id = dialog->actions.at(dosDialogActionIndex).id;
    static const QHash<QString, QString> encodings = {
        {QStringLiteral("enc_utf8"), QStringLiteral("UTF-8")},
        {QStringLiteral("enc_cp932"), QStringLiteral("CP932")},
        {QStringLiteral("enc_sjis"), QStringLiteral("Shift_JIS")},
        {QStringLiteral("enc_eucjp"), QStringLiteral("EUC-JP")},
    };
    if (id == QLatin1String("no") || id == QLatin1String("abort")) {
        cancelDosDialog();
    } else if (id == QLatin1String("discard")) {
        finishExitEditor(false);
    } else if (id == QLatin1String("overwrite")) {
        proceedCopyMove(shift);
    } else if (id == QLatin1String("skip")) {
        skipCopyMoveItem(shift);
    } else if (id == QLatin1String("open_with")) {
        const QString url = pendingLargeEditURL.value_or(QString());
        pendingLargeEditURL.reset();
        showOpenWithChoices(url, PathUtils::lastPathComponent(url));
    } else if (encodings.contains(id)) {
        textEncodingLabel = encodings.value(id);
        isEncodingPickerOpen = false;
    } else if (id == QLatin1String("settings")) {
        openPrivacySettings();
        pendingFullDiskAccessTip = false;
    } else if (id == QLatin1String("dont_show")) {
        preferences().setValue(kHideFullDiskAccessTip, true);
        pendingFullDiskAccessTip = false;
    } else {
        confirmDosDialog(shift);
    }
    notifyChanged();
}

void AppState::confirmDosDialog(bool shift) {
    if (errorMessage) {
        errorMessage.reset();
    } else if (fileJobStopReport) {
        fileJobStopReport.reset();
    } else if (pendingCopyMove) {
        const bool conflict =
            std::holds_alternative<PendingCopyMove::Conflict>(pendingCopyMove->stage);
        proceedCopyMove(conflict && shift);
    } else if (pendingDelete) {
        runPendingDelete();
    } else if (pendingLargeEditURL) {
        const QString url = *pendingLargeEditURL;
        pendingLargeEditURL.reset();
        showOpenWithChoices(url, PathUtils::lastPathComponent(url));
    } else if (pendingLayoutMode) {
        const LayoutMode mode = *pendingLayoutMode;
        pendingLayoutMode.reset();
        applyLayoutMode(mode);
    } else if (pendingExitEditorToViewer) {
        finishExitEditor(true);
    } else if (pendingQuit) {
        pendingQuit = false;
        // Nothing is saved on the way out: what was stored stays stored.
        QCoreApplication::exit(0);
    } else if (pendingFullDiskAccessTip) {
        pendingFullDiskAccessTip = false;
    }
    notifyChanged();
}

// One step clears one dialog, in the builder's order; the next one then shows.
void AppState::cancelDosDialog() {
    if (errorMessage) {
        errorMessage.reset();
    } else if (fileJobStopReport) {
        fileJobStopReport.reset();
    } else if (pendingCopyMove) {
        pendingCopyMove.reset();
    } else if (pendingDelete) {
        pendingDelete.reset();
    } else if (pendingLargeEditURL) {
        pendingLargeEditURL.reset();
    } else if (pendingLayoutMode) {
        pendingLayoutMode.reset();
    } else if (pendingExitEditorToViewer) {
        pendingExitEditorToViewer = false;
        m_afterEditorSaveQuestion = nullptr;
    } else if (pendingQuit) {
        pendingQuit = false;
    } else if (isEncodingPickerOpen) {
        isEncodingPickerOpen = false;
    } else if (pendingFullDiskAccessTip) {
        pendingFullDiskAccessTip = false;
    }
    notifyChanged();
}

// The desktop has no privacy pane for folder access: the program's own
// folder is shown in the file manager, which is where a user grants rights.
void AppState::openPrivacySettings() {
    const QString folder = QCoreApplication::applicationDirPath();
    if (!folder.isEmpty()) {
        QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
    }
}

void AppState::selectDialogButton(int index) {
    dosDialogActionIndex = index;
    notifyChanged();
}
