#include "filesystem/AccountNames.h"

#include <QHash>

#include <grp.h>
#include <mutex>
#include <pwd.h>
#include <vector>

namespace AccountNames {

namespace {

// Names already looked up, by number. Users and groups each have their own:
// one number may name a user and a group of different names.
struct NameCache {
    std::mutex lock;
    QHash<unsigned, QString> names;
};

QString cachedName(NameCache& cache, unsigned id, QString (*lookup)(unsigned)) {
    {
        std::lock_guard guard(cache.lock);
        const auto found = cache.names.constFind(id);
        if (found != cache.names.constEnd()) {
            return *found;
        }
    }
    QString name = lookup(id);
    if (name.isEmpty()) {
        name = QStringLiteral("-");
    }
    std::lock_guard guard(cache.lock);
    cache.names.insert(id, name);
    return name;
}

QString lookUpUser(uid_t uid) {
    std::vector<char> buffer(16384);
    struct passwd entry;
    struct passwd* result = nullptr;
    if (::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &result) != 0 || !result) {
        return {};
    }
    return QString::fromLocal8Bit(result->pw_name);
}

QString lookUpGroup(gid_t gid) {
    std::vector<char> buffer(16384);
    struct group entry;
    struct group* result = nullptr;
    if (::getgrgid_r(gid, &entry, buffer.data(), buffer.size(), &result) != 0 || !result) {
        return {};
    }
    return QString::fromLocal8Bit(result->gr_name);
}

} // namespace

QString userName(uid_t uid) {
    static NameCache& users = *new NameCache; // outlives listings still running at exit
    return cachedName(users, uid, lookUpUser);
}
QString groupName(gid_t gid) {
    static NameCache& groups = *new NameCache;
    return cachedName(groups, gid, lookUpGroup);
}

} // namespace AccountNames
