// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QListView>

#include <tallywick/ui/ApiLogRowView.h>

namespace tallywick {

// The list of API log rows, each as tall as its payload needs. The rows
// themselves are not selected; their payloads' text is, as in a text view:
// dragged over, a word by a double click, all of it by a triple click or
// the select-all shortcut, and copied with the copy shortcut.
class ApiLogListView : public QListView {
    Q_OBJECT

public:
    explicit ApiLogListView(QWidget* parent = nullptr);

    ApiLogRowView& rows() const { return *rows_; }
    // The selected part of a payload as the agent sent it; empty when nothing is selected.
    QString selectedText() const;
    // Puts it on the clipboard; nothing when nothing is selected.
    void copySelection();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    // The payload of the row at `index` as it is drawn now.
    ApiLogRowView::Payload shownPayload(const QModelIndex& index) const;
    // The row whose payload is drawn under `point`, if any.
    QModelIndex payloadRowAt(QPoint point) const;
    void select(const QModelIndex& row, qsizetype anchor, qsizetype cursor);

    ApiLogRowView* rows_;
    bool dragging_ = false;
    QElapsedTimer sinceDoubleClick_;  // a press soon after a double click is a triple click
};

}  // namespace tallywick
