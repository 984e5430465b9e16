#include "pickers/OpenWith.h"

#include "core/AppState.h"
#include "core/Background.h"
#include "core/PathUtils.h"
#include "core/PreferenceKeys.h"
#include "core/Preferences.h"
#include "core/SystemPath.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

// A GIO structure has a field named "signals", which Qt's keyword would
// rewrite; the state's header needs the keyword, so it is lifted only here.
#pragma push_macro("signals")
#undef signals
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#pragma pop_macro("signals")

namespace OpenWith {

namespace {

// The remembered choices: a dictionary from kind key to a list of paths.
// Earlier versions stored it as one JSON text; that is still read, and the
// next choice replaces it with the dictionary.
QVariantMap readStore(const Preferences& preferences) {
    const auto stored = preferences.value(PreferenceKeys::openWithRecentByExtension);
    if (!stored || stored->typeId() == QMetaType::QVariantMap) {
        return preferences.mapValue(PreferenceKeys::openWithRecentByExtension);
    }
    const QByteArray blob = preferences.dataValue(PreferenceKeys::openWithRecentByExtension);
    return QJsonDocument::fromJson(blob).object().toVariantMap();
}

void writeStore(Preferences& preferences, const QVariantMap& store) {
    preferences.setValue(PreferenceKeys::openWithRecentByExtension, store);
}

QString takeText(char* text) {
    const QString result = QString::fromUtf8(text);
    g_free(text);
    return result;
}

QString errorText(GError* error, const QString& fallback) {
    if (!error) {
        return fallback;
    }
    const QString text = QString::fromUtf8(error->message);
    g_error_free(error);
    return text;
}

// The standardised path of the desktop entry behind an application, or
// empty for one that has none.
QString desktopEntryPath(GAppInfo* info) {
    if (!info || !G_IS_DESKTOP_APP_INFO(info)) {
        return {};
    }
    const char* file = g_desktop_app_info_get_filename(G_DESKTOP_APP_INFO(info));
    return file ? PathUtils::standardizedPath(fromSystemPath(file)) : QString();
}

QString defaultApplication(const QByteArray& type) {
    GAppInfo* info = g_app_info_get_default_for_type(type.constData(), FALSE);
    const QString path = desktopEntryPath(info);
    if (info) {
        g_object_unref(info);
    }
    return path;
}

// The applications the desktop offers for the type, in its order, each once.
// Those marked not to be shown in menus are left out.
QStringList applicationsForType(const QByteArray& type) {
    QStringList paths;
    GList* all = g_app_info_get_all_for_type(type.constData());
    for (GList* item = all; item; item = item->next) {
        auto* info = static_cast<GAppInfo*>(item->data);
        const QString path = desktopEntryPath(info);
        if (!path.isEmpty() && g_app_info_should_show(info) && !paths.contains(path)) {
            paths.append(path);
        }
    }
    g_list_free_full(all, g_object_unref);
    return paths;
}

QString withoutExtension(const QString& name) {
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? name.left(dot) : name;
}

// Runs on a worker thread: spawning may wait on the session bus.
std::optional<QString> launchNow(const QString& appPath, const QString& filePath) {
    GDesktopAppInfo* app = g_desktop_app_info_new_from_filename(toSystemPath(appPath).constData());
    if (!app) {
        return QStringLiteral("Cannot open application:\n") + appPath;
    }
    GFile* file = g_file_new_for_path(toSystemPath(filePath).constData());
    GList* files = g_list_append(nullptr, file);
    GError* error = nullptr;
    const gboolean launched = g_app_info_launch(G_APP_INFO(app), files, nullptr, &error);
    g_list_free(files);
    g_object_unref(file);
    g_object_unref(app);
    if (launched) {
        return std::nullopt;
    }
    return errorText(error, QStringLiteral("Cannot open application:\n") + appPath);
}

} // namespace

QString contentType(const QString& path) {
    const QByteArray encoded = toSystemPath(path);
    GFile* file = g_file_new_for_path(encoded.constData());
    GFileInfo* info = g_file_query_info(file, G_FILE_ATTRIBUTE_STANDARD_CONTENT_TYPE,
                                        G_FILE_QUERY_INFO_NONE, nullptr, nullptr);
    g_object_unref(file);
    QString type;
    if (info) {
        const char* found = g_file_info_get_content_type(info);
        type = found ? QString::fromUtf8(found) : QString();
        g_object_unref(info);
    }
    if (type.isEmpty()) {
        // Gone or unreadable: the name alone decides.
        type = takeText(g_content_type_guess(encoded.constData(), nullptr, 0, nullptr));
    }
    return type;
}

QString kindKey(const QString& path, bool isFolder) {
    if (isFolder) {
        return QStringLiteral("/");
    }
    const QString name = PathUtils::lastPathComponent(path);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    // A leading dot starts a hidden name, not an extension.
    if (dot <= 0 || dot == name.size() - 1) {
        return QStringLiteral(".");
    }
    return name.mid(dot + 1).toLower();
}

QStringList recentApplications(const Preferences& preferences, const QString& kindKey) {
    QStringList paths;
    const QVariant stored = readStore(preferences).value(kindKey);
    QVariantList items;
    if (stored.typeId() == QMetaType::QStringList) {
        for (const QString& path : stored.toStringList()) {
            items.append(path);
        }
    } else {
        items = stored.toList();
    }
    for (const QVariant& value : items) {
        if (value.typeId() == QMetaType::QString && !paths.contains(value.toString())) {
            paths.append(value.toString());
        }
    }
    return paths;
}

void recordChoice(Preferences& preferences, const QString& kindKey, const QString& appPath) {
    const QString path = PathUtils::standardizedPath(appPath);
    QStringList paths = recentApplications(preferences, kindKey);
    paths.removeAll(path);
    paths.prepend(path);
    QVariantMap store = readStore(preferences);
    store.insert(kindKey, QVariant(paths.mid(0, recentLimit)));
    writeStore(preferences, store);
}

QList<OpenWithApp> openWithCandidates(const QString& path, const Preferences& preferences,
                                      bool isFolder) {
    return openWithCandidates(path, recentApplications(preferences, kindKey(path, isFolder)));
}

QList<OpenWithApp> openWithCandidates(const QString& path, const QStringList& remembered) {
    const QByteArray type = contentType(path).toUtf8();
    const QString defaultPath = defaultApplication(type);
    QStringList available = applicationsForType(type);
    if (!defaultPath.isEmpty() && !available.contains(defaultPath)) {
        available.append(defaultPath);
    }
    QStringList recent;
    for (const QString& stored : remembered) {
        if (available.contains(stored)) {
            recent.append(stored);
        }
    }
    QStringList order = recent;
    if (!defaultPath.isEmpty() && !order.contains(defaultPath)) {
        order.append(defaultPath);
    }
    for (const QString& other : std::as_const(available)) {
        if (!order.contains(other)) {
            order.append(other);
        }
    }
    QList<OpenWithApp> apps;
    for (const QString& appPath : std::as_const(order)) {
        apps.append({appPath, applicationDisplayName(appPath), appPath == defaultPath,
                     recent.contains(appPath)});
    }
    return apps;
}

QString applicationDisplayName(const QString& appPath) {
    if (GDesktopAppInfo* app =
            g_desktop_app_info_new_from_filename(toSystemPath(appPath).constData())) {
        const char* shown = g_app_info_get_display_name(G_APP_INFO(app));
        const QString name = QString::fromUtf8(shown ? shown : "").trimmed();
        g_object_unref(app);
        if (!name.isEmpty()) {
            return name;
        }
    }
    return withoutExtension(PathUtils::lastPathComponent(appPath));
}

void launchInBackground(Background::Executor& executor, const QString& appPath,
                        const QString& filePath, QObject* context,
                        std::function<void(std::optional<QString>)> done) {
    Background::run(
        executor, Background::Pool::shared, context,
        [appPath, filePath] { return launchNow(appPath, filePath); }, std::move(done));
}

void launchWith(AppState& state, const OpenWithApp& app, const QString& filePath, bool isFolder) {
    // Remembered before the start, so that a failed start stays remembered too.
    recordChoice(state.preferences(), kindKey(filePath, isFolder), app.appURL);
    launchInBackground(state.executor(), app.appURL, filePath, &state,
                       [&state](std::optional<QString> failure) {
                           if (failure) {
                               state.reportError(*failure);
                           }
                       });
}

} // namespace OpenWith
