#include "app/DorvikApp.h"

#include "app/ContentView.h"
#include "core/AppState.h"
#include "core/ChildProcesses.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "ui/KeyEventFilter.h"

#include <QApplication>

DorvikApp::DorvikApp()
    : m_preferences(std::make_unique<SettingsPreferences>()) {
    FileAccessMemory::attach(m_preferences.get());
    m_state = std::make_unique<AppState>(*m_preferences);
}

DorvikApp::~DorvikApp() {
    m_window.reset();
    m_keyFilter.reset();
    FileAccessMemory::attach(nullptr);
}

int DorvikApp::run(QApplication& application) {
    // Every key passes through the state before any widget sees it.
    m_keyFilter = std::make_unique<KeyEventFilter>(*m_state);
    application.installEventFilter(m_keyFilter.get());
    // Archive tools and converters still running end with the program, so
    // that leaving never waits for a hung one and none is left behind.
    QObject::connect(&application, &QCoreApplication::aboutToQuit, &ChildProcesses::killAll);
    m_window = std::make_unique<ContentView>(*m_state);
    m_window->show();
    const int status = application.exec();
    ChildProcesses::killAll();
    return status;
}
