#include "app/DorvikApp.h"

#include <QApplication>

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Dorvik"));
    QApplication::setOrganizationName(QStringLiteral("Dorvik"));
    DorvikApp app;
    return app.run(application);
}
