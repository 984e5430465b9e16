#include "core/Model.h"

QString rawValue(AppLanguage language) {
    switch (language) {
    case AppLanguage::system:
        return QStringLiteral("system");
    case AppLanguage::japanese:
        return QStringLiteral("japanese");
    case AppLanguage::english:
        return QStringLiteral("english");
    }
    return QStringLiteral("system");
}

std::optional<AppLanguage> appLanguageFromRaw(const QString& raw) {
    for (auto language : {AppLanguage::system, AppLanguage::japanese, AppLanguage::english}) {
        if (rawValue(language) == raw) {
            return language;
        }
    }
    return std::nullopt;
}

QString rawValue(FilerSortMode mode) {
    switch (mode) {
    case FilerSortMode::name:
        return QStringLiteral("name");
    case FilerSortMode::timestamp:
        return QStringLiteral("timestamp");
    case FilerSortMode::size:
        return QStringLiteral("size");
    }
    return QStringLiteral("name");
}

std::optional<FilerSortMode> sortModeFromRaw(const QString& raw) {
    for (auto mode : {FilerSortMode::name, FilerSortMode::timestamp, FilerSortMode::size}) {
        if (rawValue(mode) == raw) {
            return mode;
        }
    }
    return std::nullopt;
}

QString sideName(PaneSide side) {
    return side == PaneSide::left ? QStringLiteral("left") : QStringLiteral("right");
}

PaneSide otherSide(PaneSide side) {
    return side == PaneSide::left ? PaneSide::right : PaneSide::left;
}
