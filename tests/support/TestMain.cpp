// The main of every test program: a Qt application object so that queued results and timers can
// run.
#include <QCoreApplication>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    int result = 0;
    {
        QCoreApplication application(argc, argv);
        result = RUN_ALL_TESTS();
    }
    // As the program does: work still running on the never-stopped worker
    // threads must not meet the libraries' globals being torn down.
    std::fflush(nullptr);
    std::_Exit(result);
}
