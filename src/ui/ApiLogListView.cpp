// SPDX-License-Identifier: MIT
#include <tallywick/ui/ApiLogListView.h>

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QResizeEvent>
#include <QTextBoundaryFinder>

#include <tallywick/ui/ApiLogItemModel.h>

namespace tallywick {

ApiLogListView::ApiLogListView(QWidget* parent) : QListView(parent), rows_(new ApiLogRowView(this)) {
    setObjectName(QStringLiteral("apiLogList"));
    setItemDelegate(rows_);
    setUniformItemSizes(false);
    // Rows are as wide as the list; their heights follow its width.
    setResizeMode(QListView::Adjust);
    setWordWrap(false);
    setSelectionMode(QAbstractItemView::NoSelection);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setFrameShape(QFrame::NoFrame);
    // Rows paint on an opaque base, so that new rows never make what lies behind repaint.
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setAutoFillBackground(true);
    // The text beam shows over the payloads.
    viewport()->setMouseTracking(true);
}

ApiLogRowView::Payload ApiLogListView::shownPayload(const QModelIndex& index) const {
    const auto* items = qobject_cast<const ApiLogItemModel*>(model());
    const ApiLogItemModel::Row* row = items ? items->rowAt(index) : nullptr;
    if (!row) return {};
    return ApiLogRowView::payload(row->shownPayload, row->payloadCut, visualRect(index).width());
}

QModelIndex ApiLogListView::payloadRowAt(QPoint point) const {
    const QModelIndex index = indexAt(point);
    const auto lines = static_cast<int>(shownPayload(index).lines.size());
    if (lines == 0 || !ApiLogRowView::geometry(visualRect(index), lines).payload.contains(point)) return {};
    return index;
}

void ApiLogListView::select(const QModelIndex& row, qsizetype anchor, qsizetype cursor) {
    const QModelIndex before = rows_->selection().row;
    rows_->setSelection({.row = row, .anchor = anchor, .cursor = cursor});
    if (before.isValid() && before != row) viewport()->update(visualRect(before));
    if (row.isValid()) viewport()->update(visualRect(row));
}

QString ApiLogListView::selectedText() const {
    const ApiLogRowView::Selection& selection = rows_->selection();
    const auto* items = qobject_cast<const ApiLogItemModel*>(model());
    const ApiLogItemModel::Row* row = items && !selection.isEmpty() ? items->rowAt(selection.row) : nullptr;
    if (!row) return {};
    return shownPayload(selection.row)
        .source(QString::fromStdString(row->entry.payload), selection.from(), selection.to());
}

void ApiLogListView::copySelection() {
    const QString text = selectedText();
    if (!text.isEmpty()) QGuiApplication::clipboard()->setText(text);
}

void ApiLogListView::mousePressEvent(QMouseEvent* event) {
    const QPoint point = event->position().toPoint();
    const QModelIndex row = event->button() == Qt::LeftButton ? payloadRowAt(point) : QModelIndex();
    if (!row.isValid()) {
        if (event->button() == Qt::LeftButton) select({}, 0, 0);
        QListView::mousePressEvent(event);
        return;
    }
    setFocus(Qt::MouseFocusReason);
    const ApiLogRowView::Payload shown = shownPayload(row);
    const qsizetype at = ApiLogRowView::positionAt(shown, visualRect(row), point);
    const ApiLogRowView::Selection& now = rows_->selection();
    const bool tripleClick = sinceDoubleClick_.isValid() &&
                             !sinceDoubleClick_.hasExpired(QApplication::doubleClickInterval()) &&
                             now.row == row;
    sinceDoubleClick_.invalidate();
    dragging_ = !tripleClick;
    if (tripleClick) {
        select(row, 0, static_cast<qsizetype>(shown.sources.size()) - 1);
    } else if ((event->modifiers() & Qt::ShiftModifier) && now.row == row) {
        select(row, now.anchor, at);
    } else {
        select(row, at, at);
    }
    event->accept();
}

void ApiLogListView::mouseMoveEvent(QMouseEvent* event) {
    const QPoint point = event->position().toPoint();
    const QModelIndex row = rows_->selection().row;
    if (dragging_ && row.isValid()) {
        // The row may have moved since the press, as records arrived above it.
        select(row, rows_->selection().anchor,
               ApiLogRowView::positionAt(shownPayload(row), visualRect(row), point));
        event->accept();
        return;
    }
    dragging_ = false;
    if (payloadRowAt(point).isValid()) {
        viewport()->setCursor(Qt::IBeamCursor);
    } else {
        viewport()->unsetCursor();
    }
    QListView::mouseMoveEvent(event);
}

void ApiLogListView::mouseReleaseEvent(QMouseEvent* event) {
    if (!dragging_) {
        QListView::mouseReleaseEvent(event);
        return;
    }
    dragging_ = false;
    // Where the desktop has a selection of its own to paste with the middle button.
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (clipboard->supportsSelection() && !rows_->selection().isEmpty())
        clipboard->setText(selectedText(), QClipboard::Selection);
    event->accept();
}

void ApiLogListView::mouseDoubleClickEvent(QMouseEvent* event) {
    const QPoint point = event->position().toPoint();
    const QModelIndex row = event->button() == Qt::LeftButton ? payloadRowAt(point) : QModelIndex();
    if (!row.isValid()) {
        QListView::mouseDoubleClickEvent(event);
        return;
    }
    // The word under the pointer, or the run of spaces or marks between two words.
    const ApiLogRowView::Payload shown = shownPayload(row);
    const qsizetype at = ApiLogRowView::positionAt(shown, visualRect(row), point);
    QTextBoundaryFinder words(QTextBoundaryFinder::Word, shown.text());
    words.setPosition(at);
    const auto reasons =
        words.isAtBoundary() ? words.boundaryReasons() : QTextBoundaryFinder::BoundaryReasons();
    const qsizetype from = reasons & QTextBoundaryFinder::StartOfItem ? at : words.toPreviousBoundary();
    words.setPosition(at);
    const qsizetype to = reasons & QTextBoundaryFinder::EndOfItem ? at : words.toNextBoundary();
    select(row, std::max<qsizetype>(from, 0), to < 0 ? at : to);
    dragging_ = false;
    sinceDoubleClick_.start();
    event->accept();
}

void ApiLogListView::keyPressEvent(QKeyEvent* event) {
    const QModelIndex row = rows_->selection().row;
    if (event == QKeySequence::Copy) {
        copySelection();
    } else if (event == QKeySequence::SelectAll && row.isValid()) {
        select(row, 0, static_cast<qsizetype>(shownPayload(row).sources.size()) - 1);
    } else {
        QListView::keyPressEvent(event);
        return;
    }
    event->accept();
}

void ApiLogListView::resizeEvent(QResizeEvent* event) {
    QListView::resizeEvent(event);
    // The payloads wrap anew: positions in their text no longer mean the same characters.
    if (event->size().width() != event->oldSize().width()) select({}, 0, 0);
}

}  // namespace tallywick
