#include "ui/FileSearchPaneView.h"

#include "core/AppState.h"
#include "search/FolderSearchService.h"
#include "ui/FileSearchForm.h"
#include "ui/FileSearchResultList.h"
#include "ui/HeaderBar.h"
#include "ui/Palette.h"
#include "ui/PaneFrame.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPainter>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace {

using Field = FileSearchFocusField;

constexpr int kPeriodFieldWidth = 72;
constexpr double kColumnGap = 8;
constexpr double kFooterPadH = 8;

const QString kFooterKeys =
    QStringLiteral("↑↓ PgUp/Dn  カレント+Enter TREE  E編集 X開く  Esc 終了");

bool isTextField(Field field) {
    return field == Field::query || field == Field::periodFrom || field == Field::periodTo;
}

ScreenText screenText(const AppState& state) {
    return ScreenText(ScreenFont::font(state.uiFontSize));
}

} // namespace

FileSearchPaneView::FileSearchPaneView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state) {
    setFocusPolicy(Qt::NoFocus);
    auto* column = new QVBoxLayout(this);
    column->setSpacing(0);
    column->addWidget(buildForm());
    m_list = new FileSearchResultList(state, this);
    column->addWidget(m_list, 1);
    connect(&m_state, &AppState::changed, this, &FileSearchPaneView::refreshFromState);
    refreshFromState();
}

FileSearchPaneView::~FileSearchPaneView() = default;

QWidget* FileSearchPaneView::buildForm() {
    auto* form = new QWidget(this);
    form->setAutoFillBackground(true);
    QPalette navy = form->palette();
    navy.setColor(QPalette::Window, Palette::paneBackground());
    form->setPalette(navy);
    auto* rows = new QVBoxLayout(form);
    rows->setContentsMargins(8, 6, 8, 6);
    rows->setSpacing(0);
    const auto addRow = [&](QList<Field> fields, const QString& label) {
        auto* row = new FileSearchFormRow(m_state, std::move(fields), label, form);
        rows->addWidget(row);
        m_rows.append(row);
        return row->values();
    };
    m_query = makeField(QStringLiteral("一部を入力"), Field::query);
    addRow({Field::query}, QStringLiteral("ファイル名:"))->addWidget(m_query, 1);
    m_folderText = new FileSearchFormText(m_state, form);
    addRow({Field::folder}, QStringLiteral("カレント:"))->addWidget(m_folderText, 1);
    m_matchText = new FileSearchFormText(m_state, form);
    addRow({Field::matchMode}, QStringLiteral("対象:"))->addWidget(m_matchText, 1);
    m_from = makeField(QStringLiteral("yyyy-MM"), Field::periodFrom);
    m_to = makeField(QStringLiteral("yyyy-MM"), Field::periodTo);
    QHBoxLayout* period = addRow({Field::periodFrom, Field::periodTo}, QStringLiteral("期間:"));
    auto* between = new FileSearchFormText(m_state, form);
    between->setPieces({QStringLiteral("から")}, -1);
    for (QWidget* part : {static_cast<QWidget*>(m_from), static_cast<QWidget*>(between),
                          static_cast<QWidget*>(m_to)}) {
        period->addWidget(part);
    }
    m_from->setFixedWidth(kPeriodFieldWidth);
    m_to->setFixedWidth(kPeriodFieldWidth);
    period->addStretch(1);
    m_sortText = new FileSearchFormText(m_state, form);
    addRow({Field::sort}, QStringLiteral("並べ替え:"))->addWidget(m_sortText, 1);
    return form;
}

// A borderless field on the navy form that writes through to the state and
// starts the wait before the next scan.
QLineEdit* FileSearchPaneView::makeField(const QString& placeholder, FileSearchFocusField binding) {
    auto* field = new QLineEdit(this);
    field->setFrame(false);
    field->setPlaceholderText(placeholder);
    QPalette colors = field->palette();
    colors.setColor(QPalette::Base, Qt::transparent);
    colors.setColor(QPalette::Text, Palette::baseText());
    colors.setColor(QPalette::PlaceholderText, Palette::dimText());
    field->setPalette(colors);
    field->installEventFilter(this);
    connect(field, &QLineEdit::textEdited, this,
            [this, binding](const QString& text) { m_state.setFileSearchText(binding, text); });
    return field;
}

bool FileSearchPaneView::queryFocused() const {
    return m_query->hasFocus();
}

QRect FileSearchPaneView::formRowRect(Field field) const {
    for (const FileSearchFormRow* row : m_rows) {
        if (row->holds(field)) {
            return QRect(row->mapTo(this, QPoint(0, 0)), row->size());
        }
    }
    return {};
}

QRect FileSearchPaneView::resultRowRect(int index) const {
    return m_list->rowRect(index).translated(m_list->viewport()->mapTo(this, QPoint(0, 0)));
}

