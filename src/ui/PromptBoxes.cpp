#include "ui/PromptBoxes.h"

#include "core/AppState.h"
#include "text/ShownFileName.h"
#include "ui/PromptBoxView.h"

namespace PromptBoxes {

PromptBoxView* createItemPrompt(AppState& state, QWidget* parent) {
    PromptBoxView::Binding binding;
    binding.content = [&state] {
        const bool folder = state.createItemPrompt.kind == CreateItemKind::folder;
        return PromptBoxView::Content{
            folder ? QStringLiteral("MKDIR") : QStringLiteral("NEW FILE"),
            {QStringLiteral("Parent: ") + state.createItemPrompt.parentPath},
            QStringLiteral("Name:"),
            folder ? QStringLiteral("フォルダ名") : QStringLiteral("ファイル名"),
            folder ? QStringLiteral("Enter 作成  Esc 取消")
                   : QStringLiteral("Enter 作成 (0 bytes)  Esc 取消")};
    };
    binding.text = [&state] { return state.createItemPrompt.name; };
    binding.setText = [&state](const QString& text) { state.setPromptText(text); };
    binding.submit = [&state] { state.commitCreateItem(); };
    return new PromptBoxView(state, std::move(binding), parent);
}

PromptBoxView* renamePrompt(AppState& state, QWidget* parent) {
    PromptBoxView::Binding binding;
    binding.content = [&state] {
        return PromptBoxView::Content{
            QStringLiteral("RENAME"),
            {QStringLiteral("From: ") + ShownFileName::shownName(state.renamePrompt.sourceName)},
            QStringLiteral("To:"),
            QStringLiteral("新しい名前"),
            QStringLiteral("Enter 変更  Esc 取消")};
    };
    binding.text = [&state] { return state.renamePrompt.name; };
    binding.setText = [&state](const QString& text) { state.setPromptText(text); };
    binding.submit = [&state] { state.commitRename(); };
    return new PromptBoxView(state, std::move(binding), parent);
}

PromptBoxView* copyMovePathPrompt(AppState& state, QWidget* parent) {
    PromptBoxView::Binding binding;
    binding.content = [&state] {
        const bool copy = state.copyMovePathPrompt.kind == AppState::CopyMoveKind::copy;
        return PromptBoxView::Content{
            copy ? QStringLiteral("COPY") : QStringLiteral("MOVE"),
            {QStringLiteral("Items: ") + QString::number(state.copyMovePathPrompt.sources.size()),
             QStringLiteral("From: ") + state.copyMovePathPrompt.baseURL.value_or(QString())},
            QStringLiteral("To:"),
            QStringLiteral("絶対 / ~/… / 相対 (../Dest)"),
            QStringLiteral("Enter 確定  Esc 取消  （相対は From 基準）")};
    };
    binding.text = [&state] { return state.copyMovePathPrompt.text; };
    binding.setText = [&state](const QString& text) { state.setPromptText(text); };
    binding.submit = [&state] { state.commitCopyMovePathPrompt(); };
    return new PromptBoxView(state, std::move(binding), parent);
}

PromptBoxView* wildcardTagPrompt(AppState& state, QWidget* parent) {
    PromptBoxView::Binding binding;
    binding.content = [] {
        return PromptBoxView::Content{QStringLiteral("WILDCARD TAG"),
                                      {QStringLiteral("例: *.swift  /  test?.*  /  *")},
                                      QStringLiteral("Pattern:"),
                                      QStringLiteral("*.*"),
                                      QStringLiteral("Enter タグ付与  Esc 取消")};
    };
    binding.text = [&state] { return state.wildcardPrompt.pattern; };
    binding.setText = [&state](const QString& text) { state.setPromptText(text); };
    binding.submit = [&state] { state.applyWildcardTag(); };
    return new PromptBoxView(state, std::move(binding), parent);
}

} // namespace PromptBoxes
