#include "core/DiskReadPool.h"

#include <QThreadPool>

namespace DiskReadPool {

QThreadPool& instance() {
    static QThreadPool* pool = [] {
        auto* created = new QThreadPool;
        created->setMaxThreadCount(8);
        return created;
    }();
    return *pool;
}

} // namespace DiskReadPool
