#include "ui/FileSearchPaneView.h"

#include "core/AppState.h"
#include "core/EntryDisplay.h"
#include "search/FolderSearchService.h"
#include "ui/EntryColors.h"
#include "ui/HeaderBar.h"
#include "ui/Palette.h"
#include "ui/PaneFrame.h"
#include "ui/RowListArea.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace {

using Field = FileSearchFocusField;

constexpr int kLabelWidth = 100;
constexpr int kLabelGap = 6;
constexpr int kRowPadH = 2;
constexpr int kRowPadV = 1;
constexpr int kChoiceGap = 10;
constexpr int kPeriodFieldWidth = 72;
constexpr double kHitPadH = 8;
constexpr double kHitPadV = 2;
constexpr double kSizeWidth = 56;
constexpr double kColumnGap = 8;
constexpr double kMessagePadding = 10;
constexpr double kFooterPadH = 8;

const QString kFooterKeys =
    QStringLiteral("↑↓ PgUp/Dn  カレント+Enter TREE  E編集 X開く  Esc 終了");

bool isTextField(Field field) {
    return field == Field::query || field == Field::periodFrom || field == Field::periodTo;
}

ScreenText screenText(const AppState& state) {
    return ScreenText(ScreenFont::font(state.uiFontSize));
}

FileEntry rowOf(const FolderSearchHit& hit) {
    FileEntry entry;
    entry.isDirectory = hit.isDirectory;
    entry.size = hit.size;
    entry.modificationDate = hit.modificationDate;
    return entry;
}

} // namespace

// One row of the form: the label right aligned in its column, the value
// widgets after it, and the fill while the form's focus stands on the row.
class FileSearchFormRow : public QWidget {
public:
    FileSearchFormRow(AppState& state, QList<Field> fields, QString label, QWidget* parent)
        : QWidget(parent)
        , m_state(state)
        , m_fields(std::move(fields))
        , m_label(std::move(label)) {
        m_values = new QHBoxLayout(this);
        m_values->setContentsMargins(kRowPadH + kLabelWidth + kLabelGap, kRowPadV, kRowPadH,
                                     kRowPadV);
        m_values->setSpacing(kChoiceGap);
    }

    QHBoxLayout* values() const { return m_values; }
    bool holds(Field field) const { return m_fields.contains(field); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        if (holds(m_state.fileSearchFocusField)) {
            painter.fillRect(rect(), EntryColors::overNavy(Palette::cursorFill(), 0.25));
        }
        const QRectF labelRect(kRowPadH, 0, kLabelWidth, height());
        screenText(m_state).draw(painter, labelRect, m_label, Palette::titleText(), Qt::AlignRight);
    }

    void mousePressEvent(QMouseEvent*) override {
        m_state.fileSearchFocusField = m_fields.first();
        m_state.notifyChanged();
    }

private:
    AppState& m_state;
    QList<Field> m_fields;
    QString m_label;
    QHBoxLayout* m_values = nullptr;
};

// Text drawn on the screen's grid: a path cut at its head, or a set of
// choices side by side with the chosen one inverted.
class FileSearchFormText : public QWidget {
public:
    FileSearchFormText(const AppState& state, QWidget* parent)
        : QWidget(parent)
        , m_state(state) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

    void setPieces(const QStringList& pieces, int chosen) {
        m_pieces = pieces;
        m_chosen = chosen;
        updateGeometry();
        update();
    }

    QSize sizeHint() const override {
        const ScreenText text = screenText(m_state);
        double width = 0;
        for (const QString& piece : m_pieces) {
            width += text.width(piece) + kChoiceGap;
        }
        return QSize(int(std::ceil(width)), int(std::ceil(text.lineHeight())));
    }
    QSize minimumSizeHint() const override { return QSize(0, sizeHint().height()); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const ScreenText text = screenText(m_state);
        double x = 0;
        for (int i = 0; i < m_pieces.size(); ++i) {
            const QString piece = m_pieces.size() == 1
                                      ? text.elided(m_pieces.at(i), width(), Qt::ElideLeft)
                                      : m_pieces.at(i);
            const QRectF cell(x, 0, text.width(piece), height());
            const bool inverted = i == m_chosen;
            if (inverted) {
                painter.fillRect(cell, Palette::baseText());
            }
            text.draw(painter, cell, piece,
                      inverted ? Palette::paneBackground() : Palette::baseText());
            x += cell.width() + kChoiceGap;
        }
    }

private:
    const AppState& m_state;
    QStringList m_pieces;
    int m_chosen = -1;
};

// The hits, one row each, with the row at the selection filled; without hits
// the one line that says why.
class FileSearchResultList : public RowListArea {
public:
    FileSearchResultList(AppState& state, QWidget* parent)
        : RowListArea(parent)
        , m_state(state) {}

