// SPDX-License-Identifier: MIT
#include <tallywick/ui/ApiLogListView.h>

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <algorithm>

#include <tallywick/ui/ApiLogItemModel.h>

namespace tallywick {

ApiLogListView::ApiLogListView(QWidget* parent) : QListView(parent) {
    setObjectName(QStringLiteral("apiLogList"));
    setUniformItemSizes(false);
    // Rows are as wide as the list; their heights follow its width.
    setResizeMode(QListView::Adjust);
    setWordWrap(false);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setFrameShape(QFrame::NoFrame);
    // Rows paint on an opaque base, so that new rows never make what lies behind repaint.
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setAutoFillBackground(true);
}

QString ApiLogListView::selectedPayloads() const {
    QModelIndexList rows = selectionModel() ? selectionModel()->selectedRows() : QModelIndexList();
    std::sort(rows.begin(), rows.end(),
              [](const QModelIndex& a, const QModelIndex& b) { return a.row() < b.row(); });
    QStringList payloads;
    for (const QModelIndex& row : rows) payloads << row.data(ApiLogItemModel::PayloadRole).toString();
    return payloads.join(QLatin1Char('\n'));
}

void ApiLogListView::copySelection() {
    if (!selectionModel() || !selectionModel()->hasSelection()) return;
    QGuiApplication::clipboard()->setText(selectedPayloads());
}

void ApiLogListView::keyPressEvent(QKeyEvent* event) {
    if (event == QKeySequence::Copy) {
        copySelection();
        event->accept();
        return;
    }
    QListView::keyPressEvent(event);
}

}  // namespace tallywick
