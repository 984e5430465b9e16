// The main of the widget tests: a full QApplication on the offscreen platform.
#include <QApplication>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int result = 0;
    {
        QApplication application(argc, argv);
        result = RUN_ALL_TESTS();
    }
    // As the program does: work still running on the never-stopped worker
    // threads must not meet the libraries' globals being torn down.
    std::fflush(nullptr);
    std::_Exit(result);
}
