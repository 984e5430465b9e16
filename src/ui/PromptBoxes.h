#pragma once

class AppState;
class PromptBoxView;
class QWidget;

// The text prompts as boxes: each binds a PromptBoxView to its fields of the
// state and to the command its Enter runs.
namespace PromptBoxes {

// MKDIR or NEW FILE, by isOpen(Overlay::createItemPrompt).
PromptBoxView* createItemPrompt(AppState& state, QWidget* parent);
PromptBoxView* renamePrompt(AppState& state, QWidget* parent);
// COPY or MOVE: where the tagged items go.
PromptBoxView* copyMovePathPrompt(AppState& state, QWidget* parent);
PromptBoxView* wildcardTagPrompt(AppState& state, QWidget* parent);

} // namespace PromptBoxes
