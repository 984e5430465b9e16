#pragma once

#include "ui/PickerListBox.h"

// The VOLUME box: the mounted volumes, name and path. A click on a row
// selects it; a double click goes there, as Enter does.
class VolumePickerView : public PickerListBox {
    Q_OBJECT

public:
    explicit VolumePickerView(AppState& state, QWidget* parent = nullptr);

protected:
    int rowCount() const override;
    int selectedRow() const override;
    QString title() const override;
    QString emptyText() const override;
    QString hint() const override;
    void paintRowText(QPainter& painter, const ScreenText& text, int index, const QRectF& area,
                      bool selected) const override;
    void mousePressEvent(QMouseEvent* event) override;
};
