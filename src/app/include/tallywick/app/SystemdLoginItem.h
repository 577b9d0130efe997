// SPDX-License-Identifier: MIT
#pragma once

#include <tallywick/app/LoginItem.h>

namespace tallywick {

// The host as a systemd user service. The unit lives in the data folder,
// not in ~/.config, so that the user can still mask it there; a masked unit
// is the user's decision and is never overridden.
class SystemdLoginItem final : public LoginItem {
public:
    explicit SystemdLoginItem(LoginItemSetup setup);

    Result<void, std::string> registerItem() override;
    Result<void, std::string> unregisterItem() override;
    LoginItemStatus status() const override;

    std::string unitName() const { return setup_.hostIdentifier + ".service"; }
    std::filesystem::path unitPath() const;
    // The unit's text; none when the host path cannot be written into one.
    std::optional<std::string> unitText() const;

private:
    LoginItemSetup setup_;
};

}  // namespace tallywick
