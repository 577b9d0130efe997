// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace tallywick {

// The rounded card that lists and forms sit in: a faint edge around the
// palette's base colour, or, for a grouped form, a fill that stands out from
// a dark window too.
class CardFrame : public QWidget {
public:
    enum class Fill { base, groupedForm };

    explicit CardFrame(Fill fill = Fill::base, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Fill fill_;
};

}  // namespace tallywick
