#include "core/UiFontSize.h"

#include <atomic>

namespace UiFontSize {

namespace {
std::atomic<double> g_size{defaultSize};
}

double current() {
    return g_size.load(std::memory_order_relaxed);
}
void set(double size) {
    g_size.store(size, std::memory_order_relaxed);
}

bool isChoosable(double size) {
    for (const double choice : {11.0, 12.0, 13.0, 14.0, 16.0, 18.0}) {
        if (size == choice) {
            return true;
        }
    }
    return false;
}

} // namespace UiFontSize
