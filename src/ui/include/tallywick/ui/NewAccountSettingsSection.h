// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include <tallywick/ui/SettingsFormSection.h>

class QLineEdit;

namespace tallywick {

class AppModel;

// "New Accounts": the points every new account starts with, in a field in
// the locale's integer format. Return or leaving the field commits a new
// whole number to the host; anything else brings back the last value read.
class NewAccountSettingsSection : public SettingsFormSection {
    Q_OBJECT

public:
    static constexpr int fieldWidth = 120;

    explicit NewAccountSettingsSection(AppModel& model, QWidget* parent = nullptr);
    ~NewAccountSettingsSection() override;

    QLineEdit& field() const { return *field_; }

private:
    void commit();
    void showPoints(std::int64_t points);
    void settingsChanged();

    AppModel& model_;
    QLineEdit* field_;
};

}  // namespace tallywick