    void sync() {
        const int count = int(m_state.folderSearch->results().size());
        verticalScrollBar()->setRange(
            0, std::max(0, int(std::ceil(count * rowHeight())) - viewport()->height()));
        verticalScrollBar()->setSingleStep(int(rowHeight()));
        const QRect row = rowRect(m_state.fileSearchSelection);
        if (row.top() < 0) {
            verticalScrollBar()->setValue(verticalScrollBar()->value() + row.top());
        } else if (row.bottom() > viewport()->height()) {
            verticalScrollBar()->setValue(verticalScrollBar()->value() + row.bottom() -
                                          viewport()->height());
        }
        viewport()->update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(viewport());
        painter.fillRect(viewport()->rect(), Palette::paneBackground());
        const QList<FolderSearchHit>& hits = m_state.folderSearch->results();
        const ScreenText text = screenText(m_state);
        if (hits.isEmpty()) {
            const QRectF line(kMessagePadding, kMessagePadding,
                              viewport()->width() - 2 * kMessagePadding, text.lineHeight());
            text.draw(painter, line, emptyMessage(), Palette::dimText());
            return;
        }
        for (int i = 0; i < hits.size(); ++i) {
            const QRect row = rowRect(i);
            if (row.bottom() >= 0 && row.top() <= viewport()->height()) {
                paintHit(painter, text, hits.at(i), row, i == m_state.fileSearchSelection);
            }
        }
    }

    void mousePressEvent(QMouseEvent* event) override { selectAt(event->position().y()); }

    void mouseDoubleClickEvent(QMouseEvent* event) override {
        if (selectAt(event->position().y())) {
            m_state.openFileSearchResult();
        }
    }

    void resizeEvent(QResizeEvent* event) override {
        RowListArea::resizeEvent(event);
        sync();
    }

private:
    double rowHeight() const override { return screenText(m_state).lineHeight() + 2 * kHitPadV; }

    bool selectAt(double y) {
        const int index = int((y + verticalScrollBar()->value()) / rowHeight());
        if (index < 0 || index >= m_state.folderSearch->results().size()) {
            return false;
        }
        m_state.moveFileSearchSelection(index - m_state.fileSearchSelection);
        return true;
    }

    QString emptyMessage() const {
        const FolderSearchService& search = *m_state.folderSearch;
        if (search.lastError()) {
            return *search.lastError();
        }
        if (search.isSearching()) {
            return QStringLiteral("検索中… (%1)").arg(search.scannedCount());
        }
        if (m_state.fileSearchQuery.isEmpty() && m_state.fileSearchFromYM.isEmpty() &&
            m_state.fileSearchToYM.isEmpty()) {
            return QStringLiteral("ファイル名の一部、または期間を指定");
        }
        return QStringLiteral("該当なし");
    }

    // The size right aligned in its column, the date, then the path.
    void paintHit(QPainter& painter, const ScreenText& text, const FolderSearchHit& hit,
                  const QRect& row, bool isCursor) const {
        if (isCursor) {
            painter.fillRect(row, Palette::cursorFill());
        }
        const FileEntry entry = rowOf(hit);
        const QString date = EntryDisplay::dateText(entry);
        const double dateWidth = text.width(QStringLiteral("00-00-00 00:00"));
        const QRectF sizeRect(row.left() + kHitPadH, row.top(), kSizeWidth, row.height());
        const QRectF dateRect(sizeRect.right() + kColumnGap, row.top(), dateWidth, row.height());
        const double pathLeft = dateRect.right() + kColumnGap;
        const QRectF pathRect(pathLeft, row.top(), row.right() - kHitPadH - pathLeft, row.height());
        text.draw(painter, sizeRect, EntryDisplay::sizeText(entry), Palette::dimText(),
                  Qt::AlignRight);
        text.draw(painter, dateRect, date, Palette::baseText());
        text.draw(painter, pathRect, text.elided(hit.relativePath, pathRect.width(), Qt::ElideLeft),
                  Palette::baseText());
    }

    AppState& m_state;
};

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
    m_query = makeField(QStringLiteral("一部を入力"), &AppState::fileSearchQuery);
    addRow({Field::query}, QStringLiteral("ファイル名:"))->addWidget(m_query, 1);
    m_folderText = new FileSearchFormText(m_state, form);
    addRow({Field::folder}, QStringLiteral("カレント:"))->addWidget(m_folderText, 1);
    m_matchText = new FileSearchFormText(m_state, form);
    addRow({Field::matchMode}, QStringLiteral("対象:"))->addWidget(m_matchText, 1);
    m_from = makeField(QStringLiteral("yyyy-MM"), &AppState::fileSearchFromYM);
    m_to = makeField(QStringLiteral("yyyy-MM"), &AppState::fileSearchToYM);
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
QLineEdit* FileSearchPaneView::makeField(const QString& placeholder, QString AppState::*binding) {
    auto* field = new QLineEdit(this);
    field->setFrame(false);
    field->setPlaceholderText(placeholder);
    QPalette colors = field->palette();
    colors.setColor(QPalette::Base, Qt::transparent);
    colors.setColor(QPalette::Text, Palette::baseText());
    colors.setColor(QPalette::PlaceholderText, Palette::dimText());
    field->setPalette(colors);
    field->installEventFilter(this);
    connect(field, &QLineEdit::textEdited, this, [this, binding](const QString& text) {
        m_state.*binding = text;
        m_state.scheduleFileSearch();
        m_state.notifyChanged();
    });
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
            m_state.fileSearchFocusField = field;
            m_shownFocus = field;
            m_state.notifyChanged();
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
    if (m_shownFocus == focus || m_state.isSearchTreeBoxOpen) {
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
