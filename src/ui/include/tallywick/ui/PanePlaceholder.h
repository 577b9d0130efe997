// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>
#include <string>

namespace tallywick {

// A pane still to be built: its symbol, large and faint, and nothing else.
class PanePlaceholder : public QWidget {
    Q_OBJECT

public:
    explicit PanePlaceholder(std::string symbolName, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::string symbolName_;
};

}  // namespace tallywick
