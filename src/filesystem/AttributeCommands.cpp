// The command A: a masked editor for the mode, date and time of the tagged
// files or the file under the cursor. A cursor steps over fixed positions;
// Space toggles letters and steps digits, digit keys type over digits.
#include "core/AppState.h"

#include "archive/ArchiveLocation.h"

#include "core/PathUtils.h"
#include "filesystem/FileJob.h"
#include "filesystem/FileSystemService.h"
#include "text/ShownFileName.h"

namespace {

constexpr int kModeLength = 9;
constexpr int kDateTimeLength = 8;
// Shown in the Old column when the targets disagree.
const QString kMixedMode = QStringLiteral("\"\"\"\"\"\"\"\"*");
const QString kMixedDateTime = QStringLiteral("\"\"\"\"\"\"\"\"");
const QString kMixedName = QStringLiteral("*");

QString fitted(const QString& text, int length, QChar padding) {
    return text.left(length).leftJustified(length, padding);
}

QString* focusedDateOrTime(AppState& state) {
    if (state.attributePrompt.focusField == 1) {
        return &state.attributePrompt.newDate;
    }
    if (state.attributePrompt.focusField == 2) {
        return &state.attributePrompt.newTime;
    }
    return nullptr;
}

// The next digit position at or after from, none past the end.
int digitAtOrAfter(const QString& text, int from) {
    for (int i = std::max(from, 0); i < text.size(); ++i) {
        if (text[i].isDigit()) {
            return i;
        }
    }
    return -1;
}

void fillFields(AppState& state, const QList<FileSystemService::ItemAttributes>& all) {
    const auto& first = all.first();
    bool sameMode = true, sameDateTime = true, sameOwnerGroup = true;
    for (const auto& each : all) {
        sameMode = sameMode && each.mode == first.mode;
        sameDateTime =
            sameDateTime && each.dateText == first.dateText && each.timeText == first.timeText;
        sameOwnerGroup = sameOwnerGroup && each.owner == first.owner && each.group == first.group;
    }
    state.attributePrompt.newMode = first.modeText;
    state.attributePrompt.newDate = first.dateText;
    state.attributePrompt.newTime = first.timeText;
    state.attributePrompt.oldMode = sameMode ? first.modeText : kMixedMode;
    state.attributePrompt.oldDate = sameDateTime ? first.dateText : kMixedDateTime;
    state.attributePrompt.oldTime = sameDateTime ? first.timeText : kMixedDateTime;
    state.attributePrompt.oldOwner = sameOwnerGroup ? first.owner : kMixedName;
    state.attributePrompt.oldGroup = sameOwnerGroup ? first.group : kMixedName;
}

// What the look at the disk found: the targets and their attributes, or
// the first target's failure to be read.
struct TargetsRead {
    QStringList targets;
    QList<FileSystemService::ItemAttributes> attributes;
    std::optional<QString> failure;
};

TargetsRead readTargets(const AppState::TaggedFileCandidates& candidates) {
    TargetsRead read;
    read.targets = AppState::taggedFileURLs(candidates);
    for (const QString& url : read.targets) {
        auto attributes = FileSystemService::readItemAttributes(url);
        if (!attributes) {
            read.failure = attributes.error().description();
            break;
        }
        read.attributes.append(*attributes);
    }
    return read;
}

// Step 5 on: the prompt, or why it does not open.
void showAttributePrompt(AppState& state, const TargetsRead& read) {
    if (state.isFileSearchMode) {
        state.exitFileSearchMode();
    }
    if (state.isFilterOpen) {
        state.closeFilter(true);
    }
    const QStringList& targets = read.targets;
    state.attributePrompt.targetURLs = targets;
    if (targets.isEmpty()) {
        state.reportError(QStringLiteral("No item (Space to tag, or select an item)"));
        return;
    }
    state.attributePrompt.targetSummary = targets.size() == 1
                                              ? ShownFileName::shownName(PathUtils::lastPathComponent(targets.first()))
                                              : QStringLiteral("%1 items").arg(targets.size());
    if (read.failure) {
        state.reportError(*read.failure);
        return;
    }
    fillFields(state, read.attributes);
    state.attributePrompt.focusField = 0;
    state.attributePrompt.fieldCursorIndex = 0;
    state.showOverlay(Overlay::attributePrompt);
    state.notifyChanged();
}

} // namespace

