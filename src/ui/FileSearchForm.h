#pragma once

#include "core/Model.h"

#include <QList>
#include <QStringList>
#include <QWidget>

class AppState;
class QHBoxLayout;

// One row of the file search form: the label right aligned in its column, the
// value widgets after it, and the fill while the form's focus stands on the
// row. A click puts the form's focus on the row.
class FileSearchFormRow : public QWidget {
public:
    FileSearchFormRow(AppState& state, QList<FileSearchFocusField> fields, QString label,
                      QWidget* parent);

    QHBoxLayout* values() const { return m_values; }
    bool holds(FileSearchFocusField field) const { return m_fields.contains(field); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    AppState& m_state;
    QList<FileSearchFocusField> m_fields;
    QString m_label;
    QHBoxLayout* m_values = nullptr;
};

// Text of the form drawn on the screen's grid: a path cut at its head, or a
// set of choices side by side with the chosen one inverted.
class FileSearchFormText : public QWidget {
public:
    FileSearchFormText(const AppState& state, QWidget* parent);

    void setPieces(const QStringList& pieces, int chosen);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const AppState& m_state;
    QStringList m_pieces;
    int m_chosen = -1;
};
