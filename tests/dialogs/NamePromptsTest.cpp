// The create and rename prompts against real folders: what lands on disk,
// what the user reads when it can't, and where the cursor and tags end up.
#include "support/PaneRows.h"
#include "support/StateFixture.h"

#include <QFileInfo>

#include <gtest/gtest.h>

namespace {

class NamePromptsTest : public StateFixture {
protected:
    void SetUp() override {
        StateFixture::SetUp();
        dir.makeFile(QStringLiteral("b.txt"), "bee");
        dir.makeFile(QStringLiteral("c.txt"));
        makeState();
    }

    void create(CreateItemKind kind, const QString& name) {
        state->openCreateItemPrompt(kind);
        ASSERT_TRUE(state->isOpen(Overlay::createItemPrompt));
        ASSERT_EQ(state->createItemPrompt.kind, kind);
        state->createItemPrompt.name = name;
        state->commitCreateItem();
        waitForListings(*state);
    }
    void selectName(const QString& name) { PaneRows::putCursorOn(*state, name); }
    QString nameAtCursor() const { return state->currentEntry()->name; }
};

TEST_F(NamePromptsTest, NewFolderAndFileLandOnDiskUnderTheCursor) {
    create(CreateItemKind::folder, QStringLiteral("  Reports "));
    EXPECT_FALSE(state->isOpen(Overlay::createItemPrompt));
    EXPECT_TRUE(QFileInfo(dir.filePath(QStringLiteral("Reports"))).isDir());
    EXPECT_EQ(nameAtCursor(), QStringLiteral("Reports"));

    create(CreateItemKind::file, QStringLiteral("notes.md"));
    const QFileInfo file(dir.filePath(QStringLiteral("notes.md")));
    EXPECT_TRUE(file.isFile());
    EXPECT_EQ(file.size(), 0);
    EXPECT_EQ(nameAtCursor(), QStringLiteral("notes.md"));
    EXPECT_FALSE(state->errorMessage.has_value());

    // A file the hidden setting hides leaves the cursor where it was.
    create(CreateItemKind::file, QStringLiteral(".hidden"));
    EXPECT_TRUE(QFileInfo::exists(dir.filePath(QStringLiteral(".hidden"))));
    EXPECT_EQ(nameAtCursor(), QStringLiteral("notes.md"));
}

TEST_F(NamePromptsTest, RefusedNamesCloseThePromptWithTheirMessage) {
    const struct {
        CreateItemKind kind;
        QString name;
        QString message;
    } rows[] = {
        {CreateItemKind::folder, QString(), QStringLiteral("Invalid name")},
        {CreateItemKind::file, QStringLiteral("a/b"), QStringLiteral("Invalid name")},
        {CreateItemKind::folder, QStringLiteral(".."), QStringLiteral("Invalid name")},
        {CreateItemKind::file, QStringLiteral("x:y"), QStringLiteral("Invalid name")},
        {CreateItemKind::folder, QStringLiteral("b.txt"), QStringLiteral("Already exists: b.txt")},
    };
    for (const auto& row : rows) {
        create(row.kind, row.name);
        EXPECT_FALSE(state->isOpen(Overlay::createItemPrompt));
        EXPECT_TRUE(state->createItemPrompt.name.isEmpty());
        EXPECT_EQ(state->errorMessage, row.message) << row.name.toStdString();
        state->errorMessage.reset();
    }
}

TEST_F(NamePromptsTest, RenameStartsWithTheOldNameAndKeepsTheTag) {
    selectName(QStringLiteral("b.txt"));
    const QString oldPath = dir.filePath(QStringLiteral("b.txt"));
    state->toggleTag(oldPath);
    state->editorURL = oldPath;
    state->openRenamePrompt();
    ASSERT_TRUE(state->isOpen(Overlay::renamePrompt));
    EXPECT_EQ(state->renamePrompt.name, QStringLiteral("b.txt"));
    state->renamePrompt.name = QStringLiteral("bee.txt");
    state->commitRename();
    waitForListings(*state);

    const QString newPath = dir.filePath(QStringLiteral("bee.txt"));
    EXPECT_FALSE(state->isOpen(Overlay::renamePrompt));
    EXPECT_TRUE(QFileInfo::exists(newPath));
    EXPECT_FALSE(QFileInfo::exists(oldPath));
    EXPECT_EQ(state->taggedKeys, QSet<QString>{newPath});
    EXPECT_EQ(state->editorURL, newPath);
    EXPECT_EQ(nameAtCursor(), QStringLiteral("bee.txt"));
}

TEST_F(NamePromptsTest, RenameWithoutChangeOrOntoAnotherItem) {
    selectName(QStringLiteral("c.txt"));
    state->openRenamePrompt();
    state->commitRename();
    waitForListings(*state);
    EXPECT_FALSE(state->isOpen(Overlay::renamePrompt));
    EXPECT_FALSE(state->errorMessage.has_value());
    EXPECT_EQ(nameAtCursor(), QStringLiteral("c.txt"));

    state->openRenamePrompt();
    state->renamePrompt.name = QStringLiteral("b.txt");
    state->commitRename();
    waitForListings(*state);
    EXPECT_EQ(state->errorMessage, QStringLiteral("Already exists: b.txt"));
    EXPECT_TRUE(QFileInfo::exists(dir.filePath(QStringLiteral("c.txt"))));
}

TEST_F(NamePromptsTest, APromptDoesNotOpenOverAnotherNorRenameTheParentRow) {
    state->setSelection(0, PaneSide::left);
    state->openRenamePrompt();
    EXPECT_EQ(state->errorMessage, QStringLiteral("No item to rename"));
    EXPECT_FALSE(state->isOpen(Overlay::renamePrompt));
    state->errorMessage.reset();

    state->openWildcardPrompt();
    state->openCreateItemPrompt(CreateItemKind::folder);
    EXPECT_FALSE(state->isOpen(Overlay::createItemPrompt));
    state->cancelWildcardPrompt();
    state->openFilter();
    state->openCreateItemPrompt(CreateItemKind::folder);
    EXPECT_TRUE(state->isOpen(Overlay::createItemPrompt));
    EXPECT_FALSE(state->isFilterOpen) << "the filter closes for the prompt";
    state->openRenamePrompt();
    EXPECT_FALSE(state->isOpen(Overlay::renamePrompt));
    state->cancelCreateItemPrompt();
    EXPECT_FALSE(state->isOpen(Overlay::createItemPrompt));
}

} // namespace