// A pane that comes on screen after its state hands the keyboard to the
// field of the form's focus then.
void FileSearchPaneView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_shownFocus.reset();
    followFocus();
}

// A click into a text field moves the form's focus to its row.
bool FileSearchPaneView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn) {
        const Field field = watched == m_query  ? Field::query
                            : watched == m_from ? Field::periodFrom
                                                : Field::periodTo;
        if (m_state.fileSearchFocusField != field) {
            m_shownFocus = field;
            m_state.setFileSearchFocus(field);
        }
    }
    return QWidget::eventFilter(watched, event);
}

void FileSearchPaneView::refreshFromState() {
    applyFontSize();
    syncFields();
    followFocus();
    m_list->sync();
    for (QWidget* row : std::as_const(m_rows)) {
        row->update();
    }
    update();
}

void FileSearchPaneView::syncFields() {
    const auto setText = [](QLineEdit* field, const QString& text) {
        if (field->text() != text) {
            field->setText(text);
        }
    };
    setText(m_query, m_state.fileSearchQuery);
    setText(m_from, m_state.fileSearchFromYM);
    setText(m_to, m_state.fileSearchToYM);
    m_folderText->setPieces({m_state.fileSearchRoot()}, -1);
    m_matchText->setPieces({QStringLiteral("ファイル名のみ"), QStringLiteral("内容を含む")},
                           int(m_state.fileSearchMatchMode));
    m_sortText->setPieces(
        {QStringLiteral("名前"), QStringLiteral("サイズ"), QStringLiteral("日時")},
        int(m_state.fileSearchSort));
}

// The keyboard goes to the field of a new focus position on the next turn of
// the loop; a position without a field takes it from the fields.
void FileSearchPaneView::followFocus() {
    // While the right pane has the keys, the form hands the keyboard out
    // again when they come back, taking it from EDITOR's text.
    if (m_state.focusedSide != PaneSide::left) {
        m_shownFocus.reset();
        return;
    }
    const Field focus = m_state.fileSearchFocusField;
    if (m_shownFocus == focus || m_state.isOpen(Overlay::searchTreeBox)) {
        return;
    }
    m_shownFocus = focus;
    QLineEdit* target = focus == Field::query        ? m_query
                        : focus == Field::periodFrom ? m_from
                        : focus == Field::periodTo   ? m_to
                                                     : nullptr;
    if (target) {
        QTimer::singleShot(0, target, [target] {
            if (target->isVisible()) {
                target->setFocus(Qt::OtherFocusReason);
            }
        });
    } else if (QWidget* focused = QApplication::focusWidget(); focused && !isTextField(focus)) {
        focused->clearFocus();
        window()->setFocus(Qt::OtherFocusReason);
    }
}

void FileSearchPaneView::applyFontSize() {
    if (m_fontSize == m_state.uiFontSize) {
        return;
    }
    m_fontSize = m_state.uiFontSize;
    const QFont font = ScreenFont::font(m_fontSize);
    for (QLineEdit* field : {m_query, m_from, m_to}) {
        field->setFont(font);
    }
    const ScreenText text(font);
    const int top = PaneFrame::kContentMargin + int(std::ceil(HeaderBar::height(text)));
    const int bottom = PaneFrame::kContentMargin + int(std::ceil(text.lineHeight() + 4));
    layout()->setContentsMargins(PaneFrame::kContentMargin, top, PaneFrame::kContentMargin, bottom);
}

QString FileSearchPaneView::footerCount() const {
    const FolderSearchService& search = *m_state.folderSearch;
    if (search.isSearching()) {
        return QStringLiteral("…") + QString::number(search.scannedCount());
    }
    return QString::number(search.results().size()) + QStringLiteral(" 件");
}

void FileSearchPaneView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    PaneFrame::paint(painter, rect());
    const ScreenText text = screenText(m_state);
    const double inner = width() - 2 * PaneFrame::kContentMargin;
    const QRectF bar(PaneFrame::kContentMargin, PaneFrame::kContentMargin, inner,
                     HeaderBar::height(text));
    HeaderBar::paint(painter, bar, text, m_state.focusedSide == PaneSide::left,
                     {{QStringLiteral("SEARCH"), Palette::titleText()}},
                     {{QStringLiteral("Esc / Ctrl+F 終了"), Palette::dimText()}});
    const double footerHeight = text.lineHeight() + 4;
    const QRectF footer(PaneFrame::kContentMargin + kFooterPadH,
                        height() - PaneFrame::kContentMargin - footerHeight,
                        inner - 2 * kFooterPadH, footerHeight);
    // The count stays whole at the right end; the keys give way when the
    // pane is too narrow for both.
    const QString count = footerCount();
    const double keysWidth = footer.width() - text.width(count) - kColumnGap;
    text.draw(painter, footer, text.elided(kFooterKeys, keysWidth, Qt::ElideRight),
              Palette::dimText());
    text.draw(painter, footer, count, Palette::dimText(), Qt::AlignRight);
}
