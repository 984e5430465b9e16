#pragma once

#include <memory>

class AppState;
class ContentView;
class KeyEventFilter;
class Preferences;
class QApplication;
class QString;

// The application: the settings store, the one AppState and the window.
class DorvikApp {
public:
    DorvikApp();
    ~DorvikApp();

    // Both panes start in the folder for this run, or, when it can't be
    // opened, in the start folder after a word on standard error.
    void startIn(const QString& folder);
    int run(QApplication& application);

private:
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<AppState> m_state;
    std::unique_ptr<KeyEventFilter> m_keyFilter;
    std::unique_ptr<ContentView> m_window;
};
