#include "dialogs/DosDialog.h"

#include "core/AppState.h"
#include "core/Formats.h"
#include "core/PathUtils.h"
#include "text/ShownFileName.h"

#include <QHash>

namespace {

using Action = DosDialogAction;

const QString kLargeFileLimit = QString::asprintf("%.1f KB", 256.0);

const QString kFolderAccessTip =
    QStringLiteral("デスクトップ／書類／ダウンロードなどに入ると、\n"
                   "macOS が「Dorvik に許可しますか?」と尋ねます。\n"
                   "「許可」すると、システム設定の一覧にアプリ名が出ます。\n\n"
                   "（アプリ自身がフルアクセスを常時オンにはできません）\n\n"
                   "すべてまとめて許可したい場合だけ、フルディスクアクセスを\n"
                   "手動でオンにしてください（S で設定とアプリを表示）。");

QString kindWord(AppState::CopyMoveKind kind) {
    return kind == AppState::CopyMoveKind::copy ? QStringLiteral("Copy") : QStringLiteral("Move");
}

DosDialog dialog(const QString& title, const QString& message, QList<Action> actions,
                 const QString& hint = DosDialogText::standardHint) {
    return DosDialog{title, message, std::move(actions), hint};
}

QList<Action> yesNo(bool yesIsDestructive) {
    return {{QStringLiteral("yes"), QStringLiteral("OK"), yesIsDestructive},
            {QStringLiteral("no"), QStringLiteral("Cancel"), false}};
}

DosDialog copyMoveDialog(const AppState::PendingCopyMove& pending) {
    const QString word = kindWord(pending.kind);
    if (const auto* conflict = std::get_if<AppState::PendingCopyMove::Conflict>(&pending.stage)) {
        const QString message =
            word + QStringLiteral(":\n") +
            ShownFileName::shownName(PathUtils::lastPathComponent(conflict->source)) +
            QStringLiteral("\n→ already exists at\n") + conflict->destinationItem;
        return dialog(QStringLiteral("EXISTS"), message,
                      {{QStringLiteral("overwrite"), QStringLiteral("Overwrite"), true},
                       {QStringLiteral("skip"), QStringLiteral("Skip"), false},
                       {QStringLiteral("abort"), QStringLiteral("Abort"), false}},
                      QStringLiteral("←→ 選択  Enter 実行  ⇧Enter 以降一括  Esc 中止"));
    }
    const QString message = word + QLatin1Char(' ') + QString::number(pending.sources.size()) +
                            QStringLiteral(" item(s) →\n") + pending.destination +
                            QStringLiteral("\n\n") + dosDialogNameList(pending.sources);
    return dialog(pending.kind == AppState::CopyMoveKind::copy ? QStringLiteral("COPY")
                                                               : QStringLiteral("MOVE"),
                  message, yesNo(false));
}

DosDialog deleteDialog(const AppState::PendingDelete& pending) {
    return dialog(pending.deletingFolders ? QStringLiteral("DELETE FOLDER(S)")
                                          : QStringLiteral("DELETE FILE(S)"),
                  QStringLiteral("Move to Trash:\n") + dosDialogNameList(pending.urls),
                  yesNo(true));
}

DosDialog largeFileDialog(int64_t byteSize) {
    const QString size =
        byteSize < 1 ? kLargeFileLimit + QLatin1Char('+') : Formats::formatVerboseSize(byteSize);
    const QString message = QStringLiteral("このファイルは ") + size +
                            QStringLiteral("（簡易 EDITOR 上限 ") + kLargeFileLimit +
                            QStringLiteral("）です。\n内蔵 EDITOR では開けません。\n"
                                           "外部アプリ（X）で開きますか?");
    return dialog(QStringLiteral("LARGE FILE"), message,
                  {{QStringLiteral("open_with"), QStringLiteral("Open With"), false},
                   {QStringLiteral("no"), QStringLiteral("Cancel"), false}});
}

DosDialog leaveEditorDialog(bool isDirty) {
    return dialog(QStringLiteral("LEAVE EDITOR"),
                  isDirty ? QStringLiteral("EDITOR has unsaved changes.\nSwitch layout anyway?")
                          : QStringLiteral("Leave EDITOR and switch layout?"),
                  {{QStringLiteral("yes"), QStringLiteral("Switch"), true},
                   {QStringLiteral("no"), QStringLiteral("Cancel"), false}});
}

DosDialog quitDialog(bool unsavedEditor) {
    return dialog(QStringLiteral("QUIT"),
                  unsavedEditor
                      ? QStringLiteral("エディタに未保存の変更があります。\n終了しますか?")
                      : QStringLiteral("終了しますか?"),
                  yesNo(true));
}

DosDialog saveEncodingDialog() {
    return dialog(QStringLiteral("SAVE ENCODING"),
                  QStringLiteral("保存時の文字コードを選んでください。\n"
                                 "開いたときの判定が初期選択です。"),
                  {{QStringLiteral("enc_utf8"), QStringLiteral("UTF-8"), false},
                   {QStringLiteral("enc_cp932"), QStringLiteral("CP932"), false},
                   {QStringLiteral("enc_sjis"), QStringLiteral("Shift_JIS"), false},
                   {QStringLiteral("enc_eucjp"), QStringLiteral("EUC-JP"), false}},
                  QStringLiteral("←→ 選択  Enter 決定  Esc 取消"));
}

DosDialog folderAccessDialog() {
    return dialog(QStringLiteral("FOLDER ACCESS"), kFolderAccessTip,
                  {{QStringLiteral("once"), QStringLiteral("今回だけ"), false},
                   {QStringLiteral("settings"), QStringLiteral("設定"), false},
                   {QStringLiteral("dont_show"), QStringLiteral("今後表示しない"), false}},
                  QStringLiteral("←→ 選択  Enter 実行  Esc / 今回だけ 閉じる"));
}

} // namespace

