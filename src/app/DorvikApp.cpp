#include "app/DorvikApp.h"

#include "app/ContentView.h"
#include "core/AppState.h"
#include "core/ChildProcesses.h"
#include "core/Preferences.h"
#include "filesystem/FileAccessMemory.h"
#include "ui/KeyEventFilter.h"

#include <QApplication>
#include <QIcon>

#include <cstdio>

DorvikApp::DorvikApp()
    : m_preferences(std::make_unique<SettingsPreferences>()) {
    FileAccessMemory::attach(m_preferences.get(), FileAccessMemory::defaultStorePath());
    m_state = std::make_unique<AppState>(*m_preferences);
}

DorvikApp::~DorvikApp() {
    m_window.reset();
    m_keyFilter.reset();
    FileAccessMemory::attach(nullptr);
}

// The folder is checked on a worker once the window shows; a refusal is
// told on standard error, and the panes start in the start folder.
void DorvikApp::startIn(const QString& folder) {
    m_state->startInNamedFolder(folder, [this](const QString& reason) {
        const QString message =
            QStringLiteral("dorvik: %1; starting in %2\n").arg(reason, m_state->startupDirectory);
        std::fputs(message.toLocal8Bit().constData(), stderr);
    });
}

int DorvikApp::run(QApplication& application) {
    // The desktop finds the window's entry and icon by this name; the icon
    // is the installed one of the hicolor theme.
    QGuiApplication::setDesktopFileName(QStringLiteral(DORVIK_APP_ID));
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral(DORVIK_APP_ID)));
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
