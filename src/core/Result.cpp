#include "core/Result.h"

#include <cstring>

SystemError SystemError::fromErrno(int code) {
    return SystemError{code, QString::fromLocal8Bit(std::strerror(code))};
}
