// SPDX-License-Identifier: MIT
#include <tallywick/ui/SettingsFormSection.h>

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/CardFrame.h>
#include <tallywick/ui/StyledLabel.h>

namespace tallywick {
namespace {

constexpr int kRowMargin = 10;

class Hairline : public QWidget {
public:
    Hairline() { setFixedHeight(1); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        QColor line = AppStyle::foreground(palette(), AppStyle::Foreground::primary);
        line.setAlphaF(0.1);
        painter.fillRect(rect().adjusted(kRowMargin, 0, -kRowMargin, 0), line);
    }
};

}  // namespace

SettingsFormSection::SettingsFormSection(const QString& title, QWidget* parent)
    : QWidget(parent), card_(new CardFrame(CardFrame::Fill::groupedForm)), rows_(new QVBoxLayout(card_)) {
    rows_->setContentsMargins(0, 0, 0, 0);
    rows_->setSpacing(0);
    auto* heading =
        new StyledLabel(AppStyle::sectionTitleFont(), AppStyle::tint(AppStyle::Foreground::primary));
    heading->setText(title);
    heading->setContentsMargins(2, 0, 0, 0);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    column->addWidget(heading);
    column->addWidget(card_);
}

void SettingsFormSection::addRow(QWidget* row) {
    if (rows_->count() > 0) rows_->addWidget(new Hairline);
    row->setContentsMargins(kRowMargin, 8, kRowMargin, 8);
    rows_->addWidget(row);
}

QWidget* SettingsFormSection::labelledRow(const QString& label, QWidget* content) {
    auto* row = new QWidget;
    auto* line = new QHBoxLayout(row);
    line->setContentsMargins(0, 0, 0, 0);
    auto* name = new StyledLabel(AppStyle::TextStyle::body, AppStyle::Foreground::primary);
    name->setText(label);
    name->setBuddy(content);
    line->addWidget(name);
    line->addStretch(1);
    line->addWidget(content);
    return row;
}

QWidget* SettingsFormSection::rowWithNote(QWidget* content, const QString& text) {
    auto* row = new QWidget;
    auto* column = new QVBoxLayout(row);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);
    column->addWidget(content);
    column->addWidget(note(text));
    return row;
}

StyledLabel* SettingsFormSection::note(const QString& text) {
    auto* label = new StyledLabel(AppStyle::TextStyle::caption, AppStyle::Foreground::secondary);
    label->setText(text);
    label->setWordWrap(true);
    return label;
}

}  // namespace tallywick
