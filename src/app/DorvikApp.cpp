#include "app/DorvikApp.h"

#include "app/ContentView.h"
#include "core/AppState.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"

#include <QApplication>

DorvikApp::DorvikApp()
    : m_preferences(std::make_unique<SettingsPreferences>()) {
    FileAccessMemory::attach(m_preferences.get());
    m_state = std::make_unique<AppState>(*m_preferences);
}

DorvikApp::~DorvikApp() {
    m_window.reset();
    FileAccessMemory::attach(nullptr);
}

int DorvikApp::run(QApplication& application) {
    m_window = std::make_unique<ContentView>(*m_state);
    m_window->resize(1280, 800);
    m_window->show();
    return application.exec();
}