std::optional<int> DosDialog::indexOf(const QString& id) const {
    for (int i = 0; i < actions.size(); ++i) {
        if (actions.at(i).id == id) {
            return i;
        }
    }
    return std::nullopt;
}

std::optional<DosDialog> currentDosDialog(const AppState& s) {
    if (s.errorMessage) {
        return dialog(QStringLiteral("ERROR"), *s.errorMessage,
                      {{QStringLiteral("ok"), QStringLiteral("OK"), false}});
    }
    if (s.fileJobStopReport) {
        return dialog(QStringLiteral("STOPPED"), *s.fileJobStopReport,
                      {{QStringLiteral("ok"), QStringLiteral("OK"), false}});
    }
    if (s.pendingCopyMove) {
        return copyMoveDialog(*s.pendingCopyMove);
    }
    if (s.pendingDelete) {
        return deleteDialog(*s.pendingDelete);
    }
    if (s.pendingLargeEditURL) {
        return largeFileDialog(s.textFileByteSize);
    }
    if (s.pendingLayoutMode) {
        return leaveEditorDialog(s.isDirty);
    }
    if (s.pendingExitEditorToViewer) {
        return dialog(QStringLiteral("SAVE"), QStringLiteral("保存しますか?"),
                      {{QStringLiteral("save"), QStringLiteral("Save"), false},
                       {QStringLiteral("discard"), QStringLiteral("Don't Save"), true}});
    }
    if (s.pendingQuit) {
        return quitDialog(s.isDirty && s.rightMode == RightPaneMode::editor);
    }
    if (s.isEncodingPickerOpen) {
        return saveEncodingDialog();
    }
    if (s.pendingFullDiskAccessTip) {
        return folderAccessDialog();
    }
    return std::nullopt;
}

QString dosDialogButtonText(const DosDialogAction& action) {
    static const QHash<QString, QString> captions = {
        {QStringLiteral("ok"), QStringLiteral(" OK ")},
        {QStringLiteral("yes"), QStringLiteral(" Y:OK ")},
        {QStringLiteral("no"), QStringLiteral(" N:Cancel ")},
        {QStringLiteral("save"), QStringLiteral(" Y:保存 ")},
        {QStringLiteral("discard"), QStringLiteral(" N:しない ")},
        {QStringLiteral("overwrite"), QStringLiteral(" O:上書 ")},
        {QStringLiteral("skip"), QStringLiteral(" S:取消 ")},
        {QStringLiteral("abort"), QStringLiteral(" A:中止 ")},
        {QStringLiteral("open_with"), QStringLiteral(" X:外部で開く ")},
        {QStringLiteral("enc_utf8"), QStringLiteral(" UTF-8 ")},
        {QStringLiteral("enc_cp932"), QStringLiteral(" CP932 ")},
        {QStringLiteral("enc_sjis"), QStringLiteral(" Shift_JIS ")},
        {QStringLiteral("enc_eucjp"), QStringLiteral(" EUC-JP ")},
        {QStringLiteral("once"), QStringLiteral(" 今回だけ ")},
        {QStringLiteral("settings"), QStringLiteral(" S:設定+アプリ表示 ")},
        {QStringLiteral("dont_show"), QStringLiteral(" D:今後表示しない ")},
    };
    return captions.value(action.id, QLatin1Char(' ') + action.label + QLatin1Char(' '));
}

QString dosDialogNameList(const QStringList& urls) {
    constexpr int kShownNames = 8;
    QStringList names;
    for (const QString& url : urls.mid(0, urls.size() > kShownNames ? kShownNames : urls.size())) {
        names.append(ShownFileName::shownName(PathUtils::lastPathComponent(url)));
    }
    QString list = names.join(QLatin1Char('\n'));
    if (urls.size() > kShownNames) {
        list += QStringLiteral("\n… (") + QString::number(urls.size()) + QStringLiteral(" items)");
    }
    return list;
}

namespace {

// How many characters of text fit the width, at least one.
qsizetype fittingLength(const QString& text, const std::function<double(const QString&)>& widthOf,
                        double width) {
    qsizetype cut = text.size();
    while (cut > 1 && widthOf(text.left(cut)) > width) {
        --cut;
    }
    return cut;
}

} // namespace

QStringList dosDialogWrappedLines(const QString& message,
                                  const std::function<double(const QString&)>& widthOf,
                                  double width) {
    QStringList lines;
    for (const QString& line : message.split(QLatin1Char('\n'))) {
        QString rest = line;
        while (rest.size() > 1 && widthOf(rest) > width) {
            const qsizetype fits = fittingLength(rest, widthOf, width);
            // The blank right after what fits ends a word as well as one inside it.
            const qsizetype blank = rest.lastIndexOf(QLatin1Char(' '), fits);
            const qsizetype cut = blank > 0 ? blank : fits;
            lines.append(rest.left(cut));
            rest = rest.mid(cut);
            if (blank > 0) {
                rest = rest.mid(1);
            }
        }
        lines.append(rest);
    }
    return lines;
}
