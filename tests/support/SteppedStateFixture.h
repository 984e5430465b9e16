#pragma once

#include "core/AppState.h"
#include "core/Background.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "support/TestDir.h"

#include <gtest/gtest.h>

#include <memory>

// A state over a temporary start folder whose background work the test steps
// by hand: a listing is slow or quick exactly when the test says so. A test's
// SetUp makes its files and settings, then calls start().
class SteppedStateFixture : public ::testing::Test {
protected:
    void start() {
        FileAccessMemory::attach(&preferences);
        preferences.setValue(QStringLiteral("startupDirectory"), dir.path());
        state = std::make_unique<AppState>(preferences, executor);
        state->refreshAll();
        executor.runAll();
    }
    void TearDown() override {
        state.reset();
        FileAccessMemory::attach(nullptr);
    }

    const PaneState& left() const { return state->pane(PaneSide::left); }
    QString at(const char* relative) const { return dir.filePath(QString::fromUtf8(relative)); }
    void press(const KeyEvent& key) { state->handleKeyDown(key); }

    TestDir dir;
    MemoryPreferences preferences;
    Background::ManualExecutor executor;
    std::unique_ptr<AppState> state;
};
