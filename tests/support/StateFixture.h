#pragma once

// The set-up most state tests share: settings in memory that the rights
// memory writes to as well, a temporary folder the panes start in, and a
// state over it once the test has laid the folder out.
#include "core/AppState.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "support/ListingWait.h"
#include "support/TestDir.h"

#include <gtest/gtest.h>

#include <memory>

class StateFixture : public ::testing::Test {
protected:
    void SetUp() override {
        FileAccessMemory::attach(&preferences);
        preferences.setValue(QStringLiteral("startupDirectory"), dir.path());
    }
    void TearDown() override {
        state.reset();
        FileAccessMemory::attach(nullptr);
    }

    // A state whose panes have listed the folder.
    AppState& makeState() {
        state = std::make_unique<AppState>(preferences);
        state->refreshAll();
        waitForListings(*state);
        return *state;
    }

    MemoryPreferences preferences;
    TestDir dir;
    std::unique_ptr<AppState> state;
};
