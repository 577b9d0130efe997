// SPDX-License-Identifier: MIT
#pragma once

#include <map>

#include <tallywick/app/LoginItem.h>

namespace tallywick {

// The host as an XDG autostart entry, for desktops without systemd. An entry
// the user turned off (Hidden, or GNOME's enabled key) is left as it is.
class AutostartLoginItem final : public LoginItem {
public:
    explicit AutostartLoginItem(LoginItemSetup setup);

    Result<void, std::string> registerItem() override;
    Result<void, std::string> unregisterItem() override;
    LoginItemStatus status() const override;

    std::filesystem::path entryPath() const;
    // The entry's text; none when the host path cannot be written into one.
    std::optional<std::string> entryText() const;

    // The keys of a desktop file's main group, values unescaped. Other
    // groups, comments, localised keys and malformed lines are skipped.
    static std::map<std::string, std::string> readEntry(std::string_view text);

private:
    LoginItemSetup setup_;
};

}  // namespace tallywick
