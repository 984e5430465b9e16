#pragma once

#include "ui/PickerListBox.h"

#include <QStringList>

// The OPEN WITH box: the applications that can open the file, the default
// and the recently chosen ones marked. A click on a row opens the file with
// that application, as Enter does.
class OpenWithPickerView : public PickerListBox {
    Q_OBJECT

public:
    explicit OpenWithPickerView(AppState& state, QWidget* parent = nullptr);

protected:
    int rowCount() const override;
    int selectedRow() const override;
    QString title() const override;
    QString emptyText() const override;
    QString hint() const override;
    void paintRowText(QPainter& painter, const ScreenText& text, int index, const QRectF& area,
                      bool selected) const override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void paintMarks(QPainter& painter, const ScreenText& text, const QStringList& marks,
                    const QRectF& area, bool selected) const;
};
