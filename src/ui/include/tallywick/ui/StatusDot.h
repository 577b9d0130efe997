// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

#include <tallywick/ui/AppStyle.h>

namespace tallywick {

// A filled circle in a colour picked from the palette: the connection dots.
class StatusDot : public QWidget {
    Q_OBJECT

public:
    StatusDot(int diameter, AppStyle::Tint tint, QWidget* parent = nullptr);

    void setTint(AppStyle::Tint tint);
    QColor color() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    AppStyle::Tint tint_;
};

}  // namespace tallywick
