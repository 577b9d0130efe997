// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace tallywick {

class AppModel;
class StatusDot;
class StyledLabel;

// The toolbar's word on the host: a green or grey dot, "Host connected" or
// "Host offline", and the host's version once it has told us.
class ConnectionStatusView : public QWidget {
    Q_OBJECT

public:
    explicit ConnectionStatusView(AppModel& model, QWidget* parent = nullptr);

private:
    void showConnection();
    void showVersion();

    AppModel& model_;
    StatusDot* dot_;
    StyledLabel* status_;
    StyledLabel* version_;
};

}  // namespace tallywick
