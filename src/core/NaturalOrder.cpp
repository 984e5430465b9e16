#include "core/NaturalOrder.h"

#include <QLocale>

namespace NaturalOrder {

namespace {
QCollator makeCollator() {
    QLocale locale = QLocale::system();
    if (locale.language() == QLocale::C) {
        locale = QLocale(QLocale::English, QLocale::UnitedStates);
    }
    QCollator collator(locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    collator.setIgnorePunctuation(false);
    return collator;
}
} // namespace

const QCollator& collator() {
    thread_local const QCollator instance = makeCollator();
    return instance;
}

int compare(const QString& a, const QString& b) {
    return collator().compare(a, b);
}

QCollatorSortKey sortKey(const QString& name) {
    return collator().sortKey(name);
}

} // namespace NaturalOrder