// The targets and their attributes are read on a worker; the prompt opens
// when they are back, after the same steps as when the read was instant.
void AppState::openAttributePrompt() {
    if (anyPromptOrPickerOpen()) {
        return;
    }
    const auto side = activeFilerSide();
    if (!side) {
        return;
    }
    if (refuseInsideArchive(*side, ArchiveLocation::ReadOnlyCommand::changeAttributes)) {
        return;
    }
    lookAtDiskThen([this, candidates = taggedFileCandidates()]() -> std::function<void()> {
        return [this, read = readTargets(candidates)] { showAttributePrompt(*this, read); };
    });
}

void AppState::cancelAttributePrompt() {
    closeOverlay(Overlay::attributePrompt);
    notifyChanged();
}

void AppState::moveAttributeFocus(int delta) {
    if (!isOpen(Overlay::attributePrompt)) {
        return;
    }
    attributePrompt.focusField = ((attributePrompt.focusField + delta) % 3 + 3) % 3;
    attributePrompt.fieldCursorIndex = 0;
    notifyChanged();
}

void AppState::moveAttributeFieldCursor(int delta) {
    if (!isOpen(Overlay::attributePrompt)) {
        return;
    }
    const int length = attributePrompt.focusField == 0 ? kModeLength : kDateTimeLength;
    attributePrompt.fieldCursorIndex =
        ((attributePrompt.fieldCursorIndex + delta) % length + length) % length;
    notifyChanged();
}

void AppState::toggleAttributeField() {
    if (!isOpen(Overlay::attributePrompt)) {
        return;
    }
    const int at = attributePrompt.fieldCursorIndex;
    if (QString* text = focusedDateOrTime(*this)) {
        *text = fitted(*text, kDateTimeLength, QLatin1Char('0'));
        if (at >= 0 && at < kDateTimeLength && (*text)[at].isDigit()) {
            (*text)[at] = QChar(u'0' + ((*text)[at].digitValue() + 1) % 10);
        }
    } else {
        QString mode = fitted(attributePrompt.newMode, kModeLength, QLatin1Char('-'));
        if (at >= 0 && at < kModeLength) {
            mode[at] = mode[at] == QLatin1Char('-') ? QLatin1Char("rwx"[at % 3]) : QLatin1Char('-');
        }
        attributePrompt.newMode = mode;
    }
    notifyChanged();
}

void AppState::typeAttributeDigit(QChar digit) {
    QString* text = focusedDateOrTime(*this);
    if (!isOpen(Overlay::attributePrompt) || !digit.isDigit() || !text) {
        return;
    }
    *text = fitted(*text, kDateTimeLength, QLatin1Char('0'));
    const int at = digitAtOrAfter(*text, attributePrompt.fieldCursorIndex);
    if (at < 0) {
        return;
    }
    (*text)[at] = digit;
    const int next = digitAtOrAfter(*text, at + 1);
    attributePrompt.fieldCursorIndex = next >= 0 ? next : digitAtOrAfter(*text, 0);
    notifyChanged();
}

// Every target gets the same mode and date; one that fails is named and the
// others are still done. The targets are changed one by one on a worker
// thread; the closing steps run when the job has ended.
void AppState::applyAttributePrompt() {
    if (!isOpen(Overlay::attributePrompt)) {
        return;
    }
    const QStringList targets = attributePrompt.targetURLs;
    const auto mode = FileSystemService::parseModeText(attributePrompt.newMode);
    if (!mode) {
        reportError(mode.error().description());
        return;
    }
    const auto date =
        FileSystemService::parseDateTime(attributePrompt.newDate, attributePrompt.newTime);
    if (!date) {
        reportError(date.error().description());
        return;
    }
    cancelAttributePrompt();
    FileJob::start(
        *this, targets, QStringLiteral("Attributes"),
        [mode = *mode, date = *date](const QString& url) {
            auto done = FileSystemService::setPosixPermissions(url, mode);
            if (done) {
                done = FileSystemService::setModificationDate(url, date);
            }
            return done ? FileJob::ItemError() : FileJob::ItemError(done.error());
        },
        [this](const FileJob::Outcome& outcome) {
            finishFileOperation();
            const QStringList failures = outcome.failureLines();
            if (!failures.isEmpty()) {
                reportError(failures.join(QLatin1Char('\n')));
            }
            if (outcome.stopped) {
                fileJobStopReport = FileJob::stoppedReport(outcome.succeeded(), outcome.total,
                                                           QStringLiteral("changed"));
                dosDialogActionIndex = 0;
            }
        });
}
