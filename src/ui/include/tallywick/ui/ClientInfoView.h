// SPDX-License-Identifier: MIT
#pragma once

#include <QGroupBox>
#include <optional>
#include <vector>

#include <tallywick/model/ClientInfoField.h>

class QVBoxLayout;

namespace tallywick {

class StyledLabel;

// The "Client Info" box: one row per field the agent's client reported (key,
// then value), or the hint that this client reported none.
class ClientInfoView : public QGroupBox {
    Q_OBJECT

public:
    explicit ClientInfoView(QWidget* parent = nullptr);

    // Absent fields show as an empty list does.
    void setFields(const std::optional<std::vector<ClientInfoField>>& fields);
    const std::vector<ClientInfoField>& fields() const { return fields_; }

private:
    std::vector<ClientInfoField> fields_;
    QWidget* rows_;
    QVBoxLayout* rowsLayout_;
    StyledLabel* hint_;
};

}  // namespace tallywick
