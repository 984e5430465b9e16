#include "filesystem/AccountNames.h"

#include <QHash>

#include <grp.h>
#include <mutex>
#include <pwd.h>
#include <vector>

namespace AccountNames {

namespace {

template <typename Id, typename Lookup> QString cachedName(Id id, Lookup lookup) {
    static std::mutex lock;
    static QHash<Id, QString> names;
    {
        std::lock_guard guard(lock);
        const auto found = names.constFind(id);
        if (found != names.constEnd()) {
            return *found;
        }
    }
    QString name = lookup(id);
    if (name.isEmpty()) {
        name = QStringLiteral("-");
    }
    std::lock_guard guard(lock);
    names.insert(id, name);
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
    return cachedName(uid, lookUpUser);
}
QString groupName(gid_t gid) {
    return cachedName(gid, lookUpGroup);
}

} // namespace AccountNames
