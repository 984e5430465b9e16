#pragma once

// Shared by the copy, move, delete and attribute flow tests: a state over
// real temporary folders, keys, and waiting for work on the worker thread.
#include "../core/KeyTestSupport.h"
#include "core/AppState.h"
#include "core/Preferences.h"
#include "core/SystemPath.h"
#include "filesystem/FileAccessMemory.h"
#include "support/TestDir.h"
#include "support/ListingWait.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace FileFlowTest {

using KeyTest::typed;

// The Trash of the tests, in a data folder of their own so that the user's
// own is never touched. GIO reads the data folder once per process: it is
// set before any trashing.
inline QString privateTrash() {
    static QTemporaryDir* dataHome = [] {
        auto* folder = new QTemporaryDir(QDir::tempPath() + QStringLiteral("/dorvik-data-XXXXXX"));
        qputenv("XDG_DATA_HOME", toSystemPath(folder->path()));
        return folder;
    }();
    return dataHome->path() + QStringLiteral("/Trash");
}

// The left pane on TestDir's "left" folder, the right on "right".
class FlowTest : public ::testing::Test {
protected:
    void SetUp() override {
        FileAccessMemory::attach(&preferences);
        dir.makeFolder("left");
        dir.makeFolder("right");
        preferences.setValue(QStringLiteral("startupDirectory"), dir.filePath("left"));
        state = std::make_unique<AppState>(preferences);
        state->pane(PaneSide::right).location = FilerLocation::directory(dir.filePath("right"));
        state->reloadPane(PaneSide::left, false);
        waitForListings(*state);
    }
    void TearDown() override {
        state.reset();
        FileAccessMemory::attach(nullptr);
    }

    void useDualFiler() {
        state->applyLayoutMode(LayoutMode::dualFiler);
        settleListings();
    }

    // Lets the listings the last command asked for complete: stepped by hand
    // when the test runs the work itself, else on the worker threads.
    bool settleListings() {
        return manualWork ? waitForListings(*state, *manualWork) : waitForListings(*state);
    }

    void key(const QString& text, KeyModifiers modifiers = {}) {
        state->handleKeyDown(typed(text, modifiers));
        settleListings();
    }

    // Puts the left cursor on the named row.
    void pointAt(const QString& name) {
        const QList<FileEntry> rows = state->visibleEntries(PaneSide::left);
        for (int i = 0; i < rows.size(); ++i) {
            if (rows[i].name == name) {
                state->setSelection(i, PaneSide::left);
                return;
            }
        }
        ADD_FAILURE() << "no row " << name.toStdString();
    }

    void tag(const QStringList& names) {
        for (const QString& name : names) {
            state->taggedKeys.insert(dir.filePath(QStringLiteral("left/") + name));
        }
    }

    // Makes the named files in the left pane, lists it again and tags them.
    void tagNewFiles(const QStringList& names) {
        for (const QString& name : names) {
            dir.makeFile(QStringLiteral("left/") + name, "new " + name.toUtf8());
        }
        state->reloadPane(PaneSide::left, false);
        settleListings();
        tag(names);
    }

    // Lets items on the worker thread finish and their ends come back.
    void waitForFileWork() {
        QElapsedTimer clock;
        clock.start();
        do {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        } while (state->isFileOperationRunning && clock.elapsed() < 10000);
        ASSERT_FALSE(state->isFileOperationRunning);
        ASSERT_TRUE(settleListings());
    }

    QString error() const { return state->errorMessage.value_or(QString()); }

    TestDir dir;
    // The executor of a test that steps its work by hand, if it does.
    Background::ManualExecutor* manualWork = nullptr;
    MemoryPreferences preferences;
    std::unique_ptr<AppState> state;
};

} // namespace FileFlowTest
