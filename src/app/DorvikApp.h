#pragma once

#include <memory>

class AppState;
class ContentView;
class KeyEventFilter;
class Preferences;
class QApplication;

// The application: the settings store, the one AppState and the window.
class DorvikApp {
public:
    DorvikApp();
    ~DorvikApp();

    int run(QApplication& application);

private:
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<AppState> m_state;
    std::unique_ptr<KeyEventFilter> m_keyFilter;
    std::unique_ptr<ContentView> m_window;
};
