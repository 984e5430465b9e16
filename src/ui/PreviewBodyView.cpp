#include "ui/PreviewBodyView.h"

#include "core/AppState.h"

PreviewBodyView::PreviewBodyView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {}
