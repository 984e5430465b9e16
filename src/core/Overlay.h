#pragma once

#include "core/Background.h"
#include "core/Model.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class TreeSession;

// The prompts, pickers and boxes that stand over the panes and take the keys
// while they are open. At most one is open at a time; which one is the state
// object's single answer, and each keeps its own fields below.
enum class Overlay {
    none,
    createItemPrompt,
    wildcardPrompt,
    renamePrompt,
    attributePrompt,
    copyMovePathPrompt,
    searchTreeBox,
    sortPicker,
    volumePicker,
    openWithPicker,
    jumpDialog,
};

enum class CopyMoveKind { copy, move };

// MKDIR and NEW FILE: the name typed and the folder it goes into.
struct CreateItemPromptState {
    CreateItemKind kind = CreateItemKind::folder;
    QString name;
    QString parentPath;
};

struct RenamePromptState {
    QString name;
    QString sourceURL;
    QString sourceName;
};

struct WildcardPromptState {
    QString pattern = QStringLiteral("*.*");
};

// The destination typed for C or M, read against the folder the items are in.
struct CopyMovePathPromptState {
    CopyMoveKind kind = CopyMoveKind::copy;
    QString text;
    QStringList sources;
    std::optional<QString> baseURL;
};

// The mode, date and time of the items as they were and as typed, the field
// with the focus and the digit under its cursor.
struct AttributePromptState {
    QStringList targetURLs;
    QString targetSummary;
    QString oldMode;
    QString newMode;
    QString oldDate;
    QString newDate;
    QString oldTime;
    QString newTime;
    QString oldOwner;
    QString oldGroup;
    int focusField = 0;
    int fieldCursorIndex = 0;
};

struct SortPickerState {
    int selection = 0;
};

struct JumpDialogState {
    QString filterQuery;
    std::optional<QString> selectedPath;
    int64_t focusNonce = 0;
};

struct VolumePickerState {
    QList<MountedVolume> items;
    int selection = 0;
    // The list is being read on a worker thread; the box stands empty.
    bool isLoading = false;
    // The reading of the list; closing the picker drops it.
    Background::TicketCounter listing;
};

struct OpenWithPickerState {
    QList<OpenWithApp> apps;
    int selection = 0;
    std::optional<QString> fileURL;
    QString fileName;
    bool fileIsFolder = false;
};

struct SearchTreeBoxState {
    std::shared_ptr<TreeSession> session;
};
